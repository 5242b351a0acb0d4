"""Selections: the keywords of `select` and its like as the library understands them, and how they combine."""

from __future__ import annotations

import json
import math
import operator
import re
from typing import Any, Dict, Iterable, List, Mapping, Optional, Sequence, Tuple, Union

Names = Union[str, Iterable[str]]
Selection = Dict[str, Any]
_FAR = 1 << 60  # a sample after any other


def names_of(names: Names) -> List[str]:
    """A list of a text or of several."""
    found = [names] if isinstance(names, str) else list(names)
    for name in found:
        if not isinstance(name, str):
            raise TypeError(f"a name is a text, not {name!r}")
    return [str(name) for name in found]


def selection_of(
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
) -> Selection:
    """A selection of the keywords that are documented with `Recording.select`."""
    selection: Selection = {}
    if trials is not None:
        numbers = trials if isinstance(trials, Iterable) else [trials]
        selection["trials"] = [operator.index(number) for number in numbers]
    for name, names in (("markers", markers), ("channels", channels), ("exclude", exclude)):
        if names is not None:
            selection[name] = names_of(names)
    if samples is not None:
        first, last = samples
        selection["samples"] = [
            0 if first is None else operator.index(first),
            _FAR if last is None else operator.index(last),
        ]
    if tmin is not None or tmax is not None:
        if samples is not None:
            raise ValueError("a span is given by tmin and tmax or by samples, not by both")
        selection["seconds"] = [_seconds(tmin, "tmin"), _seconds(tmax, "tmax")]
    for name, number in (
        ("pieces", split),
        ("step", step),
        ("decimate", decimate),
        ("compensation", compensation),
    ):
        if number is not None:
            selection[name] = operator.index(number)
    if partial is not None:
        if partial not in ("nan", "drop"):
            raise ValueError(f'partial is "nan" or "drop", not {partial!r}')
        selection["partial"] = partial
    return selection


def _seconds(value: Optional[float], name: str) -> Optional[float]:
    if value is None:
        return None
    value = _float(value)
    if math.isnan(value):
        raise ValueError(f"{name} is no number")
    return max(-1e15, min(1e15, value))


def _float(value: Any) -> float:
    try:
        return float(value)
    except OverflowError:  # an int beyond any float
        return math.inf if value > 0 else -math.inf


def finite_number(value: Any, name: str) -> float:
    """A float of what `name` is given as; ValueError for NaN and what is infinite."""
    number = _float(value)
    if not math.isfinite(number):
        raise ValueError(f"{name} is a finite number, not {number}")
    return number


def whole_number(value: Any, name: str, least: int, most: int) -> int:
    """An int of what `name` is given as; ValueError for one that is not from `least` to `most`."""
    number = operator.index(value)
    if not least <= number <= most:
        raise ValueError(f"{name} is a whole number from {least} to {most}, not {number}")
    return number


def _occurrences(events: Any) -> List[Selection]:
    """The member "occurrences" of epochs."""
    named = next((name for name in ("marker", "channel") if name in events.dtype.names), None)
    names = events[named].tolist() if named else [""] * len(events)
    places = zip(names, events["trial"].tolist(), events["sample"].tolist())
    return [{"name": name, "trial": trial, "sample": sample} for name, trial, sample in places]


def epochs_of(
    markers: Any,
    tmin: float,
    tmax: float,
    baseline: Optional[Tuple[Optional[float], Optional[float]]],
    skip_bad: bool,
    reject: Optional[Mapping[str, float]],
) -> Selection:
    """The member "epochs" of a selection."""
    epochs: Selection = {"from": finite_number(tmin, "tmin"), "to": finite_number(tmax, "tmax")}
    if getattr(getattr(markers, "dtype", None), "names", None):
        epochs["occurrences"] = _occurrences(markers)
    else:
        epochs["markers"] = names_of(markers)
    if baseline is not None:
        start, end = baseline
        span = (tmin if start is None else start, tmax if end is None else end)
        epochs["baseline"] = [finite_number(seconds, "an end of the baseline") for seconds in span]
    if skip_bad:
        epochs["skipBad"] = True
    if reject is not None and not isinstance(reject, Mapping):
        raise TypeError(f'reject is a dict of limits by kind, such as {{"meg": 4e-12}}, not {reject!r}')
    if reject:
        epochs["reject"] = {
            kind: finite_number(limit, f"the limit of {kind}") for kind, limit in reject.items()
        }
    return epochs


def combined(old: Selection, new: Selection, trials_with: Any, sample_at: Any) -> Selection:
    """Both selections as one; `channels` of `new` are among those of `old` where it has some.

    Parameters
    ----------
    trials_with : callable
        Numbers of the trials in which one of the markers of a list occurs.
    sample_at : callable
        The sample of a time in seconds.
    """
    both = {**old, **new}
    if "exclude" in old and "exclude" in new:
        both["exclude"] = old["exclude"] + new["exclude"]
    if "markers" in old and "markers" in new:
        both["markers"] = old["markers"]
        new = {**new, "trials": _common(new.get("trials"), trials_with(new["markers"]))}
    if "trials" in old or "trials" in new:
        both["trials"] = _common(old.get("trials"), new.get("trials"))
    spans = [one for one in (old, new) if "samples" in one or "seconds" in one]
    if len(spans) == 2:
        name = "seconds" if all("seconds" in one for one in spans) else "samples"
        if name == "samples":
            spans = [_in_samples(one, sample_at) for one in spans]
            both.pop("seconds", None)
        (a, b), (c, d) = (one[name] for one in spans)
        both[name] = [either(max, a, c), either(min, b, d)]
    if "pieces" in old and "pieces" in new:
        raise ValueError("its trials are split already")
    if "step" in old and "step" in new:
        both["step"] = old["step"] * new["step"]
    return both


def _common(a: Optional[Sequence[int]], b: Optional[Sequence[int]]) -> List[int]:
    if a is None or b is None:
        return list((a if b is None else b) or [])
    there = set(b)
    return [number for number in a if number in there]


def either(choose: Any, a: Any, b: Any) -> Any:
    """What `choose` makes of both, or the one that is not None."""
    return choose(a, b) if a is not None and b is not None else b if a is None else a


def _in_samples(selection: Selection, sample_at: Any) -> Selection:
    if "samples" in selection:
        return selection
    first, last = selection["seconds"]
    return {"samples": [0 if first is None else sample_at(first), _FAR if last is None else sample_at(last)]}


def text_of(selection: Selection) -> bytes:
    """The JSON that the library reads."""
    return printable(json.dumps(selection, ensure_ascii=False, allow_nan=False)).encode()


def printable(text: str) -> str:
    """A text with a replacement character for each half of a pair, which no name of a recording has."""
    return re.sub("[\ud800-\udfff]", "\ufffd", text)
