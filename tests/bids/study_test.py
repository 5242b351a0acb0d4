#!/usr/bin/python3
"""Compares what is put beside a recording in a study with what the command says about it, and adds to studies of all
kinds.

    study_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import csv
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np

CTFMEG, DATA = (pathlib.Path(word).resolve() for word in sys.argv[1:])
KINDS = {
    "eeg": "EEG",
    "adc": "ADC",
    "dac": "DAC",
    "stim": "TRIG",
    "clock": "SYSCLOCK",
    "position": "HLU",
    "other": "OTHER",
}
COUNTS = {
    "MEGREFChannelCount": "ref-",
    "EEGChannelCount": "eeg",
    "TriggerChannelCount": "stim",
    "MiscChannelCount": "adc",
}


def run(*words, code=0, errors=""):
    done = subprocess.run(
        [CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True
    )
    assert done.returncode == code and errors in done.stderr, (words, done)
    return done


def bids(path, study, *words, **expected):
    return run("bids", "--quiet", path, study, "--task", "rest", *words, **expected)


def info(path):
    return json.loads(run("info", "--json", "--quiet", path).stdout)


def simulate(name, *words):
    run("simulate", "--quiet", name, *words)
    return name


def table(path):
    return list(csv.DictReader(open(path, encoding="utf-8", newline=""), delimiter="\t"))


def files(folder):
    """All that is there, but for what a killed program left."""
    paths = [path for path in pathlib.Path(folder).rglob("*") if ".part" not in str(path.relative_to(folder))]
    return {
        str(path.relative_to(folder)): hashlib.md5(path.read_bytes()).digest() if path.is_file() else None
        for path in paths
    }


def near(found, wanted):
    return np.allclose(np.array(found, float), np.array(wanted, float), rtol=0, atol=1e-6)


def axis_type(channel, what):
    first, second = channel["dewarCoils"][:2]
    between = np.subtract(second["position"], first["position"])
    cosine = abs(between @ first["orientation"]) / np.linalg.norm(between)
    return what + ("GRADAXIAL" if cosine > 0.7072 else "GRADPLANAR")


def compare(path, *words):
    """What is beside the copy with what is known about the dataset."""
    bids(path, "compared", "--subject", "1", *words)
    folder = pathlib.Path("compared/sub-1/meg")
    of, said = lambda rest: folder / f"sub-1_task-rest_{rest}", info(path)
    channels, record = said["channels"], said["record"]
    assert info(of("meg.ds"))["channels"] == channels
    rows = table(of("channels.tsv"))
    assert [row["name"] for row in rows] == [channel["name"] for channel in channels]
    low = [f["frequency"] for f in record["filters"] if f["filterType"] == 2] or [None]
    high = [f["frequency"] for f in record["filters"] if f["filterType"] == 1] or [
        said["infods"]["_DATASET_UPPERBANDWIDTH"]
    ]
    for row, channel in zip(rows, channels):
        types = {"ref-magnetometer": "MEGREFMAG", **KINDS}
        if channel["kind"].endswith("gradiometer"):
            types[channel["kind"]] = axis_type(
                channel, "MEGREF" if channel["kind"].startswith("ref") else "MEG"
            )
        filtered = channel["unit"] == "T" or channel["kind"] == "eeg"
        wanted = {
            "type": types[channel["kind"]],
            "units": channel["unit"].replace("1", "n/a"),
            "status": "good" if channel["good"] else "bad",
        }
        assert {key: row[key] for key in wanted} == wanted, channel
        for key, cutoff in (("low_cutoff", low[0]), ("high_cutoff", high[0])):
            assert row[key] == (f"{cutoff:g}" if filtered and cutoff else "n/a"), (row, cutoff)
    meg = json.load(open(of("meg.json"), encoding="utf-8"))
    adjoin = said["timing"]["trialsAdjoin"]
    assert meg["SamplingFrequency"] == record["sampleRate"] and meg["TaskName"] == "rest"
    assert meg["RecordingType"] == ("continuous" if adjoin else "epoched") and ("EpochLength" in meg) == (
        not adjoin
    )
    assert near(
        meg["RecordingDuration"], record["numTrials"] * record["samplesPerTrial"] / record["sampleRate"]
    )
    assert near(meg["MaxMovement"], said["infods"]["_DATASET_MAXHEADMOTION"] * 1000)
    kinds = [channel["kind"] for channel in channels]
    for key, kind in COUNTS.items():
        assert meg[key] == sum(k.startswith(kind) for k in kinds), key
    assert meg["MEGChannelCount"] == kinds.count("gradiometer")
    assert meg["SoftwareFilters"]["SpatialCompensation"]["GradientOrder"] == said["compensation"]["stored"]
    assert meg["ContinuousHeadLocalization"] == ("position" in kinds)
    frame = json.load(open(folder / "sub-1_coordsystem.json", encoding="utf-8"))
    for label, point in zip(("NAS", "LPA", "RPA"), ("nasion", "leftEar", "rightEar")):
        right, front, up = said["fiducials"]["headMeasured"][point]
        assert near(frame["HeadCoilCoordinates"][label], np.array([front, -right, up]) / 10)
    assert frame["AnatomicalLandmarkCoordinates"] == frame["HeadCoilCoordinates"]
    shape, points = folder / "sub-1_headshape.pos", said["digitised"]["points"]
    assert (
        shape.exists()
        == meg["DigitizedHeadPoints"]
        == (frame.get("DigitizedHeadPoints") == shape.name)
        == bool(points)
    )
    assert ("EEGCoordinateSystem" in frame) == bool(said["electrodes"])
    wanted = sorted(
        (s["runTime"], s["trial"] * record["samplesPerTrial"] + s["sample"], marker["name"])
        for marker in said["markers"]
        for s in marker["samples"]
    )
    assert of("events.tsv").exists() == bool(wanted)
    if wanted:
        events = table(of("events.tsv"))
        assert [(int(row["sample"]), row["trial_type"], row["duration"]) for row in events] == [
            (*w[1:], "n/a") for w in wanted
        ]
        assert near([row["onset"] for row in events], [w[0] for w in wanted])
    assert table("compared/sub-1/sub-1_scans.tsv") == [
        {"filename": f"meg/{of('meg.ds').name}", "acq_time": said["startTime"]}
    ]
    return meg


def test_values():
    assert compare(
        simulate("values.ds", "--channels", 60, "--trials", 3, "--pretrigger", 240, "--gap", "0:1.5")
    )
    for recording in DATA.glob("*.ds"):
        run_again = pathlib.Path("compared").rename("compared_before")
        assert compare(recording)["MaxMovement"] and run_again.exists()


def test_adding():
    """Tables of others stay as they are, but for a row more."""
    recording = simulate("r.ds", "--channels", 10)
    os.mkdir("study")
    participants, description = pathlib.Path("study/participants.tsv"), pathlib.Path(
        "study/dataset_description.json"
    )
    participants.write_bytes(b'age\tparticipant_id\tsex\r\n30\tsub-02\tF\r\n\t"sub"\t\r\n\r\n')
    description.write_text("{}")
    for words in (["--subject", "01"], ["--subject", "02"], ["--subject", "01", "--run", "2"]):
        bids(recording, "study", *words)
    assert (
        participants.read_bytes()
        == b'age\tparticipant_id\tsex\r\n30\tsub-02\tF\r\n\t"sub"\t\r\nn/a\tsub-01\tn/a\r\n\r\n'
    )
    assert description.read_text() == "{}" and len(table("study/sub-01/sub-01_scans.tsv")) == 2
    other = simulate("other.ds", "--channels", 10, "--seed", 2)
    text = pathlib.Path("other.ds/other.hc").read_text().replace("10.4", "10.5")
    pathlib.Path("other.ds/other.hc").write_text(text)
    before = files("study/sub-01")
    bids(other, "study", "--subject", "01", "--run", "3", errors="the positions of this recording differ")
    after = files("study/sub-01")
    assert {name for name in before if before[name] != after[name]} == {"sub-01_scans.tsv"}
    for name in ("task-rest_run-4_events.tsv", "task-rest_run-4_meg.json"):
        somebodys = pathlib.Path("study/sub-01/meg/sub-01_" + name)
        somebodys.write_text("somebody's work\n")
        before = files("study")
        bids(other, "study", "--subject", "01", "--run", "4", code=1, errors=f"{name}: is there already and says")
        assert files("study") == before
        somebodys.unlink()


def test_anonymised():
    """What is removed from the copy is in none of the texts beside it, but is where nothing is removed."""
    for words, wanted in (([], True), (["--anonymise"], False)):
        study = pathlib.Path(f"named{wanted}")
        bids("r.ds", study, "--subject", "01", *words)
        texts = "".join(
            path.read_text() for path in study.rglob("*") if path.is_file() and ".ds" not in str(path)
        )
        for text in ("start of the tone", "2024-01-01", study.name):
            assert (text in texts) == wanted, (text, words)


def test_refused():
    """Nothing is changed, and the sentence says what is wrong."""
    for words, errors in (
        (["--subject", "01"], "is there already"),
        (["--subject", "0 1"], 'the subject "0 1"'),
        (["--subject", "sub-01"], 'the subject "sub-01"'),
        (["--subject", ""], "the subject"),
        (["--subject", "05", "--session", "a/b"], 'the session "a/b"'),
        (["--subject", "05", "--run", "1a"], 'the run "1a": it must be one or more digits'),
    ):
        before = files("study")
        bids("r.ds", "study", *words, code=1, errors=errors)
        assert files("study") == before, words
    before = files("r.ds")
    pathlib.Path("r.json").touch()
    bids("r.ds", "r.ds/study", "--subject", "01", code=1, errors="would be inside of a dataset")
    bids("r.ds", "r.json", "--subject", "01", code=1, errors="is no folder")
    bids("no.ds", "new", "--subject", "01", code=1)
    assert files("r.ds") == before and not os.path.exists("new")
    # The table that can't be added to comes after most others: these are taken back.
    pathlib.Path("study/participants.tsv").write_text("name\nsub-01\n")
    before = files("study")
    for words in (["--subject", "05"], ["--subject", "01", "--run", "4"]):
        bids("r.ds", "study", *words, code=1, errors="has no column participant_id")
        assert files("study") == before, words


def test_killed():
    """A run that is killed at any time, and then done again."""
    words = ["bids", "--quiet", "r.ds", "killed", "--subject", "01", "--task", "rest"]
    started = time.monotonic()
    run("bids", "--quiet", "r.ds", "whole", *words[4:])
    step, source, whole, steps, done = (time.monotonic() - started) / 30, files("r.ds"), files("whole"), 0, 0
    while done < 3:
        process = subprocess.Popen([CTFMEG, *words])
        time.sleep(step * steps)
        process.kill()
        steps, done = steps + 1, done + (process.wait() == 0)
        assert files("r.ds") == source
        if (dataset := pathlib.Path("killed/sub-01/meg/sub-01_task-rest_meg.ds")).exists():
            run("check", "--quiet", dataset)
        else:
            run(*words)
        found = files("killed")
        found.pop(".ctfmeg.lock", None)
        del found["dataset_description.json"]
        assert found == {name: digest for name, digest in whole.items() if name != "dataset_description.json"}
        subprocess.run(["rm", "-r", "killed"], check=True)


def test_together():
    """Many at once: no row is lost."""
    processes = [
        subprocess.Popen(
            [
                CTFMEG,
                "bids",
                "--quiet",
                "r.ds",
                "together",
                "--subject",
                f"{subject}",
                "--task",
                "rest",
                "--run",
                f"{number}",
            ]
        )
        for subject in range(6)
        for number in range(5)
    ]
    assert not any([process.wait() for process in processes])
    assert sorted(row["participant_id"] for row in table("together/participants.tsv")) == [
        f"sub-{n}" for n in range(6)
    ]
    for subject in range(6):
        assert len(table(f"together/sub-{subject}/sub-{subject}_scans.tsv")) == 5
    assert sorted(os.listdir("together"))[:2] == ["dataset_description.json", "participants.tsv"]


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    test_values()
    test_adding()
    test_anonymised()
    test_refused()
    test_killed()
    test_together()
