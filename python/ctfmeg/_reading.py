"""Reads samples of a view of the library into arrays."""

from __future__ import annotations

import ctypes
import json
import math
from ctypes import byref, c_int64, c_void_p
from typing import TYPE_CHECKING, Any, Dict, Optional, Sequence, Tuple

import numpy as np

from . import _library as c
from ._errors import RefusedError
from ._library import library
from ._selection import Selection, text_of
from ._source import Handle, Source

if TYPE_CHECKING:
    from numpy.typing import NDArray

TYPES = {"int32": c.INT32, "float32": c.FLOAT32, "float64": c.FLOAT64}
_FAULTS = {1: "flat", 2: "clipped", 4: "jumps", 8: "noisy"}
_LONG = 1e12  # seconds, beyond any recording

Ends = Tuple[Optional[float], Optional[float]]


class OpenView(Handle):
    """A view of the library.

    Parameters
    ----------
    source : Source
        The recording.
    selection : dict
        What the library is to select.
    ends : (float or None, float or None)
        Seconds of the first and the last sample of each epoch that is wanted.

    Attributes
    ----------
    shape : tuple of int
        Trials, channels and samples between the ends.
    first : int
        The first of these samples.
    """

    def __init__(self, source: Source, selection: Selection, ends: Ends = (None, None)) -> None:
        recording = source.handle()
        pointer = c_void_p()
        library().call_long("select", recording.pointer, text_of(selection), after=(byref(pointer),))
        super().__init__(pointer, "view_close", recording)
        shape = (c_int64 * 3)()
        library().call("shape", pointer, shape)
        self.shape: Tuple[int, int, int] = (shape[0], shape[1], shape[2])
        self.first = 0
        self._is_cut = selection.get("gaps") == "cut"
        self._description: Optional[Dict[str, Any]] = None
        if ends != (None, None):
            self.first, last = self.between(*ends)
            self.shape = (shape[0], shape[1], last - self.first + 1)
        source.report()

    def description(self) -> Dict[str, Any]:
        """What the library says that it holds."""
        if self._description is None:
            self._description = json.loads(library().text("describe", self.pointer))
        return self._description

    def places(self, selection: Selection) -> NDArray[np.int64]:
        """Places in the view of the channels that a selection chooses."""
        places = np.empty(self.shape[1], np.int64)
        count = c_int64()
        library().call(
            "find_channels", self.pointer, text_of(selection), places.ctypes.data, len(places), byref(count)
        )
        return places[: count.value]

    def times(self, trial: int, count: Optional[int] = None) -> NDArray[np.float64]:
        """Seconds of the samples of a trial, of the first `count` of them."""
        seconds = np.empty(self.first + (self.shape[2] if count is None else count))
        library().call("times", self.pointer, trial, seconds.ctypes.data, len(seconds))
        return seconds[self.first :]

    def ends(self, trial: int = 0) -> Tuple[float, float]:
        """Seconds of the first and the last sample of a trial."""
        rate = self.description()["sampleRate"]
        if self._is_cut or not rate:
            first, last = self.times(trial)[[0, -1]]
        else:
            first = self.times(trial, 1)[0]
            last = first + (self.shape[2] - 1) / rate
        return first, last

    def between(self, tmin: Optional[float], tmax: Optional[float], trial: int = 0) -> Tuple[int, int]:
        """The first and the last sample of a span of seconds, each the nearest (half away from zero).

        Raises
        ------
        Error
            Where none of them is in the trial.
        """
        samples, rate = self.shape[2], self.description()["sampleRate"]
        if not rate and (tmin, tmax) != (None, None):
            raise RefusedError("refused", "", "there is no sample rate: seconds are no samples")
        start = self.times(trial, 1)[0]
        uneven = self.times(trial) if self._is_cut else None  # where gaps are cut out, time jumps

        def place(seconds: float) -> int:
            if uneven is None:
                return nearest((seconds - start) * rate)
            after = min(int(np.searchsorted(uneven, seconds)), samples - 1)
            before = max(after - 1, 0)
            return before if seconds - uneven[before] < uneven[after] - seconds else after

        first = 0 if tmin is None else max(0, place(max(tmin, -_LONG)))
        last = samples - 1 if tmax is None else min(samples - 1, place(min(tmax, _LONG)))
        if not first <= last:
            text = "there is no sample in that span: there are samples from {:g} to {:g} s"
            raise RefusedError("refused", "", text.format(*self.ends(trial)))
        return first, last

    def fill(self, needs: Sequence[Any], is_raw: bool, out: NDArray[Any]) -> None:
        """Reads trials, channels and samples (a rising range) into an array of their shape."""
        *trials, channels, samples = needs
        part = c.Part(ctypes.sizeof(c.Part))
        chosen_trials = _places_or_none(trials[0], self.shape[0]) if trials else None
        if chosen_trials is not None:
            part.trials, part.trial_count = chosen_trials.ctypes.data, len(chosen_trials)
        chosen_channels = _places_or_none(channels, self.shape[1])
        if chosen_channels is not None:
            part.channels, part.channel_count = chosen_channels.ctypes.data, len(chosen_channels)
        part.first, part.samples, part.step = self.first + samples.start, len(samples), samples.step
        values = c.RAW if is_raw else c.PHYSICAL
        kind = TYPES[out.dtype.name]
        library().call_long("read", self.pointer, byref(part), kind, values, out.ctypes.data, out.nbytes)

    def min_max(
        self, trial: int, first: int, samples: int, width: int
    ) -> Tuple[NDArray[np.float64], NDArray[np.float64]]:
        """The least and the greatest value of each channel in each of `width` parts of samples of a trial."""
        least, greatest = np.empty((2, self.shape[1], width))
        places = least.ctypes.data, greatest.ctypes.data, least.size
        library().call_long("min_max", self.pointer, trial, self.first + first, samples, width, *places)
        return least, greatest

    def statistics(self) -> NDArray[np.void]:
        """A structured array: a row for each channel."""
        entries, count = ctypes.POINTER(c.ChannelStatistics)(), c_int64()
        library().call_long("statistics", self.pointer, after=(byref(entries), byref(count)))
        return taken(entries, count.value, c.ChannelStatistics)


def verdict_of(faults: int) -> str:
    """Such as "flat,noisy", or "ok"."""
    return ",".join(name for bit, name in _FAULTS.items() if faults & bit) or "ok"


def nearest(value: float) -> int:
    """Half away from zero."""
    return int(math.copysign(math.floor(abs(value) + 0.5), value))


def _places_or_none(places: Any, length: int) -> Any:
    """What the library takes as places: None for all of them."""
    if not isinstance(places, range):
        return np.ascontiguousarray(places, np.int64)
    return None if places == range(length) else np.arange(places.start, places.stop, places.step, np.int64)


def taken(entries: Any, count: int, kind: Any) -> NDArray[np.void]:
    """A copy of an array of structs that the library returned, which is released."""
    try:
        if not count:
            return np.empty(0, np.dtype(kind))
        address = ctypes.cast(entries, c_void_p).value or 0
        there: Any = (ctypes.c_char * (count * ctypes.sizeof(kind))).from_address(address)
        rows: NDArray[np.void] = np.frombuffer(there, np.dtype(kind)).copy()
        return rows
    finally:
        library().functions.ctfmeg_free(ctypes.cast(entries, c_void_p))
