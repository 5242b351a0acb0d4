"""What a header and the files beside the samples say: the JSON of a recording as objects, in snake_case."""

from __future__ import annotations

from dataclasses import dataclass, field, fields
from typing import Any, Callable, Dict, Optional, Tuple, Type, TypeVar

import numpy as np

T = TypeVar("T")
# Of all channels that a system can have.
KINDS = (
    "ref-magnetometer",
    "ref-gradiometer",
    "magnetometer",
    "gradiometer",
    "reset",
    "eeg-ref",
    "eeg",
    "adc",
    "dac",
    "stim",
    "clock",
    "position",
    "other",
)
GROUPS = {"meg": ("magnetometer", "gradiometer"), "ref": ("ref-magnetometer", "ref-gradiometer")}
Position = Tuple[float, float, float]


def made(kind: Type[T], entry: Dict[str, Any]) -> T:
    """An object of its JSON: `runTime` is `run_time`; a number that JSON can't hold is NaN."""
    values = {}
    for one in fields(kind):
        first, *rest = one.name.split("_")
        value = entry.get(one.metadata.get("key", first + "".join(word.capitalize() for word in rest)))
        if value is None:
            value = float("nan") if str(one.type) == "float" else one.metadata.get("none")
        elif "convert" in one.metadata:
            value = one.metadata["convert"](value)
        values[one.name] = value
    return kind(**values)


def _by(convert: Callable[[Any], Any]) -> Dict[str, Any]:
    """What a field is that needs more than its value."""
    return {"convert": convert}


def _one(kind: Any) -> Dict[str, Any]:
    return _by(lambda entry: made(kind, entry))


def _list_of(kind: Any) -> Dict[str, Any]:
    return {"convert": lambda entries: tuple(made(kind, entry) for entry in entries), "none": ()}


@dataclass(frozen=True)
class Coil:
    """A coil of a sensor: `position` in cm, `orientation` (x right, y front, z up), `area` in cm^2."""

    position: Position = field(metadata=_by(tuple))
    orientation: Position = field(metadata=_by(tuple))
    turns: int
    area: float


@dataclass(frozen=True)
class Channel:
    """A channel of a recording.

    Attributes
    ----------
    index : int
        Place in the dataset, from 0.
    name, short_name : str
        Such as "MLC11-4304" and "MLC11".
    kind : str
        "gradiometer", "ref-magnetometer", "eeg", "stim", "clock", ...
    unit : str
        Of physical values: "T", "V", "s", "m", or "1" for none.
    gain : float
        Raw values divided by it are physical ones.
    good : bool
        Whether the dataset does not mark it as bad.
    gradient_order : int or None
        Compensation of a MEG channel as it is stored, 0 to 3.
    polarity : int
        +1 or -1: what coil orientations are multiplied by to agree with physical values.
    dewar_coils, head_coils : tuple of Coil
        Up to 8, in the frame of the dewar and of the head.
    sensor_type, original_run, coil_shape, proper_gain, q_gain, io_gain, io_offset, num_coils, stim_polarity
        As the header has them.
    """

    index: int
    name: str
    short_name: str
    sensor_type: int
    kind: str
    unit: str
    gain: float
    good: bool
    original_run: int
    coil_shape: int
    proper_gain: float
    q_gain: float
    io_gain: float
    io_offset: float
    num_coils: int
    gradient_order: Optional[int]
    stim_polarity: int
    polarity: int
    dewar_coils: Tuple[Coil, ...] = field(metadata=_list_of(Coil))
    head_coils: Tuple[Coil, ...] = field(metadata=_list_of(Coil))

    def is_of_kind(self, kind: str) -> bool:
        """Whether it is of a kind, of "meg" (sensors) or of "ref" (references), in any case."""
        kind = kind.lower()
        return self.kind in GROUPS.get(kind, (kind,))


@dataclass(frozen=True)
class MarkerSample:
    """An occurrence of a marker: `trial` and `sample` from 0, `time_ms` in milliseconds from the trigger,
    `run_time` in seconds from the first sample of trial 0, gaps included (NaN where it can't be known)."""

    trial: int
    time_ms: float
    sample: int
    run_time: float


