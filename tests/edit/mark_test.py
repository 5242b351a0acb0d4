#!/usr/bin/python3
"""Marks datasets, and compares what their files hold with what was there and what was asked for.

    mark_test.py CTFMEG
"""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

CTFMEG = pathlib.Path(sys.argv[1]).resolve()
BAD, SEGMENTS, MARKERS = "BadChannels", "bad.segments", "MarkerFile.mrk"
FALLBACK, BACKUPS = "MarkerFile.mrk.bak", {BAD: "BadChannels.bak", SEGMENTS: "bad.segments.bak"}
BACKUPS[MARKERS] = "MarkerFile.mrk.1.bak"


def run(*words):
    words = [CTFMEG, *map(str, words)]
    return subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True)


def info(path):
    return json.loads(run("info", "--json", path).stdout)


def files_of(path):
    return {file.name: file.read_bytes() for file in path.iterdir()}


class Dataset:
    """A simulated recording of 4 trials from -0.1 to 0.299 s, with files as given."""

    def __init__(self, folder, **files):
        self.path = folder / "run.ds"
        shutil.rmtree(self.path, ignore_errors=True)
        shutil.copytree(folder / "source" / "run.ds", self.path)
        for name, content in files.items():
            name = {"bad": BAD, "segments": SEGMENTS, "markers": MARKERS, "fallback": FALLBACK}[name]
            (self.path / name).unlink(missing_ok=True)
            if content is not None:
                (self.path / name).write_bytes(content)

    def mark(self, words, *changed):
        """Marks; only files in `changed` may change, and their backups. Returns what is said."""
        before = files_of(self.path)
        result = run("mark", self.path, *words.split())
        assert result.returncode == 0, (words, result.stderr)
        after = files_of(self.path)
        expected = before | {name: after[name] for name in changed}
        expected |= {BACKUPS[name]: before[name] for name in changed if name in before}
        assert after == expected, (words, {name for name in after if after[name] != expected.get(name)})
        assert all(after[name] != before.get(name) for name in changed), words
        return result.stderr

    def refuse(self, words, text):
        before = files_of(self.path)
        result = run("mark", self.path, *words.split())
        assert result.returncode == 1 and text in result.stderr, (words, result.stderr)
        assert files_of(self.path) == before, words

    def bytes(self, name):
        return (self.path / name).read_bytes()

    def bad(self):
        return {channel["shortName"] for channel in info(self.path)["channels"] if not channel["good"]}

    def occurrences(self, name, odd=0):
        markers = [marker for marker in info(self.path)["markers"] if marker["name"] == name]
        assert all(marker["numSamples"] == len(marker["samples"]) + odd for marker in markers)
        return [(s["trial"], round(s["timeMs"], 6)) for marker in markers for s in marker["samples"]]


def channels(folder):
    full = {c["shortName"]: c["name"] for c in info(folder / "source" / "run.ds")["channels"]}
    long = full["MLC11"].encode()
    # What is there, what is asked for, and what is there then.
    for before, words, after in [
        (b"MLF11\n", "--bad MLC11,MLC12", b"MLF11\nMLC11\nMLC12\n"),
        (b"MLF11\r\n\r\nnobody", "--bad MLC11", b"MLF11\r\n\r\nnobody\r\nMLC11\r\n"),
        (long + b"\nMLC12\n", "--bad MLC13", long + b"\nMLC12\n" + full["MLC13"].encode() + b"\n"),
        (b"", "--bad MLC11", long + b"\n"),
        (None, "--bad mlc11", long + b"\n"),
        (
            b"MLF11\nMLC11\n" + long + b"\nx\n",
            "--good MLC11 --bad MLC12",
            b"MLF11\nx\n" + full["MLC12"].encode() + b"\n",
        ),
        (b"MLC11\n", "--good meg", b""),
    ]:
        dataset = Dataset(folder, bad=before)
        dataset.mark(words, BAD)
        assert dataset.bytes(BAD) == after, (words, dataset.bytes(BAD))
        said = dataset.mark(words)
        assert BAD in said and ("already" in said or "does not mark" in said), said
    dataset = Dataset(folder, bad=b"MLF11")
    assert "already" in dataset.mark("--bad MLF11,MLC11", BAD) and dataset.bad() == {"MLF11", "MLC11"}
    dataset.refuse("--bad MLC11 --good MLC1*", "as bad and as good at once")
    dataset.refuse("--bad MLC111", "has no channel MLC111; the nearest are MLC11")
    Dataset(folder, bad="MLC11\n".encode("utf-16")).refuse("--bad MLC11", "is UTF-16 text")


