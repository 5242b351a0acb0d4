"""What a user would write to read sample files in NumPy: prints the seconds it took."""

import sys
import time

import numpy

kind, channels, samples = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
start = time.perf_counter()
for file in sys.argv[4:]:
    if kind == "rows":  # each channel of each trial in turn, nothing kept
        row = numpy.empty(samples)
        for values in numpy.memmap(file, ">i4", "r", 8).reshape(-1, samples):
            numpy.multiply(values, 1e-15, out=row)
        continue
    values = numpy.fromfile(file, ">i4", offset=8)
    if kind == "int32":
        values = values.astype(numpy.int32)
    else:
        values = values.astype(numpy.float64) * 1e-15
print(time.perf_counter() - start)
