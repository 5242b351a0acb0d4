"""Samples and what is computed of them, against NumPy reading the bytes."""

import csv
import io
import tracemalloc

import numpy as np
import pytest
from numpy.testing import assert_allclose, assert_array_equal
from reader import Files, run

import ctfmeg

pytestmark = pytest.mark.filterwarnings("ignore::ctfmeg.ReadingWarning")  # of aliasing and of epochs left out


@pytest.mark.parametrize("name", ["gap", "adjoining", "noisy"])
def test_all_samples(paths, files, name):
    rec, want = ctfmeg.open(paths[name]), files[name]
    assert rec.raw.shape == want.raw.shape and rec.raw.dtype == np.int32 and rec.data.dtype == np.float64
    assert_array_equal(rec.raw, want.raw)
    assert_array_equal(rec.data, want.data)
    assert_array_equal(rec.astype("float32").data, want.data.astype(np.float32))
    assert_array_equal(np.asarray(rec.raw, dtype="float64"), want.raw)
    assert_array_equal(np.asarray(rec.data, dtype="float32"), want.data.astype(np.float32))
    assert_array_equal(np.asarray(rec.raw, dtype=">i8"), want.raw)
    assert_allclose(rec.data.times, (np.arange(want.raw.shape[2]) - want.before) / want.rate, atol=1e-12)


@pytest.mark.parametrize("name", ["raw", "data"])
def test_other_types_take_little_more_memory(rec, files, monkeypatch, name):
    whole = getattr(files["gap"], name)
    for view, want in ((getattr(rec, name), whole), (rec.continuous("cut"), files["gap"].run())):
        assert view[..., 0].size  # which opens it
        with monkeypatch.context() as patch:
            patch.setattr(ctfmeg._array, "_CHUNK_BYTES", 50_000)
            tracemalloc.start()
            got = np.asarray(view, dtype=complex)
            peak = tracemalloc.get_traced_memory()[1]
            tracemalloc.stop()
        assert_array_equal(got, want)
        assert got.nbytes <= peak < got.nbytes + 120_000
    assert (
        np.asarray(rec.data[0, 0], "U").dtype
        == np.asarray(rec.select(trials=0, channels="UPPT001"), "U").dtype
    )


SELECTIONS = {
    "trials": (dict(trials=[4, 0, 2]), lambda f: f.data[[0, 2, 4]]),
    "one trial": (dict(trials=np.int64(3)), lambda f: f.data[3:4]),
    "markers": (
        dict(markers="button"),
        lambda f: f.data[sorted({s["trial"] for s in f.info["markers"][1]["samples"]})],
    ),
    "channels": (dict(channels=["eeg", "MLF*"]), lambda f: f.data[:, sorted(f.of("eeg") + f.of("MLF*"))]),
    "exclude": (dict(channels="meg", exclude=["bad"]), lambda f: f.data[:, f.good(f.of("meg"))]),
    "seconds": (dict(tmin=-0.01, tmax=0.05), lambda f: f.data[:, :, f.at(-0.01) : f.at(0.05) + 1]),
    "samples": (dict(samples=(-5, 20)), lambda f: f.data[:, :, :21]),
    "open samples": (dict(samples=(280, None)), lambda f: f.data[:, :, 280:]),
    "split": (
        dict(split=4),
        lambda f: np.stack([t[:, i * 75 : i * 75 + 75] for t in f.data for i in range(4)]),
    ),
    "step": (dict(step=7), lambda f: f.data[:, :, : 42 * 7 : 7]),
    "all": (
        dict(trials=[1, 5], channels="ref", tmin=0, tmax=0.1, step=2),
        lambda f: f.data[[1, 5]][:, f.of("ref")][:, :, f.at(0) : f.at(0) + 120 : 2],
    ),
}


@pytest.mark.parametrize("name", SELECTIONS)
def test_selections(rec, files, name):
    selection, wanted = SELECTIONS[name]
    want = wanted(files["gap"])
    view = rec.select(**selection)
    assert_array_equal(view, want)
    assert_array_equal(
        view.raw,
        np.round(want * (files["gap"].gains[[files["gap"].names.index(n) for n in view.channel_names]])),
    )
    assert view.shape == want.shape == (len(view), *view[0].shape)
    assert len(view.origins) == len(want) and len(view.times) == want.shape[2]
    assert set(view.raw.units) == {"1"} and len(view.units) == want.shape[1]


