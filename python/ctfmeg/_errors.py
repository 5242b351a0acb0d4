"""What is raised when a recording can't be read, and what is noticed about one that can."""

from __future__ import annotations

import errno
import json
from dataclasses import dataclass
from typing import Any, Dict, List, Optional, Tuple, Type


@dataclass(frozen=True)
class Finding:
    """Something that was noticed about a dataset.

    Attributes
    ----------
    severity : str
        "remark" (odd, but nothing is lost), "warning" (something is missing or was put right) or "error".
    code : str
        A stable word for what it is, such as "meg4.short".
    file : str
        Name of the file that it is about; "" where it is about none.
    text : str
        One plain sentence, without the file's name.
    line, offset : int or None
        Line (from 1) or byte (from 0) of the file, where that makes sense.
    """

    severity: str
    code: str
    file: str
    text: str
    line: Optional[int] = None
    offset: Optional[int] = None

    def __str__(self) -> str:
        line = f", line {self.line}" if self.line is not None else ""
        return f"{self.file}{line}: {self.text}" if self.file else self.text


def finding_of(entry: Dict[str, Any]) -> Finding:
    """A finding of its JSON object."""
    severity, code, file, text = (str(entry.get(name, "")) for name in ("severity", "code", "file", "text"))
    return Finding(severity, code, file, text, entry.get("line"), entry.get("offset"))


def findings_of(text: str) -> List[Finding]:
    """The findings of a JSON list; none of an empty text."""
    return [finding_of(entry) for entry in json.loads(text)] if text else []


class ReadingWarning(UserWarning):
    """Something odd about a dataset that is read all the same; see `Recording.warnings`."""


class Error(Exception):
    """A recording could not be read or copied, or what was asked for can't be had of it.

    Attributes
    ----------
    kind : str
        "notFound" (such an error is a FileNotFoundError, too), "noPermission" (a PermissionError, too),
        "notADataset", "damaged", "refused" (what was asked for can't be had; a ValueError, too),
        "outOfMemory" (a MemoryError, too), "stopped", or "notWritten" (a copy can't be written; an OSError,
        too).
    path : str
        Of the file that is the reason; "" where it is about none.
    text : str
        One plain sentence, without the path.
    findings : list of Finding
        Everything that was noticed.
    """

    def __init__(self, kind: str, path: str, text: str, findings: Tuple[Finding, ...] = ()) -> None:
        super().__init__(text)
        self.kind = kind
        self.path = path
        self.text = text
        self.findings = list(findings)

    def __str__(self) -> str:
        return f"{self.path}: {self.text}" if self.path else self.text

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self.kind, self.path, self.text, tuple(self.findings))


class _FileError(Error, OSError):
    """An error of the system, with its number, so that code for other files understands it."""

    _number = 0

    def __init__(self, kind: str, path: str, text: str, findings: Tuple[Finding, ...] = ()) -> None:
        Error.__init__(self, kind, path, text, findings)
        self.errno = self._number
        self.strerror = text
        self.filename = path

    __str__ = Error.__str__
    __reduce__ = Error.__reduce__


class NotFoundError(_FileError, FileNotFoundError):
    """A file or directory is not there."""

    _number = errno.ENOENT


class NoPermissionError(_FileError, PermissionError):
    """A file or directory may not be read."""

    _number = errno.EACCES


class NotWrittenError(_FileError):
    """A copy can't be written: the disk is full, a folder may not be written to."""

    _number = errno.EIO


class RefusedError(Error, ValueError):
    """What was asked for can't be had of this recording."""


class ChoiceError(Error, IndexError):
    """An index by a name that no channel has."""


class OutOfMemoryError(Error, MemoryError):
    """There is not enough memory for it."""


_CLASSES: Dict[str, Type[Error]] = {
    "notFound": NotFoundError,
    "noPermission": NoPermissionError,
    "refused": RefusedError,
    "outOfMemory": OutOfMemoryError,
    "notWritten": NotWrittenError,
}


def error_of(kind: str, path: str, text: str, findings: Tuple[Finding, ...] = ()) -> Error:
    """An error of the class that belongs to its kind."""
    return _CLASSES.get(kind, Error)(kind, path, text, findings)
