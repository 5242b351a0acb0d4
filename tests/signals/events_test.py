#!/usr/bin/python3
"""Compares `ctfmeg events` with what NumPy makes of exported samples, and its matches with those of all pairs.

    events_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import itertools
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG, DATA = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
EDGES = {"rising": np.greater, "falling": np.less, "both": np.not_equal}
SAMPLES, TRIALS = 1500, 6


def run(*words, code=0, errors=None):
    done = subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert done.returncode == code and (errors is None or errors in done.stderr), (words, done)
    return done.stdout


def events(path, *words):
    return json.loads(run("events", "--json", "--quiet", path, *words))


def simulate(name, *words, types={}):
    """With random stimuli on UPPT001 and UADC001, and other sensor types in the resource file."""
    run("simulate", "--quiet", name, "--channels", 10, "--trials", TRIALS, "--samples", SAMPLES, "--pretrigger", 300,
        *words)
    said = json.loads(run("info", "--json", "--quiet", name))
    file, sampled = next(pathlib.Path(name).glob("*.res4")), next(pathlib.Path(name).glob("*.meg4"))
    places = {c["shortName"]: c["index"] for c in said["channels"]}
    data, filters = bytearray(file.read_bytes()), said["record"]["filters"]
    sensors = 1846 + struct.unpack_from(">i", data, 1836)[0] + sum(18 + 8 * len(f["params"]) for f in filters) + 32 * 10
    for channel, number in types.items():
        struct.pack_into(">h", data, sensors + 1328 * places[channel], number)
    file.write_bytes(data)
    numbers = np.random.default_rng(17)
    with open(sampled, "r+b") as samples:
        for channel in ("UPPT001", "UADC001"):
            lengths = numbers.integers(1, 400, 100)  # some go on over borders of trials
            values = np.repeat(numbers.choice([0, 0, 1, 2, 3, 255, 256, -1, -2**31, 2**31 - 1], 100), lengths)
            values = values[:SAMPLES * TRIALS].reshape(TRIALS, SAMPLES)
            values[0, 0], values[3, -2:], values[4, 0], values[-1, -2:] = 5, (0, 6), 7, (0, 9)
            for trial in range(TRIALS):
                samples.seek(8 + 4 * SAMPLES * (10 * trial + places[channel]))
                samples.write(values[trial].astype(">i4").tobytes())
    return name


def runs(path, channels, words):
    """Samples that follow each other: values, trials and samples in them, and times of sampling in periods."""
    run("export", "--quiet", path, "-o", "x.npy", "--channels", channels, *words)
    x, about = np.load("x.npy").astype(float), json.load(open("x.npy.json"))
    said = json.loads(run("info", "--json", "--quiet", path))
    record, clock = said["record"], [c for c in said["channels"] if c["kind"] == "clock"]
    starts = np.arange(record["numTrials"]) * record["samplesPerTrial"]
    if clock:
        run("export", "--quiet", path, "-o", "c.npy", "--physical", "--channels", clock[0]["name"], "--partial=nan")
        seconds = np.load("c.npy")[:, 0, 0]
        starts = np.round((seconds - seconds[0]) * record["sampleRate"])
    step = int(round(record["sampleRate"] / about["sampleRate"]))
    if x.ndim == 2:
        x, pieces = x[None], [(0, p["at"], p["trial"], p["firstSample"]) for p in about["pieces"]]
    else:
        pieces = [(i, 0, t["origin"]["trial"], t["origin"]["firstSample"]) for i, t in enumerate(about["trials"])]
    for c, channel in enumerate(about["channels"]):
        rows = []
        for (i, at, trial, first), after in itertools.zip_longest(pieces, pieces[1:]):
            values = x[i, c, at:after[1] if after and after[0] == i else None]
            samples = first + step * np.arange(len(values))
            there = ~np.isnan(values) & (samples < record["samplesPerTrial"])
            rows.append(np.stack([values, np.full(len(values), trial), samples, samples + starts[trial]])[:, there])
        all_rows = np.concatenate(rows, axis=1)
        parts = np.split(all_rows, 1 + np.flatnonzero(np.diff(all_rows[3]) >= 2 * step), axis=1)
        yield channel["name"], record, step, parts


def compare(path, *words, mask=None, edge="rising", channels="stim"):
    wanted = []
    for c, (name, record, step, parts) in enumerate(runs(path, channels, words)):
        for values, trial, sample, position in parts:
            values = values.astype(np.int64).astype(np.uint32) & np.uint32(0xFFFFFFFF if mask is None else mask)
            before = np.concatenate([[0], values[:-1]]).astype(np.uint32)
            changes = np.flatnonzero(values != before)
            ends = np.append(position, position[-1:] + step)[np.append(changes, len(values))]
            for number, i in enumerate(changes):
                if EDGES[edge](values[i], before[i]):
                    times = [sample[i] - record["preTrigSamples"], position[i], ends[number + 1] - position[i]]
                    wanted.append([trial[i], sample[i], c, name, values[i], before[i], *times])
    wanted, rate = sorted(wanted), record["sampleRate"]
    masked = [] if mask is None else ["--mask", mask]
    masked += [] if channels == "stim" else ["--channel", channels]
    found = events(path, *words, *masked, "--edges", edge)
    exact = [[row[key] for key in ("trial", "sample", "channel", "value", "previous")] for row in found]
    assert exact == [[t, s, *more[1:4]] for t, s, *more in wanted], (path, words, mask, edge)
    times = np.reshape([[row["timeMs"] / 1000, row["runTime"], row["duration"]] for row in found], (-1, 3))
    assert np.allclose(times * rate, np.reshape([row[6:] for row in wanted], (-1, 3)), rtol=0, atol=1e-3), (path, words)
    return found


def test_changes():
    simulate("a.ds", "--gap", "1:0.7,4:0.01", types={"UADC001": 11})
    for edge, mask in itertools.product(EDGES, (None, 1, 0x80000000, "0xff", 254, 0)):
        number = int(str(mask), 0) if mask is not None else None
        found = compare("a.ds", mask=number, edge=edge)
        assert {row["channel"].split("-")[0] for row in found} == ({"UPPT001", "UADC001"} if number != 0 else set())
    assert compare("a.ds", channels="UPPT001")[0]["sample"] == 0
    simulate("b.ds")  # its trials adjoin
    for path in ("a.ds", "b.ds"):
        for words in (["--trials", "0,2,3,5"], ["--samples", "3:1100"], ["--samples", "0:1100"], ["--from", "0.1"],
                      ["--split", 4], ["--split", 7], ["--resample", 7], ["--split", 4, "--resample", 4],
                      ["--marker", "tone"], ["--continuous", "--gaps=cut"], ["--continuous", "--gaps=nan", "--resample", 3],
                      ["--continuous", "--gaps=cut", "--samples", "700:4000"]):
            assert compare(path, *words, edge="both", channels="UPPT001,UADC001")
        for words in (["--split", 4], ["--resample", 7], ["--trials", "0,2,3"]):
            assert events(path, *words) == events(path, *words, "--rules=host"), (path, words)


def test_damaged():
    """A last trial that is cut short after a gap, and trials without a clock."""
    simulate("c.ds", "--gap", "4:0.7")
    os.truncate("c.ds/c.meg4", 8 + 4 * SAMPLES * (10 * (TRIALS - 1) + 3))
    for words in (["--partial"], ["--partial=drop"], []):
        channels = "UPPT001" if words == ["--partial=drop"] else "UPPT001,UADC001"
        last = compare("c.ds", *words, edge="both", channels=channels)[-1]
        assert last["trial"] == TRIALS - (1 if words else 2)
    simulate("d.ds", "--gap", "1:0.7", types={"SCLK01": 18})
    run("events", "d.ds", errors="warning: has no clock that says whether trials follow each other")
    compare("d.ds", edge="both")
    run("simulate", "--quiet", "e.ds", "--channels", 1)
    run("events", "e.ds", code=1, errors="has no stimulus channel")


def brute_force(events, tones):
    """Pairs of numbers, of events and occurrences at these samples, the nearest first."""
    pairs, place = {}, lambda pair: (events[pair[0]], tones[pair[1]])
    for e, t in sorted(np.ndindex(len(events), len(tones)), key=lambda p: (abs(np.diff(place(p))[0]), sum(place(p)))):
        if abs(events[e] - tones[t]) <= 60 and e not in pairs and t not in pairs.values():
            pairs[e] = t
    return pairs


def test_markers():
    """Events and occurrences near each other, at random, some at the same sample or as far apart as can be."""
    run("simulate", "--quiet", "m.ds", "--channels", 10, "--trials", 40, "--samples", 900, "--pretrigger", 300,
        "--gap", "20:0.3")
    numbers, lines = np.random.default_rng(3), []
    with open("m.ds/m.meg4", "r+b") as samples:
        for trial in range(40):
            row = np.zeros(900)
            first, second = (2 * numbers.integers(-50, 50, numbers.integers(5)) for _ in range(2))
            if trial < 2:  # as far apart as can be, and farther
                first, second = [-100], [-40 + trial]
            row[300 + np.array(first, int)] = 1
            samples.seek(8 + 4 * 900 * 10 * trial)
            samples.write(row.astype(">i4").tobytes())
            lines += [f"{trial} {n / 1200:.9f}\n" for n in second]
    texts = pathlib.Path("m.ds/MarkerFile.mrk").read_text().split("NUMBER OF SAMPLES:")
    heading, later = texts[1].split("LIST OF SAMPLES:\n")[1].splitlines()[0], texts[1].index("CLASSGROUPID")
    texts[1] = f"\n{len(lines)}\nLIST OF SAMPLES:\n{heading}\n{''.join(lines)}\n\n{texts[1][later:]}"
    pathlib.Path("m.ds/MarkerFile.mrk").write_text("NUMBER OF SAMPLES:".join(texts))
    all_tones = [m for m in json.loads(run("markers", "--json", "m.ds")) if m["marker"] == "tone"]
    for words, chosen in (([], lambda tone: True), (["--trials", "3-5,20"], lambda tone: tone["trial"] in (3, 4, 5, 20)),
                          (["--samples", "301:320"], lambda tone: 301 <= tone["sample"] <= 320)):
        found, tones = events("m.ds", *words), list(filter(chosen, all_tones))
        at = [[round(row["runTime"] * 1200) for row in side] for side in (found, tones)]
        pairs, wanted = brute_force(*at), []
        for e, event in enumerate(found):
            t = pairs.get(e)
            said = [None] * 3 if t is None else [tones[t]["trial"], tones[t]["sample"], at[0][e] - at[1][t]]
            wanted.append([event["trial"], event["sample"], *said])
        alone = sorted((t["trial"], t["sample"]) for i, t in enumerate(tones) if i not in pairs.values())
        keys = ("trial", "sample", "markerTrial", "markerSample", "differenceSamples")
        rows = [[row[key] for key in keys] for row in events("m.ds", *words, "--compare-markers", "tone")]
        assert [row for row in rows if row[0] is not None] == wanted, words
        assert [row for row in rows if row[0] is None] == [[None, None, *place, None] for place in alone], words
        said = run("events", "m.ds", *words, "--compare-markers", "tone").splitlines()[-1]
        assert said.startswith(f"{len(pairs)} of {len(found)} events have an occurrence of tone"), said
    run("events", "m.ds", "--compare-markers", "ton", code=1, errors="the nearest is tone")


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    test_changes()
    test_damaged()
    test_markers()
    if (real := DATA / "testdata_ctf_short_discontinuous.ds").exists():
        compare(real, edge="both")
        for channel in ("clock", "adc", "MLC11"):
            assert compare(real, channels=channel, edge="both"), channel
