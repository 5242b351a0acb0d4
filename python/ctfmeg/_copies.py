"""Copies of recordings with changes, and marks put into a recording's files."""

from __future__ import annotations

import json
import operator
import os
from dataclasses import dataclass
from dataclasses import field as member
from typing import TYPE_CHECKING, Any, Dict, Iterable, List, Mapping, Optional, Tuple, Union

from ._errors import Finding, finding_of
from ._library import library
from ._selection import Names, Selection, finite_number, names_of, selection_of, text_of, whole_number
from ._source import Path, Source, text_of_path

if TYPE_CHECKING:
    from ._recording import Recording


@dataclass(frozen=True)
class Change:
    """What became of a file, or of a field or some lines of it. Values are never repeated.

    Attributes
    ----------
    file : str
        In the copy's terms, such as "run.res4".
    field : str or None
        Such as "subjectId"; None: the file as a whole.
    what : str
        "kept", "removed", "shifted" (dates) or "replaced".
    count : int
        Fields or lines.
    """

    file: str
    field: Optional[str]
    what: str
    count: int


@dataclass(frozen=True, repr=False)
class Report:
    """What was done for a copy of a recording, or to its files.

    Attributes
    ----------
    path : str
        The dataset that was written.
    changes : list of Change
        What became of each file and field.
    names : dict of list of str
        The names that stay in an anonymised copy, for somebody to look at: of "channels", "electrodes",
        "markers" and "classes". Empty for other copies.
    warnings : list of Finding
        What was noticed on the way.
    """

    path: str
    changes: List[Change]
    names: Dict[str, List[str]] = member(default_factory=dict)
    warnings: List[Finding] = member(default_factory=list)

    def __repr__(self) -> str:
        return f"Report({self.path!r}, {len(self.changes)} changes, {len(self.warnings)} warnings)"

    def open(self, **options: Any) -> Recording:
        """Opens what was written; the options are those of `ctfmeg.open`."""
        from ._recording import open as open_recording

        return open_recording(self.path, **options)


