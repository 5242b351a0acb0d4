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
    return [
        ("shape", " x ".join(f"{count} {axis}" for count, axis in zip(view.shape, axes))),
        (
            "values",
            f"{view.dtype}, raw" if view.is_raw else f"{view.dtype} in {', '.join(sorted(set(view.units)))}",
        ),
        ("rate", f"{view.sample_rate:g} Hz"),
        ("time", "{:g} to {:g} s".format(*view.ends)),
        ("channels", f"{kinds_of(view.kinds)} ({few_of(view.channel_names)})"),
        ("recording", path),
    ]


def rows_of_recording(recording: Recording, path: str) -> Rows:
    """What a recording is, each with a word for it."""
    record = recording._header["record"]
    channels = recording._header["channels"]
    shape = f"{recording.n_trials} trials x {len(channels)} channels x {record['samplesPerTrial']} samples"
    rows = [
        ("shape", shape),
        ("rate", f"{recording.sample_rate:g} Hz"),
        ("begins", f"{recording.first_time:g} s from the trigger"),
        ("channels", kinds_of(channel["kind"] for channel in channels)),
        ("markers", ", ".join(f"{marker.name} ({len(marker.samples)})" for marker in recording.markers)),
        ("bad", recording.bad_channels and "bad: " + few_of(recording.bad_channels)),
        ("recording", path),
    ]
    return [(name, value) for name, value in rows if value]


def text_of(what: str, path: str, rows: Rows) -> str:
    """On one line."""
    name = os.path.basename(path.rstrip("/")) or path
    return f"<ctfmeg.{what} {name}: {'; '.join(value for _, value in rows if value != path)}>"


def html_of(title: str, rows: Rows) -> str:
    """A small table."""
    left = " style='text-align:left'"
    cells = (f"<th{left}>{escape(name)}</th><td{left}>{escape(value)}</td>" for name, value in rows)
    lines = "".join(f"<tr>{cell}</tr>" for cell in cells)
    return f"<table><caption>ctfmeg.{escape(title)}</caption><tbody>{lines}</tbody></table>"


def unreadable(error: Error) -> Rows:
    """In the place of rows, of what can't be read any more."""
    return [("error", str(error))]
