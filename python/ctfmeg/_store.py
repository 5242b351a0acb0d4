"""Datasets at fsspec URLs: the callbacks by which the library reads them."""

from __future__ import annotations

import ctypes
import os
import re
import threading
from typing import TYPE_CHECKING, Any
from urllib.parse import unquote

from ._errors import error_of
from ._library import (
    DAMAGED,
    LIST_FUNCTION,
    NO_PERMISSION,
    NOT_FOUND,
    OK,
    OUT_OF_MEMORY,
    READ_FUNCTION,
    RELEASE_FUNCTION,
    SIZE_FUNCTION,
    STOPPED,
    StoreStruct,
)
from ._raised import raised

if TYPE_CHECKING:
    from ._url_files import Files


class UrlStore:
    """A dataset at an fsspec URL.

    Its header and the files beside the samples are fetched whole, each by one request, and kept until the
    first look at the samples; of sample files only what is asked for is fetched. What a listing says of names
    and sizes counts; where nothing is listed, as on most web servers, files are found by the names that they
    can have.

    Parameters
    ----------
    url : str
        Of the `.ds` directory, with or without a slash at its end, or of its `.res4` or `.meg4` file. Chains
        are taken too: ``zip://run.ds::https://host/study.zip``.
    storage_options : dict
        For the file system, as fsspec takes them.

    Attributes
    ----------
    url : str
    storage_options : dict
    structure : StoreStruct
        For `ctfmeg_open_store`; valid until that returns. This object stays until the library has released
        it.
    shown : str
        The URL as people are shown it, without what gives access.

    Raises
    ------
    Error
        Where fsspec, or what it needs for such a URL, is missing, and where there is no such file system.

    Notes
    -----
    May be used by several threads at once. Recordings are pickled as URL and options, so that ``memory://``
    URLs mean something only in the process that wrote those files.
    """

    def __init__(self, url: str, storage_options: dict[str, Any] | None = None) -> None:
        self.url = url
        self.storage_options = dict(storage_options or {})
        directory, self._stem = _divided(url)
        try:
            from . import _url_files
        except ImportError as error:
            text = "needs fsspec to be read: install python3-fsspec (Debian) or fsspec (pip)"
            raise error_of("refused", self.url, text) from error
        self.reason_of = _url_files.reason_of
        self.shown = _url_files.shown(directory)
        self._lock = threading.RLock()
        self._listing: dict[str, int | None] | None = None
        self._listing_failed: Exception | None = None
        self._sizes: dict[str, int | None] = {}
        self._whole: dict[str, bytes] = {}
        try:
            self._files: Files = _url_files.files_at(directory, self.storage_options)
        except ImportError as error:
            raise error_of("refused", self.shown, f"needs a package to be read: {error}") from error
        except ValueError as error:
            raise error_of("refused", self.shown, f"can't be read: {error}") from error
        except Exception as error:
            reason = _url_files.reason_of(error)
            raise error_of(_KIND_NAMES[_kind_of(error)], self.shown, "can't be read: " + reason) from error

    @property
    def threads(self) -> int:
        """Threads that read together, unless the user chose; 0: as many as for files of this machine."""
        return self._files.threads

    @property
    def structure(self) -> StoreStruct:
        number = id(self)
        _stores[number] = self
        path = self.shown.encode("utf-8", "surrogateescape")
        return StoreStruct(ctypes.sizeof(StoreStruct), path, number, *_callbacks)

    def names(self) -> list[str]:
        """Names of the files; raises what says why nothing can be listed."""
        with self._lock:
            if self._listing is None and self._listing_failed is None:
                try:
                    self._listing = self._files.listing()
                except Exception as error:
                    self._listing_failed = error
            if self._listing is not None:
                return [name for name in self._listing if self._may_be(name)]
            assert self._listing_failed
            if self._stem:
                return [self._stem + ".res4"]
            raise self._listing_failed

    def size_of(self, name: str) -> int | None:
        """Bytes of a file; None where there is none of that name."""
        with self._lock:
            if name not in self._sizes:
                self._sizes[name] = self._look_for(name)
            elif not _is_samples(name) and self._sizes[name] is not None and name not in self._whole:
                self._fetch(name)
            return self._sizes[name]

    def read(self, name: str, offset: int, count: int) -> bytes:
        """Bytes of a file, fewer where it ends."""
        if _is_samples(name):
            return self._files.read(name, offset, offset + count) if count else b""
        with self._lock:
            if name not in self._whole:
                self._fetch(name)
            return self._whole[name][offset : offset + count]

    def _look_for(self, name: str) -> int | None:
        if not self._may_be(name):
            return None
        try:
            self.names()
        except Exception:  # then names are tried
            pass
        if self._listing is not None and name not in self._listing:
            return None
        try:
            if not _is_samples(name):
                return self._fetch(name)
            self._whole.clear()  # the header is known
            size = self._listing.get(name) if self._listing is not None else None
            return self._files.size(name) if size is None else size
        except FileNotFoundError:
            return None

    def _fetch(self, name: str) -> int:
        whole = self._whole[name] = self._files.read(name)
        return len(whole)

    def _may_be(self, name: str) -> bool:
        """False for the resource files beside the one that was named."""
        return self._stem is None or not name.endswith(".res4") or name == self._stem + ".res4"


