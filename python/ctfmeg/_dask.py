"""Recordings with Dask: samples as a lazy array, and one task for each of many recordings."""

from __future__ import annotations

import functools
import os
import pickle
from collections.abc import Callable, Iterable, Mapping
from typing import TYPE_CHECKING, Any

import numpy as np

from ._errors import error_of
from ._selection import text_of

if TYPE_CHECKING:
    from ._recording import Recording
    from ._view import View


def to_dask(view: View, chunks: Any = None) -> Any:
    """A view as a Dask array, read chunk by chunk when it is computed.

    Parameters
    ----------
    view : View
        Samples of a recording. Workers open it again for themselves, so that they must find its files under
        the same path or URL; a ``memory://`` URL does for threads of this process only.
    chunks : optional
        As `dask.array.from_array` takes them; without them whole trials, of about 64 MB together.

    Returns
    -------
    dask.array.Array
        Of the view's shape and type. Its name stands for the recording, the selection, and the times and
        lengths of the recording's files where they are on this machine: what was computed of the same samples
        is recognised.

    Raises
    ------
    Error
        Where Dask is missing.
    """
    array = _needed("dask.array")
    chunks = view.chunks if chunks is None else chunks
    name = "ctfmeg-" + _needed("dask.base").tokenize(_specification(view))
    return array.from_array(view, chunks=chunks, name=name, meta=np.empty((0,) * view.ndim, dtype=view.dtype))


def map_recordings(
    function: Callable[[Recording], Any],
    paths: Iterable[str | os.PathLike[str] | Mapping[str, Any]],
    client: Any = None,
) -> list[Any]:
    """Calls a function with each of many recordings, one Dask task for each.

    Parameters
    ----------
    function : callable
        Called with an open `Recording`. What it returns, and what it needs, must be picklable where workers
        are other processes. It may be called by several threads at once where a worker has several.
    paths : iterable
        Paths or URLs as `ctfmeg.open` takes them, or entries of `ctfmeg.scan`.
    client : distributed.Client, optional
        Whose workers do it. What a worker was doing that dies, another does, as often as the scheduler allows
        (three times by default). Without a client, threads of this process do it.

    Returns
    -------
    list
        What the function returned, in the order of `paths`. Where it, or opening the recording, raised an
        exception, that exception instead; its attribute `path` names the recording or a file of it.

    Raises
    ------
    Error
        Where Dask is missing.
    """
    named = [_everywhere(entry["path"] if isinstance(entry, Mapping) else entry) for entry in paths]
    if client is None:
        tasks = {number: (_attempt, function, path) for number, path in enumerate(named)}
        return list(_needed("dask.threaded").get(tasks, list(tasks)))
    futures = client.map(functools.partial(_attempt, function), named, pure=False)
    # Fetched together: one by one would cost a conversation with the scheduler each.
    _needed("distributed").wait(futures)
    done = [future for future in futures if future.status == "finished"]
    try:
        values = dict(zip(done, client.gather(done)))
    except Exception:  # a worker died with its results, or one can't be sent: each by itself
        values = {}
    return [_result(future, path, values) for path, future in zip(named, futures)]


def _result(future: Any, path: str, values: dict[Any, Any]) -> Any:
    """The value of a task, or why there is none."""
    try:
        return values[future] if future in values else future.result()
    except Exception as error:  # the task is lost, or its result can't be sent
        return _about(error, path)


def _everywhere(path: str | os.PathLike[str]) -> str:
    """The path as workers with another current directory have it."""
    text = os.fspath(path)
    return text if "://" in text else os.path.abspath(text)


def _attempt(function: Callable[[Recording], Any], path: str) -> Any:
    """What the function returns, or what is raised."""
    from . import open as open_recording

    try:
        return function(open_recording(path))
    except Exception as error:
        return _about(error, path)


def _about(error: Exception, path: str) -> Exception:
    """The exception with the path in it, and such as can be sent."""
    if not getattr(error, "path", None):
        try:
            error.path = path  # type: ignore[attr-defined]
        except AttributeError:  # an exception without room for it
            return _about(RuntimeError(f"{type(error).__name__}: {error}"), path)
    try:
        pickle.loads(pickle.dumps(error))
    except Exception:
        return _about(RuntimeError(f"{type(error).__name__}: {error}"), path)
    return error


def _specification(view: View) -> tuple[Any, ...]:
    """What a view shows, in values that are the same for the same samples."""
    _, what = view.__reduce__()
    source, selection, dtype, is_raw, span = what
    _, opened = source.__reduce__()
    return opened, text_of(selection), dtype.str, is_raw, span, _files_of(opened[0])


def _files_of(path: str) -> list[tuple[str, int, int]]:
    """Names, times and lengths of a dataset's files; none for a URL, of which nothing more is known."""
    try:
        with os.scandir(path if os.path.isdir(path) else os.path.dirname(path)) as entries:
            looks = [(entry.name, entry.stat()) for entry in entries]
    except OSError:
        return []
    return sorted((name, look.st_mtime_ns, look.st_size) for name, look in looks)


def _needed(module: str) -> Any:
    import importlib

    try:
        return importlib.import_module(module)
    except ImportError as error:
        packages = "python3-dask and python3-distributed (Debian) or ctfmeg[dask] (pip)"
        raise error_of("refused", "", f"Dask is needed for this: install {packages}") from error
