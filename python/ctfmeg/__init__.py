"""Reads MEG recordings made on CTF systems (`.ds` directories) into NumPy arrays.

>>> import ctfmeg
>>> recording = ctfmeg.open("run.ds")
>>> recording.data[0, "MLC*", 100:200]          # trial 0, left central sensors, 100 samples, in tesla
>>> recording.epochs("tone", tmin=-0.1, tmax=0.4, baseline=(None, 0))[:].mean(axis=0)

A header is read at once, samples when they are asked for. All numbers of trials and samples count from 0,
all times are in seconds unless their name says `ms`, all values in tesla, volt, seconds or metres unless they
are raw.
"""

from __future__ import annotations

import sys

from ._copies import Change, Report
from ._dask import map_recordings
from ._errors import Error, Finding, NoPermissionError, NotFoundError, NotWrittenError, ReadingWarning
from ._library import library, set_threads
from ._recording import Average, Recording, open
from ._scan import Entry, scan
from ._view import View

__version__ = "0.1.0"

__all__ = [
    "Average",
    "Change",
    "Entry",
    "Error",
    "Finding",
    "NoPermissionError",
    "NotFoundError",
    "NotWrittenError",
    "ReadingWarning",
    "Recording",
    "Report",
    "View",
    "map_recordings",
    "open",
    "scan",
    "set_threads",
]


try:
    library()
except ImportError:
    if sys.argv[:1] != ["-m"]:  # `python -m ctfmeg` says what is missing
        raise
