"""Recordings as programs use and abuse them."""

import gc
import os
import pickle
import shutil
import signal
import subprocess
import sys
import threading
import warnings
from pathlib import Path

import numpy as np
import pytest

import ctfmeg


def test_what_a_recording_says(rec, files):
    info = files["gap"].info
    assert {**rec.info, "path": ""} == {**info, "path": ""} and rec.name == "gap" and rec.n_trials == 6
    assert (
        rec.sample_rate == 1200 and rec.first_time == pytest.approx(-0.05) and rec.bad_channels == ["MZC01"]
    )
    for channel, entry in zip(rec.channels, info["channels"]):
        assert (channel.short_name, channel.q_gain, channel.gradient_order) == (
            entry["shortName"],
            entry["qGain"],
            entry["gradientOrder"],
        )
        assert [list(coil.position) for coil in channel.head_coils] == [
            c["position"] for c in entry["headCoils"]
        ]
    assert [m.name for m in rec.markers] == ["tone", "button"]
    assert rec.markers[1].samples[2].time_ms == info["markers"][1]["samples"][2]["timeMs"]
    assert rec.markers[0].samples[5].run_time == pytest.approx(info["markers"][0]["samples"][5]["runTime"])
    assert rec.head.fiducials.dewar_measured.left_ear == tuple(info["fiducials"]["dewarMeasured"]["leftEar"])
    assert rec.head.digitised.fiducials[1].label == "left" and rec.head.electrodes[0].name == "EEG057"
    names = [c["name"] for c in info["channels"] if c["kind"] == "gradiometer" and c["good"]]
    assert (
        rec.channel_names("meg", exclude="bad")
        == names
        == rec.select(channels="meg", exclude="bad").channel_names
    )
    assert [c.index for c in rec.select(channels="eeg").channels] == files["gap"].of("eeg")
    for kind, exclude in (
        ("MLF*", "mlf11"),
        (["UPPT001", "Ref"], "B??"),
        ("m?f1*", None),
        (None, ["BAD", "meg"]),
    ):
        chosen = {} if kind is None else {"channels": kind}
        assert rec.channel_names(kind, exclude) == rec.select(exclude=exclude, **chosen).channel_names
    for wrong in (
        dict(kind="megg"),
        dict(kind="bad"),
        dict(exclude="MLF99"),
        dict(kind="[M]*"),
        dict(kind="\udcff"),
    ):
        with pytest.raises(ctfmeg.Error, match="has no channel") as refused:
            rec.channel_names(**wrong)
        assert refused.value.kind == "refused" and str(refused.value).encode()
    info = rec.info
    info["record"].clear(), info["channels"][0].clear()
    assert rec.info == {**files["gap"].info, "path": rec.path}
    assert rec.sample_rate == 1200 and rec.channels[0].name and rec.data.channels[0].name


def test_arrays_habits(rec):
    view = rec.data
    assert view.ndim == 3 and view.size == 6 * 30 * 300 and view.nbytes == 8 * view.size and len(view) == 6
    assert [part.shape for part in view] == [(30, 300)] * 6 and np.mean(view).shape == ()
    np.testing.assert_array_equal(view, view[:])
    assert (
        "6 trials x 30 channels x 300 samples" in repr(view)
        and "1200 Hz" in repr(view)
        and "MLF11" not in repr(rec)
    )
    assert (
        "15 gradiometer" in repr(view) and "<table>" in view._repr_html_() and "1200 Hz" in rec._repr_html_()
    )
    assert rec.astype("float32").select(channels="meg").dtype == np.float32
    assert view.chunks == (6, 30, 300) and ctfmeg.View(
        rec._source, {"continuous": True, "gaps": "cut"}, "f8", False
    )
    for wrong in (lambda: view.astype("int32"), lambda: np.array(view, dtype="int16").astype("M8[s]").real.x):
        with pytest.raises((TypeError, AttributeError)):
            wrong()


