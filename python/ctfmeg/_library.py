"""The C library: where it is found, and its functions as Python calls them."""

from __future__ import annotations

import ctypes
import os
import sys
import threading
import types
from ctypes import (
    POINTER,
    byref,
    c_char_p,
    c_double,
    c_int,
    c_int32,
    c_int64,
    c_size_t,
    c_uint32,
    c_uint64,
    c_void_p,
)
from typing import Any, Callable, Dict, Generator, List, Optional, Tuple

from ._errors import error_of, findings_of
from ._raised import catch_interrupts, raised
from ._selection import whole_number

ABI_VERSION = 1
(
    OK,
    NOT_FOUND,
    NO_PERMISSION,
    NOT_A_DATASET,
    DAMAGED,
    REFUSED,
    OUT_OF_MEMORY,
    STOPPED,
    OUT_OF_RANGE,
    MISUSE,
    NOT_WRITTEN,
) = range(11)
INT32, FLOAT32, FLOAT64 = range(3)
RAW, PHYSICAL = range(2)


class ErrorStruct(ctypes.Structure):
    """ctfmeg_error."""

    _fields_ = [("kind", c_int), ("path", c_char_p), ("text", c_char_p), ("findings", c_char_p)]


FINDING_FUNCTION = ctypes.CFUNCTYPE(None, c_void_p, c_char_p)
PROGRESS_FUNCTION = ctypes.CFUNCTYPE(c_int, ctypes.py_object, c_double)
ADD_FUNCTION = ctypes.CFUNCTYPE(None, c_void_p, c_char_p)
LIST_FUNCTION = ctypes.CFUNCTYPE(c_int, c_void_p, ADD_FUNCTION, c_void_p, c_void_p, c_size_t)
SIZE_FUNCTION = ctypes.CFUNCTYPE(c_int, c_void_p, c_char_p, POINTER(c_uint64), c_void_p, c_size_t)
READ_FUNCTION = ctypes.CFUNCTYPE(
    c_int, c_void_p, c_char_p, c_uint64, c_void_p, c_size_t, POINTER(c_size_t), c_void_p, c_size_t
)
RELEASE_FUNCTION = ctypes.CFUNCTYPE(None, c_void_p)


class OpenOptions(ctypes.Structure):
    """ctfmeg_open_options."""

    _fields_ = [
        ("size", c_size_t),
        ("rules", c_int),
        ("threads", c_int),
        ("yes", c_int),
        ("on_finding", FINDING_FUNCTION),
        ("user", c_void_p),
    ]


class StoreStruct(ctypes.Structure):
    """ctfmeg_store."""

    _fields_ = [
        ("size", c_size_t),
        ("path", c_char_p),
        ("user", c_void_p),
        ("list", LIST_FUNCTION),
        ("size_of", SIZE_FUNCTION),
        ("read_at", READ_FUNCTION),
        ("release", RELEASE_FUNCTION),
    ]


class Part(ctypes.Structure):
    """ctfmeg_part."""

    _fields_ = [
        ("size", c_size_t),
        ("trials", c_void_p),
        ("trial_count", c_int64),
        ("channels", c_void_p),
        ("channel_count", c_int64),
        ("first", c_int64),
        ("samples", c_int64),
        ("step", c_int64),
    ]


class Event(ctypes.Structure):
    """ctfmeg_event."""

    _fields_ = [
        ("channel", c_int32),
        ("value", c_uint32),
        ("previous", c_uint32),
        ("trial", c_int32),
        ("sample", c_int64),
        ("time", c_double),
        ("run_time", c_double),
        ("duration", c_double),
    ]


class ChannelStatistics(ctypes.Structure):
    """ctfmeg_channel_statistics."""

    _fields_ = [
        ("samples", c_int64),
        ("min", c_double),
        ("max", c_double),
        ("mean", c_double),
        ("std", c_double),
        ("flat", c_int64),
        ("clipped", c_int64),
        ("jumps", c_int64),
        ("noise", c_double),
        ("faults", c_uint32),
        ("reserved", c_uint32),
    ]