def segments(folder):
    for before, words, after in [
        (None, "--bad-segment 3:0.1:0.25", b"3\t\t0.1\t\t0.25\n"),
        (b"0 0.1 0.2 x", "--bad-segment 1:0:0.4", b"0 0.1 0.2 x\n1 0 0.4\n"),
        (b"?\r\n+2\t+0.1\t+0.2\r\n", "--bad-segment 0:0.3:0.4", b"?\r\n+2\t+0.1\t+0.2\r\n+0\t+0.3\t+0.4\r\n"),
    ]:
        dataset = Dataset(folder, segments=before)
        dataset.mark(words, SEGMENTS)
        assert dataset.bytes(SEGMENTS) == after, dataset.bytes(SEGMENTS)
        assert "already" in dataset.mark(words)
    for wrong, text in [
        ("4:0.1:0.2", "there are trials 0 to 3"),
        ("0:0.2:0.1", "a trial is from 0 to 0.4 s"),
        ("0:0.2:0.2", "a segment ends after it begins"),
        ("0:0.1:0.5", "a trial is from 0 to 0.4 s"),
        ("0:-0.1:0.1", "a trial is from 0 to 0.4 s"),
    ]:
        dataset.refuse("--bad-segment " + wrong, text)
    # Nothing is changed where one of several marks can't be.
    dataset.refuse("--bad MLC11 --bad-segment 0:0:9", "a trial is from")


MARKER = b"""CLASSGROUPID:
3
NAME:
tone
COMMENT:

COLOR:
no colour
EDITABLE:
Yes
CLASSID:
7
NUMBER OF SAMPLES:
2 of them
LIST OF SAMPLES:
TRIAL NUMBER TIME FROM SYNC POINT (in seconds)
0  0.1 first
3  0
2  0
"""
HEADING = b"PATH OF DATASET:\n/home/x\n\nNUMBER OF MARKERS:\n1\n\n"


