#!/usr/bin/python3
"""How much sooner two worker processes sum all samples of a study than one, each reading with one thread.

dask_sum.py CTFMEG [RECORDINGS [MEGABYTES]]

Simulates a study with the command CTFMEG, and prints seconds and their ratio. One run of each is for warming
up; then runs of both take turns, and the best of five counts, as other work on the machine only ever adds
time.
"""

from __future__ import annotations

import contextlib
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any

import distributed
import numpy as np

import ctfmeg

ROUNDS = 5


def sum_of(recording: ctfmeg.Recording) -> int:
    return sum(int(trial.sum(dtype=np.int64)) for trial in recording.raw)


def simulate(command: str, folder: Path, recordings: int, megabytes: float) -> list[Path]:
    """A few different recordings, and links to them: what counts is that each is opened and read."""
    channels, trials = 100, 10
    samples = max(1, round(megabytes * 1e6 / (4 * channels * trials)))
    for number in range(min(recordings, 10)):
        options = ["--channels", str(channels), "--trials", str(trials), "--samples", str(samples), "--quiet"]
        subprocess.run(
            [command, "simulate", folder / f"{number}.ds", *options, "--seed", str(number + 1)], check=True
        )
    for number in range(10, recordings):
        (folder / f"{number}.ds").mkdir()
        for file in (folder / f"{number % 10}.ds").iterdir():
            os.link(file, folder / f"{number}.ds" / file.name.replace(f"{number % 10}.", f"{number}."))
    return sorted(folder.glob("*.ds"))


def client_of(stack: contextlib.ExitStack, workers: int) -> Any:
    options = {"threads_per_worker": 1, "processes": True, "dashboard_address": ":0", "silence_logs": 40}
    return distributed.Client(stack.enter_context(distributed.LocalCluster(n_workers=workers, **options)))


def main() -> int:
    command = sys.argv[1]
    recordings = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    megabytes = float(sys.argv[3]) if len(sys.argv) > 3 else 8.0
    best = {1: float("inf"), 2: float("inf")}
    with tempfile.TemporaryDirectory() as temporary:
        paths = simulate(command, Path(temporary), recordings, megabytes)
        with contextlib.ExitStack() as stack:
            clients = {n: stack.enter_context(client_of(stack, n)) for n in best}
            expected = None
            for turn in range(ROUNDS + 1):
                for workers, client in clients.items():
                    start = time.perf_counter()
                    results = ctfmeg.map_recordings(sum_of, paths, client)
                    seconds = time.perf_counter() - start
                    expected = expected or results
                    if results != expected:
                        print("the sums differ", file=sys.stderr)
                        return 1
                    if turn > 0:
                        best[workers] = min(best[workers], seconds)
    seconds = f"one worker {best[1]:.3f} s, two {best[2]:.3f} s, ratio {best[1] / best[2]:.2f}"
    print(f"{recordings} recordings of {megabytes:g} MB: {seconds}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
