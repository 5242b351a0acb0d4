"""The files of one directory at an fsspec URL, read without a byte that was not asked for."""

from __future__ import annotations

import asyncio
import errno
import os
import re
import struct
import sys
import threading
import zipfile
from typing import Any
from urllib.parse import quote, unquote

import fsspec
import fsspec.asyn

_BLOCK = 64 * 1024  # what is read at once of an archive on a server
_REQUESTS = 16  # to a server at once: each is short, and waiting for it is long


def files_at(url: str, options: dict[str, Any]) -> Files:
    """What reads the directory at an fsspec URL, which may be a chain such as
    ``zip://run.ds::https://host/a.zip``."""
    archive = re.match(r"\w+://[^:]*::(https?)://", url)
    if archive:  # it is read by small steps, each of which fetches megabytes by default
        options = {**options, archive[1]: {"block_size": _BLOCK, **options.get(archive[1], {})}}
    talker = fsspec.asyn.iothread[0]  # the thread that talks to servers
    if talker is not None and not talker.is_alive():
        fsspec.asyn.reset_lock()  # a process that was forked has not inherited it
    system, root = fsspec.core.url_to_fs(url, **options)
    return _files_of(system, root)


def _files_of(system: Any, root: str) -> Files:
    if isinstance(getattr(system, "zip", None), zipfile.ZipFile):
        return ZipFiles(system, root)
    http = sys.modules.get("fsspec.implementations.http")
    # Not isinstance: a cache in front of a server says that it is one itself.
    is_http = http is not None and issubclass(type(system), http.HTTPFileSystem)
    return (HttpFiles if is_http else Files)(system, root)


def shown(url: str) -> str:
    """A URL as people are shown it: as one path, without what gives access."""
    first, _, rest = url.partition("::")
    if rest:
        inside = first.partition("://")[2].strip("/")
        return shown(rest) + ("/" + inside if inside else "")
    if re.match(r"https?://", first):
        first = unquote(re.split(r"[?#]", first)[0])
    return re.sub(r"^(\w+://)[^/]*@", r"\1", first).rstrip("/")


class Files:
    """Files of a file system that knows names and sizes, and reads ranges. May be used by several threads at
    once."""

    def __init__(self, system: Any, root: str) -> None:
        self.system = system
        self.threads = _REQUESTS if getattr(system, "async_impl", False) else 0  # that it is worth using
        self.root = root.rstrip("/")

    def listing(self) -> dict[str, int | None]:
        """Sizes of the files by their names; None for a size that a listing does not tell."""
        self.system.invalidate_cache()
        found = self.system.ls(self._directory(), detail=True)
        if not found and not self.system.exists(self._directory()):
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), self.root)
        return {
            self._name(entry["name"]): entry.get("size")
            for entry in found
            if entry["type"] != "directory" and entry["name"].strip("/") != self.root.strip("/")
        }

    def size(self, name: str) -> int:
        size = self.system.info(self._path(name))["size"]
        if size is None:
            raise OSError("its length is not known")
        return int(size)

    def read(self, name: str, start: int | None = None, end: int | None = None) -> bytes:
        """Bytes of a file from `start` to before `end`, fewer where it ends before; all of it without
        these."""
        return self.part(self._path(name), start, end)

    def part(self, path: str, start: int | None, end: int | None) -> bytes:
        """Likewise, of a file that is named as the file system does."""
        return bytes(self.system.cat_file(path, start=start, end=end))

    def _directory(self) -> str:
        return self.root

    def _path(self, name: str) -> str:
        return f"{self.root}/{name}" if self.root else name

    def _name(self, path: str) -> str:
        return path.rstrip("/").rsplit("/", 1)[-1]