_ERROR = POINTER(ErrorStruct)
_PROGRESS: List[Any] = [PROGRESS_FUNCTION, ctypes.py_object]
_FAILING: Dict[str, List[Any]] = {
    "set_threads": [c_int],
    "open": [c_char_p, POINTER(OpenOptions), POINTER(c_void_p)],
    "open_store": [POINTER(StoreStruct), POINTER(OpenOptions), POINTER(c_void_p)],
    "close": [c_void_p],
    "header": [c_void_p, POINTER(c_void_p)],
    "scan": [c_char_p, *_PROGRESS, POINTER(c_void_p)],
    "select": [c_void_p, c_char_p, *_PROGRESS, POINTER(c_void_p)],
    "view_close": [c_void_p],
    "shape": [c_void_p, POINTER(c_int64)],
    "describe": [c_void_p, POINTER(c_void_p)],
    "times": [c_void_p, c_int64, c_void_p, c_int64],
    "find_channels": [c_void_p, c_char_p, c_void_p, c_int64, POINTER(c_int64)],
    "read": [c_void_p, POINTER(Part), c_int, c_int, c_void_p, c_size_t, *_PROGRESS],
    "min_max": [c_void_p, *[c_int64] * 4, c_void_p, c_void_p, c_int64, *_PROGRESS],
    "events": [c_void_p, c_char_p, *_PROGRESS, POINTER(POINTER(Event)), POINTER(c_int64)],
    "statistics": [c_void_p, *_PROGRESS, POINTER(POINTER(ChannelStatistics)), POINTER(c_int64)],
    "rename": [c_char_p, c_char_p, *_PROGRESS, POINTER(c_void_p)],
    "anonymise": [c_char_p, c_char_p, c_char_p, *_PROGRESS, POINTER(c_void_p)],
    "crop": [c_char_p, c_char_p, c_char_p, *_PROGRESS, POINTER(c_void_p)],
    "mark": [c_char_p, c_char_p, POINTER(c_void_p)],
    "bids": [c_char_p, c_char_p, c_char_p, *_PROGRESS, POINTER(c_void_p)],
}


class Library:
    """The functions of the library in use."""

    def __init__(self, path: str) -> None:
        functions = ctypes.CDLL(path)  # which releases the interpreter's lock during each call
        functions.ctfmeg_abi_version.restype = c_int
        if functions.ctfmeg_abi_version() != ABI_VERSION:
            raise OSError(
                f"it has the interface {functions.ctfmeg_abi_version()}, and this package needs {ABI_VERSION}"
            )
        functions.ctfmeg_version.restype = c_char_p
        functions.ctfmeg_kind_name.restype = c_char_p
        functions.ctfmeg_kind_name.argtypes = [c_int]
        functions.ctfmeg_free.argtypes = [c_void_p]
        functions.ctfmeg_free.restype = None
        functions.ctfmeg_error_clear.argtypes = [_ERROR]
        functions.ctfmeg_error_clear.restype = None
        self.functions = functions
        self.version: str = functions.ctfmeg_version().decode()
        self.path = path
        self._failing: Dict[str, Any] = {}
        for name, arguments in _FAILING.items():
            function = getattr(functions, "ctfmeg_" + name)
            function.restype = c_int
            function.argtypes = [*arguments, _ERROR]
            self._failing[name] = function

    def call(self, name: str, *arguments: Any) -> None:
        """Calls the function ctfmeg_`name`, whose last argument is an error, and raises what goes wrong."""
        error = ErrorStruct()
        hook = catch_interrupts()
        try:
            failed = self._failing[name](*arguments, byref(error)) != OK
        finally:
            if hook is not None:
                sys.unraisablehook = hook
        interrupt = raised.take_interrupt()
        if interrupt is not None:
            self.functions.ctfmeg_error_clear(byref(error))
            raise interrupt
        if failed:
            self._raise(error)

    def call_long(self, name: str, *arguments: Any, after: Tuple[Any, ...] = ()) -> None:
        """The same of one that takes a progress function between `arguments` and `after`: Ctrl-C stops it.

        Python runs signal handlers on the main thread only, so that other threads need no such function.
        """
        if threading.current_thread() is not threading.main_thread():
            self.call(name, *arguments, _NO_PROGRESS, None, *after)
            return
        stopped: List[BaseException] = []
        watcher = _watch(stopped)
        next(watcher)
        try:
            self.call(name, *arguments, _ON_PROGRESS, ctypes.py_object(watcher), *after)
        finally:
            if stopped:
                raise stopped[0]

    def text(self, name: str, *arguments: Any, long: bool = False) -> str:
        """The text that a function returns through a char** after `arguments`."""
        pointer = c_void_p()
        if long:
            self.call_long(name, *arguments, after=(byref(pointer),))
        else:
            self.call(name, *arguments, byref(pointer))
        try:
            return (ctypes.string_at(pointer.value) if pointer.value else b"").decode(
                "utf-8", "surrogateescape"
            )
        finally:
            self.functions.ctfmeg_free(pointer)

    def _raise(self, error: ErrorStruct) -> None:
        kind = error.kind
        path = os.fsdecode(error.path or b"")
        text = (error.text or b"").decode("utf-8", "replace")
        findings = (error.findings or b"").decode("utf-8", "replace")
        self.functions.ctfmeg_error_clear(byref(error))
        if kind == OUT_OF_RANGE:
            raise IndexError(text)
        if kind == MISUSE:
            raise ValueError(text)
        name = self.functions.ctfmeg_kind_name(kind).decode()
        cause = raised.failures.pop(path, None)
        if cause is not None and not isinstance(cause, Exception):
            raise cause
        raise error_of(name, path, text, tuple(findings_of(findings))) from cause