class Copying:
    """How a recording is copied with changes.

    A copy is a new dataset with a name of its own. It is built beside its place, read back and compared, and
    appears whole or not at all; Ctrl-C leaves nothing. What is there already is never replaced.
    """

    _source: Source

    def save_renamed(self, out: Path) -> Report:
        """Copies the recording under another name: its directory, its files, and its name and path in them.

        Parameters
        ----------
        out : str or path-like
            The copy, whose name ends in ".ds". The folder that it is to be in must be there.

        Returns
        -------
        Report
            What was changed; `Report.open` opens the copy.

        Raises
        ------
        Error
            Of the kind "refused" where something is there already, "notWritten" (an OSError, too) when the
            disk is full, and for what can't be read.
        """
        return self._copied("rename", out)

    def save_anonymised(
        self,
        out: Path,
        *,
        subject: Optional[str] = None,
        shift_days: Optional[int] = None,
        keep_dates: bool = False,
        keep: Names = (),
        keep_names: bool = False,
    ) -> Report:
        """Copies the recording without what can name a person.

        Of each known file only what is known to be harmless stays: numbers, geometry, samples, and names of
        channels, electrodes, markers and classes. The copy is then searched for everything that was removed.

        Parameters
        ----------
        out : str or path-like
            The copy, as for `save_renamed`; its name is in its files, and should name nobody.
        subject : str, optional
            What takes the place of the subject's name and number.
        shift_days : int, optional
            Days that are added to each date. Without it dates are removed.
        keep_dates : bool
            Leaves dates as they are.
        keep : str or list of str
            Names of files that are copied though nothing is known about them.
        keep_names : bool
            Keeps names of channels, electrodes, markers and classes even where one holds what was removed
            elsewhere; otherwise that is an error.

        Returns
        -------
        Report
            For each file and field what was removed, replaced, shifted or kept; `Report.names` lists the
            names that stay.

        Raises
        ------
        Error
            As for `save_renamed`, and where a removed value is found in the copy, which is then given up.
        """
        how = _anonymising(subject, shift_days, keep_dates, keep, keep_names)
        return self._copied("anonymise", out, how)

    def save_cropped(
        self,
        out: Path,
        *,
        trials: Union[None, int, Iterable[int]] = None,
        markers: Optional[Names] = None,
        tmin: Optional[float] = None,
        tmax: Optional[float] = None,
        samples: Optional[Tuple[Optional[int], Optional[int]]] = None,
        channels: Optional[Names] = None,
        exclude: Optional[Names] = None,
        partial: Optional[str] = None,
    ) -> Report:
        """Copies part of the recording, as a dataset of its own: stored samples, of some trials and channels.

        Without a selection the copy has the trials that are there whole, which makes a sound dataset of one
        that was cut short.

        Parameters
        ----------
        out : str or path-like
            The copy, as for `save_renamed`.
        trials, markers, tmin, tmax, samples, channels, exclude
            As for `Recording.select`. Trials are numbered anew, from 0; markers, classes and bad segments
            follow.
        partial : {"drop"}, optional
            A last trial that is cut short counts, and the channels that it lacks are left out of the copy.

        Returns
        -------
        Report

        Raises
        ------
        Error
            As for `save_renamed`, and for a selection that the recording does not have.
        """
        part = selection_of(
            trials=trials,
            markers=markers,
            channels=channels,
            exclude=exclude,
            tmin=tmin,
            tmax=tmax,
            samples=samples,
            partial=partial,
        )
        return self._copied("crop", out, part)

    def save_bids(
        self,
        study: Path,
        subject: str,
        task: str,
        *,
        session: Optional[str] = None,
        run: Union[None, int, str] = None,
        line_frequency: Optional[float] = None,
        anonymise: Union[bool, Mapping[str, Any]] = False,
    ) -> Report:
        """Copies the recording to its place in a study of the BIDS standard, with the files that belong
        beside it.

        Parameters
        ----------
        study : str or path-like
            The study's folder, which may be there already, with other recordings in it.
        subject, task : str
            Labels of letters and digits, such as "01" and "rest".
        session : str, optional
            Likewise, where a subject has several sessions.
        run : int or str, optional
            Where a task was recorded several times; digits.
        line_frequency : float, optional
            Of the mains where it was recorded, in Hz.
        anonymise : bool or dict
            Leaves out what can name a person; a dict has parameters of `save_anonymised`, such as
            ``{"shift_days": -1000}``.

        Returns
        -------
        Report

        Raises
        ------
        Error
            As for `save_renamed` and `save_anonymised`.
        """
        options: Selection = {"subject": _text(subject, "subject"), "task": _text(task, "task")}
        if session is not None:
            options["session"] = _text(session, "session")
        if run is not None:
            options["run"] = run if isinstance(run, str) else str(operator.index(run))
        if line_frequency is not None:
            options["lineFrequency"] = finite_number(line_frequency, "line_frequency")
        if isinstance(anonymise, Mapping):
            options["anonymise"] = _anonymising(**anonymise)
        elif anonymise:
            options["anonymise"] = {}
        return self._copied("bids", study, options)

    def mark(
        self,
        *,
        bad: Names = (),
        good: Names = (),
        bad_segments: Iterable[Tuple[int, float, float]] = (),
        marker: Optional[str] = None,
        at: Iterable[Tuple[int, float]] = (),
    ) -> Report:
        """Puts marks into the recording's own files: bad channels, bad segments, occurrences of a marker.

        This recording stays as it was opened; `Report.open` opens it with its marks. Each file that changes
        is replaced at once, and the one before is kept beside it with ".bak" after its name (of
        MarkerFile.mrk: ".1.bak").

        Parameters
        ----------
        bad, good : str or list of str
            Channels that are not to be used, and that may be used again: names, patterns or kinds.
        bad_segments : list of (int, float, float)
            Trial, and seconds from its start at which each segment begins and ends.
        marker : str, optional
            The marker that `at` is about, which is made where there is none of that name.
        at : list of (int, float)
            Trial, and seconds from its trigger, of each occurrence.

        Returns
        -------
        Report

        Raises
        ------
        Error
            As for `save_renamed`; nothing is changed then.
        """
        marks: Selection = {"bad": names_of(bad), "good": names_of(good)}
        marks["badSegments"] = [
            {
                "trial": operator.index(trial),
                "start": finite_number(start, "the start of a bad segment"),
                "end": finite_number(end, "the end of a bad segment"),
            }
            for trial, start, end in bad_segments
        ]
        if marker is not None:
            marks["marker"] = _text(marker, "marker")
        marks["occurrences"] = [
            {"trial": operator.index(trial), "seconds": finite_number(seconds, "the time of an occurrence")}
            for trial, seconds in at
        ]
        place = self._source.place_to_copy()
        return self._report(library().text("mark", place, text_of(marks)))

    def _copied(self, operation: str, out: Path, options: Optional[Selection] = None) -> Report:
        arguments = [self._source.place_to_copy(), os.fsencode(text_of_path(out))]
        if options is not None:
            arguments.append(text_of(options))
        return self._report(library().text(operation, *arguments, long=True))

    def _report(self, text: str) -> Report:
        said = json.loads(text)
        report = Report(
            path=said["dataset"],
            changes=[Change(**change) for change in said["changes"]],
            names=said.get("names", {}),
            warnings=[finding_of(entry) for entry in said["warnings"]],
        )
        for finding in report.warnings:
            if finding not in self._source.findings:  # which were reported when it was opened
                self._source.warn(finding)
        return report


def _anonymising(
    subject: Optional[str] = None,
    shift_days: Optional[int] = None,
    keep_dates: bool = False,
    keep: Names = (),
    keep_names: bool = False,
) -> Selection:
    options: Selection = {
        "keep": names_of(keep),
        "keepDates": bool(keep_dates),
        "keepNames": bool(keep_names),
    }
    if subject is not None:
        options["subject"] = _text(subject, "subject")
    if shift_days is not None:
        options["shiftDays"] = whole_number(shift_days, "shift_days", -100000, 100000)
    return options


def _text(value: Any, name: str) -> str:
    if not isinstance(value, str):
        raise TypeError(f"{name} is a text, not {value!r}")
    return str(value)