def markers(folder):
    dataset = Dataset(folder)
    before = dataset.bytes(MARKERS)
    tones = dataset.occurrences("tone")
    dataset.mark("--marker tone --at 1:0.25 --at 0:-0.1", MARKERS)
    assert dataset.occurrences("tone") == sorted(tones + [(1, 250.0), (0, -100.0)])
    added = [line for line in dataset.bytes(MARKERS).splitlines() if line not in before.splitlines()]
    assert [line.split() for line in added] == [[b"6"], [b"+0", b"-0.1"], [b"+1", b"+0.25"]], added
    assert "already" in dataset.mark("--marker tone --at 1:0.2502")

    dataset = Dataset(folder, markers=HEADING + MARKER.replace(b"2 of", b"2"))
    dataset.mark("--marker tone --at 2:0.2", MARKERS)
    changed = MARKER.replace(b"2 of", b"3").replace(b"first\n", b"first\n2  0.2\n")
    assert dataset.bytes(MARKERS) == HEADING + changed
    dataset.mark("--marker new --at 2:0.2", MARKERS)
    text = dataset.bytes(MARKERS)
    assert text.startswith(HEADING.replace(b"\n1\n", b"\n2\n") + changed) and b"CLASSID:\n8\n" in text
    assert dataset.occurrences("new") == [(2, 200.0)]

    for before in None, b"", b" \r\n":  # where there is none, or nothing in it
        dataset = Dataset(folder, markers=before)
        dataset.mark("--marker new --at 2:0.2", MARKERS)
        assert dataset.occurrences("new") == [(2, 200.0)] and run("check", dataset.path).returncode == 0
        host = json.loads(run("info", "--json", "--rules=host", dataset.path).stdout)["markers"]
        assert [(m["name"], len(m["samples"])) for m in host] == [("new", 1)]
    # What readers go on to is what is added to, and stays as it is itself.
    for before in None, b"", b"garbage\n":
        dataset = Dataset(folder, markers=before, fallback=HEADING + MARKER.replace(b"2 of", b"2"))
        dataset.mark("--marker tone --at 2:0.2", MARKERS)
        assert dataset.bytes(MARKERS) == HEADING + changed

    # Lines that are not understood take places of the count, to their reader.
    odd = MARKER.replace(b"2 of them", b"4").replace(b"3  0", b"# a\n3  0")
    dataset = Dataset(folder, markers=HEADING + odd)
    said = dataset.mark("--marker tone --at 1:0.1", MARKERS)
    assert dataset.occurrences("tone", 1) == [(0, 100.0), (1, 100.0), (3, 0.0), (2, 0.0)]
    assert "of which the marker has more" in said, said

    for wrong, text in [
        ("--marker tone --at 4:0", "there are trials 0 to 3"),
        ("--marker tone --at 0:0.3", "a trial is from -0.1 to 0.299 s"),
        ("--marker tone --at 0:-0.2", "a trial is from -0.1 to 0.299 s"),
        ("--marker \u20ac\u4e00 --at 0:0", "letters outside Windows-1252"),
        ("--marker \x7f --at 0:0", "control characters"),
    ]:
        dataset.refuse(wrong, text)
    result = run("mark", dataset.path, "--marker", "tone ", "--at", "0:0")
    assert result.returncode == 1 and "blanks at its ends" in result.stderr, result.stderr
    for wrong in ["--at", "99999999999:0", "--marker", "x"], ["--bad-segment", "99999999999:0:1"]:
        result = run("mark", dataset.path, *wrong)
        assert result.returncode == 2 and "must be a trial" in result.stderr, result.stderr
    for before, text in [
        (HEADING.decode().encode("utf-16"), "is UTF-16 text"),
        (b"garbage\n", "is not understood"),
        (HEADING + MARKER.replace(b" (in seconds)", b""), "is not in seconds"),
        (HEADING + MARKER.replace(b"NUMBER OF", b"SUM OF"), "has no count"),
        (HEADING + MARKER[: MARKER.index(b"\nCOLOR")] + b"\n", "ends inside a marker"),
        (HEADING + MARKER.replace(b"2 of them", b"3")[:-2], "no line break, so that it may be cut"),
    ]:
        for marker in "tone", "new":
            if marker == "tone" or "cut" in text:
                Dataset(folder, markers=before).refuse(f"--marker {marker} --at 1:0", text)
    # A name that was not read would be.
    before = HEADING + MARKER + b"CLASSGROUPID:\n3\nNAME:\nhalf\n"
    Dataset(folder, markers=before + b"COMMENT:").refuse("--marker new --at 1:0", "ends inside a marker")


def places(folder):
    """A link stays one, permissions stay, and a file that can't be written leaves those before it changed."""
    dataset = Dataset(folder)
    target = folder / "target"
    target.write_bytes(dataset.bytes(BAD))
    target.chmod(0o640)
    (dataset.path / BAD).unlink()
    (dataset.path / BAD).symlink_to(target)
    dataset.mark("--bad MLC11", BAD)
    assert (dataset.path / BAD).is_symlink() and b"MLC11" in target.read_bytes()
    assert target.stat().st_mode & 0o777 == 0o640
    (dataset.path / BACKUPS[SEGMENTS]).mkdir()
    kept = dataset.bytes(SEGMENTS)
    result = run("mark", dataset.path, "--bad", "MLC12", "--bad-segment", "0:0:0.1")
    assert result.returncode == 1 and "BadChannels changed before that" in result.stderr, result.stderr
    assert b"MLC12" in dataset.bytes(BAD) and dataset.bytes(SEGMENTS) == kept


with tempfile.TemporaryDirectory() as name:
    place = pathlib.Path(name)
    shape = "--channels 40 --trials 1 --samples 300".split()
    assert run("simulate", place / "x.ds", *shape).returncode == 0
    assert "from 0 to" in run("mark", place / "x.ds", "--marker", "x", "--at", "0:5").stderr
    shape = "--channels 60 --trials 4 --samples 400 --pretrigger 100 --rate 1000".split()
    (place / "source").mkdir()
    assert run("simulate", place / "source" / "run.ds", *shape).returncode == 0
    for test in channels, segments, markers, places:
        test(place)
