"""Recordings: a header at once, samples on demand."""

from __future__ import annotations

from ctypes import POINTER, byref, c_int64
from typing import (
    TYPE_CHECKING,
    Any,
    Callable,
    Dict,
    Iterable,
    List,
    Mapping,
    NamedTuple,
    Optional,
    Tuple,
    Union,
)

import numpy as np

from ._copies import Copying
from ._errors import Error, Finding
from ._library import Event, library
from ._reading import taken
from ._said import Said
from ._selection import Names, epochs_of, selection_of, text_of, whole_number
from ._show import html_of, rows_of_recording, text_of as text_of_rows, unreadable
from ._source import RULES, Path, Source, text_of_path
from ._view import View, of_columns

if TYPE_CHECKING:
    from numpy.typing import DTypeLike, NDArray


class Average(NamedTuple):
    """Mean and standard error of epochs, each (channels, samples) in the channels' units, and the
    number of epochs. The standard error is the sample standard deviation (n - 1) divided by the root of n;
    NaN for one epoch.
    """

    mean: NDArray[Any]
    standard_error: NDArray[Any]
    number: int


def open(
    path: Path,
    *,
    rules: str = "plain",
    on_warning: Optional[Callable[[Finding], Any]] = None,
    yes: bool = False,
    **storage_options: Any,
) -> Recording:
    """Opens the recording that a path or a URL belongs to. No sample is read.

    Parameters
    ----------
    path : str or path-like
        A `.ds` directory, a file of a dataset, or a URL that fsspec knows ("https://host/run.ds",
        "memory://run.ds", "zip://run.ds::study.zip").
    rules : {"plain", "host"}
        Header and side files as they say, or by the rules that existing hosts rely on.
    on_warning : callable, optional
        Called with each `Finding`, in the place of `warnings.warn`.
    yes : bool
        Reads a file although its name is not one of a CTF dataset's.
    **storage_options
        For what reads the URL.

    Returns
    -------
    Recording

    Raises
    ------
    Error
        When it can't be read; a FileNotFoundError or PermissionError as well, where it is one.
    """
    if rules not in RULES:
        raise ValueError(f'rules are "plain" or "host", not {rules!r}')
    where = text_of_path(path)
    if storage_options and "://" not in where:
        names = ", ".join(storage_options)
        raise TypeError(f"{names}: only a URL has storage options, and {where!r} is none")
    source = Source(where, rules, bool(yes), storage_options, on_warning)
    source.handle()
    recording = Recording(source)
    try:
        recording.raw.shape  # looks at the sample files, and notices what is wrong with them
    except Error:
        recording.info  # without samples there is still the header, which says why
    return recording


