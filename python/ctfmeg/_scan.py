"""The datasets below a directory."""

from __future__ import annotations

import json
import os
from typing import Any, Dict, List

from ._library import library
from ._recording import Recording
from ._recording import open as open_recording
from ._source import Path, text_of_path


class Entry(Dict[str, Any]):
    """What a scan says about a dataset.

    A dict of `path`, `subject`, `date`, `time`, `channels`, `trials`, `samplesPerTrial`, `sampleRate` (Hz),
    `durationSeconds`, `bytes`, `status` ("ok", "extra", "short", "no-samples" or "broken"), `error`,
    `isoDate` and `trialsThere`.
    """

    def open(self, **options: Any) -> Recording:
        """Opens the recording; the options are those of `ctfmeg.open`."""
        return open_recording(self["path"], **options)


def scan(directory: Path) -> List[Entry]:
    """Finds the datasets at or below a directory, from headers and the lengths of sample files.

    Parameters
    ----------
    directory : str or path-like

    Returns
    -------
    list of Entry
        A dict for each, by path, with a method `open`. One that can't be read has its reason in "error".
    """
    where = os.fsencode(text_of_path(directory))
    return [Entry(entry) for entry in json.loads(library().text("scan", where, long=True))]
