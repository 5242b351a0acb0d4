#!/usr/bin/python3
"""Crops datasets, and compares copies with what `export` reads of their sources and with what these say.

    crop_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import json
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG, DATA = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
FOLLOWS = """samplesPerTrial samplesPerTrialAcq preTrigSamples preTrigSamplesAcq epochTime numChannels
    numTrials numTrialsDone numTrialsDisplay""".split()


def run(*words):
    return subprocess.run(
        [CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True
    )


def succeed(*words):
    result = run(*words)
    assert result.returncode == 0, (words, result.stderr)
    return result


def info(path, *words):
    return json.loads(succeed("info", "--json", path, *words).stdout)


def export(path, *words):
    array = path.parent / "array.npy"
    succeed("export", path, "-o", array, "--quiet", *words)
    return np.load(array), json.loads(pathlib.Path(f"{array}.json").read_text())


def host_messages(path):
    """What host rules say about a dataset, with the places of files left out."""
    lines = succeed("info", "--rules=host", path).stderr.splitlines()
    return {re.sub(r"line \d+ ", "", line.split(": ", 2)[-1]) for line in lines}


class Trials(list):
    """Trials of a copy. A number that the source does not have either stays where all trials do."""

    def __init__(self, numbers, count):
        super().__init__(numbers)
        self.are_all = len(numbers) == count

    def __contains__(self, number):
        return self.are_all or super().__contains__(number)

    def index(self, number):
        return number if self.are_all else super().index(number)


def trials_from(trials, numbers):
    return [trials.index(number) for number in numbers if number in trials]


def compare_texts(was, now, trials, channels, first, samples):
    """Markers, classes, segments and channels of a copy with those of its source."""
    whole, rate = samples == was["record"]["samplesPerTrial"], was["record"]["sampleRate"]
    for before, after in zip(was["markers"], now["markers"], strict=True):
        kept = [s for s in before["samples"] if whole or first <= s["sample"] < first + samples]
        expected = [
            (trials.index(s["trial"]), s["timeMs"], s["sample"] - first) for s in kept if s["trial"] in trials
        ]
        assert [(s["trial"], s["timeMs"], s["sample"]) for s in after["samples"]] == expected
        assert after["numSamples"] == len(expected)
        assert all(
            after[key] == before[key] for key in ("name", "comment", "color", "classId", "classGroupId")
        )
    for before, after in zip(was["classes"], now["classes"], strict=True):
        assert (after["name"], after["trials"]) == (before["name"], trials_from(trials, before["trials"]))
        assert after["numTrials"] == len(after["trials"])
    start, end = 1e3 * first / rate, 1e3 * (first + samples) / rate
    expected = []
    for segment in was["badSegments"]:
        touches = segment["startMs"] <= end - 1e3 / rate and segment["endMs"] >= start
        if segment["trial"] in trials and (whole or touches):
            cut = [
                segment[key] if whole else min(max(segment[key], start), end) - start
                for key in ("startMs", "endMs")
            ]
            expected += [trials.index(segment["trial"]), *cut]
    assert np.allclose(
        [s[key] for s in now["badSegments"] for key in ("trial", "startMs", "endMs")], expected, 0, 1e-6
    )

    known = {name for c in was["channels"] for name in (c["name"], c["shortName"])}
    left = {name for c in was["channels"] if c["index"] in channels for name in (c["name"], c["shortName"])}
    gone = known - left
    assert [c["good"] for c in now["channels"]] == [was["channels"][c]["good"] for c in channels]
    assert now["badChannels"] == [name for name in was["badChannels"] if name not in gone]
    assert now["coefficients"] == [
        r
        for r in was["coefficients"]
        if r["sensor"] not in gone and not any(c["name"] in gone for c in r["references"])
    ]
    assert now["virtualChannels"] == [
        v for v in was["virtualChannels"] if not any(r["channel"] in gone for r in v["references"])
    ]


def compare(source, words, folder):
    """A copy of what `words` select, with its source."""
    copy = folder / "copy.ds"
    result = succeed("crop", source, copy, *words)
    wanted, said = export(source, *words)
    there, _ = export(copy)
    assert np.array_equal(wanted, there), words
    origins = [trial["origin"] for trial in said["trials"]]
    trials, first, samples = [o["trial"] for o in origins], origins[0]["firstSample"], wanted.shape[2]
    was, now = info(source), info(copy)
    places = {c["name"]: c["index"] for c in was["channels"]}
    channels = [places[c["name"]] for c in said["channels"]]

    record, before = now["record"], was["record"]
    all_trials = [before[key] for key in ("numTrialsDone", "numTrialsDisplay")]
    expected = (
        [samples] * 2
        + [before["preTrigSamples"] - first] * 2
        + [
            samples * len(trials) / before["sampleRate"]
            if first or len(trials) < before["numTrials"] or samples < before["samplesPerTrial"]
            else before["epochTime"],
            len(channels),
            len(trials),
        ]
        + [len(trials) if value == before["numTrials"] else value for value in all_trials]
    )
    assert np.allclose([record[key] for key in FOLLOWS], expected, 1e-12), (words, record, expected)
    assert all(record[key] == before[key] for key in before if key not in FOLLOWS)
    assert [c | {"index": 0} for c in now["channels"]] == [
        was["channels"][c] | {"index": 0} for c in channels
    ]
    compare_texts(was, now, Trials(trials, before["numTrials"]), channels, first, samples)
    assert all(now[key] == was[key] for key in ("fiducials", "electrodes", "digitised"))
    # What is said of the largest head motion follows its trial. The text of all repeats it.
    motion, texts = "_DATASET_MAXHEADMOTION", ("_DATASET_INFO",)
    expected = {key: value for key, value in was["infods"].items() if key not in texts}
    numbers = Trials(trials, before["numTrials"])
    if motion + "TRIAL" in expected and expected[motion + "TRIAL"] in numbers:
        expected[motion + "TRIAL"] = numbers.index(expected[motion + "TRIAL"])
    elif motion + "TRIAL" in expected:
        expected = {key: value for key, value in expected.items() if not key.startswith(motion)}
    assert {key: value for key, value in now["infods"].items() if key not in texts} == expected, words
    sound = run("check", source).returncode
    assert run("check", copy).returncode == (0 if sound == 1 else sound), (words, run("check", copy).stdout)
    assert host_messages(copy) <= host_messages(source), (words, host_messages(copy) - host_messages(source))
    shutil.rmtree(copy)
    return result.stderr


def stored_in_order(path, order):
    """Says that all gradiometers of a dataset carry a compensation."""
    file = next(path.glob("*.res4"))
    data = bytearray(file.read_bytes())
    place = 1844 + struct.unpack_from(">i", data, 1836)[0] + 2
    for _ in range(struct.unpack_from(">h", data, place - 2)[0]):
        place += 18 + 8 * struct.unpack_from(">h", data, place + 16)[0]
    channels = struct.unpack_from(">h", data, 1292)[0]
    for sensor in range(place + 32 * channels, place + (32 + 1328) * channels, 1328):
        if struct.unpack_from(">h", data, sensor)[0] == 5:
            struct.pack_into(">h", data, sensor + 42, order)
    file.write_bytes(data)


def simulate(path, *words):
    succeed("simulate", path, "--channels", 60, "--samples", 400, "--pretrigger", 100, "--rate", 1000, *words)
    (path / "bad.segments").write_bytes(
        b"1\t0.05\t0.12 moved\r\n+3\t+0.00\t+0.4\n4 0.21 0.219\nno segment\n3\t0.1\t9\n2  0.01  0.02"
    )
    texts = {name: (path / name).read_bytes() for name in ("MarkerFile.mrk", "ClassFile.cls", "BadChannels")}
    tones, rest, buttons = texts["MarkerFile.mrk"].rpartition(b"\n\n\nCLASSGROUPID")
    tones = tones.replace(b"NUMBER OF SAMPLES:\n6", b"NUMBER OF SAMPLES:\r\n+7")
    added = b"\n+1  0.03  a note\n  2\t0.5\n\nwhat?"
    (path / "MarkerFile.mrk").write_bytes(tones + added + rest + buttons)
    (path / "ClassFile.cls").write_bytes(
        texts["ClassFile.cls"]
        .replace(b"TRIALS:\n1", b"TRIALS:\n4")
        .replace(b"TRIAL NUMBER\n", b"TRIAL NUMBER\n003\n 1\n99\n")
    )
    full = info(path)["channels"][-3]["name"].encode()
    (path / "BadChannels").write_bytes(b"nobody\n" + full + b"\nBG1\n" + texts["BadChannels"].rstrip())


SELECTIONS = """

    --trials 1,3-4
    --marker button
    --from 0.05 --to 0.2
    --from -0.05 --to 0.02 --trials 1-4
    --samples 120:350
    --samples 0:0 --trials 5
    --samples 399:399
    --channels meg,ref
    --channels stim,clock --trials 0
    --exclude ref,bad
    --trials 2-3 --samples 50:219 --channels MLC*,SCLK*,ref
    --from 0 --channels BG1,meg --exclude MR*