class HttpFiles(Files):
    """Files of a web server. Asks itself, as fsspec takes a whole file for a range of it from a server that
    ignores ranges."""

    _TRIES = 2  # a connection that was kept may have been closed by the server meanwhile
    _START = 8  # bytes of a file that come with its size

    def __init__(self, system: Any, root: str) -> None:
        place = re.match(r"([^?#]*)(\?[^#]*)?", root)
        assert place
        super().__init__(system, place[1])
        self._query = place[2] or ""
        self._starts: dict[str, bytes] = {}

    def listing(self) -> dict[str, int | None]:
        names = super().listing()
        if not any(name.endswith(".res4") for name in names):
            raise NotImplementedError("the server does not list what is there")  # but says something else
        return names

    def size(self, name: str) -> int:
        size, self._starts[name] = self._get(self._path(name), 0, self._START)
        return size

    def read(self, name: str, start: int | None = None, end: int | None = None) -> bytes:
        if start == 0 and end is not None and end <= self._START and name in self._starts:
            return self._starts[name][:end]
        return super().read(name, start, end)

    def part(self, path: str, start: int | None, end: int | None) -> bytes:
        return self._get(path, start, end)[1]

    def _directory(self) -> str:
        return f"{self.root}/{self._query}"

    def _path(self, name: str) -> str:
        return f"{self.root}/{quote(name)}{self._query}"

    def _name(self, path: str) -> str:
        return unquote(super()._name(re.split(r"[?#]", path)[0]))

    def _get(self, url: str, start: int | None, end: int | None) -> tuple[int, bytes]:
        import aiohttp  # the web client that fsspec uses

        for left in reversed(range(self._TRIES)):
            try:
                answer: tuple[int, bytes] = fsspec.asyn.sync(self.system.loop, self._fetch, url, start, end)
                return answer
            except (aiohttp.ClientConnectionError, aiohttp.ClientPayloadError) as error:
                if not left or isinstance(error, (aiohttp.ClientConnectorError, asyncio.TimeoutError)):
                    raise
        raise AssertionError

    async def _fetch(self, url: str, start: int | None, end: int | None) -> tuple[int, bytes]:
        """The whole length of a file and bytes of it."""
        options = dict(self.system.kwargs)
        headers = {**options.pop("headers", {}), "Accept-Encoding": "identity"}
        if start is not None and end is not None:
            headers["Range"] = f"bytes={start}-{end - 1}"
        session = await self.system.set_session()
        async with session.get(self.system.encode_url(url), headers=headers, **options) as answer:
            if answer.status in (404, 410):
                raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), url)
            if answer.status == 416:  # it ends before
                said = re.fullmatch(r"bytes \*/(\d+)", answer.headers.get("Content-Range", ""))
                return int(said[1]) if said else 0, b""
            if answer.status not in (200, 206):
                kind = PermissionError if answer.status in (401, 403) else OSError
                raise kind(f"the server answered {answer.status} {answer.reason}")
            if start is None or end is None:
                whole = await answer.read()
                return len(whole), whole
            if answer.status == 200:  # all of it, whether that is much or not
                length = answer.content_length
                if start > 0 or length is None or length > end:
                    raise OSError(
                        "the server sends whole files only, not parts of them"
                        " (simplecache:: before the URL fetches whole files)"
                    )
                return length, await answer.read()
            said = re.fullmatch(rf"bytes {start}-\d+/(\d+)", answer.headers.get("Content-Range", ""))
            if not said:
                raise OSError("the server sent another part of it than was asked for")
            return int(said[1]), (await answer.read())[: end - start]


class ZipFiles(Files):
    """Members of a zip file. A stored one is read where it is; a compressed one is decompressed from its
    start on, so that what reads it stays open and goes on from where it is."""

    _MOST_READERS = 2  # of one member; threads come a little out of order
    _STEP = 256 * 1024

    def __init__(self, system: Any, root: str) -> None:
        super().__init__(system, root)
        self._lock = threading.Lock()  # for the archive, which has one position
        self._readers: dict[str, list[Any]] = {}
        self._places: dict[str, tuple[int, int] | None] = {}
        file = system.fo
        self._container = _files_of(file.fs, "") if hasattr(file, "fs") and hasattr(file, "path") else None

    def read(self, name: str, start: int | None = None, end: int | None = None) -> bytes:
        with self._lock:
            if start is None or end is None:
                with self.system.zip.open(self._member(name)) as whole:
                    return bytes(whole.read())
            place = self._place_of(name)
            if place is None:
                return self._decompressed(name, start, end)
        assert self._container
        at, length = place
        end = min(end, length)
        return self._container.part(self.system.fo.path, at + start, at + end) if start < end else b""

    def _member(self, name: str) -> zipfile.ZipInfo:
        try:
            return self.system.zip.getinfo(self._path(name))  # type: ignore[no-any-return]
        except KeyError:
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), name) from None

    def _place_of(self, name: str) -> tuple[int, int] | None:
        """Where a member begins that is in the archive as it is, and its length; None for another one."""
        if name not in self._places:
            member = self._member(name)
            self._places[name] = None
            is_plain = member.compress_type == zipfile.ZIP_STORED and not member.flag_bits & 1
            if is_plain and self._container is not None:
                self.system.fo.seek(member.header_offset + 26)
                name_length, extra_length = struct.unpack("<HH", self.system.fo.read(4))
                start = member.header_offset + 30 + name_length + extra_length
                self._places[name] = start, member.file_size
        return self._places[name]

    def _decompressed(self, name: str, start: int, end: int) -> bytes:
        readers = self._readers.setdefault(name, [])
        readers.sort(key=lambda reader: int(reader.tell()))
        before = [reader for reader in readers if reader.tell() <= start]
        if before:
            reader = before[-1]
        elif len(readers) < self._MOST_READERS:
            reader = self.system.zip.open(self._member(name))
            readers.append(reader)
        else:
            reader = readers[0]
            reader.seek(0)
        while reader.tell() < start:
            if not reader.read(min(self._STEP, start - reader.tell())):
                return b""
        return bytes(reader.read(end - start))


def reason_of(error: BaseException) -> str:
    """Why files can't be read, to follow "can't be read:"."""
    if isinstance(error, (TimeoutError, asyncio.TimeoutError)):
        return "no answer came in time"
    connecting = getattr(error, "os_error", None)  # of aiohttp's errors
    if connecting is not None:
        number = connecting.errno
        return "the server can't be reached" + (f": {os.strerror(number)}" if number and number > 0 else "")
    if isinstance(error, FileNotFoundError):
        return os.strerror(errno.ENOENT)
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    return str(error) or type(error).__name__
