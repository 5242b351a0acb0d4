"""Indexing of samples that are read on demand, as NumPy indexes an array of the same shape."""

from __future__ import annotations

import operator
from typing import Any, Callable, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

Array = Any  # an array of NumPy
Places = Union[range, Array]  # positions on one axis, all within it
Fill = Callable[[Sequence[Places], Array], None]

_NEAR = 16  # samples that lie at most so far apart are read in one go
_SCRATCH = 1 << 20  # values that are read at a time where only some of them are wanted


class _Item(NamedTuple):
    """One item of an index: "new" for a new axis, "slice" for a choice of positions, "int", "array", or
    "rest", which is before the axes of an ellipsis, if any, and has none of its own.

    `axis` is None for a new axis, and for a bare True or False, whose array holds no positions.
    """

    kind: str
    axis: Optional[int]
    value: Any = None


def indexed(
    index: Any, shape: Tuple[int, ...], dtype: Any, fill: Fill, find: Callable[[List[str]], Array]
) -> Any:
    """What `array[index]` is of an array that is not there.

    Parameters
    ----------
    index
        As NumPy takes it. On the second axis from the end also names of channels: a text or a list of texts,
        which choose as a slice does, so that the axis stays whatever they match.
    shape : tuple of int
        Of the array.
    dtype : numpy.dtype
        Of its values.
    fill : callable
        fill(places, out) reads the outer product of ascending or arbitrary places on each axis (the last one
        a range that rises) into `out`, a new array in C order.
    find : callable
        Returns the places of the channels that a list of texts chooses.

    Returns
    -------
    numpy.ndarray or scalar
        Nothing is read but what it holds, or lies between two samples of it that are at most 16 apart.
    """
    items = _parsed(index, shape, find)
    if any(item.kind == "array" for item in items):
        return _by_arrays(items, shape, dtype, fill)
    needs = [_places(item) for item in items if item.axis is not None]
    values = _outer(needs, dtype, fill).reshape(_lengths(items))
    # As NumPy has it, a single value is a scalar, with an ellipsis an array of no axes.
    return values if any(item.kind == "rest" for item in items) else values[()]


def _parsed(index: Any, shape: Tuple[int, ...], find: Callable[[List[str]], Array]) -> List[_Item]:
    """An item for each axis and each new one, in order."""
    given = [_known(item) for item in (index if isinstance(index, tuple) else (index,))]
    used = sum(_axes_of(item) for item in given)
    if used > len(shape):
        raise IndexError(
            f"too many indices for array: array is {len(shape)}-dimensional, but {used} were indexed"
        )
    if sum(item is Ellipsis for item in given) > 1:
        raise IndexError("an index can only have a single ellipsis ('...')")
    items: List[_Item] = []
    axis = 0
    for item in given:
        if item is Ellipsis:
            items.append(_Item("rest", None))
            for _ in range(len(shape) - used):
                items.append(_Item("slice", axis, range(shape[axis])))
                axis += 1
        elif item is None:
            items.append(_Item("new", None))
        else:
            items.extend(_item(item, axis, shape, find))
            axis += _axes_of(item)
    return items + [_Item("slice", later, range(shape[later])) for later in range(axis, len(shape))]


def _known(item: Any) -> Any:
    """An item of an index as None, Ellipsis, a slice, an int, a list of texts, or an array of int or bool."""
    if item is None or item is Ellipsis or isinstance(item, slice):
        return item
    if isinstance(item, str):
        return [item]
    if not isinstance(item, (bool, np.bool_)):
        try:
            return operator.index(item)
        except TypeError:
            pass
    array = np.asarray(item)
    if array.dtype.kind == "U" and array.ndim == 1:
        return [str(name) for name in array]
    if array.size == 0 and not isinstance(item, np.ndarray):
        array = array.astype(np.intp)
    if array.ndim == 0 and array.dtype != bool:
        raise IndexError(
            "only integers, slices (`:`), ellipsis (`...`), numpy.newaxis (`None`), integer or boolean "
            "arrays, and names of channels are valid indices"
        )
    if array.dtype.kind not in "iub":
        raise IndexError("arrays used as indices must be of integer (or boolean) type")
    return array


