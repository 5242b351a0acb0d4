"""What views have of NumPy's arrays: shape, type, indexing."""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any, Iterator, List, Optional, Sequence, Tuple

import numpy as np

from ._errors import ChoiceError, RefusedError
from ._index import indexed
from ._reading import TYPES, Ends, OpenView
from ._selection import Selection
from ._source import Source

if TYPE_CHECKING:
    from numpy.typing import DTypeLike, NDArray

_CHUNK_BYTES = 64 << 20


class Samples:
    """Samples that are read when they are asked for, indexed like an array.

    Parameters
    ----------
    source : Source
        The recording.
    selection : dict
        What the library is to select.
    dtype
        int32 of raw values only, float32 or float64.
    is_raw : bool
        Whether values are raw.
    ends : (float or None, float or None)
        Seconds of the first and the last sample of each epoch, where a view of epochs was narrowed.
    """

    def __init__(
        self, source: Source, selection: Selection, dtype: DTypeLike, is_raw: bool, ends: Ends = (None, None)
    ) -> None:
        self._source = source
        self._selection = selection
        self._dtype = np.dtype(dtype)
        self._is_raw = is_raw
        self._ends = ends
        self._handle: Optional[OpenView] = None

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self._source, self._selection, self._dtype, self._is_raw, self._ends)

    def _open(self) -> OpenView:
        """The open view. Two threads may open it at once where it is not; then the last one stays."""
        handle = self._handle
        if handle is None or not handle.is_usable():
            handle = self._handle = OpenView(self._source, self._selection, self._ends)
        return handle

    @property
    def shape(self) -> Tuple[int, ...]:
        """(trials, channels, samples); (channels, samples) of a run."""
        trials, channels, samples = self._open().shape
        return (channels, samples) if self.ndim == 2 else (trials, channels, samples)

    @property
    def dtype(self) -> np.dtype[Any]:
        """int32 of raw values, else float64 or float32."""
        return self._dtype

    @property
    def ndim(self) -> int:
        """3; 2 of a run."""
        return 2 if self._selection.get("continuous") else 3

    @property
    def size(self) -> int:
        """Values in all."""
        return math.prod(self.shape)

    @property
    def nbytes(self) -> int:
        """Bytes that all values take in memory."""
        return self.size * int(self._dtype.itemsize)

    @property
    def chunks(self) -> Tuple[int, ...]:
        """Shape of good pieces to read: whole trials of about 64 MB together, or part of a longer one."""
        *trials, channels, samples = self.shape
        row = max(1, channels * int(self._dtype.itemsize))
        if not trials or row * samples > _CHUNK_BYTES:
            return (*(1 for _ in trials), channels, max(1, min(samples, _CHUNK_BYTES // row)))
        return (max(1, min(trials[0], _CHUNK_BYTES // max(1, row * samples))), channels, samples)

    def __len__(self) -> int:
        return self.shape[0]

    def __iter__(self) -> Iterator[Any]:
        return (self[i] for i in range(len(self)))

    def __array__(self, dtype: DTypeLike = None, copy: Optional[bool] = None) -> NDArray[Any]:
        """Reads everything. Raises ValueError where `copy` is False: the values are in files."""
        if copy is False:
            raise ValueError("the samples are in files: an array of them is always a copy")
        wanted = self._dtype if dtype is None else np.dtype(dtype)
        if self._can_be(wanted):
            return np.asarray(self._read(wanted, ...))
        if not wanted.itemsize:  # a text as long as the values need
            return np.asarray(self._read(self._dtype, ...), wanted)
        values = np.empty(self.shape, wanted)
        row = int(self._dtype.itemsize) * math.prod(self.shape[1:])
        step = max(1, _CHUNK_BYTES // max(1, row))
        for first in range(0, len(values), step):
            values[first : first + step] = self._read(self._dtype, slice(first, first + step))
        return values

    def __getitem__(self, index: Any) -> Any:
        """Reads the values that an index chooses.

        Returns
        -------
        numpy.ndarray or scalar
            As `numpy.asarray(view)[index]`.

        Raises
        ------
        IndexError
            For what NumPy refuses, and for a name that no channel has (which is an `Error`, too).
        Error
            When the files can't be read.
        """
        return self._read(self._dtype, index)

    def _can_be(self, dtype: np.dtype[Any]) -> bool:
        return bool(dtype.isnative) and dtype.name in TYPES and (self._is_raw or dtype.kind == "f")

    def _read(self, dtype: np.dtype[Any], index: Any) -> Any:
        handle = self._open()

        def find(names: List[str]) -> Any:
            try:
                return handle.places({"channels": names})
            except RefusedError as error:
                raise ChoiceError(error.kind, error.path, error.text) from None

        def fill(needs: Sequence[Any], out: Any) -> None:
            handle.fill(needs, self._is_raw, out)

        return indexed(index, self.shape, dtype, fill, find)
