"""Datasets for the tests, made once by `ctfmeg simulate`."""

import os
from pathlib import Path

import pytest
from reader import Files, run

import ctfmeg

REAL = Path(__file__).parents[3] / "shared/data/testdata_ctf_short_discontinuous.ds"


@pytest.fixture(scope="session")
def simulate():
    """Makes a dataset at a path, with options of the command."""

    def made(path, *options):
        run("simulate", path, "--quiet", *options)
        return Path(path)

    return made


@pytest.fixture(scope="session")
def paths(simulate, tmp_path_factory):
    """Datasets by what is particular about them."""
    folder = tmp_path_factory.mktemp("datasets")
    small = ("--channels", 30, "--trials", 6, "--samples", 300, "--pretrigger", 60)
    made = {
        "gap": (*small, "--continuous", "--gap", "2:1.5"),
        "adjoining": (*small, "--continuous", "--split-after", 2),
        "noisy": ("--channels", 40, "--trials", 2, "--samples", 600, "--common-noise"),
        "short": (*small, "--damage", "cut"),
        "faulty": ("--channels", 40, "--trials", 4, "--samples", 1200, "--bad", "flat:1,clipped:1"),
    }
    return {name: simulate(folder / f"{name}.ds", *options) for name, options in made.items()}


@pytest.fixture(scope="session")
def files(paths):
    """The independent reader of each dataset."""
    return {name: Files(path) for name, path in paths.items() if name != "short"}


@pytest.fixture
def rec(paths):
    """The recording with a gap."""
    return ctfmeg.open(paths["gap"])


@pytest.fixture(scope="session")
def real():
    """The path of the real recording."""
    if not REAL.exists():
        pytest.skip("the real recording is not here")
    return REAL


@pytest.fixture
def in_other_process():
    """Calls a function of these files in a process of its own, and returns what it returns."""
    import pickle
    import subprocess
    import sys

    def call(function, *arguments):
        code = (
            "import pickle, sys; f, a = pickle.load(sys.stdin.buffer); pickle.dump(f(*a), sys.stdout.buffer)"
        )
        there = os.pathsep.join(path for path in sys.path if path)
        done = subprocess.run(
            [sys.executable, "-c", code],
            input=pickle.dumps((function, arguments)),
            stdout=subprocess.PIPE,
            check=True,
            cwd="/",
            env={**os.environ, "PYTHONPATH": there},
        )
        return pickle.loads(done.stdout)

    return call
