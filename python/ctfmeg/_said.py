"""What a recording says: its header and the files beside the samples."""

from __future__ import annotations

import math
import re
from typing import Any, Dict, List, Optional, Set

from ._errors import Finding, RefusedError
from ._header import GROUPS, KINDS, BadSegment, Channel, Head, Marker, TrialClass, made
from ._selection import Names, names_of, printable
from ._source import Source


class Said:
    """What a recording says."""

    _source: Source

    @property
    def path(self) -> str:
        """As it was opened."""
        return self._source.path

    @property
    def rules(self) -> str:
        """ "plain" or "host"."""
        return self._source.rules

    @property
    def info(self) -> Dict[str, Any]:
        """All that the header and the side files say, as `ctfmeg info --json` prints it: a copy."""
        return self._source.header_copy()

    @property
    def _header(self) -> Dict[str, Any]:
        return self._source.header()

    @property
    def name(self) -> str:
        """The dataset's name: its resource file's, without directory and ending."""
        return str(self._header["dataset"])

    @property
    def warnings(self) -> List[Finding]:
        """What was noticed, in the files and in what was selected of them until now."""
        self._source.header()
        return list(self._source.findings)

    @property
    def sample_rate(self) -> float:
        """Samples a second, in Hz."""
        return nan_or(self._header["record"]["sampleRate"])

    @property
    def first_time(self) -> float:
        """Seconds from the trigger to the first sample of a trial."""
        return nan_or(self._header["timing"]["firstTime"]) + 0.0  # which is no -0.0

    @property
    def n_trials(self) -> int:
        """Trials that are there whole."""
        return int(self._header["files"]["trialsThere"])

    @property
    def channels(self) -> List[Channel]:
        """All channels, in the dataset's order."""
        return [made(Channel, entry) for entry in self._header["channels"]]

    @property
    def markers(self) -> List[Marker]:
        """Named events, such as stimuli, with their occurrences."""
        return [made(Marker, entry) for entry in self._header["markers"]]

    @property
    def classes(self) -> List[TrialClass]:
        """Named classes of trials, such as "BAD"."""
        return [made(TrialClass, entry) for entry in self._header["classes"]]

    @property
    def bad_channels(self) -> List[str]:
        """Names that the dataset marks as bad, as its file has them. See `Channel.good`."""
        return list(self._header["badChannels"])

    @property
    def bad_segments(self) -> List[BadSegment]:
        """Spans of trials that the dataset marks as bad."""
        return [made(BadSegment, entry) for entry in self._header["badSegments"]]

    @property
    def head(self) -> Head:
        """Where the head was and what was on it."""
        return made(Head, self._header)

    def channel_names(self, kind: Optional[Names] = None, exclude: Optional[Names] = None) -> List[str]:
        """Full names of channels, in the dataset's order.

        Parameters
        ----------
        kind : str or list of str, optional
            Kinds ("meg", "ref", "eeg", "stim", "gradiometer", ...), names or patterns; None: all.
        exclude : str or list of str, optional
            Likewise, left out; "bad": those that the dataset marks as bad.

        Raises
        ------
        Error
            For a name or pattern that no channel has, and what is no kind. A kind without channels has none.
        """
        channels = self.channels
        chosen = set(range(len(channels))) if kind is None else self._places_of(names_of(kind))
        unwanted = [] if exclude is None else names_of(exclude)
        chosen -= self._places_of([name for name in unwanted if name.lower() != "bad"])
        if any(name.lower() == "bad" for name in unwanted):
            chosen -= {place for place in chosen if not channels[place].good}
        return [channels[place].name for place in sorted(chosen)]

    def _places_of(self, names: List[str]) -> Set[int]:
        """Places of the channels that names mean in a selection, which also a header without samples has."""
        channels = self.channels
        chosen: Set[int] = set()
        for name in names:
            letters = re.sub(r"\*+", "*", name)  # of many stars in a row a regular expression tries all ways
            pattern = "".join({"*": ".*", "?": "."}.get(letter) or re.escape(letter) for letter in letters)
            found = (
                _named(channels, pattern, re.DOTALL)
                or {place for place, channel in enumerate(channels) if channel.is_of_kind(name)}
                or _named(channels, pattern, re.DOTALL | re.IGNORECASE)
            )
            if not found and name.lower() not in (*KINDS, *GROUPS):
                kinds = ", ".join(dict.fromkeys(channel.kind for channel in channels))
                what = printable(name) or "with an empty name"
                text = f"has no channel {what}; its channels are of kind {kinds}"
                raise RefusedError("refused", self._source.shown, text)
            chosen |= found
        return chosen


def _named(channels: List[Channel], pattern: str, flags: int) -> Set[int]:
    """Places of those whose full or short name fits a regular expression."""
    fits = re.compile(pattern, flags).fullmatch
    return {place for place, one in enumerate(channels) if fits(one.name) or fits(one.short_name)}


def nan_or(value: Optional[float]) -> float:
    """A number of JSON, which has null for NaN."""
    return math.nan if value is None else float(value)
