"""What a user would write to read sample files in NumPy: prints the seconds it took."""

import sys
import time

import numpy

start = time.perf_counter()
for file in sys.argv[2:]:
    values = numpy.fromfile(file, ">i4", offset=8)
    if sys.argv[1] == "int32":
        values = values.astype(numpy.int32)
    else:
        values = values.astype(numpy.float64) * 1e-15
print(time.perf_counter() - start)
