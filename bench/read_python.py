"""Reading through the Python package, and what a user would write without it: prints the seconds it took."""

import resource
import sys
import time

import numpy as np

kind, path = sys.argv[1], sys.argv[2]


def windows(channels, samples, count):
    """Where 1,000 windows of 1 s are: the same ones each time."""
    return np.random.default_rng(1).integers(0, samples - 1200, count)


if kind.startswith("numpy"):
    files, channels, samples = sys.argv[5:], int(sys.argv[3]), int(sys.argv[4])
    start = time.perf_counter()
    if kind == "numpy-raw":
        np.concatenate([np.fromfile(file, ">i4", offset=8).astype(np.int32) for file in files])
    else:  # windows of one trial, swapped and in tesla
        data = np.memmap(files[0], ">i4", "r", 8).reshape(channels, samples)
        gains = np.full((channels, 1), 1e15)
        for first in windows(channels, samples, 1000):
            data[:, first : first + 1200] / gains
else:
    import ctfmeg

    rec = None if kind == "open" else ctfmeg.open(path)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    start = time.perf_counter()
    if kind == "open":
        rec = ctfmeg.open(path)
    elif kind == "raw":
        values = np.asarray(rec.raw)
    else:
        data = rec.data
        for first in windows(*data.shape[1:], 1000):
            data[0, :, first : first + 1200]
    seconds = time.perf_counter() - start
    if kind == "raw" and len(sys.argv) > 3:  # bytes beyond the array instead
        print((resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before) * 1024 - values.nbytes)
        sys.exit()
    print(seconds)
    sys.exit()
print(time.perf_counter() - start)