def _watch(raised: List[BaseException]) -> Generator[int, float, None]:
    """Yields 0 until something is raised in it, such as KeyboardInterrupt; then 1, which stops the call.

    A generator, because an interrupt may be raised at the very beginning of a function, before any `try`,
    and would be lost there. A generator is inside its `try` already when it goes on.
    """
    stop = 0
    while True:
        try:
            while True:
                yield stop
        except GeneratorExit:
            return
        except BaseException as error:
            raised.append(error)
            stop = 1


_SEND: Callable[..., Any] = types.GeneratorType.send
_ON_PROGRESS = PROGRESS_FUNCTION(_SEND)  # called as send(watcher, fraction)
_NO_PROGRESS = ctypes.cast(c_void_p(), PROGRESS_FUNCTION)


def library_names() -> List[str]:
    """File names that the library has on this system, the best first."""
    if sys.platform == "win32":
        return ["ctfmeg.dll", "libctfmeg.dll"]
    if sys.platform == "darwin":
        return ["libctfmeg.0.dylib", "libctfmeg.dylib"]
    return ["libctfmeg.so.0", "libctfmeg.so"]


def _find() -> Library:
    here = os.path.dirname(os.path.abspath(__file__))
    tried: List[str] = []
    places = [os.path.join(here, name) for name in library_names()]
    for place in [place for place in places if os.path.exists(place)] + library_names():
        try:
            return Library(place)
        except AttributeError:  # a function is not in it
            tried.append(f"{place}: it is older than this package")
        except OSError as error:
            tried.append(f"{place}: {error}")
    raise ImportError(
        "the library that ctfmeg reads with was not found. Looked for "
        + ", ".join(library_names())
        + f" in {here} and where this system's loader looks (such as LD_LIBRARY_PATH): "
        + "; ".join(tried)
        + ". On Debian the package python3-ctfmeg brings it, with pip a wheel of ctfmeg."
    )


_loaded: Optional[Library] = None


def library() -> Library:
    """The library, which is looked for once. Raises ImportError that says what is missing."""
    global _loaded
    if _loaded is None:
        _loaded = _find()
    return _loaded


_threads_chosen = False


def set_threads(n: int) -> None:
    """Sets how many threads read samples together, the calling one included.

    Parameters
    ----------
    n : int
        Threads, up to 1024; 0, as it begins: as many as pay on this machine, of the processors that this
        process may use. Inside of a Dask worker, whose processors are busy with other tasks, it begins with
        1; there it counts for recordings that are opened after it.
    """
    global _threads_chosen
    library().call("set_threads", whole_number(n, "the number of threads", 0, 1024))
    _threads_chosen = True


def threads_here(usual: int = 0) -> int:
    """Threads for a recording that is opened now, `usual` where nobody chose; 0: as `set_threads` says."""
    if _threads_chosen:
        return 0
    distributed = sys.modules.get("distributed")
    if distributed is None:
        return usual
    try:
        distributed.get_worker()
    except (AttributeError, ValueError):  # not in a task of a worker
        return usual
    return 1