""".split(
    "\n"
)


def crop_equals_export(folder):
    sources = {folder / "run.ds": SELECTIONS}
    simulate(folder / "run.ds", "--trials", 6, "--split-after", 2)
    simulate(folder / "cut.ds", "--trials", 6, "--damage", "cut")
    sources[folder / "cut.ds"] = ["", "--trials 1-3", "--samples 3:99", "--partial=drop"]
    real = next(DATA.glob("*.ds"), None)
    if real:
        sources[folder / "real.ds"] = [
            "",
            "--trials 1 --samples 100:1100",
            "--channels meg,ref",
            "--exclude ref",
        ]
        shutil.copytree(real, folder / "real.ds")
        for file in (folder / "real.ds").glob(real.stem + ".*"):
            file.rename(file.with_name(file.name.replace(real.stem, "real")))
    for source, selections in sources.items():
        for words in map(shlex.split, selections):
            compare(source, words, folder)
    # Everything that is kept stays byte for byte.
    succeed("crop", folder / "run.ds", folder / "whole.ds")
    succeed("rename", folder / "run.ds", folder / "renamed.ds")
    for file in (folder / "whole.ds").iterdir():
        other = folder / "renamed.ds" / file.name.replace("whole.", "renamed.")
        same = [one.read_bytes().replace(b"renamed.ds", b"whole.ds") for one in (file, other)]
        assert same[0] == same[1], file


def lines_keep_their_form(folder):
    copy, marker_file = folder / "form.ds", (folder / "run.ds" / "MarkerFile.mrk").read_bytes()
    succeed("crop", folder / "run.ds", copy, "--trials", "1,3", "--samples", "100:299")
    segments = (copy / "bad.segments").read_bytes()
    assert segments == b"0\t0\t0.02 moved\r\n+1\t+0.00\t+0.2\nno segment\n1\t0\t0.2\n", segments
    text = (copy / "MarkerFile.mrk").read_bytes()
    assert b"NUMBER OF SAMPLES:\r\n+3\n" in text  # trial 1 has two, one of which was beyond the count
    assert b"what?" in text and b"\n+0  0.03  a note\n" in text
    half = folder / "half.ds"  # of a sample away from one: 125 by rounding away from zero
    shutil.copytree(folder / "run.ds", half)
    for file in half.glob("run.*"):
        file.rename(file.with_name(file.name.replace("run.", "half.")))
    (half / "MarkerFile.mrk").write_bytes(re.sub(rb"\+1  0.03", b"+1  +0.1245", marker_file))
    succeed("crop", half, folder / "after.ds", "--samples", "225:299")
    samples = [s["sample"] for m in info(folder / "after.ds")["markers"] for s in m["samples"]]
    assert 0 in samples and min(samples) == 0, samples
    # A line that is not understood takes a place of the count, to its reader.
    odd = marker_file.replace(b"\r\n+7", b"\r\n+8").replace(b"(in seconds)\n", b"(in seconds)\n# hello\n", 1)
    (half / "MarkerFile.mrk").write_bytes(odd)
    succeed("crop", half, folder / "odd.ds", "--trials", "1-3")
    was, now = (
        [(s["trial"], s["timeMs"]) for m in info(path)["markers"] for s in m["samples"]]
        for path in (half, folder / "odd.ds")
    )
    assert now == [(trial - 1, time) for trial, time in was if 1 <= trial <= 3] != [], (was, now)
    assert b"+1  +0.125  a note" in (folder / "after.ds" / "MarkerFile.mrk").read_bytes()
    assert b"TRIALS:\n2\nLIST OF TRIALS:\nTRIAL NUMBER\n1\n 0\n" in (copy / "ClassFile.cls").read_bytes()


def lost_references_are_told(folder):
    path = folder / "order.ds"
    simulate(path, "--trials", 2)
    stored_in_order(path, 2)
    lost = "loses references that the gradient compensation of its channels needs"
    for words, told in [
        ("--exclude BG1", True),
        ("--exclude ref", True),
        ("--channels stim", False),
        ("", False),
    ]:
        message = compare(path, words.split(), folder)
        assert (lost in message) == told, (words, message)
        assert not told or "BG1-" in message, message
        records = info(path)["coefficients"]
        gone = sum(any(r["name"].startswith("BG1") for r in one["references"]) for one in records)
        if words == "--exclude BG1":
            assert f"loses {gone} coefficient records" in message, (gone, message)
    assert " more" in message_of(path, folder, "--exclude", "ref")


def message_of(source, folder, *words):
    result = run("crop", source, folder / "copy.ds", *words)
    shutil.rmtree(folder / "copy.ds", ignore_errors=True)
    return result.stderr


def refused(folder):
    source = folder / "run.ds"
    names = sorted(path.name for path in folder.iterdir())
    for words, text in {
        "--trials 9": "there are trials 0 to 5",
        "--marker nobody": "there are tone and button",
        "--from 5": "has no samples in that span",
        "--channels nobody": "has no channel nobody",
    }.items():
        result = run("crop", source, folder / "no.ds", *words.split())
        assert result.returncode == 1 and text in result.stderr, (words, result.stderr)
    for words in (
        (folder / "cut.ds", folder / "no.ds", "--trials", 5),
        (source, source / "in.ds"),
        (source, source),
    ):
        assert run("crop", *words).returncode == 1, words
    for words in "--continuous", "--split=2", "--resample=2", "--partial=nan", "--partial":
        assert run("crop", source, folder / "no.ds", words).returncode == 2, words
    assert sorted(path.name for path in folder.iterdir()) == names


with tempfile.TemporaryDirectory() as name:
    place = pathlib.Path(name)
    for test in crop_equals_export, lines_keep_their_form, lost_references_are_told, refused:
        test(place)
