"""What a recording says: its header and the files beside the samples."""

from __future__ import annotations

import math
from typing import Any, Dict, List, Optional

from ._errors import Finding
from ._header import BadSegment, Channel, Head, Marker, TrialClass, made
from ._selection import Names, names_of
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
        """All that the header and the side files say, as `ctfmeg info --json` prints it."""
        return self._source.header()

    @property
    def name(self) -> str:
        """The dataset's name: its resource file's, without directory and ending."""
        return str(self.info["dataset"])

    @property
    def warnings(self) -> List[Finding]:
        """What was noticed, in the files and in what was selected of them until now."""
        self._source.header()
        return list(self._source.findings)

    @property
    def sample_rate(self) -> float:
        """Samples a second, in Hz."""
        return nan_or(self.info["record"]["sampleRate"])

    @property
    def first_time(self) -> float:
        """Seconds from the trigger to the first sample of a trial."""
        return nan_or(self.info["timing"]["firstTime"]) + 0.0  # which is no -0.0

    @property
    def n_trials(self) -> int:
        """Trials that are there whole."""
        return int(self.info["files"]["trialsThere"])

    @property
    def channels(self) -> List[Channel]:
        """All channels, in the dataset's order."""
        return [made(Channel, entry) for entry in self.info["channels"]]

    @property
    def markers(self) -> List[Marker]:
        """Named events, such as stimuli, with their occurrences."""
        return [made(Marker, entry) for entry in self.info["markers"]]

    @property
    def classes(self) -> List[TrialClass]:
        """Named classes of trials, such as "BAD"."""
        return [made(TrialClass, entry) for entry in self.info["classes"]]

    @property
    def bad_channels(self) -> List[str]:
        """Names that the dataset marks as bad, as its file has them. See `Channel.good`."""
        return list(self.info["badChannels"])

    @property
    def bad_segments(self) -> List[BadSegment]:
        """Spans of trials that the dataset marks as bad."""
        return [made(BadSegment, entry) for entry in self.info["badSegments"]]

    @property
    def head(self) -> Head:
        """Where the head was and what was on it."""
        return made(Head, self.info)

    def channel_names(self, kind: Optional[Names] = None, exclude: Optional[Names] = None) -> List[str]:
        """Full names of channels, in the dataset's order.

        Parameters
        ----------
        kind : str or list of str, optional
            A kind ("meg", "ref", "eeg", "stim", "gradiometer", ...) or several; None: all.
        exclude : str or list of str, optional
            Kinds or names that are left out; "bad": those that the dataset marks as bad.
        """
        wanted = [] if kind is None else names_of(kind)
        unwanted = [] if exclude is None else names_of(exclude)

        def is_out(channel: Channel) -> bool:
            named = channel.name in unwanted or channel.short_name in unwanted
            return named or ("bad" in unwanted and not channel.good) or any(map(channel.is_of_kind, unwanted))

        return [
            channel.name
            for channel in self.channels
            if (kind is None or any(map(channel.is_of_kind, wanted))) and not is_out(channel)
        ]


def nan_or(value: Optional[float]) -> float:
    """A number of JSON, which has null for NaN."""
    return math.nan if value is None else float(value)