class Recording(Said, Copying):
    """An open recording: what its header and side files say, views of its samples, and copies with changes.

    Made by `ctfmeg.open`. Several threads may use it at once; pickled, it is opened again where it arrives.

    Attributes
    ----------
    raw : View
        All samples as the converter's integers: int32, (trials, channels, samples).
    data : View
        The same in the unit of each channel (tesla, volt, seconds, metres): float64, or as `astype` says.
    """

    def __init__(self, source: Source, dtype: DTypeLike = np.float64) -> None:
        self._source = source
        self.dtype = np.dtype(dtype)
        self.raw = View(source, {}, np.int32, True)
        self.data = View(source, {}, self.dtype, False)
        self._run: Optional[View] = None

    def __reduce__(self) -> Tuple[Any, ...]:
        return Recording, (self._source, self.dtype)

    def __repr__(self) -> str:
        return text_of_rows("Recording", self._source.shown, self._rows())

    def _repr_html_(self) -> str:
        return html_of("Recording", self._rows())

    def _rows(self) -> List[Tuple[str, str]]:
        try:
            return rows_of_recording(self, self._source.shown)
        except Error as error:  # what shows itself does not fail
            return unreadable(error)

    def astype(self, dtype: DTypeLike) -> Recording:
        """The same recording, whose physical values have another type: "float32" takes half the memory."""
        return Recording(self._source, self.data.astype(dtype).dtype)

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
        """Some of the samples, in the channels' units. Nothing is read yet.

        What is chosen combines, in this order: trials, markers, a span, split, step, channels, compensation,
        decimation.

        Parameters
        ----------
        trials : int or iterable of int, optional
            Numbers in the file, from 0; kept in the file's order, each once.
        markers : str or list of str, optional
            Only trials in which one of these markers occurs.
        channels : str or list of str, optional
            Full names, short names, patterns ("MLC*") or kinds ("meg", "ref", "eeg", ...); kept in the
            dataset's order, each once.
        exclude : str or list of str, optional
            Likewise, taken out; "bad": those that the dataset marks as bad.
        tmin, tmax : float, optional
            Seconds from the trigger, both ends included, each the nearest sample.
        samples : (int or None, int or None), optional
            First and last sample of each trial, both included, in the place of `tmin` and `tmax`.
        split : int, optional
            Each trial as so many of equal length.
        step : int, optional
            Sample 0 and every `step`-th after it, samples // step of them, not filtered.
        decimate : int, optional
            The same after a zero-phase low-pass filter.
        compensation : int, optional
            Gradient order, 0 to 3, to which MEG channels are brought.
        partial : {"nan", "drop"}, optional
            A last trial that is cut short counts; what it lacks is NaN, or those channels are left out.
            Without it that trial is left out.

        Returns
        -------
        View
            (trials, channels, samples).

        Raises
        ------
        ValueError, TypeError
            For what makes no sense. What the recording does not have is an `Error` when the view is first
            used.
        """
        return self.data.select(
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

    def continuous(self, gaps: str = "refuse", **selection: Any) -> View:
        """The trials as one run.

        Parameters
        ----------
        gaps : {"refuse", "nan", "cut"}
            What is done where trials do not adjoin, as their clock says: an `Error` that lists the gaps, NaN
            in them, or nothing between the trials.
        **selection
            As for `select`; spans count in the run.

        Returns
        -------
        View
            (channels, samples).
        """
        if gaps not in ("refuse", "nan", "cut"):
            raise ValueError(f'gaps are "refuse", "nan" or "cut", not {gaps!r}')
        return View(
            self._source, {"continuous": True, "gaps": gaps, **selection_of(**selection)}, self.dtype, False
        )

    def epochs(
        self,
        markers: Union[Names, NDArray[np.void]],
        tmin: float,
        tmax: float,
        baseline: Optional[Tuple[Optional[float], Optional[float]]] = None,
        skip_bad: bool = False,
        reject: Optional[Mapping[str, float]] = None,
        **selection: Any,
    ) -> View:
        """Stretches of equal length around occurrences of markers, over borders of trials that adjoin.

        Parameters
        ----------
        markers : str, list of str, or structured array
            Their names; or where they are: `trial` and `sample` (from 0), such as `Recording.events` returns.
        tmin, tmax : float
            Seconds from the occurrence, both ends included, each the nearest sample.
        baseline : (float or None, float or None), optional
            Each channel's mean over this span, in seconds from the occurrence, is subtracted; None in it: the
            end of the epoch.
        skip_bad : bool
            Leaves out epochs that touch a bad segment or a trial of a class whose name begins with BAD.
        reject : dict, optional
            From where on epochs are left out: limits of the difference of the greatest and the smallest value
            in a good channel of a kind, such as {"meg": 4e-12} in tesla. Their samples are read for it.
        **selection
            As for `select`: trials, channels, exclude, step, decimate, compensation and partial.

        Returns
        -------
        View
            (epochs, channels, samples), with `events` and `left_out`.
        """
        epochs = epochs_of(markers, tmin, tmax, baseline, skip_bad, reject)
        return View(self._source, {"epochs": epochs, **selection_of(**selection)}, self.dtype, False)

    def average(
        self,
        markers: Union[Names, NDArray[np.void]],
        tmin: float,
        tmax: float,
        baseline: Optional[Tuple[Optional[float], Optional[float]]] = None,
        skip_bad: bool = False,
        reject: Optional[Mapping[str, float]] = None,
        **selection: Any,
    ) -> Average:
        """Mean and standard error of epochs, read one at a time. The parameters are those of `epochs`.

        Returns
        -------
        Average
            `mean` and `standard_error`, each (channels, samples), and `number` of epochs.
        """
        epochs = epochs_of(markers, tmin, tmax, baseline, skip_bad, reject)
        both = {"epochs": epochs, "average": True, **selection_of(**selection)}
        view = View(self._source, both, self.dtype, False)
        mean, standard_error = view[...]
        return Average(mean, standard_error, int(view._open().description()["epochs"]))

    def events(
        self,
        channel: Optional[Names] = None,
        mask: Optional[int] = None,
        edge: str = "rising",
        **selection: Any,
    ) -> np.recarray[Any, Any]:
        """Changes of stimulus channels, over adjoining trials as one run. The value before a run counts as 0.

        Parameters
        ----------
        channel : str or list of str, optional
            Names, patterns or kinds; None: all channels of kind "stim".
        mask : int, optional
            Only these bits count.
        edge : {"rising", "falling", "both"}
            To a greater value, to a smaller one, or any change.
        **selection
            As for `select`: trials, markers, tmin, tmax, samples, exclude and step.

        Returns
        -------
        numpy.recarray
            Sorted by time: `channel` (full name), `value`, `previous`, `trial` and `sample` (from 0),
            `time_ms` (milliseconds from the trigger), `run_time` (seconds from the first sample of trial 0,
            gaps included) and `duration` (seconds to the next change).
        """
        if edge not in ("rising", "falling", "both"):
            raise ValueError(f'edge is "rising", "falling" or "both", not {edge!r}')
        wanted: Dict[str, Any] = {"edge": edge, **selection_of(channels=channel, **selection)}
        if mask is not None:
            wanted["mask"] = whole_number(mask, "mask", 0, 2**32 - 1)
        found, count = POINTER(Event)(), c_int64()
        library().call_long(
            "events", self._source.handle().pointer, text_of(wanted), after=(byref(found), byref(count))
        )
        events = taken(found, count.value, Event)
        self._source.report()
        names = np.array([entry["name"] for entry in self._header["channels"]])
        columns = {"channel": names[events["channel"]]}
        columns.update({name: events[name] for name in ("value", "previous", "trial", "sample")})
        columns.update(time_ms=events["time"] * 1e3, run_time=events["run_time"], duration=events["duration"])
        return of_columns(columns)

    def min_max(
        self, tmin: Optional[float] = None, tmax: Optional[float] = None, width: int = 1000
    ) -> Tuple[NDArray[np.float64], NDArray[np.float64]]:
        """The least and the greatest value of each channel in each pixel of a drawing of the whole run.

        Parameters
        ----------
        tmin, tmax : float, optional
            Seconds from the start of the run, gaps included.
        width : int
            Pixels.

        Returns
        -------
        least, greatest : numpy.ndarray
            float64, (channels, width), in each channel's unit; NaN in gaps. What was drawn before is hardly
            read again.
        """
        if self._run is None:
            self._run = self.continuous(gaps="nan")
        return self._run.min_max(tmin, tmax, width)

    def stats(self) -> np.recarray[Any, Any]:
        """What the samples of each channel are like; all of them are read.

        Returns
        -------
        numpy.recarray
            A row for each channel: `channel`, `kind`, `unit`, `min`, `max`, `mean` and `std` (in the unit),
            `flat` (longest run of equal samples), `clipped` and `jumps` (how many), and `verdict`: "ok", or
            "flat", "clipped", "jumps" and "noisy" with commas between.
        """
        return self.data.stats()
