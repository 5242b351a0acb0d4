"""Recordings with Dask: the same numbers from other processes, one of which may die."""

from __future__ import annotations

import os
import pickle
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path
from typing import Any, Callable, Iterator

import numpy as np
import pytest

import ctfmeg

array = pytest.importorskip("dask.array", reason="needs python3-dask")
distributed = pytest.importorskip("distributed", reason="needs python3-distributed")

RECORDINGS = 200
EXAMPLES = Path(__file__).parents[2] / "examples" / "python"


@pytest.fixture(scope="module")
def study(simulate: Callable[..., Path], tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("study")
    for number in range(RECORDINGS):
        options = ("--trials", "2", "--samples", "300", "--channels", "10", "--seed", str(number + 1))
        simulate(folder / f"{number:03}.ds", *options)
    return folder


@pytest.fixture(scope="module")
def sums(study: Path) -> list[int]:
    """Sums of all samples, by NumPy."""
    return [
        int(np.fromfile(file, ">i4", offset=8).sum(dtype=np.int64)) for file in sorted(study.glob("*/*.meg4"))
    ]


@pytest.fixture(scope="module")
def client(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Any]:
    folder = tmp_path_factory.mktemp("workers")
    options = {"n_workers": 2, "threads_per_worker": 1, "processes": True, "dashboard_address": None}
    with distributed.LocalCluster(**options, local_directory=str(folder)) as cluster:
        with distributed.Client(cluster) as running:
            yield running


def sum_of(recording: ctfmeg.Recording) -> int:
    return int(np.asarray(recording.raw).sum(dtype=np.int64))


def slow_sum_of(recording: ctfmeg.Recording) -> int:
    time.sleep(0.02)
    return sum_of(recording)


def test_map_recordings_on_workers_one_of_which_dies(client: Any, study: Path, sums: list[int]) -> None:
    paths = sorted(study.glob("*.ds"))
    before = client.run(os.getpid)

    def kill() -> None:
        time.sleep(0.5)
        os.kill(next(iter(before.values())), signal.SIGKILL)

    killer = threading.Thread(target=kill)
    killer.start()
    assert ctfmeg.map_recordings(slow_sum_of, paths, client) == sums
    killer.join()
    client.wait_for_workers(2)
    assert set(client.run(os.getpid).values()) != set(before.values())


@pytest.mark.parametrize("where", ["workers", "threads"])
def test_errors_come_back_in_their_places(
    client: Any, study: Path, sums: list[int], tmp_path: Path, where: str
) -> None:
    broken = tmp_path / "broken.ds"
    shutil.copytree(study / "000.ds", broken)
    (broken / "000.res4").write_bytes(b"nothing")
    missing = str(tmp_path / "missing.ds")
    paths: list[Any] = [study / "000.ds", broken, missing, *ctfmeg.scan(study / "001.ds")]
    results = ctfmeg.map_recordings(sum_of, paths, client if where == "workers" else None)
    assert [results[0], results[3]] == sums[:2]
    assert isinstance(results[1], ctfmeg.Error) and str(broken) in results[1].path
    assert isinstance(results[2], FileNotFoundError) and missing in str(results[2])

    def faulty(recording: ctfmeg.Recording) -> None:
        raise ZeroDivisionError(recording.name)

    def unsendable(recording: ctfmeg.Recording) -> None:
        raise RuntimeError(threading.Lock())

    for function, kind in ((faulty, ZeroDivisionError), (unsendable, RuntimeError)):
        (error,) = ctfmeg.map_recordings(function, paths[:1], client if where == "workers" else None)
        assert isinstance(error, kind) and getattr(error, "path") == str(study / "000.ds")


def test_a_recording_that_kills_every_worker_is_an_error(client: Any, study: Path) -> None:
    def fatal(recording: ctfmeg.Recording) -> int:
        os.kill(os.getpid(), signal.SIGKILL)
        return sum_of(recording)

    (error,) = ctfmeg.map_recordings(fatal, [study / "001.ds"], client)
    assert isinstance(error, distributed.KilledWorker) and getattr(error, "path") == str(study / "001.ds")


def views_of(recording: ctfmeg.Recording) -> dict[str, Any]:
    return {
        "raw": recording.raw,
        "data": recording.data,
        "float32": recording.astype("float32").data,
        "selected": recording.select(trials=[1], channels="meg", tmin=0.05, step=3),
        "epochs": recording.epochs("tone", tmin=0.0, tmax=0.05, baseline=(None, 0.01)),
        "run": recording.continuous(gaps="nan"),
    }


@pytest.mark.filterwarnings("ignore:.*aliases:ctfmeg.ReadingWarning")
@pytest.mark.filterwarnings("ignore:Running on a single-machine scheduler")
@pytest.mark.parametrize("name", ["raw", "data", "float32", "selected", "epochs", "run"])
def test_to_dask_is_the_same_array(client: Any, study: Path, name: str) -> None:
    view = views_of(ctfmeg.open(study / "003.ds"))[name]
    whole = np.asarray(view)
    for chunks in (None, (1,) * (whole.ndim - 1) + (70,), "1 kiB"):
        lazy = view.to_dask(chunks=chunks)
        assert (lazy.shape, lazy.dtype) == (whole.shape, whole.dtype)
        assert chunks is not None or lazy.npartitions == 1
        np.testing.assert_array_equal(lazy.compute(scheduler="threads"), whole)
        np.testing.assert_array_equal(client.compute(lazy).result(), whole)
        np.testing.assert_array_equal(lazy[..., 5:50:7].compute(), whole[..., 5:50:7])
        np.testing.assert_array_equal(lazy[..., [4, 2, 2], :][0].compute(), whole[..., [4, 2, 2], :][0])
    np.testing.assert_array_equal(
        lazy.sum(axis=-1).compute(), array.from_array(whole, chunks=lazy.chunks).sum(axis=-1)
    )


def test_chunks_are_whole_trials(simulate: Callable[..., Path], tmp_path: Path) -> None:
    view = ctfmeg.open(
        simulate(tmp_path / "long.ds", "--trials", "9", "--samples", "30000", "--channels", "100")
    ).data
    trials, channels, samples = view.to_dask().chunks
    assert (channels, samples) == ((100,), (30000,)) and len(trials) > 1
    assert trials[0] * 8 * 100 * 30000 <= 64 * 2**20 < (trials[0] + 1) * 8 * 100 * 30000


@pytest.mark.filterwarnings("ignore::ctfmeg.ReadingWarning")
def test_names_of_arrays_stand_for_the_samples(study: Path, tmp_path: Path) -> None:
    shutil.copytree(study / "004.ds", tmp_path / "run.ds")
    path = tmp_path / "run.ds"

    def name(**selection: Any) -> str:
        return str(ctfmeg.open(path).select(**selection).to_dask().name)

    first = name(tmin=0.1)
    assert name(tmin=0.1) == first != name(tmin=0.2)
    code = f"import ctfmeg; print(ctfmeg.open({str(path)!r}).select(tmin=0.1).to_dask().name)"
    assert (
        subprocess.run([sys.executable, "-c", code], stdout=subprocess.PIPE, text=True).stdout.strip()
        == first
    )
    view = ctfmeg.open(path).select(tmin=0.1)
    assert pickle.loads(pickle.dumps(view)).to_dask().name == first
    assert len({first, view.astype("float32").to_dask().name, ctfmeg.open(path).raw.to_dask().name}) == 3
    samples = next(path.glob("*.meg4"))
    changed = bytearray(samples.read_bytes())
    changed[-1] ^= 1
    samples.write_bytes(changed)
    assert name(tmin=0.1) != first


def summary(item: Any) -> Any:
    """What two objects that were opened from the same files agree in."""
    if isinstance(item, ctfmeg.Recording):
        return item.info
    return np.asarray(item) if hasattr(item, "to_dask") else item


@pytest.mark.filterwarnings("ignore::ctfmeg.ReadingWarning")
def test_everything_is_pickled_and_used_in_another_process(client: Any, study: Path) -> None:
    recording = ctfmeg.open(study / "005.ds")
    items = [recording, *views_of(recording).values(), recording.channels, recording.markers, recording.head]
    items += [recording.events("UPPT001"), recording.stats(), recording.average("tone", tmin=0.0, tmax=0.05)]
    items += [ctfmeg.scan(study / "005.ds")[0], ctfmeg.open(study / "005.ds", rules="host")]
    for item in items:
        there = client.submit(summary, item, pure=False).result()
        np.testing.assert_equal(there, summary(item))


def test_a_worker_reads_with_one_thread(client: Any, study: Path) -> None:
    def threads(recording: ctfmeg.Recording) -> int:
        np.asarray(recording.raw)
        return ctfmeg._library.threads_here()

    assert ctfmeg.map_recordings(threads, [study / "000.ds"], client) == [1]
    assert ctfmeg._library.threads_here() == 0
    client.run(ctfmeg.set_threads, 2)
    assert ctfmeg.map_recordings(threads, [study / "000.ds"], client) == [0]  # as was said


def test_the_example_averages_a_study_though_a_worker_dies(client: Any, study: Path, tmp_path: Path) -> None:
    folder = tmp_path / "study"
    shutil.copytree(study, folder)
    (folder / "007.ds" / "007.res4").unlink()
    options = ["--around", "tone", "--from", "0", "--to", "0.05", "-o", str(tmp_path / "evoked.npz")]
    address = ["--scheduler", client.scheduler.address]
    program = [sys.executable, str(EXAMPLES / "evoked_of_a_study.py"), str(folder), *options, *address]
    worker = next(iter(client.run(os.getpid).values()))
    with subprocess.Popen(program, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as running:
        while not any(client.processing().values()) and running.poll() is None:
            time.sleep(0.01)
        os.kill(worker, signal.SIGKILL)
        told, problems = running.communicate()
    assert running.returncode == 0, problems
    assert "left out: " + str(folder / "007.ds") in problems and "1 recordings left out" in told
    wanted = {"tmin": 0.0, "tmax": 0.05, "channels": "meg", "exclude": "bad"}
    epochs = [
        np.asarray(ctfmeg.open(path).epochs("tone", **wanted))
        for path in sorted(folder.glob("*.ds"))
        if path.stem != "007"
    ]
    with np.load(tmp_path / "evoked.npz") as evoked:
        assert evoked["epochs"] == sum(map(len, epochs)) > RECORDINGS
        np.testing.assert_allclose(evoked["mean"], np.concatenate(epochs).mean(axis=0), rtol=1e-9, atol=1e-20)


def test_first_steps(study: Path) -> None:
    program = [sys.executable, str(EXAMPLES / "first_steps.py"), str(study / "008.ds")]
    told = subprocess.run(program, stdout=subprocess.PIPE, text=True, check=True).stdout
    assert "tone (2)" in told and "epochs around tone: (1, 4, 181) from -0.050 s to 0.100 s" in told


def test_missing_dask_is_named(study: Path) -> None:
    code = f"""
import sys
sys.modules["dask"] = None
import ctfmeg
for work in (ctfmeg.open({str(study / "000.ds")!r}).raw.to_dask, lambda: ctfmeg.map_recordings(len, [])):
    try:
        work()
    except ctfmeg.Error as error:
        print(error)
"""
    result = subprocess.run([sys.executable, "-c", code], stdout=subprocess.PIPE, text=True, check=True)
    assert result.stdout.count("python3-dask") == 2