def _axes_of(item: Any) -> int:
    if item is None or item is Ellipsis:
        return 0
    return item.ndim if isinstance(item, np.ndarray) and item.dtype == bool else 1


def _item(item: Any, axis: int, shape: Tuple[int, ...], find: Callable[[List[str]], Array]) -> List[_Item]:
    if isinstance(item, list):
        if axis != len(shape) - 2:
            raise IndexError(f"names choose channels, which are axis {len(shape) - 2}, not axis {axis}")
        return [_Item("slice", axis, find(item))]
    if isinstance(item, slice):
        return [_Item("slice", axis, range(*item.indices(shape[axis])))]
    if isinstance(item, int):
        if not -shape[axis] <= item < shape[axis]:
            raise _outside(item, axis, shape)
        return [_Item("int", axis, item % shape[axis])]
    if item.dtype != bool:
        return [_Item("array", axis, _within(item, axis, shape))]
    if item.ndim == 0:
        return [_Item("array", None, np.zeros(int(item), np.intp))]
    for i, length in enumerate(item.shape):
        if length != shape[axis + i]:
            raise IndexError(
                f"boolean index did not match indexed array along dimension {axis + i}; dimension is "
                f"{shape[axis + i]} but corresponding boolean dimension is {length}"
            )
    return [_Item("array", axis + i, places) for i, places in enumerate(item.nonzero())]


def _within(places: Array, axis: int, shape: Tuple[int, ...]) -> Array:
    """Positions counted from 0; those from -1 down count from the end."""
    length = shape[axis]
    outside = (places < -length) | (places >= length)
    if outside.any():
        raise _outside(places[outside].flat[0], axis, shape)
    places = places.astype(np.intp)
    return np.where(places < 0, places + length, places)


def _outside(place: int, axis: int, shape: Tuple[int, ...]) -> IndexError:
    return IndexError(f"index {place} is out of bounds for axis {axis} with size {shape[axis]}")


def _places(item: _Item) -> Places:
    return range(item.value, item.value + 1) if item.kind == "int" else item.value


def _lengths(items: Sequence[_Item]) -> Tuple[int, ...]:
    """The shape that new axes and choices leave, without arrays and single positions."""
    return tuple(
        1 if item.kind == "new" else len(item.value) for item in items if item.kind in ("new", "slice")
    )


def _by_arrays(items: List[_Item], shape: Tuple[int, ...], dtype: Any, fill: Fill) -> Any:
    """With arrays among the items: these and single positions go along together, by NumPy's rule."""
    together = [i for i, item in enumerate(items) if item.kind in ("array", "int")]
    try:
        common = np.broadcast(*(items[i].value for i in together)).shape
    except ValueError:
        shapes = " ".join(str(np.shape(items[i].value)) for i in together)
        raise IndexError(
            f"shape mismatch: indexing arrays could not be broadcast together with shapes {shapes}"
        )
    arrays = [item for item in items if item.kind == "array"]
    if len(arrays) == 1 and arrays[0].axis is not None:
        values = _by_one_array(items, arrays[0], dtype, fill)
    else:
        values = _by_several(items, arrays, common, dtype, fill)
    values = values.reshape(common + _lengths(items))
    # Their axes come first, or where the first of them is when nothing lies between them.
    between = together[-1] - together[0] + 1 > len(together)
    at = 0 if between else len(_lengths(items[: together[0]]))
    return np.moveaxis(values, range(len(common)), range(at, at + len(common)))[()]


def _by_one_array(items: List[_Item], array: _Item, dtype: Any, fill: Fill) -> Array:
    """Its axis first, then those of choices."""
    needs = [
        array.value.ravel() if item is array else _places(item) for item in items if item.axis is not None
    ]
    values = _outer(needs, dtype, fill)
    single = [item.axis for item in items if item.kind == "int"]
    values = np.moveaxis(values, array.axis or 0, 0)
    # What was before the array's axis is now one further on.
    return values.reshape([n for i, n in enumerate(values.shape) if not _was(i, array.axis) in single])


def _was(i: int, moved: Any) -> int:
    """The axis that is `i` after axis `moved` was put in front."""
    return int(moved) if i == 0 else i - 1 if i <= moved else i


