#!/usr/bin/python3
"""Compares the low-pass for decimation with NumPy's Kaiser window and convolution, and its response with the docs.

    low_pass_test.py CTFMEG LOW_PASS DOCS
"""

import json
import math
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG, LOW_PASS, DOCS = (pathlib.Path(word).resolve() for word in sys.argv[1:])


def run(*words, code=0):
    done = subprocess.run(list(map(str, words)), stdin=subprocess.DEVNULL, capture_output=True)
    assert done.returncode == code, (words, done)
    return done.stdout if code == 0 else done.stderr.decode()


def weights(factor):
    k = np.arange(-13 * factor, 13 * factor + 1)
    w = np.sinc(0.8 * k / factor) * np.kaiser(len(k), 0.1102 * (82 - 8.7))
    return w / w.sum()


def response(w, frequencies, factor):
    """Frequencies: in new Nyquist frequencies. The filter is symmetric, so its response is real."""
    k = np.arange(len(w)) - len(w) // 2
    return np.array([w @ np.cos(np.pi * f / factor * k) for f in frequencies])


def filtered(x, factor, breaks=()):
    """Each stretch of the last axis between breaks and missing values by itself."""
    w, half, out = weights(factor), 13 * factor, np.full(x.shape, np.nan)
    for place in np.ndindex(x.shape[:-1]):
        there = ~np.isnan(x[place])
        starts = [i for i in range(len(there)) if there[i] and (i == 0 or not there[i - 1] or i in breaks)]
        for a in starts:
            b = next((i for i in range(a + 1, len(there)) if not there[i] or i in breaks), len(there))
            padded = np.pad(x[place][a:b], half, mode="reflect", reflect_type="odd")
            out[place][a:b] = np.convolve(padded, w, mode="valid")
    return out


def same(found, wanted):
    scale = np.nan_to_num(abs(wanted)).max(axis=-1, keepdims=True)
    return np.allclose(found / (scale + (scale == 0)), wanted / (scale + (scale == 0)), 0, 1e-13, equal_nan=True)


def test_weights():
    said = {}
    for row in re.findall(r"^\| ([\d.]+) \| *(-?[\d.]+) dB", DOCS.joinpath("recording.md").read_text(), re.MULTILINE):
        said[float(row[0])] = float(row[1])
    assert len(said) > 5, said
    for factor in (2, 3, 5, 10, 48):
        found = np.frombuffer(run(LOW_PASS, factor))
        assert np.allclose(found, weights(factor), rtol=1e-12, atol=1e-17), factor
        assert abs(math.fsum(found) - 1) <= 2.0**-52 and np.array_equal(found, found[::-1])
        kept = response(found, np.linspace(0, 0.6, 200), factor)
        gone = response(found, np.linspace(1, factor, 3000), factor)
        assert abs(kept - 1).max() < 2e-4 and abs(gone).max() < 1e-4, (factor, abs(kept - 1).max(), abs(gone).max())
        decibels = 20 * np.log10(response(found, [f for f in said if f < 1], factor))
        assert np.allclose(decibels, [said[f] for f in said if f < 1], atol=0.006), (factor, decibels)
    assert run(LOW_PASS, 1) == struct.pack("d", 1)


def test_values():
    """Trials, runs with gaps that are cut and filled, and a last trial that is cut short."""
    gain = np.array([c["gain"] for c in json.loads(run(CTFMEG, "info", "--json", "--quiet", "a.ds"))["channels"]])
    raw = np.memmap("a.ds/a.meg4", ">i4", "r+", 8, (6, len(gain), 700))
    time = np.arange(700)
    raw[0, 3] = 1_000_000 * np.cos(np.pi * 0.25 * time + 1)  # the new Nyquist frequency
    raw[0, 4] = 5000 * time - 10**6
    raw.flush()
    size = os.path.getsize("a.ds/a.meg4")
    os.truncate("a.ds/a.meg4", size - 4 * 700 * 5)  # five channels of the last trial
    for words, run_of in ((["--partial"], []), (["--continuous", "--gaps=cut", "--partial"], ["cut"]),
                          (["--continuous", "--gaps=nan", "--partial"], ["fill"])):
        run(CTFMEG, "export", "--quiet", "a.ds", "-o", "x.npy", "--physical", *words)
        stored, said = np.load("x.npy"), json.load(open("x.npy.json"))
        after = {gap["afterTrial"] for gap in said["gaps"]}
        breaks = [p["at"] for p in said["pieces"] if p["trial"] - 1 in after] if run_of else []
        assert np.isnan(stored).any() and len(breaks) == 2 * len(run_of)
        found = np.frombuffer(run(LOW_PASS, 4, "a.ds", *run_of)).reshape(stored.shape)
        assert same(found, filtered(stored, 4, breaks)), words
        if not run_of:
            counts = found[0] * gain[:, None]
            assert abs(counts[3, 60:-60]).max() < 110 and abs(counts[4] - raw[0, 4]).max() < 1e-6
    for run_of, at in (("cut", 1400), ("fill", 2000)):
        text = run(LOW_PASS, 54, "a.ds", run_of, code=1)
        assert text == f"refused: has only 700 samples in a row from sample {at} on, and decimation by 54 needs 703\n", text


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    run(CTFMEG, "simulate", "--quiet", "a.ds", "--channels", 40, "--trials", 6, "--samples", 700, "--continuous",
        "--gap", "1:0.5,2:0.3")
    test_weights()
    test_values()
