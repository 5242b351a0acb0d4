#!/usr/bin/python3
"""Compares what `ctfmeg stats` and `ctfmeg check --signals` say about samples with what NumPy makes of them.

    signals_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG, DATA = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
FAULTS = {"flat": "flat", "clipped": "clipped", "jump": "jumps", "noisy": "noisy"}  # as planted: as found


def run(*words, code=0):
    done = subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert done.returncode == code, (words, done)
    return done.stdout


def stats(path, *words):
    return json.loads(run("stats", "--json", "--quiet", path, *words))


def simulate(name, *words):
    run("simulate", "--quiet", name, *words)
    return name


def longest_run(row):
    edges = np.flatnonzero(np.diff(row) != 0)  # NaN differs from all, itself included
    return np.diff(np.concatenate([[-1], edges, [len(row) - 1]])).max()


def compare(path, *words):
    """The numbers of every channel, by plain and by exact arithmetic."""
    run("export", "--quiet", path, "-o", "raw.npy", *words)
    raw, about = np.load("raw.npy"), json.load(open("raw.npy.json"))
    raw = raw[None] if raw.ndim == 2 else raw
    gains = {c["name"]: c["gain"] for c in json.loads(run("info", "--json", "--quiet", path))["channels"]}
    rows = stats(path, *words)
    assert [row["channel"] for row in rows] == [c["name"] for c in about["channels"]]
    for i, row in enumerate(rows):
        there = raw[:, i][~np.isnan(raw[:, i])] if raw.dtype.kind == "f" else raw[:, i].ravel()
        gain = gains[row["channel"]]
        exact = [int(value) for value in there]
        n, total, squares = len(exact), sum(exact), sum(value * value for value in exact)
        wanted = {"min": (there / gain).min(), "max": (there / gain).max(), "mean": total / n / gain,
                  "std": ((n * squares - total * total) / n**2)**0.5 / abs(gain)}
        for key, value in wanted.items():
            assert np.isclose(row[key], value, rtol=1e-14, atol=0), (path, words, row, key, value)
        numpy_std = np.std(there.astype(np.longdouble)) / abs(gain)
        assert np.isclose(row["std"], float(numpy_std), rtol=1e-12, atol=0), (path, words, row, numpy_std)
        assert row["flat"] == max(longest_run(trial) for trial in raw[:, i]), (path, words, row)


def patch(path, trial, channel, values):
    """Puts other samples into a sample file."""
    record = json.loads(run("info", "--json", "--quiet", path))["record"]
    with open(next(pathlib.Path(path).glob("*.meg4")), "r+b") as file:
        file.seek(8 + 4 * record["samplesPerTrial"] * (trial * record["numChannels"] + channel))
        file.write(np.asarray(values).astype(">i4").tobytes())


def verdicts(path, *words):
    return {row["channel"].split("-")[0]: row["verdict"].split(",") for row in stats(path, *words)}


def test_numbers():
    simulate("a.ds", "--trials", 5, "--samples", 1500, "--channels", 40)
    full = 2**31 - 1
    patch("a.ds", 1, 5, np.resize([full, -full - 1, 3], 1500))  # all of 32 bits
    patch("a.ds", 2, 6, np.repeat(np.arange(150) * 40000000, 10) % full)  # runs, and steps of more than 2^21
    for words in ([], ["--continuous"], ["--trials", "0,2,3", "--continuous", "--gaps=nan"],
                  ["--trials", "0,2,3", "--continuous", "--gaps=cut"], ["--resample", 7], ["--split", 1500],
                  ["--samples", "3:1100", "--channels", "meg"]):
        compare("a.ds", *words)
    compare(simulate("long.ds", "--trials", 2, "--samples", 150001, "--channels", 6), "--continuous")
    one = run("stats", "--csv", "a.ds", "--threads", 1)
    assert all(run("stats", "--csv", "a.ds", "--threads", threads) == one for threads in (2, 3, 8))
    assert one.startswith("channel,kind,unit,min,max,mean,std,flat,clipped,jumps,verdict\n")
    assert stats("a.ds", "long.ds")[-1]["dataset"] == "long.ds"


def test_planted():
    for seed, trials, samples in ((1, 2, 1200), (2, 7, 900), (3, 1, 20000)):
        path = f"bad{seed}.ds"
        planted = run("simulate", "--quiet", path, "--trials", trials, "--samples", samples, "--seed", seed,
                      "--bad", "flat:2,clipped:2,jump:2,noisy:2")
        found = verdicts(path)
        faulty = dict(line.split(": ")[::-1] for line in planted.splitlines())
        for channel, verdict in found.items():
            fault = next((FAULTS[faulty[name]] for name in faulty if name.split("-")[0] == channel), None)
            assert fault in verdict if fault else verdict == ["ok"], (path, channel, fault, verdict)
        said = {finding["code"]: finding["text"] for finding in
                json.loads(run("check", "--signals", "--json", path, code=3))["findings"]}
        for name, fault in faulty.items():
            assert name.split("-")[0] in said["signal." + FAULTS[fault]], (name, fault, said)


def test_levels():
    """Cut off below the converter's ends, and what resembles it."""
    simulate("cut.ds", "--channels", 40, "--samples", 6000, "--trials", 1)
    run("export", "--quiet", "cut.ds", "-o", "cut.npy")
    row = np.load("cut.npy")[0, 20]
    level = int(1.5 * row.std())
    slow = np.round(300 * np.sin(np.arange(6000) / 900)).astype(int)  # equal samples at each turn, a full second
    patch("cut.ds", 0, 20, np.clip(row, -level, level))
    patch("cut.ds", 0, 21, slow)
    patch("cut.ds", 0, 22, slow << 16)  # of a converter of 16 bits
    rows = stats("cut.ds")
    assert rows[20]["verdict"] == "clipped" and rows[20]["clipped"] == (abs(row) >= level).sum(), rows[20]
    for i in (21, 22):
        assert not set(rows[i]["verdict"].split(",")) & {"clipped", "jumps"}, rows[i]


def test_sound():
    for seed, words in enumerate((["--trials", 1, "--samples", 30000], ["--trials", 40, "--samples", 100],
                                  ["--channels", 40], ["--rate", 12000, "--samples", 24000],
                                  ["--rate", 150, "--trials", 10])):
        path = simulate(f"sound{seed}.ds", "--seed", 100 + seed, *words)
        assert all(verdict == ["ok"] for verdict in verdicts(path).values()), verdicts(path)
        assert "signal." not in run("check", "--signals", path)
    real = DATA / "testdata_ctf_short_discontinuous.ds"
    if real.exists():  # an input that nothing is connected to
        assert {name for name, verdict in verdicts(real).items() if verdict != ["ok"]} == {"EEG060"}


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    for test in (test_numbers, test_planted, test_levels, test_sound):
        test()