def _by_several(
    items: List[_Item], arrays: List[_Item], common: Tuple[int, ...], dtype: Any, fill: Fill
) -> Array:
    """One axis for all positions of the arrays together, then those of choices.

    Read in groups that differ in their last array only, so that no value is read that is not asked for.
    """
    chosen = [item for item in items if item.kind == "slice"]
    count = int(np.prod(common))
    values = np.empty((count, *(len(item.value) for item in chosen)), dtype)
    columns = [
        (item.axis, np.broadcast_to(item.value, common).ravel()) for item in arrays if item.axis is not None
    ]
    needs = {item.axis: _places(item) for item in items if item.axis is not None and item.kind != "array"}

    def read(where: Array, left: List[Tuple[Any, Array]], needs: Any) -> None:
        if not left:  # a bare True or False only
            values[where] = outer(needs)
            return
        axis, column = left[0]
        if len(left) == 1:
            places, inverse = np.unique(column[where], return_inverse=True)
            block = outer({**needs, axis: places}, axis)
            values[where] = block[inverse]
            return
        for place, group in _groups(column[where]):
            read(where[group], left[1:], {**needs, axis: range(place, place + 1)})

    def outer(needs: Any, first: Any = None) -> Array:
        block = _outer([needs[axis] for axis in sorted(needs)], dtype, fill)
        lengths = tuple(len(item.value) for item in chosen)
        if first is None:
            return block.reshape(lengths)
        return np.moveaxis(block, first, 0).reshape((len(needs[first]), *lengths))

    if values.size:
        read(np.arange(count), columns, needs)
    return values


def _groups(column: Array) -> Iterator[Tuple[int, Array]]:
    """Each value of a column with the rows that have it."""
    order = np.argsort(column, kind="stable")
    borders = np.flatnonzero(np.diff(column[order])) + 1
    for rows in np.split(order, borders):
        yield int(column[rows[0]]), rows


def _outer(needs: Sequence[Places], dtype: Any, fill: Fill) -> Array:
    """The values of an outer product of places, in their order."""
    samples = needs[-1]
    if isinstance(samples, range) and samples.step < 0:
        return _outer([*needs[:-1], samples[::-1]], dtype, fill)[..., ::-1]
    values = np.empty([len(places) for places in needs], dtype)
    if values.size == 0:
        return values
    if isinstance(samples, range):
        fill(needs, values)
        return values
    wanted = np.unique(samples)
    even = _even(wanted)
    if even is not None and len(wanted) == len(samples) and (wanted == samples).all():
        fill([*needs[:-1], even], values)
        return values
    order = np.argsort(samples, kind="stable")
    rising = samples[order]
    # Trial by trial, so that what is read beside what is wanted stays small.
    for trial in range(len(needs[0])) if len(needs) > 2 else (None,):
        rows = needs[:-1] if trial is None else [needs[0][trial : trial + 1], needs[1]]
        out = values if trial is None else values[trial : trial + 1]
        for start, stop in _stretches(wanted, max(_NEAR + 1, _SCRATCH // len(rows[-1]))):
            span = _even(wanted[start:stop]) or range(wanted[start], wanted[stop - 1] + 1)
            block = np.empty([*(len(places) for places in rows), len(span)], dtype)
            fill([*rows, span], block)
            here = slice(np.searchsorted(rising, span.start), np.searchsorted(rising, span.stop - 1, "right"))
            out[..., order[here]] = block[..., (rising[here] - span.start) // span.step]
    return values


def _even(places: Array) -> Optional[range]:
    """Rising places as a range, where they are equally far apart."""
    if len(places) == 1:
        return range(places[0], places[0] + 1)
    step = int(places[1] - places[0])
    if (np.diff(places) != step).any():
        return None
    return range(int(places[0]), int(places[-1]) + 1, step)


def _stretches(places: Array, width: int) -> Iterator[Tuple[int, int]]:
    """Parts of rising places that are near each other, none of them wider than `width`."""
    start = 0
    for stop in [*(np.flatnonzero(np.diff(places) > _NEAR) + 1), len(places)]:
        while start < stop:
            end = min(int(stop), int(np.searchsorted(places, places[start] + width)))
            yield start, end
            start = end