def test_errors_say_what_there_is(rec, tmp_path):
    with pytest.raises(FileNotFoundError) as missing:
        ctfmeg.open(tmp_path / "nothing.ds")
    assert isinstance(missing.value, ctfmeg.Error) and missing.value.kind == "notFound"
    assert missing.value.path == missing.value.filename == str(tmp_path / "nothing.ds")
    (tmp_path / "a.txt").write_text("no dataset")
    with pytest.raises(ctfmeg.Error) as other:
        ctfmeg.open(tmp_path / "a.txt")
    assert (
        other.value.kind in ("notADataset", "refused")
        and pickle.loads(pickle.dumps(other.value)).kind == other.value.kind
    )
    for wrong, words in (
        (lambda: rec.select(channels="MLF99").shape, "MLF"),
        (lambda: rec.epochs("tonne", 0, 0.1).shape, "tone"),
        (lambda: rec.select(trials=[6]).shape, "0 to 5"),
        (lambda: rec.select(tmin=5, tmax=6).shape, "0 to 299"),
        (lambda: rec.epochs("tone", 0, 0.1).select(tmin=0.5).shape, "0 to 0.1 s"),
        (lambda: rec.select(tmin=10**400).shape, "0 to 299"),
        (lambda: rec.select(channels="\ud800").shape, "has no channel"),
        (lambda: rec.epochs("\udcff", 0, 0.1).shape, "tone"),
    ):
        with pytest.raises(ctfmeg.Error, match=words) as refused:
            wrong()
        assert refused.value.kind == "refused"
    for wrong in (
        lambda: rec.select(tmin=0, samples=(0, 1)),
        lambda: rec.select(partial="some"),
        lambda: rec.raw.select(compensation=1),
        lambda: rec.select(compensation=4).shape,
        lambda: rec.continuous(gaps="other"),
        lambda: rec.events(edge="upper"),
        lambda: ctfmeg.open("a.ds", rules="none"),
    ):
        with pytest.raises(ValueError):
            wrong()
    for wrong, words in (
        (lambda: ctfmeg.open("a.ds\0b"), "^embedded null byte"),
        (lambda: ctfmeg.scan(b"a\0b"), "^embedded null byte"),
        (lambda: rec.epochs("tone", np.nan, 0), "tmin is a finite number"),
        (lambda: rec.epochs("tone", 0, 10**400), "tmax is a finite number"),
        (lambda: rec.epochs("tone", 0, 0.1, baseline=(None, np.inf)), "baseline is a finite number"),
        (lambda: rec.epochs("tone", 0, 0.1, reject={"meg": np.nan}), "limit of meg is a finite number"),
        (lambda: rec.min_max(np.nan), "tmin is a finite number"),
        (lambda: rec.min_max(width=0), "width is a whole number from 1"),
        (lambda: rec.events(mask=2**32), "mask is a whole number from 0 to 4294967295"),
        (lambda: ctfmeg.set_threads(2**32), "threads is a whole number from 0 to 1024"),
    ):
        with pytest.raises(ValueError, match=words):
            wrong()
    for trial in (-7, 6, 2**70):
        with pytest.raises(IndexError, match="there are 6"):
            rec.data.min_max(trial=trial)
    for wrong in (
        lambda: ctfmeg.open("a.ds", key=1),
        lambda: rec.epochs("tone", 0, 0.1, reject=3),
        lambda: rec.events(mask=1.5),
        lambda: ctfmeg.set_threads(1.5),
    ):
        with pytest.raises(TypeError):
            wrong()


def test_warnings_are_said_once(paths):
    told = []
    rec = ctfmeg.open(paths["short"], on_warning=told.append)
    assert told == rec.warnings and [finding.code for finding in told] == ["meg4.short"]
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        rec = ctfmeg.open(paths["short"])
        rec.select(trials=[0])[:], rec.info, rec.raw[0]
    assert len(caught) == 1 and caught[0].filename == __file__ and caught[0].category is ctfmeg.ReadingWarning


def test_a_header_without_samples(simulate, tmp_path):
    path = simulate(tmp_path / "a.ds", "--channels", 20, "--samples", 50, "--damage", "no-samples,no-rate")
    with pytest.warns(ctfmeg.ReadingWarning, match="a.meg4"):
        rec = ctfmeg.open(path)
    assert (
        len(rec.channels) == 20
        and rec.n_trials == 0
        and np.isnan(rec.first_time)
        and "20 channels" in repr(rec)
    )
    with pytest.raises(FileNotFoundError, match="a.meg4"):
        rec.raw[0]
    assert "a.meg4" in repr(rec.raw)


