"""What compensation costs in NumPy where everything is in memory: prints the seconds it took.

    product_numpy.py SENSORS REFERENCES SAMPLES TRIALS
"""

import sys
import time

import numpy

sensors, references, samples, trials = map(int, sys.argv[1:])
random = numpy.random.default_rng(1)
weights = random.normal(size=(sensors, references))
# Some trials in turn, more than a processor's own memory holds.
some = [(random.normal(size=(sensors, samples)), random.normal(size=(references, samples))) for _ in range(4)]
out = numpy.empty((sensors, samples))
start = time.perf_counter()
for trial in range(trials):
    values, fields = some[trial % len(some)]
    numpy.matmul(weights, fields, out=out)
    numpy.subtract(values, out, out=out)
print(time.perf_counter() - start)
