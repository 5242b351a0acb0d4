#!/usr/bin/python3
"""Compares what `ctfmeg export` writes with what NumPy makes of the bytes in the files, for selections that combine.

    arrays_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import concurrent.futures
import itertools
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
from fnmatch import fnmatchcase
from types import SimpleNamespace

import numpy as np

CTFMEG, DATA = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
CHANNELS, SAMPLES, CLOCK = 24, 170, 1  # of simulated recordings, and the clock's place among the channels
TRIAL, TICKS = CHANNELS * SAMPLES * 4, 24  # bytes of a trial, the clock's ticks in a sample
EACH = [word.partition("=")[::2] for word in """trials=0 trials=3,1 trials=1-2,0 marker=button marker=tone,button
    samples=-3:7 samples=5:20 samples=40:100000 samples=7:3 from=-0.005 from=0.005 from=9 to=0.005 to=0.0829 to=-9
    split=3 split=100000 continuous gaps=nan gaps=cut resample=1 resample=3 resample=64 resample=100000 channels=MEG
    channels=ref,eeg channels=clock,UPPT001 channels=sclk01,ML?1* channels=stim,mlf*,SCLK01,meg channels=nothing
    exclude=bad exclude=bad,CLOCK exclude=ref,ML* partial=nan partial=drop physical
    dtype=int32 dtype=float32 dtype=float64""".split()]


class Refused(Exception):
    """The command has to end with this code."""


def run(*words):
    return subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=True)


def info(path, *words):
    return json.loads(run("info", "--json", path, *words).stdout)


def nearest(value):
    return int(np.copysign(np.floor(abs(value) + 0.5), value))


def sample_files(path):
    """name.meg4, name.1_meg4, name.2_meg4."""
    return sorted(path.glob("*meg4"), key=lambda file: ("_" in file.name, file.name))


class Recording:
    """All that is in a dataset's files, in memory."""

    def __init__(self, path):
        said = info(path)
        self.path, self.channels, record = path, said["channels"], said["record"]
        self.said, self.rate, self.before = record["numTrials"], record["sampleRate"], record["preTrigSamples"]
        data = b"".join(file.read_bytes()[8:] for file in sample_files(path))
        data = np.frombuffer(data[:len(data) // 4 * 4], ">i4")
        block = record["samplesPerTrial"] * len(self.channels)
        self.there, rest = divmod(len(data), block)
        self.whole = rest // record["samplesPerTrial"]  # channels of a last trial that is cut short
        self.raw = np.pad(data, (0, -len(data) % block)).reshape(-1, len(self.channels), record["samplesPerTrial"])
        clock = next(c for c in self.channels if c["kind"] == "clock")
        self.clock = self.raw[:, clock["index"]] / clock["gain"]
        self.clock[self.there + (clock["index"] < self.whole):] = np.nan
        file = path / "MarkerFile.mrk"
        blocks = file.read_text().split("NAME:\n")[1:] if file.exists() else []
        self.markers = {text.split("\n")[0]: set(map(int, re.findall(r"^ +\+(\d+)\t", text, re.M))) for text in blocks}

    def named(self, names):
        found, kinds = set(), {"meg": ["gradiometer", "magnetometer"], "ref": ["ref-gradiometer", "ref-magnetometer"]}
        for name in names.split(",") if names else []:
            low = name.lower()
            some = [[c["index"] for c in self.channels if fits(c)] for fits in (
                lambda c: name == "bad" and not c["good"],
                lambda c: fnmatchcase(c["name"], name) or fnmatchcase(c["shortName"], name),
                lambda c: c["kind"] in kinds.get(low, [low]),
                lambda c: fnmatchcase(c["name"].lower(), low) or fnmatchcase(c["shortName"].lower(), low))]
            if not any(some) and name != "bad":
                raise Refused(1)
            found.update(next(filter(None, some), []))
        return found

    def one_run(self, trials, gaps):
        """For each sample of a run its trial (-1: missing), its number in that and its time; and what is missing."""
        size = self.raw.shape[2]
        parts, between, start, before = [], [], 0, None
        for t in trials:
            seconds = 0 if before is None else self.clock[t, 0] - self.clock[before, -1] - 1 / self.rate
            missing = (t - before - 1) * size if np.isnan(seconds) else nearest(seconds * self.rate)
            if missing != 0:
                if gaps is None or gaps == "nan" and missing < 0:
                    raise Refused(1)
                at = sum(len(part[0]) for part in parts)
                between.append((before, missing, at, at + missing * (gaps == "nan")))
                if gaps == "nan":
                    parts.append((np.full(missing, -1), np.zeros(missing, int), start + np.arange(missing)))
            parts.append((np.full(size, t), np.arange(size), start + missing + np.arange(size)))
            start, before = start + missing + size, t
        return *(np.concatenate(column)[None] for column in zip(*parts)), between

    def select(self, o):
        """What a command with these options has to write."""
        is_run, gaps, partial, dtype = "continuous" in o, o.get("gaps"), o.get("partial"), o.get("dtype")
        floats = "physical" in o or gaps == "nan" or partial == "nan"
        if (("from" in o or "to" in o) and "samples" in o or is_run and "split" in o or gaps and not is_run
                or floats and dtype == "int32"):
            raise Refused(2)
        named = [range(int(a), int(b or a) + 1) for a, b in re.findall(r"(\d+)-?(\d*)", o.get("trials", ""))]
        trials = sorted(set().union(*named)) if named else list(range(self.said))
        names = o["marker"].split(",") if "marker" in o else []
        if trials[-1] >= self.said or not set(names) <= set(self.markers):
            raise Refused(1)
        trials = [t for t in trials if not names or any(t in self.markers[name] for name in names)]
        there = self.there + (partial is not None and self.whole > 0)
        if not trials or (named or names) and trials[-1] >= there or there == 0:
            raise Refused(1)
        trials = trials[:there] if not named and not names else trials
        chosen = self.named(o["channels"]) if "channels" in o else set(range(len(self.channels)))
        channels = np.array(sorted(chosen - self.named(o.get("exclude"))), int)
        if trials[-1] == self.there and partial == "drop":
            channels = channels[channels < self.whole]
        if not len(channels):
            raise Refused(1)

        # Trials of the array x samples: from which trial and sample of the file each is, and when.
        if is_run:
            trial, sample, times, between = self.one_run(trials, gaps)
        else:
            trial, sample = np.meshgrid(trials, np.arange(self.raw.shape[2]), indexing="ij")
            times, between = sample - self.before, []
        first, last = map(int, o.get("samples", f"0:{trial.shape[1]}").split(":"))
        zero = 0 if is_run else self.before
        first = max(0, nearest(float(o["from"]) * self.rate) + zero if "from" in o else first)
        last = min(trial.shape[1] - 1, nearest(float(o["to"]) * self.rate) + zero if "to" in o else last)
        if first > last:
            raise Refused(1)
        pieces = min(int(o.get("split", 1)), last + 1 - first)
        length = (last + 1 - first) // pieces
        step = min(int(o.get("resample", 1)), length)
        trial, sample, times = (a[:, first:first + pieces * length].reshape(-1, length)[:, :length // step * step:step]
                                for a in (trial, sample, times))
        array = self.raw[trial[:, None], channels[:, None], sample[:, None]].astype("f8")
        if "physical" in o:
            array /= np.array([self.channels[c]["gain"] for c in channels])[:, None]
        array[(trial[:, None] < 0) | (trial[:, None] == self.there) & (channels[:, None] >= self.whole)] = np.nan
        array = array.astype(dtype or ("f8" if floats else "i4"))
        return SimpleNamespace(
            array=array[0] if is_run else array, trial=trial, sample=sample, times=times / self.rate, step=step,
            is_run=is_run, channels=[(c["name"], c["kind"], c["unit"] if "physical" in o else "1", c["good"])
                                     for c in (self.channels[number] for number in channels)],
            gaps=[(before, missing) for before, missing, at, end in between if end > first and at < first + length])


def compare(recording, file, expected):
    array, said = np.load(file), json.loads(pathlib.Path(f"{file}.json").read_text())
    rate, first, step = recording.rate, said["times"]["first"], said["times"]["step"]
    trial, sample = expected.trial, expected.sample
    begins = np.flatnonzero(np.diff(trial[0], prepend=-1) * (trial[0] >= 0)) if expected.is_run else []
    origins = [t["origin"] for t in said["trials"]]
    for what, is_, should in (
            ("shape", (array.shape, said["shape"]), (expected.array.shape, list(expected.array.shape))),
            ("type", (array.dtype, said["dtype"]), (expected.array.dtype, array.dtype.str)),
            ("channels", [(c["name"], c["kind"], c["unit"], c["good"]) for c in said["channels"]], expected.channels),
            ("gaps", [(g["afterTrial"], g["samples"]) for g in said["gaps"]], expected.gaps),
            ("pieces", [(p["trial"], p["firstSample"], p["at"]) for p in said["pieces"]],
             [(trial[0, i], sample[0, i], i) for i in begins]),
            ("origins", [(o["trial"], o["firstSample"], o["step"]) for o in origins],
             [] if expected.is_run else [(t[0], s[0], expected.step) for t, s in zip(trial, sample)]),
            ("times", np.round([1 / said["sampleRate"], step, first], 9).tolist(),
             np.round([expected.step / rate, expected.step / rate, expected.times[0, 0]], 9).tolist())):
        assert is_ == should, f"{what} {is_}, not {should}"
    wrong = np.argwhere((array != expected.array) & ~(np.isnan(array) & np.isnan(expected.array)))
    assert not len(wrong), (f"{len(wrong)} values differ, the first at {wrong[0]}: {array[tuple(wrong[0])]}, "
                            f"not {expected.array[tuple(wrong[0])]}")

    # The described times, against the clock. Gaps are in whole samples, so they are wrong by half of one at most.
    count = np.arange(trial.shape[1])
    clock = np.where(trial < 0, np.nan, recording.clock[trial, sample])
    if expected.is_run:
        axes = first + count[None] * step
        for piece in said["pieces"]:
            axes[0, piece["at"]:] = piece["time"] + count[:len(count) - piece["at"]] * step
    else:  # within each trial
        axes = np.array([[o["firstSample"] for o in origins]]).T / rate + count * step
        clock -= recording.clock[trial, 0]
    away = (axes - clock)[np.isfinite(clock)] * rate
    assert not away.size or np.ptp(away) <= 0.51, f"times leave the clock by {np.ptp([*away, 0])} samples"


def check(recording, options, folder):
    """What is wrong about a command, or nothing."""
    with tempfile.TemporaryDirectory(dir=folder) as mine:
        file = pathlib.Path(mine) / "array.npy"
        words = [f"--{name}={value}" if value else f"--{name}" for name, value in options.items()]
        result = run("export", "--quiet", recording.path, "-o", file, *words)
        try:
            expected, code = recording.select(options), 0
        except Refused as refused:
            expected, code = None, refused.args[0]
        try:
            assert result.returncode == code, f"exit code {result.returncode}, not {code}"
            assert file.exists() == (code == 0), f"a file is left: {file.exists()}"
            if expected:
                compare(recording, file, expected)
            if expected and expected.is_run:
                said = info(recording.path, *(word for word in words if word[:4] not in ("--ph", "--dt")))
                is_ = said["record"]["samplesPerTrial"], said["timing"]["sampleRate"], len(said["timing"]["gaps"])
                should = expected.array.shape[-1], recording.rate / expected.step, len(expected.gaps)
                assert np.allclose(is_, should), f"info --json says {is_}, not {should}"
        except Exception as problem:  # of any kind: it is said with the command that shows it
            return f"ctfmeg export {recording.path} {' '.join(words)}\n    {problem!r}\n    {result.stderr}"
    return None


def simulate(folder, name, trials, size=None, per_file=0, advances=(), channels=CHANNELS, samples=SAMPLES):
    """The last file cut to a size; a clock that goes on by so many ticks before trials."""
    path = folder / f"{name}.ds"
    made = run("simulate", path, "--quiet", "--rate", 500, "--pretrigger", 10, "--trials", trials, "--split-after",
               per_file, "--channels", channels, "--samples", samples)
    assert made.returncode == 0, made.stderr
    trial = 0
    for file in sample_files(path):
        data = np.memmap(file, ">i4", "r+", 8).reshape(-1, channels, samples)
        for later, ticks in advances:
            data[max(later - trial, 0):, CLOCK] += ticks
        trial += len(data)
    if size:
        with open(sample_files(path)[-1], "r+b") as last:
            last.truncate(8 + size)
    return path


def several(folder, datasets):
    """What is wrong about one command for several datasets, one of them broken."""
    broken, out = simulate(folder, "broken", 1), folder / "out"
    (broken / "broken.res4").write_bytes(b"MEG42RS\0")
    paths = [datasets[0].path, broken, *(d.path for d in datasets[1:])]
    command = ["export", "--quiet", "--output-dir", out, "--jobs", 2, "--skip-existing", *paths]
    names = {f"{d.path.stem}.npy{end}" for d in datasets for end in ("", ".json")}
    out.mkdir()
    (out / "one.npy").symlink_to("one.npy")  # leads nowhere
    for skipped in (0, len(datasets)):
        result = run(*command)
        counts = result.returncode, result.stdout.count("skipped"), result.stdout.count("failed")
        assert counts == (1, skipped, 1) and {file.name for file in out.iterdir()} == names, (
            f"ctfmeg {' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    for dataset in datasets:
        compare(dataset, out / f"{dataset.path.stem}.npy", dataset.select({}))


def full_disk(folder, path):
    """Room for an array and not for its description."""
    file = folder / "full.npy"
    words = ["export", path, "--trials", 0, "--samples", "0:0", "--channels", "ref", "-o", file]
    result = subprocess.run(["sh", "-c", 'ulimit -f 1; exec "$@"', "sh", CTFMEG, *map(str, words)],
                            capture_output=True, text=True)
    assert result.returncode == 1 and not list(folder.glob("full*")), f"{words}\n{result.stderr}"


def real(folder, path):
    """The recording whose second trial comes 99 seconds after the first, with commands for it."""
    refused, timing = run("export", path, "--continuous", "-o", folder / "refused.npy"), info(path)["timing"]
    assert refused.returncode == 1 and "(118799 samples) are missing after trial 0" in refused.stderr, refused.stderr
    gaps = [(g["afterTrial"], g["samples"]) for g in timing["gaps"]]
    assert timing["trialsAdjoin"] is False and gaps == [(0, 118799)], f"timing {timing}"
    recording = Recording(path)
    run_ = recording.select({"continuous": "", "gaps": "nan", "channels": "MLC1*"}).array
    assert run_.shape[1] == 121201 and np.all(np.isnan(run_).sum(axis=1) == 118799), "the gap is another"
    return recording


def main(folder):
    paths = [
        simulate(folder, "one", 4, advances=[(2, 9)]),  # by less than half a sample: trials adjoin
        simulate(folder, "gaps", 5, per_file=2, advances=[(1, 7 * TICKS), (4, 40 * TICKS + 5)]),
        simulate(folder, "back", 3, per_file=1, advances=[(2, -30 * TICKS)]),
        simulate(folder, "crashed", 4, TRIAL + TRIAL * 2 // 3 + 100, per_file=2),
        simulate(folder, "begun", 3, TRIAL // 2, per_file=2),  # a file without a whole trial
        simulate(folder, "clockless", 3, 2 * TRIAL + 730),  # in its last trial
        simulate(folder, "alone", 1, TRIAL * 9 // 10)]
    (paths[1] / "BadChannels").write_text("MLF12\nEEG057\n")
    older = pathlib.Path(shutil.copytree(paths[0], folder / "older.ds"))
    for file in older.glob("one.*"):
        (older / file.name.replace("one", "older")).write_bytes(file.read_bytes().replace(b"MEG42RS", b"MEG41RS", 1))
        file.unlink()
    datasets = [Recording(path) for path in [*paths, older]]
    several(folder, datasets[:3])
    full_disk(folder, paths[0])

    chosen = random.Random(1)
    both, three = ([dict(items) for items in itertools.combinations(EACH, n) if len(dict(items)) == n] for n in (2, 3))
    runs = [{"continuous": "", **o} for o in three if "gaps" in o and not {"continuous", "split"} & set(o)]
    asked = [(d, dict(items)) for d in datasets for items in [[], *([item] for item in EACH)]]
    # Within a gap, and beside it.
    asked += [(datasets[1], {"continuous": "", "gaps": how, "samples": span}) for how, span in (
        ("nan", "171:175"), ("nan", "177:300"), ("cut", "170:300"), ("cut", "0:169"))]
    asked += [(datasets[number % 7], o) for number, o in enumerate(both)]
    for dataset in datasets[:7]:
        asked += [(dataset, o) for o in chosen.sample(both, 20) + chosen.sample(three, 40) + chosen.sample(runs, 40)]
    # A channel of more samples than are read at once.
    long = Recording(simulate(folder, "long", 1, 4 * 2200000 * 4 * 9 // 10, channels=4, samples=2200000))
    asked += [(long, {"partial": "nan", "physical": "", "continuous": ""})]
    paths = sorted(DATA.glob("*.ds"))
    for recording in [real(folder, path) for path in paths]:
        some = chosen.sample(both, 80) + chosen.sample(runs, 20)
        asked += [(recording, {"channels": "MLC1*,clock", **o}) for o in some]
        asked += [(recording, o) for o in ({}, {"physical": ""}, {"exclude": "ref", "split": "7"})]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        wrong = [text for text in pool.map(lambda each: check(*each, folder), asked) if text]
    print("\n".join(wrong[:10]))
    print(f"{len(asked)} commands, {len(wrong)} wrong" + ("" if paths else f"; {DATA} has no recording"))
    return bool(wrong)


with tempfile.TemporaryDirectory() as temporary:
    sys.exit(main(pathlib.Path(temporary)))