def test_scan(paths):
    found = ctfmeg.scan(paths["gap"].parent)
    assert [Path(entry["path"]).name for entry in found] == sorted(path.name for path in paths.values())
    assert {entry["status"] for entry in found} == {"ok", "short"}
    entry = next(entry for entry in found if entry["path"].endswith("gap.ds"))
    assert entry.open().raw.shape == (entry["trialsThere"], entry["channels"], entry["samplesPerTrial"])


def sums(*things):
    return [float(np.nansum(getattr(thing, "data", thing)[:])) for thing in things]


def test_pickles_open_again_elsewhere(paths, in_other_process, monkeypatch):
    monkeypatch.chdir(paths["gap"].parent)
    rec = ctfmeg.open("gap.ds", rules="host", on_warning=print)  # whose path is another one elsewhere
    rec = rec.astype("float32")
    things = [rec, rec.raw, rec.continuous(gaps="nan"), rec.epochs("tone", -0.01, 0.05).select(tmax=0.02)]
    assert in_other_process(sums, *things) == sums(*things)
    again = pickle.loads(pickle.dumps(rec))
    assert again.dtype == np.float32 and again.rules == "host" and again.name == "gap"
    views = pickle.loads(pickle.dumps([rec.raw, rec.data]))
    assert views[0]._source is views[1]._source is pickle.loads(pickle.dumps(rec.raw))._source


def test_another_current_directory(paths, files, tmp_path, simulate, monkeypatch):
    other = simulate(tmp_path / "gap.ds", "--channels", 20, "--trials", 6, "--samples", 300)
    (tmp_path / "link").symlink_to(paths["gap"], target_is_directory=True)
    for folder, path in ((paths["gap"].parent, "gap.ds"), (tmp_path, "link/../gap.ds")):
        monkeypatch.chdir(folder)
        rec = ctfmeg.open(path)
        monkeypatch.chdir(other.parent)
        np.testing.assert_array_equal(rec.raw, files["gap"].raw)
        again = pickle.loads(pickle.dumps(rec))
        assert again.raw.shape == rec.select(channels="*").shape == (6, 30, 300)
        assert rec.path == rec.info["path"] == path and os.path.isabs(again.path)


def test_what_was_opened_elsewhere_is_looked_at_again(paths, tmp_path, simulate):
    copy = shutil.copytree(paths["gap"], tmp_path / "gap.ds")
    text = pickle.dumps(ctfmeg.open(copy).raw)
    assert pickle.loads(text).shape == (6, 30, 300)
    shutil.rmtree(copy)
    simulate(copy, "--channels", 20, "--trials", 2, "--samples", 50)
    assert pickle.loads(text).shape == (2, 20, 50)