def test_views_combine(rec, files):
    f = files["gap"]
    meg = f.good(f.of("meg"))
    view = rec.select(trials=[0, 2, 5], channels="meg").select(exclude="bad", trials=[5, 2, 1], tmin=-0.02)
    view = view.select(samples=(0, 100), step=2).select(step=3, channels="M*")
    want = f.data[[2, 5]][:, meg][:, :, f.at(-0.02) : 101][:, :, ::6]
    assert_array_equal(view, want[:, :, : (101 - f.at(-0.02)) // 6])
    assert view.channel_names == [f.names[i] for i in meg] and list(view.origins["trial"]) == [2, 5]
    assert list(view.origins["first_sample"]) == [f.at(-0.02)] * 2 and view.sample_rate == f.rate / 6
    assert_allclose(view.times, -0.02 + np.arange(view.shape[2]) * 6 / f.rate, atol=1e-12)
    with pytest.raises(ctfmeg.Error, match="no trial"):
        rec.select(trials=[0]).select(trials=[1]).shape
    with pytest.raises(ctfmeg.Error, match="MLF"):
        rec.select(channels="ref").select(channels="MLF11").shape
    button = {s["trial"] for s in f.info["markers"][1]["samples"]}
    assert list(rec.select(markers="tone").select(markers="button").origins["trial"]) == sorted(button)


def test_runs(paths, rec, files):
    f = files["gap"]
    with pytest.raises(ctfmeg.Error, match="1.5 s") as refused:
        rec.continuous().shape
    assert refused.value.kind == "refused"
    run = rec.continuous(gaps="nan")
    assert_array_equal(run, f.run(2, 1800))
    assert_allclose(run.times, np.arange(3600) / f.rate, atol=1e-12)
    assert [tuple(gap) for gap in run.gaps] == [(2, pytest.approx(1.5), 1800)]
    assert list(run.origins["trial"]) == list(range(6))
    assert not hasattr(run, "raw")
    cut = rec.continuous(gaps="cut", channels="meg")
    assert_array_equal(cut, f.run()[f.of("meg")])
    assert_allclose(cut.times[[899, 900]], [899 / f.rate, 2700 / f.rate])
    assert_array_equal(cut.min_max(0.5, 2.3, 1)[0][:, 0], f.run()[f.of("meg"), 600:961].min(axis=1))
    assert_array_equal(cut.min_max(1.0, 2.3, 1)[0][:, 0], f.run()[f.of("meg"), 899:961].min(axis=1))
    whole = ctfmeg.open(paths["adjoining"]).continuous()
    assert_array_equal(whole.raw, np.concatenate(list(files["adjoining"].raw), axis=1))
    assert_array_equal(whole.select(tmin=0.2, tmax=0.3), files["adjoining"].run()[:, 240:361])
    assert len(whole) == 30 and len(list(whole)) == 30 and whole.gaps.size == 0


def test_epochs(rec, files):
    f = files["gap"]
    run, tones = f.run(), [s for s in f.info["markers"][0]["samples"]]
    kept = [s for s in tones if (s["trial"], s["sample"]) not in ((0, 0), (3, 0))]
    firsts = [s["trial"] * 300 + s["sample"] - 72 for s in tones]
    whole = [i for i, first in enumerate(firsts) if first >= 0 and not first < 900 <= first + 168]
    want = np.stack([run[:, firsts[i] : firsts[i] + 169] for i in whole])
    want -= want[:, :, :73].mean(axis=2, keepdims=True)
    epochs = rec.epochs("tone", tmin=-0.06, tmax=0.08, baseline=(None, 0))
    assert_allclose(epochs, want, rtol=0, atol=1e-12 * abs(want).max())
    assert list(epochs.events["trial"]) == [tones[i]["trial"] for i in whole]
    assert list(epochs.events["sample"]) == [tones[i]["sample"] for i in whole] and len(kept) == len(tones)
    assert set(epochs.events["marker"]) == {"tone"} and not hasattr(epochs, "raw")
    assert epochs.left_out["incomplete"] == len(tones) - len(whole) > 0
    assert_allclose(epochs.times, np.arange(-72, 97) / f.rate, atol=1e-12)
    places = rec.events()  # of the tone's stimulus
    same = rec.epochs(places[places["value"] == 1], -0.06, 0.08, baseline=(None, 0))
    assert_array_equal(same, epochs)
    assert set(same.events["marker"]) == {"UPPT001"} and same.events[["trial", "sample"]].tolist() == [
        tuple(row)[1:3] for row in epochs.events
    ]
    part = epochs.select(tmin=0.01, channels="meg").select(samples=(0, 99))
    assert_array_equal(part, epochs[:, f.of("meg"), 84:100])
    assert_allclose(part.times, np.arange(12, 28) / f.rate, atol=1e-12)
    assert_array_equal(part.min_max(width=1, trial=1)[1][:, 0], part[1].max(axis=1))
    assert_array_equal(part.min_max(width=1, trial=-1)[0][:, 0], part[-1].min(axis=1))
    mean, error, number = rec.average("tone", -0.06, 0.08, baseline=(None, 0))
    assert number == len(whole)
    assert_allclose(mean, want.mean(axis=0), rtol=0, atol=1e-12 * abs(want).max())
    assert_allclose(error, want.std(axis=0, ddof=1) / np.sqrt(number), rtol=0, atol=1e-12 * abs(want).max())
    limit = np.sort(np.ptp(rec.epochs("tone", -0.06, 0.08)[:, f.good(f.of("meg"))], axis=2).max(axis=1))[1]
    assert rec.epochs("tone", -0.06, 0.08, reject={"meg": limit}).left_out["rejected"] == len(whole) - 2


@pytest.mark.parametrize("order", [1, 2, 3])
def test_compensation(paths, files, order):
    want = files["noisy"].compensated(order)
    view = ctfmeg.open(paths["noisy"]).select(channels="meg", compensation=order)
    want = want[:, files["noisy"].of("meg")]
    assert_allclose(view, want, rtol=0, atol=1e-12 * abs(want).max())
    assert (
        not hasattr(view, "raw")
        and abs(want).max() < abs(files["noisy"].data[:, files["noisy"].of("meg")]).max()
    )


def test_short_recordings(paths):
    with pytest.warns(ctfmeg.ReadingWarning, match="short.ds"):
        rec = ctfmeg.open(paths["short"])
    assert rec.raw.shape == (5, 30, 300) and rec.n_trials == 5 and rec.warnings
    view = rec.select(partial="nan")
    last = view[5]
    whole = rec.info["files"]["partialTrial"]["channels"]
    assert view.shape[0] == 6 and np.isnan(last[whole:]).all() and not np.isnan(last[:whole]).any()
    assert not hasattr(view, "raw") and rec.select(partial="drop").shape == (6, whole, 300)


def test_events(paths, files):
    f = files["adjoining"]
    place = f.names.index("UPPT001")
    for edge, change in (("rising", np.greater), ("falling", np.less), ("both", np.not_equal)):
        line = np.concatenate([[0], f.raw[:, place].ravel() & 1])
        at = np.flatnonzero(change(line[1:], line[:-1]))
        events = ctfmeg.open(paths["adjoining"]).events("UPPT001", mask=1, edge=edge)
        assert (
            len(at) > 5
            and list(events["trial"]) == list(at // 300)
            and list(events["sample"]) == list(at % 300)
        )
        assert list(events["value"]) == list(line[at + 1]) and list(events["previous"]) == list(line[at])
        assert set(events["channel"]) == {"UPPT001"}
        assert_allclose(events["time_ms"], (at % 300 - 60) / f.rate * 1e3, atol=1e-9)
        assert_allclose(events["run_time"], at / f.rate, atol=1e-9)
    assert list(ctfmeg.open(paths["adjoining"]).events(trials=[1, 2])["trial"]) == [1, 2]


def test_statistics(paths, files):
    f, stats = files["faulty"], ctfmeg.open(paths["faulty"]).stats()
    values = f.data.transpose(1, 0, 2).reshape(len(f.channels), -1)
    for name in ("min", "max", "mean", "std"):
        assert_allclose(
            stats[name], getattr(values, name)(axis=1), rtol=1e-9, atol=1e-9 * abs(values).max(axis=1).min()
        )
    rows = list(csv.DictReader(io.StringIO(run("stats", "--csv", "--quiet", paths["faulty"]))))
    assert list(rows[0]) == list(stats.dtype.names)
    for name in ("channel", "kind", "unit", "flat", "clipped", "jumps", "verdict"):
        assert [row[name] for row in rows] == [str(value) for value in stats[name]]
    assert {"flat", "clipped"} <= set(",".join(stats["verdict"]).split(","))


def test_extremes_for_drawing(rec, files):
    least, greatest = rec.min_max(0.1, 2.9, 28)
    run = files["gap"].run(2, 1800)[:, 120:3481]
    for pixel in range(28):
        part = run[:, pixel * run.shape[1] // 28 : (pixel + 1) * run.shape[1] // 28]
        part = part[:, ~np.isnan(part[0])]
        missing = np.full(30, np.nan)
        assert_array_equal(least[:, pixel], part.min(axis=1) if part.size else missing)
        assert_array_equal(greatest[:, pixel], part.max(axis=1) if part.size else missing)
    assert np.isnan(least[:, 12]).all() and least.shape == greatest.shape == (30, 28)


def test_the_real_recording(real):
    rec, want = ctfmeg.open(real), Files(real)
    assert_array_equal(rec.raw, want.raw)
    assert_array_equal(rec.data, want.data)
    assert [tuple(gap)[0] for gap in rec.continuous(gaps="nan").gaps] == [0] and rec.first_time == 2.0
    assert_allclose(
        rec.select(compensation=3)[:, "meg"], want.compensated(3)[:, want.of("meg")], rtol=1e-9, atol=1e-22
    )
    assert len(rec.channel_names("meg")) == 273 and rec.head.dewar_to_head.shape == (4, 4)
    assert rec.head.fiducials.head_measured.nasion[0] == pytest.approx(0, abs=0.1)
