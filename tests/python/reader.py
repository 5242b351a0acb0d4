"""An independent reader for the tests: samples by NumPy from bytes, the rest from `ctfmeg info --json`."""

import json
import os
import subprocess
from fnmatch import fnmatchcase

import numpy as np


def run(*words):
    """What the command prints."""
    command = [os.environ["CTFMEG_COMMAND"], *map(str, words)]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Files:
    """All that is in a dataset's files: `raw` and `data`, (trials, channels, samples)."""

    def __init__(self, path):
        self.info = json.loads(run("info", "--json", "--quiet", path))
        self.channels, record = self.info["channels"], self.info["record"]
        files = sorted(path.glob("*meg4"), key=lambda file: ("_" in file.name, file.name))
        values = np.frombuffer(b"".join(file.read_bytes()[8:] for file in files), ">i4").astype(np.int32)
        trial = len(self.channels) * record["samplesPerTrial"]
        self.raw = values[: len(values) // trial * trial].reshape(
            -1, len(self.channels), record["samplesPerTrial"]
        )
        self.gains = np.array([channel["gain"] for channel in self.channels])[:, None]
        self.data = self.raw / self.gains
        self.rate, self.before = record["sampleRate"], record["preTrigSamples"]
        self.names = [channel["name"] for channel in self.channels]

    def of(self, kind):
        """Places of the channels of a kind, of "meg", or that a pattern matches."""
        kinds = {"meg": ("gradiometer", "magnetometer"), "ref": ("ref-gradiometer", "ref-magnetometer")}
        wanted = kinds.get(kind, (kind,))
        return [i for i, c in enumerate(self.channels) if c["kind"] in wanted or fnmatchcase(c["name"], kind)]

    def good(self, places):
        """Those of some places whose channels are good."""
        return [place for place in places if self.channels[place]["good"]]

    def at(self, seconds):
        """The nearest sample to a time from the trigger, half away from zero."""
        value = seconds * self.rate
        return int(np.copysign(np.floor(abs(value) + 0.5), value)) + self.before

    def run(self, gap_after=None, missing=0):
        """The trials as one run, with a gap of NaN."""
        parts = list(self.data)
        if missing:
            parts.insert(gap_after + 1, np.full((len(self.channels), missing), np.nan))
        return np.concatenate(parts, axis=1)

    def compensated(self, order):
        """From no compensation to an order: phi' = phi - sum of coefficient x phi of the reference."""
        proper = np.array([channel["properGain"] for channel in self.channels])
        places = {c[key]: c["index"] for key in ("shortName", "name") for c in self.channels}
        values = self.data.copy()
        for record in self.info["coefficients"]:
            if (
                record["type"] == f"G{order}BR"
                and self.channels[places[record["sensor"]]]["kind"] == "gradiometer"
            ):
                sensor = places[record["sensor"]]
                for reference in record["references"]:
                    place = places[reference["name"]]
                    values[:, sensor] -= (
                        reference["value"] * proper[place] / proper[sensor] * self.data[:, place]
                    )
        return values
