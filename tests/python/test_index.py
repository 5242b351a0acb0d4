"""Indices of all sorts against the whole array."""

import numpy as np
import pytest


@pytest.fixture
def views(rec):
    found = [
        rec.raw,
        rec.data,
        rec.continuous(gaps="nan"),
        rec.epochs("tone", -0.02, 0.05).select(tmin=-0.01),
    ]
    return [(view, np.asarray(view)) for view in found]


def one(numbers, n):
    """An index of an axis, at times one that is beyond it."""

    def places(*shape):
        return numbers.integers(-n, n, shape)

    def cut():
        ends = [None if numbers.random() < 0.4 else int(numbers.integers(-n - 3, n + 4)) for _ in "ab"]
        return slice(*ends, numbers.choice([None, 1, 2, 3, -1, -2, 7]))

    return numbers.choice(
        np.array(
            [
                cut,
                cut,
                cut,
                lambda: int(places()),
                lambda: np.intp(places()),
                lambda: np.array(places()),
                lambda: places(numbers.integers(0, 5)).tolist(),
                lambda: places(*numbers.integers(0, 4, numbers.integers(1, 3))),
                lambda: places(1, 2, 1),
                lambda: numbers.random(n) < 0.4,
                lambda: np.arange(0, n, max(1, n // 3)),
                lambda: int(numbers.integers(-2 * n, 2 * n)),
            ]
        )
    )()


def some_index(numbers, shape):
    index = [one(numbers, n) for n in shape[: numbers.integers(0, len(shape) + 1)]]
    if numbers.random() < 0.05:
        index = [numbers.random(shape[: numbers.integers(1, len(shape) + 1)]) < numbers.choice([0.01, 0.5])]
    for extra in (None, Ellipsis, None, True, False, np.bool_(True), 1.5, slice(0.5)):
        if numbers.random() < 0.05:
            index.insert(numbers.integers(len(index) + 1), extra)
    return tuple(index) if len(index) != 1 or numbers.random() < 0.5 else index[0]


@pytest.mark.parametrize("seed", range(4))
def test_random_indices(views, seed):
    numbers, refused = np.random.default_rng(seed), 0
    for _ in range(2000):
        view, array = views[numbers.integers(len(views))]
        index = some_index(numbers, array.shape)
        try:
            want = array[index]
        except (IndexError, TypeError):  # which of them depends on what is looked at first
            with pytest.raises((IndexError, TypeError)):
                view[index]
            refused += 1
            continue
        found = view[index]
        assert type(found) is type(want) and found.shape == want.shape and found.dtype == want.dtype, index
        np.testing.assert_array_equal(found, want, str(index))
    assert 100 < refused < 1000


def test_refused_indices(views):
    for view, array in views:
        wrong = [99, (0, 9999), (0, -9999), 1.5, (0, 0, 0, 0), (Ellipsis, Ellipsis), [0.5], np.zeros(3, bool)]
        for index in [*wrong, slice(1.5)]:
            with pytest.raises((IndexError, TypeError)) as wanted:
                array[index]
            with pytest.raises(wanted.type):
                view[index]
        with pytest.raises(ValueError):
            view[::0]


def test_names(views, files):
    for (view, array), axis in zip(views, (1, 1, 0, 1)):
        every = (slice(None),) * axis
        for names in ("MLF11", "MLF11-2901", "ML*", "meg", ["eeg", "MLF11"], np.array(["ref"]), "mlf*"):
            want = [
                i
                for name in np.atleast_1d(names)
                for i in files["gap"].of(name.upper() if "l" in name else name)
            ]
            want = want or files["gap"].of("MLF11*")
            want = sorted({*want, *(files["gap"].of("MLF11*") if "MLF11" in names else ())})
            np.testing.assert_array_equal(view[(*every, names)], array[(*every, want)])
            np.testing.assert_array_equal(
                view[(..., names, slice(9, 2, -3))], array[(*every, want)][..., 9:2:-3]
            )
        assert view[(0,) * axis + ("MLF11", 5)].shape == (1,)
        with pytest.raises(IndexError, match="MLF11"):
            view[(*every, "MLF12x")]
        with pytest.raises(IndexError, match="names choose channels"):
            view[..., "meg"]


class Counted:
    """Counts the values that a view reads."""

    def __init__(self, monkeypatch):
        from ctfmeg import _reading

        self.values, fill = 0, _reading.OpenView.fill

        def counting(view, needs, is_raw, out):
            self.values += out.size
            fill(view, needs, is_raw, out)

        monkeypatch.setattr(_reading.OpenView, "fill", counting)


def test_nothing_else_is_read(rec, monkeypatch):
    counted = Counted(monkeypatch)
    for index, most in [
        ((0,), 30 * 300),
        ((0, "MLF11", slice(100, 200)), 100),
        ((Ellipsis, slice(None, None, 4)), 6 * 30 * 75),
        (([0, 5], slice(None), [1, 299]), 2 * 30 * 2),
        (([0, 5, 0], [1, 2, 1], [3, 299, 250]), 3),
        ((slice(None), [3, 29, 3], 7), 6 * 3),
        ((slice(None), 3, [1, 1, 150, 290]), 6 * 3),
        ((np.eye(6, 30, dtype=bool),), 6 * 300),
    ]:
        counted.values = 0
        rec.data[index]
        assert counted.values <= most, index


def test_arrays_are_read_in_place(rec):
    for index in (..., 0, (slice(None), "meg"), (slice(None), [4, 2], 3), ([3, 1], slice(2, 9))):
        base = rec.raw[index]
        while base.base is not None:
            base = base.base
        assert base.nbytes == rec.raw[index].nbytes
