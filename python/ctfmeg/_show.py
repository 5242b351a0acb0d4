"""How recordings and views show themselves."""

from __future__ import annotations

import os
from collections import Counter
from html import escape
from typing import TYPE_CHECKING, Iterable, List, Sequence, Tuple

from ._errors import Error

if TYPE_CHECKING:
    from ._recording import Recording
    from ._view import View

Rows = List[Tuple[str, str]]


def kinds_of(kinds: Iterable[str]) -> str:
    """Such as "272 gradiometer, 28 ref-gradiometer"."""
    return ", ".join(f"{count} {kind}" for kind, count in Counter(kinds).items())


def few_of(names: Sequence[str]) -> str:
    """All of a few names, the first and the last of many."""
    return ", ".join(names) if len(names) <= 4 else f"{names[0]}, {names[1]}, ..., {names[-1]}"


def rows_of_view(view: View, path: str) -> Rows:
    """What a view is, each with a word for it."""
    axes = ["channels", "samples"]
    if view.ndim == 3:
        axes.insert(0, "epochs" if view.is_epochs else "trials")
    times = view.times
    return [
        ("shape", " x ".join(f"{count} {axis}" for count, axis in zip(view.shape, axes))),
        (
            "values",
            f"{view.dtype}, raw" if view.is_raw else f"{view.dtype} in {', '.join(sorted(set(view.units)))}",
        ),
        ("rate", f"{view.sample_rate:g} Hz"),
        ("time", f"{times[0]:g} to {times[-1]:g} s"),
        ("channels", f"{kinds_of(view.kinds)} ({few_of(view.channel_names)})"),
        ("recording", path),
    ]


def rows_of_recording(recording: Recording) -> Rows:
    """What a recording is, each with a word for it."""
    record = recording.info["record"]
    rows = [
        ("trials", f"{recording.n_trials} x {record['samplesPerTrial']} samples"),
        ("rate", f"{recording.sample_rate:g} Hz"),
        ("first sample", f"{recording.first_time:g} s from the trigger"),
        ("channels", kinds_of(channel["kind"] for channel in recording.info["channels"])),
        ("markers", ", ".join(f"{marker.name} ({len(marker.samples)})" for marker in recording.markers)),
        ("bad channels", few_of(recording.bad_channels)),
        ("recording", recording.path),
    ]
    return [(name, value) for name, value in rows if value]


def text_of(what: str, path: str, rows: Rows) -> str:
    """On one line; of what can't be read any more its path."""
    return f"<ctfmeg.{what} {os.path.basename(path.rstrip('/')) or path}: {'; '.join(value for _, value in rows[:-1])}>"


def html_of(title: str, rows: Rows) -> str:
    """A small table."""
    cells = "".join(
        f"<tr><th style='text-align:left'>{escape(name)}</th><td style='text-align:left'>{escape(value)}</td></tr>"
        for name, value in rows
    )
    return f"<table><caption>ctfmeg.{escape(title)}</caption><tbody>{cells}</tbody></table>"


def unreadable(error: Error) -> Rows:
    """In the place of rows, of what can't be read any more."""
    return [("error", str(error)), ("", "")]
