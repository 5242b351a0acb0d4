"""Views: what is known of samples, what is chosen of them, and what is computed of them."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Any, Dict, Iterable, List, Optional, Sequence, Tuple, Union

import numpy as np

from ._array import Samples
from ._errors import Error, Finding, RefusedError, finding_of
from ._header import Channel, made
from ._reading import OpenView, Ends, nearest, verdict_of
from ._said import nan_or
from ._selection import Names, Selection, combined, either, finite_number, selection_of, whole_number
from ._show import html_of, rows_of_view, text_of, unreadable

if TYPE_CHECKING:
    from numpy.typing import DTypeLike, NDArray

_ORIGIN = [("trial", np.int32), ("first_sample", np.int64), ("step", np.int64)]
_GAP = [("after_trial", np.int32), ("seconds", np.float64), ("samples", np.int64)]


class View(Samples):
    """Samples of a recording, read when they are asked for: an array of trials (or epochs) x channels x
    samples, or of channels x samples for a run.

    Index it as a NumPy array of its shape, by ints, slices, arrays of ints and masks, all of which read no
    more than they return. On the channel axis also names do: a full or a short name, a pattern ("MLC*"), a
    kind ("meg", "ref", "eeg", ...) or a list of these, which choose as a slice does: the axis stays, in the
    dataset's order.

    `numpy.asarray(view)` reads everything. Values are raw integers (int32), or physical values in the unit of
    each channel (float64, or float32 with `astype`): tesla, volt, seconds, metres. What is missing is NaN.

    Several threads may use a view at once; pickled, it is opened again where it arrives.
    """

    def __repr__(self) -> str:
        return text_of("View", self._source.shown, self._rows())

    def _repr_html_(self) -> str:
        return html_of("View", self._rows())

    def _rows(self) -> List[Tuple[str, str]]:
        try:
            return rows_of_view(self, self._source.shown)
        except Error as error:  # what shows itself does not fail
            return unreadable(error)

    @property
    def raw(self) -> View:
        """The same samples as the converter's integers (int32).

        Raises
        ------
        AttributeError
            Where there are none: values are computed (compensation, decimation, a baseline), or some are
            missing.
        """
        if not self._is_raw and not self._open().description()["hasRaw"]:
            computed = [name for name in ("compensation", "decimate") if name in self._selection]
            if "baseline" in self._selection.get("epochs", {}):
                computed.append("baseline")
            why = f"they are computed ({', '.join(computed)})" if computed else "some are missing"
            raise AttributeError(f"the values of this view are no integers: {why}")
        return View(self._source, self._selection, np.int32, True, self._ends)

    def astype(self, dtype: DTypeLike) -> View:
        """The same view with values of another type.

        Parameters
        ----------
        dtype
            float64 or float32; int32 of raw values only.
        """
        wanted = np.dtype(dtype)
        if not self._can_be(wanted):
            types = (
                "int32, float32 or float64" if self._is_raw else "float32 or float64; integers are in .raw"
            )
            raise TypeError(f"a view can't have values of type {wanted}, but of {types}")
        return View(self._source, self._selection, wanted, self._is_raw, self._ends)

    @property
    def is_raw(self) -> bool:
        """Whether values are the converter's integers, whatever their type."""
        return self._is_raw

    @property
    def is_epochs(self) -> bool:
        """Whether trials are epochs."""
        return "epochs" in self._selection

    @property
    def _chosen(self) -> List[Any]:
        channels: List[Any] = self._open().description()["channels"]
        return channels

    @property
    def channel_names(self) -> List[str]:
        """Full names of the channels, in order."""
        return [channel["name"] for channel in self._chosen]

    @property
    def kinds(self) -> List[str]:
        """Kind of each channel, such as "gradiometer"."""
        return [channel["kind"] for channel in self._chosen]

    @property
    def channels(self) -> List[Channel]:
        """The channels, in order, as `Recording.channels` has them."""
        known = self._source.header()["channels"]
        return [made(Channel, known[channel["index"]]) for channel in self._chosen]

    @property
    def units(self) -> List[str]:
        """Unit of each channel's values: "T", "V", "s", "m", or "1", which raw values have, too."""
        return ["1" if self._is_raw else channel["unit"] for channel in self._chosen]

    @property
    def sample_rate(self) -> float:
        """Hz, from one sample here to the next."""
        return nan_or(self._open().description()["sampleRate"])

    @property
    def times(self) -> NDArray[np.float64]:
        """Seconds of each sample of the first trial, float64: from the trigger, from the occurrence that an
        epoch is about, or from the start of a run. All trials have the same, unless they are split; see
        `times_of`."""
        return self.times_of(0)

    def times_of(self, trial: int) -> NDArray[np.float64]:
        """Seconds of each sample of a trial (a place in this view), as `times`."""
        handle = self._open()
        return handle.times(_place_of(trial, handle.shape[0]))

    @property
    def ends(self) -> Tuple[float, float]:
        """Seconds of the first and the last sample of the first trial, as in `times`."""
        return self._open().ends()

    @property
    def origins(self) -> np.recarray[Any, Any]:
        """Where each trial comes from: a structured array of `trial` (number in the file, from 0),
        `first_sample` (of that trial, from 0) and `step` (samples of the file from one sample here to the
        next). Of a run there is a row for each trial that it is put together of.
        """
        handle = self._open()
        step = self._selection.get("step", 1) * self._selection.get("decimate", 1)
        rows = [(piece["trial"], piece["firstSample"], step) for piece in handle.description()["pieces"]]
        for origin in (entry["origin"] for entry in handle.description()["trials"]):
            trial, first = origin["trial"], origin["firstSample"]
            if handle.first:  # an epoch that was narrowed, which may lie in two trials
                first += handle.first * origin["step"]
                later, first = divmod(first, int(self._source.header()["record"]["samplesPerTrial"]))
                trial += later
            rows.append((trial, first, origin["step"]))
        return table(rows, _ORIGIN)

    @property
    def events(self) -> np.recarray[Any, Any]:
        """The occurrence that each epoch is about: a structured array of `marker`, `trial` and `sample` (from
        0) and `time_ms` (milliseconds from that trial's trigger). Only epochs have it."""
        if not self.is_epochs:
            raise AttributeError("only epochs have events; Recording.events finds those of a channel")
        trials = self._open().description()["trials"]
        rows = [(e["marker"], e["trial"], e["sample"], nan_or(e["timeMs"])) for e in trials]
        name = ("marker", f"U{max(len(row[0]) for row in rows)}")
        return table(rows, [name, *_ORIGIN[:1], ("sample", np.int64), ("time_ms", np.float64)])

    @property
    def gaps(self) -> np.recarray[Any, Any]:
        """What is missing between the trials of a run: a structured array of `after_trial` (number in the
        file), `seconds` (negative where the clock goes back) and `samples`. Empty for other views."""
        gaps = self._open().description()["gaps"] or []
        return table([(gap["afterTrial"], nan_or(gap["seconds"]), gap["samples"]) for gap in gaps], _GAP)

    @property
    def left_out(self) -> Dict[str, int]:
        """Epochs that were left out, by reason: a dict of "incomplete", "bad" and "rejected"."""
        return dict(self._open().description()["leftOut"] or {})

    @property
    def warnings(self) -> List[Finding]:
        """What was noticed when the samples were chosen."""
        return [finding_of(entry) for entry in self._open().description()["warnings"]]

    def select(
        self,
        trials: Union[None, int, Iterable[int]] = None,
        markers: Optional[Names] = None,
        channels: Optional[Names] = None,
        exclude: Optional[Names] = None,
        tmin: Optional[float] = None,
        tmax: Optional[float] = None,
        samples: Optional[Tuple[Optional[int], Optional[int]]] = None,
        split: Optional[int] = None,
        step: Optional[int] = None,
        decimate: Optional[int] = None,
        compensation: Optional[int] = None,
        partial: Optional[str] = None,
    ) -> View:
        """Part of this view, with the parameters of `Recording.select`.

        What is chosen here and there counts at once, in the order in which `Recording.select` lists it:
        trials and spans are what both have, channels those of this view that match, steps are multiplied, and
        compensation and decimation take the place of what was before. Of epochs a span is part of each.
        """
        new = selection_of(
            trials,
            markers,
            channels,
            exclude,
            tmin,
            tmax,
            samples,
            split,
            step,
            decimate,
            compensation,
            partial,
        )
        if self._is_raw and ("compensation" in new or "decimate" in new):
            raise ValueError("compensated and decimated values are no integers: select physical values")
        ends = self._narrowed(new) if self.is_epochs else self._ends
        if "channels" in new and "channels" in self._selection:
            new["channels"] = self._names_of(new)
        both = combined(self._selection, new, self._trials_with, self._sample_at)
        return View(self._source, both, self._dtype, self._is_raw, ends)

    def _names_of(self, new: Selection) -> List[str]:
        """Full names of the channels of this view that a selection chooses."""
        places = self._open().places({"channels": new["channels"]})
        indices = {self._chosen[place]["index"] for place in places}
        known = self._source.header()["channels"]
        names = {channel["name"] for channel in known if channel["index"] in indices}
        for channel in known:
            if channel["name"] in names and channel["index"] not in indices:
                text = f"has two channels named {channel['name']}: take one out by its kind, with exclude"
                raise RefusedError("refused", self._source.shown, text)
        return sorted(names)

    def _trials_with(self, markers: List[str]) -> List[int]:
        trials = OpenView(self._source, {"markers": markers}).description()["trials"]
        return [trial["origin"]["trial"] for trial in trials]

    def _sample_at(self, seconds: float) -> int:
        """The nearest sample of a trial or of the run, half away from zero."""
        record = self._source.header()["record"]
        if not record["sampleRate"]:
            raise RefusedError("refused", self._source.shown, "has no sample rate: seconds are no samples")
        before = 0 if self.ndim == 2 else int(record["preTrigSamples"])
        return nearest(seconds * record["sampleRate"]) + before

    def _narrowed(self, new: Selection) -> Ends:
        """The ends of each epoch once a span of `new`, which is taken out of it, counts too."""
        span = new.pop("seconds", (None, None))
        if "samples" in new:
            times = self._open().description()["times"]
            step = times["step"] / (self._selection.get("step", 1) * self._selection.get("decimate", 1))
            span = tuple(times["first"] + sample * step for sample in new.pop("samples"))
        return either(max, self._ends[0], span[0]), either(min, self._ends[1], span[1])

    def min_max(
        self, tmin: Optional[float] = None, tmax: Optional[float] = None, width: int = 1000, trial: int = 0
    ) -> Tuple[NDArray[np.float64], NDArray[np.float64]]:
        """The least and the greatest value of each channel in each pixel of a drawing.

        Parameters
        ----------
        tmin, tmax : float, optional
            Seconds as in `times`, both ends included; None: from the first, to the last sample.
        width : int
            Pixels.
        trial : int
            Place in this view; -1 is the last.

        Returns
        -------
        least, greatest : numpy.ndarray
            float64, (channels, width), in each channel's unit; NaN where all samples are missing. What was
            drawn before is hardly read again.
        """
        pixels = whole_number(width, "width", 1, 1 << 24)
        start = None if tmin is None else finite_number(tmin, "tmin")
        end = None if tmax is None else finite_number(tmax, "tmax")
        handle = self._open()
        place = _place_of(trial, handle.shape[0])
        first, last = handle.between(start, end, place)
        return handle.min_max(place, first, last - first + 1, pixels)

    def stats(self) -> np.recarray[Any, Any]:
        """What the samples of each channel are like, as `Recording.stats`; of epochs only of whole ones."""
        if self._ends != (None, None):
            raise ValueError("statistics are of whole epochs: shorter ones have another tmin and tmax")
        found = self._open().statistics()
        columns = {
            "channel": np.array(self.channel_names),
            "kind": np.array(self.kinds),
            "unit": np.array([channel["unit"] for channel in self._chosen]),
            **{name: found[name] for name in ("min", "max", "mean", "std", "flat", "clipped", "jumps")},
            "verdict": np.array([verdict_of(faults) for faults in found["faults"]]),
        }
        return of_columns(columns)

    def to_dask(self, chunks: Any = None) -> Any:
        """A dask.array of this view, whose pieces are read by whoever needs them.

        Parameters
        ----------
        chunks
            As for `dask.array.from_array`; None: `View.chunks`.
        """
        from ._dask import to_dask

        return to_dask(self, self.chunks if chunks is None else chunks)


def _place_of(trial: int, count: int) -> int:
    """The place of a trial among so many, counted from 0; those from -1 down count from the end."""
    place = operator.index(trial)
    if not -count <= place < count:
        raise IndexError(f"trial {place} is out of bounds: there are {count}")
    return place % count


def table(rows: Sequence[Tuple[Any, ...]], dtype: Any) -> np.recarray[Any, Any]:
    """A structured array whose columns are attributes as well."""
    return np.array(list(rows), np.dtype(dtype)).view(np.recarray)


def of_columns(columns: Dict[str, Any]) -> np.recarray[Any, Any]:
    """The same of its columns."""
    dtype = [(name, column.dtype) for name, column in columns.items()]
    return np.rec.fromarrays(list(columns.values()), dtype=dtype)
