"""Open recordings, which a `Recording` shares with its views, and how they are opened again elsewhere."""

from __future__ import annotations

import ctypes
import itertools
import json
import os
import pickle
import sys
import time
import warnings
import weakref
from ctypes import byref, c_void_p
from typing import Any, Callable, Dict, List, Optional, Tuple, Union

from ._errors import Finding, ReadingWarning, RefusedError, finding_of
from ._library import FINDING_FUNCTION, OpenOptions, library, threads_here

RULES = {"plain": 0, "host": 1}
Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


def text_of_path(path: Path) -> str:
    """A path as text. Raises what Python's own `open` does for a NUL character, where C ends a text."""
    text = os.fsdecode(path)
    if "\0" in text:
        raise ValueError("embedded null byte")
    return text


class Handle:
    """A recording or a view of the library, closed when nothing uses it any more.

    A process that was forked neither uses nor closes the handles of its parent: a thread that is not there
    any more may have been in the middle of using them.

    Parameters
    ----------
    pointer : ctypes.c_void_p
        What the library returned.
    close : str
        The function that closes it.
    keep : object
        What must live until it is closed.
    """

    def __init__(self, pointer: c_void_p, close: str, keep: Any = None) -> None:
        self.pointer = pointer
        self.pid = os.getpid()
        weakref.finalize(self, _close, close, pointer, self.pid, keep)

    def is_usable(self) -> bool:
        """Whether this process opened it."""
        return self.pid == os.getpid()


def _close(function: str, pointer: c_void_p, pid: int, keep: Any) -> None:
    if pid == os.getpid():
        library().call(function, pointer)
    del keep


_findings: Dict[int, List[bytes]] = {}  # by what the library passes to the function below
_numbers = itertools.count(1)


def _note(user: int, finding: bytes) -> None:
    """Called by the library, on any thread, for as long as a recording or a view of it is open."""
    found = _findings.get(user)
    if found is not None:
        found.append(finding)


_ON_FINDING = FINDING_FUNCTION(_note)


class _Notes:
    """A list of findings that the library adds to."""

    def __init__(self) -> None:
        self.number = next(_numbers)
        self.found: List[bytes] = []
        _findings[self.number] = self.found
        weakref.finalize(self, _forget, self.number)


def _forget(number: int) -> None:
    _findings.pop(number, None)


