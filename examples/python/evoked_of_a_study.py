#!/usr/bin/env python3
"""Averages the epochs around a marker over every recording below a folder, with Dask.

evoked_of_a_study.py STUDY --around NAME --from S --to S -o evoked.npz [--scheduler ADDRESS]

Without the address of a scheduler, one is started here with two workers, each a process of its own. A
recording counts as often as it has epochs. Those that can't be read, or don't fit the others, are listed with
the reason.
"""

from __future__ import annotations

import argparse
import collections
import contextlib
import sys
from typing import Any, Iterator

import distributed
import numpy as np

import ctfmeg

Evoked = dict[
    str, Any
]  # "mean" (channels x samples, in tesla), "epochs", "channels" (names), "times" (seconds)


def evoked_of(recording: ctfmeg.Recording, marker: str, tmin: float, tmax: float) -> Evoked:
    """The average of one recording. Runs on a worker; only the average is sent back."""
    wanted: dict[str, Any] = {"tmin": tmin, "tmax": tmax, "channels": "meg", "exclude": "bad"}
    epochs = recording.epochs(marker, **wanted)
    mean, _, number = recording.average(marker, **wanted)
    return {"mean": mean, "epochs": number, "channels": epochs.channel_names, "times": epochs.times}


def combined(results: list[Evoked]) -> Evoked:
    """The mean of all epochs, of the channels that every recording has."""
    shared = set.intersection(*(set(result["channels"]) for result in results))
    channels = [name for name in results[0]["channels"] if name in shared]
    epochs = sum(result["epochs"] for result in results)
    total = np.zeros((len(channels), len(results[0]["times"])))
    for result in results:
        total += result["epochs"] * result["mean"][[result["channels"].index(name) for name in channels]]
    return {"mean": total / epochs, "epochs": epochs, "channels": channels, "times": results[0]["times"]}


@contextlib.contextmanager
def connected(address: str | None) -> Iterator[distributed.Client]:
    """A client of the scheduler at an address, or of one that is started for the while."""
    with contextlib.ExitStack() as stack:
        if address is None:
            options = {"n_workers": 2, "threads_per_worker": 1, "processes": True, "dashboard_address": None}
            address = stack.enter_context(distributed.LocalCluster(**options)).scheduler_address
        yield stack.enter_context(distributed.Client(address))


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("study", help="folder")
    parser.add_argument("--around", required=True, metavar="NAME", help="marker")
    parser.add_argument("--from", required=True, metavar="S", dest="tmin", type=float, help="seconds from it")
    parser.add_argument("--to", required=True, metavar="S", dest="tmax", type=float, help="seconds from it")
    parser.add_argument("-o", required=True, metavar="FILE", dest="output", help="an .npz file")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="such as tcp://node1:8786")
    return parser.parse_args()


def main() -> int:
    options = arguments()

    def average(recording: ctfmeg.Recording) -> Evoked:
        return evoked_of(recording, options.around, options.tmin, options.tmax)

    found = ctfmeg.scan(options.study)
    with connected(options.scheduler) as client:
        results = ctfmeg.map_recordings(average, found, client)

    # Averages are of the same times where they have as many samples: all are from and to the same seconds.
    lengths = collections.Counter(len(result["times"]) for result in results if isinstance(result, dict))
    good = []
    for entry, result in zip(found, results):
        if isinstance(result, Exception):
            reason = result if isinstance(result, ctfmeg.Error) else f"{entry['path']}: {result!r}"
            print(f"left out: {reason}", file=sys.stderr)
        elif len(result["times"]) != lengths.most_common(1)[0][0]:
            print(f"left out: {entry['path']}: has another sample rate than most", file=sys.stderr)
        else:
            good.append(result)
    if not good:
        print("no recording could be averaged", file=sys.stderr)
        return 1
    evoked = combined(good)
    np.savez(options.output, **evoked)
    shape = f"{len(evoked['channels'])} channels x {len(evoked['times'])} samples"
    print(f"{options.output}: {evoked['epochs']} epochs of {len(good)} recordings, {shape}")
    print(f"{len(found) - len(good)} recordings left out")
    return 0


if __name__ == "__main__":
    sys.exit(main())
