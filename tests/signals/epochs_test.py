#!/usr/bin/python3
"""Compares epochs and averages with what NumPy makes of a whole recording.

    epochs_test.py CTFMEG DATA, the folder of the real recording, which is not needed here
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG = pathlib.Path(sys.argv[1]).resolve()
TRIALS, SAMPLES, RATE, BEFORE = 6, 500, 1000.0, 100
GAP_AFTER, BAD_TRIAL, BAD_SEGMENT = 2, 4, (1, 0.05, 0.0999)  # trial, seconds from its start
# Trial and seconds from its trigger: the first and last sample of trials, several in one, twice the same, before and
# after trials, one that ends before the bad segment, one that is nowhere.
TONE = [(0, -0.1), (0, 0.0), (0, 0.349), (0, 0.399), (1, 0.2), (1, 0.2), (2, 0.35), (3, -0.09), (4, 0.0), (5, 0.399), (5, 0.6), (9, 0)]
CLICK = [(1, 0.2), (3, 0.1004), (3, -0.15)]


def run(*words, code=0):
    done = subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert done.returncode == code, (words, done)
    return done.stdout if code == 0 else done.stderr


def export(*words, command="export"):
    run(command, "--quiet", "a.ds", "-o", "x.npy", *words)
    return np.load("x.npy"), json.loads(pathlib.Path("x.npy.json").read_text())


def block(name, heading, rows):
    lines = "\n".join("\t".join(map(str, row)) for row in rows)
    return (f"CLASSGROUPID:\n+3\nNAME:\n{name}\nCOMMENT:\n\nCOLOR:\nblue\nEDITABLE:\nYes\nCLASSID:\n+1\n"
            f"NUMBER OF {heading}:\n{len(rows)}\nLIST OF {heading}:\nTRIAL NUMBER\n{lines}\n\n\n")


def nearest(seconds):
    return int(np.floor(abs(seconds) * RATE + 0.5) * np.sign(seconds))


class Wanted:
    """Epochs as a person would find them: samples of the run, unless one is missing before or after."""

    def __init__(self, whole):
        self.run, self.edges = np.concatenate(list(whole), axis=1), (GAP_AFTER + 1) * SAMPLES

    def cut(self, occurrences, low, high, trials=range(TRIALS), skip_bad=False):
        found, origins = [], []
        for trial, seconds in sorted(occurrences, key=lambda o: (o[0], nearest(o[1]))):
            if trial not in trials or trial >= TRIALS:
                continue
            first = trial * SAMPLES + BEFORE + nearest(seconds) + nearest(low)
            last = first + nearest(high) - nearest(low)
            start, end = (0, self.edges) if trial <= GAP_AFTER else (self.edges, TRIALS * SAMPLES)
            if first < start or last >= end:
                continue
            bad = [BAD_SEGMENT[0] * SAMPLES + nearest(s) for s in BAD_SEGMENT[1:]]
            in_bad_trial = first < (BAD_TRIAL + 1) * SAMPLES and last >= BAD_TRIAL * SAMPLES
            if skip_bad and (in_bad_trial or (first <= bad[1] - 1 and last >= bad[0])):
                continue
            found.append(self.run[:, first:last + 1])
            origins.append((first // SAMPLES, first % SAMPLES))
        return np.array(found), origins


def main():
    run("simulate", "a.ds", "--quiet", "--channels", 40, "--trials", TRIALS, "--samples", SAMPLES, "--rate", RATE,
        "--pretrigger", BEFORE, "--continuous", "--gap", f"{GAP_AFTER}:0.5")
    markers = "".join(block(*marker) for marker in
                      (("tone", "SAMPLES", TONE), ("click", "SAMPLES", CLICK[:1]), ("click", "SAMPLES", CLICK[1:])))
    pathlib.Path("a.ds/MarkerFile.mrk").write_text(f"PATH OF DATASET:\na.ds\n\n\nNUMBER OF MARKERS:\n3\n\n\n{markers}")
    classes = block("BADmove", "TRIALS", [(BAD_TRIAL,)])
    pathlib.Path("a.ds/ClassFile.cls").write_text(f"PATH OF DATASET:\na.ds\n\n\nNUMBER OF CLASSES:\n1\n\n\n{classes}")
    pathlib.Path("a.ds/bad.segments").write_text("%d\t%g\t%g\n" % BAD_SEGMENT)
    raw, _ = export()
    physical, described = export("--physical")
    good = np.array([c["good"] and c["kind"] == "gradiometer" for c in described["channels"]])
    assert 0 < good.sum() < len([c for c in described["channels"] if c["kind"] == "gradiometer"])
    whole, exact = Wanted(raw), Wanted(physical)

    for low, high in ((0, 0), (-0.1, 0.1), (-0.25, 0.3004), (0.05, 0.6)):
        epochs, said = export("--around", "tone", "--from", low, "--to", high)
        wanted, origins = whole.cut(TONE, low, high)
        assert epochs.dtype == np.int32 and np.array_equal(epochs, wanted), (low, high)
        assert [(t["origin"]["trial"], t["origin"]["firstSample"]) for t in said["trials"]] == origins
        assert abs(said["times"]["first"] - nearest(low) / RATE) < 1e-12
        assert said["leftOut"] == {"incomplete": len(TONE) - len(wanted), "bad": 0, "rejected": 0}
    span = ("--around", "tone,click", "--from", -0.1, "--to", 0.1)
    epochs, said = export(*span, "--trials", "1,3,5", "--channels", "MLF*,stim", "--dtype", "float32")
    rows = [i for i, c in enumerate(described["channels"]) if c["shortName"].startswith("MLF") or c["kind"] == "stim"]
    alone, _ = whole.cut([o for o in TONE + CLICK if o[0] != 5], -0.1, 0.1, trials=(1, 3))  # no other trial is read
    assert np.array_equal(epochs, alone[:, rows].astype(np.float32)), epochs.shape
    assert [t["marker"] for t in said["trials"][:3]] == ["tone", "tone", "click"], said["trials"]

    wanted, _ = exact.cut(TONE, -0.1, 0.1)
    epochs, _ = export("--around", "tone", "--from", -0.1, "--to", 0.1, "--baseline", "-0.05:0")
    assert np.allclose(epochs, wanted - wanted[:, :, 50:101].mean(axis=2, keepdims=True), rtol=0, atol=1e-12 * abs(wanted).max())
    narrow, _ = export("--around", "tone", "--from", -0.1, "--to", 0.1, "--baseline", "-0.05:0", "--dtype", "float32")
    assert np.array_equal(narrow, epochs.astype(np.float32))
    few, said = export("--around", "tone", "--from", -0.1, "--to", 0.1, "--resample", 7, "--physical")
    assert np.array_equal(few, wanted[:, :, :196:7]) and abs(said["times"]["step"] - 0.007) < 1e-15
    # What is filtered is the run, before it is cut: an epoch that begins at a sample that the run keeps has its values.
    thin, _ = export("--continuous", "--gaps=cut", "--decimate", 4)
    few, said = export("--around", "tone", "--from", -0.1, "--to", 0.1, "--decimate", 4)
    starts = [SAMPLES * t["origin"]["trial"] + t["origin"]["firstSample"] for t in said["trials"]]
    there = [(epoch, start // 4) for epoch, start in zip(few, starts) if start % 4 == 0]
    assert len(there) > 2 and few.shape[2] == 50 and said["sampleRate"] == RATE / 4
    assert all(np.array_equal(epoch, thin[:, start:start + 50]) for epoch, start in there)
    _, filtered = export("--continuous", "--gaps=cut", "--decimate", 7)
    assert filtered["pieces"] == export("--continuous", "--gaps=cut", "--resample", 7)[1]["pieces"]
    kept, said = export("--around", "tone", "--from", -0.1, "--to", 0.1, "--skip-bad", "--physical")
    clean, _ = exact.cut(TONE, -0.1, 0.1, skip_bad=True)
    assert np.array_equal(kept, clean) and said["leftOut"]["bad"] == len(wanted) - len(clean) > 0

    # A limit between two epochs; a channel that is marked as bad, or not chosen, has no part in it or its part.
    peaks = np.ptp(wanted[:, good], axis=2).max(axis=1)
    limit = np.unique(peaks)[-3:-1].mean()
    some = ("--around", "tone", "--from", -0.1, "--to", 0.1, "--reject", f"MEG={limit!r}")
    kept, said = export(*some, "--channels", "stim", "--physical")
    assert np.array_equal(kept, wanted[peaks <= limit][:, :1]) and said["leftOut"]["rejected"] == (peaks > limit).sum() > 0
    assert "no epoch that is left" in run("export", "a.ds", *some[:-1], "meg=1e-20", "-o", "x.npy", code=1)

    both, said = export(*some, "--baseline", "-0.1:0", command="average")
    left = wanted[peaks <= limit]
    left = left - left[:, :, :101].mean(axis=2, keepdims=True)
    error = left.std(axis=0, ddof=1) / np.sqrt(len(left))
    assert said["epochs"] == len(left) and both.shape == (2, *left.shape[1:])
    scale = abs(left).max(axis=(0, 2))[:, None] + 1e-300
    assert (abs(both[0] - left.mean(axis=0)) <= 1e-13 * scale).all() and (abs(both[1] - error) <= 1e-12 * scale).all()
    alone, _ = export("--around", "click", "--from", -0.1, "--to", 0.1, "--trials", 1, command="average")
    assert np.array_equal(alone[0], exact.cut(CLICK[:1], -0.1, 0.1)[0][0]) and np.isnan(alone[1]).all()

    names = [c["name"] for c in described["channels"] if c["kind"] == "gradiometer"]
    pathlib.Path("a.ds/BadChannels").write_text("\n".join(names) + "\n")
    assert "none that is good" in run("export", "a.ds", *some, "-o", "x.npy", code=1)


with tempfile.TemporaryDirectory() as scratch:
    os.chdir(scratch)
    main()
    print("epochs and averages agree with NumPy")