class Source:
    """A dataset, opened when it is first needed.

    Parameters
    ----------
    path : str
        Path or URL. A path means what it does now, wherever the current directory is later.
    rules : str
        "plain" or "host".
    yes : bool
        Whether a file is read although its name is not one of a CTF dataset's.
    storage_options : dict
        For what reads the URL.
    on_warning : callable, optional
        Called with each finding; None: `warnings.warn`.
    is_quiet : bool
        Findings are kept, and not reported: they were where the recording was first opened.

    Attributes
    ----------
    shown : str
        The path as people are shown it: a URL without what gives access, once it was opened.
    findings : list of Finding
        What was noticed until now.
    """

    def __init__(
        self,
        path: str,
        rules: str,
        yes: bool,
        storage_options: Dict[str, Any],
        on_warning: Optional[Callable[[Finding], Any]] = None,
        is_quiet: bool = False,
    ) -> None:
        self.path = self.shown = path
        self._place = _place_of(path)
        self.rules = rules
        self.yes = yes
        self.storage_options = storage_options
        self.findings: List[Finding] = []
        self._on_warning = on_warning
        self._is_quiet = is_quiet
        self._notes = _Notes()
        self._handle: Optional[Handle] = None
        self._header: Optional[Dict[str, Any]] = None
        self._pickled = b""

    def __reduce__(self) -> Tuple[Any, ...]:
        return restored, (self._place, self.rules, self.yes, self.storage_options)

    def handle(self) -> Handle:
        """The open recording. Two threads may open it at once where it is not; then the last one stays."""
        handle = self._handle
        if handle is None or not handle.is_usable():
            # What is found once more, after a fork, was reported.
            notes = self._notes if handle is None else _Notes()
            handle = self._handle = self._opened(notes)
            self.report()
        return handle

    def _opened(self, notes: _Notes) -> Handle:
        options = OpenOptions(
            ctypes.sizeof(OpenOptions), RULES[self.rules], threads_here(), self.yes, _ON_FINDING, notes.number
        )
        pointer = c_void_p()
        if "://" not in self.path:
            library().call("open", os.fsencode(self._place), byref(options), byref(pointer))
            return Handle(pointer, "close", notes)
        from ._store import UrlStore

        store = UrlStore(self.path, self.storage_options)
        self.shown = store.shown
        options.threads = threads_here(store.threads)
        library().call("open_store", byref(store.structure), byref(options), byref(pointer))
        return Handle(pointer, "close", (notes, store))

    def place_to_copy(self) -> bytes:
        """Where the library finds the files. Raises Error for a URL, of which only samples can be read."""
        if "://" in self.path:
            text = "is not on this machine: copy its folder here, and open what you copied"
            raise RefusedError("refused", self.shown, text)
        return os.fsencode(self._place)

    def header(self) -> Dict[str, Any]:
        """What `ctfmeg info --json` prints, read once. Nobody may change it."""
        if self._header is None:
            header: Dict[str, Any] = json.loads(library().text("header", self.handle().pointer))
            if "://" not in self.path:
                header["path"] = self.path
            self._header = header
            self.report()
            for entry in header["warnings"]:
                self._tell(finding_of(entry))
        return self._header

    def header_copy(self) -> Dict[str, Any]:
        """The same for whoever may change it."""
        if not self._pickled:
            self._pickled = pickle.dumps(self.header(), pickle.HIGHEST_PROTOCOL)
        copy: Dict[str, Any] = pickle.loads(self._pickled)  # some times faster than copy.deepcopy
        return copy

    def report(self) -> None:
        """Reports what the library found since the last time."""
        while self._notes.found:
            try:
                text = self._notes.found.pop(0)
            except IndexError:  # another thread reports it
                return
            self._tell(finding_of(json.loads(text.decode("utf-8", "surrogateescape"))))

    def _tell(self, finding: Finding) -> None:
        """Reports a finding, once."""
        if finding in self.findings:
            return
        self.findings.append(finding)
        self.warn(finding)

    def warn(self, finding: Finding) -> None:
        """Passes a finding on to whoever wants to know."""
        if self._on_warning is not None:
            self._on_warning(finding)
        elif not self._is_quiet:
            warnings.warn(f"{self.shown}: {finding}", ReadingWarning, _depth_of_caller())


def _place_of(path: str) -> str:
    """A path that means the same in any current directory."""
    if "://" in path or not path:
        return path
    # What is above a link is not what its name says, so that only the system can follow "..".
    return os.path.join(os.getcwd(), path) if ".." in path else os.path.abspath(path)


def _depth_of_caller() -> int:
    """How far `warnings.warn` in the calling function is from the line that called the package."""
    frame, depth = sys._getframe(1), 1
    while frame.f_back is not None and frame.f_globals.get("__package__") == __package__:
        frame, depth = frame.f_back, depth + 1
    return depth


_MOST = 8  # recordings that came from another process and stay open
_URL_SECONDS = 60.0  # how long one with a URL does, whose files can't be looked at for changes

_restored: Dict[bytes, Tuple[Any, Source]] = {}


def restored(path: str, rules: str, yes: bool, storage_options: Dict[str, Any]) -> Source:
    """A recording that comes from another process. Views of one recording share it as long as its files are
    the same, so that a worker does not open it for each piece of work."""
    key = pickle.dumps((path, rules, yes, sorted(storage_options.items())))
    state = _state_of(path)
    known_state, source = _restored.pop(key, (None, None))
    if source is None or state is None or known_state != state:
        source = Source(path, rules, yes, storage_options, is_quiet=True)
    _restored[key] = state, source
    for oldest in list(_restored)[:-_MOST]:
        _restored.pop(oldest, None)
    return source


def _state_of(path: str) -> Any:
    """What changes when files of a dataset do; None where that can't be known."""
    if "://" in path:
        return int(time.monotonic() / _URL_SECONDS)
    folder = path if os.path.isdir(path) else os.path.dirname(path)
    try:
        with os.scandir(folder) as entries:
            looks = [(entry.name, entry.stat()) for entry in entries]
    except OSError:
        return None
    return sorted((name, look.st_ino, look.st_size, look.st_mtime_ns) for name, look in looks)