def test_many_threads(paths, files):
    rec, wrong = ctfmeg.open(paths["gap"]), []

    def work(seed):
        numbers = np.random.default_rng(seed)
        for _ in range(30):
            trial, first = numbers.integers(6), numbers.integers(200)
            part = (
                rec.select(tmin=-0.05 + first / 1200)[trial, :, :90]
                if seed % 8 == 0
                else rec.data[trial, :, first : first + 90]
            )
            if not np.array_equal(part, files["gap"].data[trial, :, first : first + 90]):
                wrong.append((trial, first))
        if seed % 16 == 0:
            gc.collect()

    threads = [threading.Thread(target=work, args=(seed,)) for seed in range(64)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


@pytest.mark.skipif(not hasattr(os, "fork"), reason="there is no fork here")
def test_fork_while_reading(rec, files):
    stop = threading.Event()

    def read():
        while not stop.is_set():
            rec.raw[:], rec.select(channels="meg")[0]

    threads = [threading.Thread(target=read) for _ in range(4)]
    for thread in threads:
        thread.start()
    try:
        for _ in range(20):
            child = os.fork()
            if child == 0:
                signal.alarm(20)  # a child that waits for ever has failed
                same = np.array_equal(rec.raw, files["gap"].raw) and rec.info["dataset"] == "gap"
                os._exit(0 if same and rec.raw._open().pid == os.getpid() else 1)
            assert os.waitpid(child, 0)[1] == 0
    finally:
        stop.set()
        for thread in threads:
            thread.join()


INTERRUPTED = """
import os, signal, sys, threading, time
import numpy as np, ctfmeg
rec = ctfmeg.open(sys.argv[1])
work = {
    "stats": rec.stats,
    "read": lambda: np.asarray(rec.data),
    "min_max": lambda: rec.select(decimate=4).min_max(),  # long, of a view that remembers nothing yet
}[sys.argv[2]]
def timed(interrupt_after=None):
    timer = threading.Timer(interrupt_after or 99, os.kill, (os.getpid(), signal.SIGINT))
    start = time.monotonic()
    timer.start()
    try:
        work()
    except KeyboardInterrupt:
        print("interrupted")
    timer.cancel()
    return time.monotonic() - start
whole = min(timed(), timed())
# Other processes may delay one, and nobody waits for a tenth of a second.
assert any(timed(whole / 10) < max(whole * 0.7, 0.1) for _ in range(5)), whole
assert rec.raw[0, 1, :3].size == 3
"""


@pytest.mark.skipif(sys.platform == "win32", reason="signals of POSIX")
def test_interrupts(simulate, tmp_path):
    path = simulate(tmp_path / "long.ds", "--channels", 20, "--trials", 1, "--samples", 2000000)
    for work in ("stats", "read", "min_max"):
        command = [sys.executable, "-c", INTERRUPTED, path, work]
        done = subprocess.run(command, capture_output=True, text=True, timeout=60)
        assert (done.returncode, set(done.stdout.split()), done.stderr) == (0, {"interrupted"}, ""), work


def test_garbage_in_any_order(paths):
    numbers = np.random.default_rng(5)
    for _ in range(50):
        rec = ctfmeg.open(paths["gap"])
        things = [
            rec,
            rec.raw,
            rec.select(channels="meg"),
            rec.continuous(gaps="cut"),
            rec.epochs("tone", 0, 0.01),
        ]
        kept = things[numbers.integers(len(things))]
        for thing in things:
            if thing is not rec:
                thing.shape
        things.append(things)  # a cycle
        del rec, thing, things
        if numbers.random() < 0.3:
            gc.collect()
        assert getattr(kept, "raw", kept)[..., 3].size


def test_exit_in_the_middle(paths):
    code = "import ctfmeg, sys; a = ctfmeg.open(sys.argv[1]); b = a.raw; b[0]; a.me = sys.x = [a, b]"
    done = subprocess.run([sys.executable, "-c", code, paths["gap"]], capture_output=True, text=True)
    assert done.returncode == 0 and not done.stderr


def test_files_that_vanish(paths, tmp_path):
    copy = shutil.copytree(paths["adjoining"], tmp_path / "a.ds")
    rec = ctfmeg.open(copy, on_warning=print)
    view = rec.raw
    assert view.shape == (6, 30, 300)
    shutil.rmtree(copy)
    with pytest.raises(FileNotFoundError) as error:
        view[:]
    assert "a.ds" in error.value.path and "a.ds" in repr(rec) and "a.ds" in repr(rec.select(trials=[0]))
    assert rec.channels[0].name


def test_missing_library(tmp_path):
    shutil.copytree(
        Path(ctfmeg.__file__).parent, tmp_path / "ctfmeg", ignore=shutil.ignore_patterns("*.so*", "*.dll")
    )
    there = {**os.environ, "LD_LIBRARY_PATH": "", "PYTHONPATH": str(tmp_path)}
    done = subprocess.run(
        [sys.executable, "-c", "import ctfmeg"], env=there, capture_output=True, text=True, cwd=tmp_path
    )
    if done.returncode == 0:
        pytest.skip("the library is installed on this system")
    assert "ImportError: " in done.stderr and "libctfmeg.so.0" in done.stderr and str(tmp_path) in done.stderr
    done = subprocess.run(
        [sys.executable, "-m", "ctfmeg"], env=there, capture_output=True, text=True, cwd=tmp_path
    )
    assert done.returncode == 1 and "missing" in done.stdout and "Traceback" not in done.stderr
    beside = Path(ctfmeg._library.library().path)
    done = subprocess.run([sys.executable, "-m", "ctfmeg"], capture_output=True, text=True)
    assert done.returncode == 0 and ctfmeg.__version__ in done.stdout and beside.name in done.stdout
    assert ctfmeg.__version__ == ctfmeg._library.library().version