def _divided(url: str) -> tuple[str, str | None]:
    """A directory's URL and None, or for that of a file its directory's and the name of the dataset's
    files."""
    own, chained, rest = url.partition("::")
    file = re.fullmatch(r"([^?#]*/)([^/?#]+)\.(?:res4|(?:\d+_)?meg4)([?#].*)?", own)
    if not file:
        return url, None
    stem = unquote(file[2]) if own.startswith("http") else file[2]
    return file[1] + (file[3] or "") + chained + rest, stem


def _is_samples(name: str) -> bool:
    return name.endswith("meg4")


def _kind_of(error: BaseException) -> int:
    if not isinstance(error, Exception):
        return STOPPED
    if isinstance(error, FileNotFoundError):
        return NOT_FOUND
    if isinstance(error, PermissionError):
        return NO_PERMISSION
    return OUT_OF_MEMORY if isinstance(error, MemoryError) else DAMAGED


_KIND_NAMES = {
    NOT_FOUND: "notFound",
    NO_PERMISSION: "noPermission",
    OUT_OF_MEMORY: "outOfMemory",
    DAMAGED: "damaged",
    STOPPED: "stopped",
}


# What the library calls. These functions live as long as the process, as the library may be in one of them
# when a store is let go. Nothing that is raised goes through the library: it is kept, and raised after the
# library's call.

_stores: dict[int, UrlStore] = {}  # that the library holds, by what it passes to the callbacks


def _store_of(user: int) -> UrlStore:
    if raised.interrupt is not None:
        raise raised.interrupt
    return _stores[user]


def _failed(error: BaseException, user: int, name: bytes, text: int, room: int) -> int:
    store = _stores[user]
    kind = _kind_of(error)
    if kind == STOPPED and threading.get_ident() == threading.main_thread().ident:
        raised.interrupt = error
        return kind
    raised.keep(store.shown + "/" + os.fsdecode(name) if name else store.shown, error)
    sentence = " ".join(("can't be read: " + store.reason_of(error)).split())
    whole = sentence.encode("utf-8", "replace")[: room - 1].decode("utf-8", "ignore").encode()
    ctypes.memmove(text, whole + b"\0", len(whole) + 1)
    return kind


def _list(user: int, add: Any, names: int, text: int, room: int) -> int:
    try:
        for name in _store_of(user).names():
            add(names, os.fsencode(name))
        return OK
    except BaseException as error:
        return _failed(error, user, b"", text, room)


def _size_of(user: int, name: bytes, size: Any, text: int, room: int) -> int:
    try:
        found = _store_of(user).size_of(os.fsdecode(name))
        if found is None:
            return NOT_FOUND
        size[0] = found
        return OK
    except BaseException as error:
        return _failed(error, user, name, text, room)


def _read_at(
    user: int, name: bytes, offset: int, out: int, count: int, done: Any, text: int, room: int
) -> int:
    try:
        data = _store_of(user).read(os.fsdecode(name), offset, count)
        if len(data) > count:
            raise OSError("more was sent than was asked for")
        ctypes.memmove(out, data, len(data))
        done[0] = len(data)
        return OK
    except BaseException as error:
        return _failed(error, user, name, text, room)


def _release(user: int) -> None:
    _stores.pop(user, None)


_callbacks = (
    LIST_FUNCTION(_list),
    SIZE_FUNCTION(_size_of),
    READ_FUNCTION(_read_at),
    RELEASE_FUNCTION(_release),
)