@dataclass(frozen=True)
class Marker:
    """A named event, such as a stimulus, with its occurrences in `samples`. `num_samples` is how many the
    file says there are; `color` is "#rrggbb" or None."""

    name: str
    comment: Optional[str]
    color: Optional[str]
    editable: bool
    class_id: int
    class_group_id: int
    num_samples: int
    samples: Tuple[MarkerSample, ...] = field(metadata=_list_of(MarkerSample))


@dataclass(frozen=True)
class TrialClass:
    """A named class of trials, such as "BAD". `trials` are numbers from 0; None under host rules, which only
    count them."""

    name: str
    comment: Optional[str]
    color: Optional[str]
    editable: bool
    class_id: int
    class_group_id: int
    num_trials: int
    trials: Optional[Tuple[int, ...]] = field(metadata=_by(tuple))


@dataclass(frozen=True)
class BadSegment:
    """A span of a trial that the dataset marks as bad: milliseconds from the trial's start; `run_time` of its
    start in seconds from the first sample of trial 0."""

    trial: int
    start_ms: float
    end_ms: float
    run_time: float


@dataclass(frozen=True)
class FiducialSet:
    """Head-localisation coils in one frame: millimetres, x right, y front, z up. None for a point that was
    not read."""

    num_points: int
    nasion: Optional[Position] = field(metadata=_by(tuple))
    left_ear: Optional[Position] = field(metadata=_by(tuple))
    right_ear: Optional[Position] = field(metadata=_by(tuple))
    inion: Optional[Position] = field(metadata=_by(tuple))
    cz: Optional[Position] = field(metadata=_by(tuple))


@dataclass(frozen=True)
class Fiducials:
    """Sets of head-localisation coils, None where one was not read.

    Attributes
    ----------
    dewar_standard, dewar_measured, head_measured : FiducialSet or None
        In the dewar as the system assumes them, in the dewar as measured, and in the head frame as measured.
    dewar_to_head : numpy.ndarray or None
        4 x 4 matrix that carries a dewar position (x, y, z, 1) in millimetres to the head frame.
    """

    dewar_standard: Optional[FiducialSet] = field(metadata=_one(FiducialSet))
    dewar_measured: Optional[FiducialSet] = field(metadata=_one(FiducialSet))
    head_measured: Optional[FiducialSet] = field(metadata=_one(FiducialSet))
    dewar_to_head: Any = field(compare=False, metadata=_by(np.array))


@dataclass(frozen=True)
class Electrode:
    """An EEG electrode: centimetres in CTF head axes (x to the nose, y left, z up)."""

    number: int
    name: str
    position: Position = field(metadata=_by(tuple))


@dataclass(frozen=True)
class DigitisedPoint:
    """A position digitised on the head, in the axes and the unit of electrodes."""

    number: int
    position: Position = field(metadata=_by(tuple))


@dataclass(frozen=True)
class DigitisedFiducial:
    """A fiducial among the digitised positions, in the axes and the unit of electrodes."""

    label: str
    position: Position = field(metadata=_by(tuple))


@dataclass(frozen=True)
class Digitised:
    """All that was digitised on the head."""

    points: Tuple[DigitisedPoint, ...] = field(metadata=_list_of(DigitisedPoint))
    fiducials: Tuple[DigitisedFiducial, ...] = field(metadata=_list_of(DigitisedFiducial))


@dataclass(frozen=True)
class Head:
    """What a dataset says about the head: where it was (`fiducials`) and what was on it (`electrodes`,
    `digitised`)."""

    fiducials: Fiducials = field(metadata=_one(Fiducials))
    electrodes: Tuple[Electrode, ...] = field(metadata=_list_of(Electrode))
    digitised: Digitised = field(metadata=_one(Digitised))

    @property
    def dewar_to_head(self) -> Any:
        """As `Fiducials.dewar_to_head`."""
        return self.fiducials.dewar_to_head
