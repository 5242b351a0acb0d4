#!/usr/bin/python3
"""Compares gradient compensation with what NumPy makes of coefficients and physical values.

    compensation_test.py CTFMEG DATA, the folder of the real recording, if it is there
"""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

import numpy as np

CTFMEG, DATA = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()


def run(*words, code=0):
    done = subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True)
    assert done.returncode == code, (words, done)
    return done.stdout if code == 0 else done.stderr.decode()


def export(path, *words):
    run("export", "--quiet", path, "-o", "x.npy", *words)
    return np.load("x.npy")


def info(path):
    said = json.loads(run("info", "--json", "--quiet", path))
    return said, [c["index"] for c in said["channels"] if c["kind"] == "gradiometer"]


def patch(path, texts=(), orders=()):
    """Changes the resource file: (coefficient record, byte in it, text), and the orders of MEG channels, in turn."""
    (said, meg), file = info(path), next(pathlib.Path(path).glob("*.res4"))
    data = bytearray(file.read_bytes())
    sensors = 1844 + struct.unpack_from(">i", data, 1836)[0] + 2 + 32 * len(said["channels"])
    sensors += sum(18 + 8 * len(f["params"]) for f in said["record"]["filters"])
    for record, at, text in texts:
        struct.pack_into("31s" if at == 42 else "4s", data, sensors + 1328 * len(said["channels"]) + 2 + 1992 * record + at,
                         text.encode())
    for i, place in enumerate(meg if orders else ()):
        struct.pack_into(">h", data, sensors + 1328 * place + 42, orders[i % len(orders)])
    file.write_bytes(data)


def bring(path, values, order, stored=None):
    """By fluxes, first undoing and then applying."""
    said, meg = info(path)
    records = {(r["sensor"], r["type"]): r["references"] for r in said["coefficients"]}
    names = {c[key]: c["index"] for key in ("shortName", "name") for c in said["channels"]}
    gains = np.array([c["properGain"] for c in said["channels"]])[:, None]
    flux, result = values * gains, values.copy()
    for c in (said["channels"][m] for m in meg):
        for k, sign in ((c["gradientOrder"] if stored is None else stored, 1), (order, -1)):
            for r in records.get((c["name"], f"G{k}BR")) or records.get((c["shortName"], f"G{k}BR"), ()):
                flux[:, c["index"]] += sign * r["value"] * flux[:, names[r["name"]]]
    result[:, meg] = flux[:, meg] / gains[meg]
    return result


def same(found, wanted, rtol=1e-12):
    return found.shape == wanted.shape and np.all(abs(found - wanted) <= rtol * abs(wanted).max(axis=-1, keepdims=True))


def test_values(path):
    for stored in ((0,), (1,), (2,), (3,), (0, 3, 1, 2)):
        patch(path, orders=stored)
        values = export(path, "--physical")
        for order in range(4):
            found = export(path, "--compensation", order)
            assert same(found, bring(path, values, order)), (path, stored, order)
            if stored == (0,):
                assert same(bring(path, found, 0, order), values), (path, order)
            assert order in stored or not same(found, values, 1e-3), "nothing was compensated"


def test_windows():
    """Whatever is read, to wherever, has the same values."""
    said, meg = info("a.ds")
    third, sensor = ["--compensation", 3], said["channels"][meg[7]]["name"]
    whole, single = export("a.ds", *third), export("a.ds", *third, "--dtype", "float32")
    assert single.dtype == np.float32 and np.array_equal(single, whole.astype(np.float32))
    assert json.load(open("x.npy.json"))["selection"]["compensation"] == "3"
    some = export("a.ds", *third, "--channels", sensor, "--resample", 7, "--samples", "3:8999")
    assert np.array_equal(some, whole[:, meg[7:8], 3:8998:7])
    assert run("export", "--quiet", "a.ds", "-o", "-", *third)[-whole.nbytes:] == whole.tobytes()


def test_missing():
    """References that are cut off, and what the resource file lacks."""
    said, meg = info("b.ds")
    first, last = (said["channels"][meg[i]]["name"] for i in (0, -1))
    record = next(i for i, r in enumerate(said["coefficients"]) if (r["sensor"], r["type"]) == (first, "G3BR"))
    third = ["export", "--quiet", "b.ds", "-o", "x.npy", "--compensation", 3]
    patch("b.ds", [(record, 42, last)])  # as the name of a reference
    os.truncate("b.ds/b.meg4", 8 + 4 * 300 * (len(said["channels"]) + meg[9]))
    missing = np.isnan(export("b.ds", *third[5:], "--partial"))
    assert not missing[0].any() and np.array_equal(missing[1].all(axis=1), missing[1].any(axis=1))
    assert list(np.flatnonzero(missing[1, :, 0])) == [meg[0], *range(meg[9], len(said["channels"]))]
    for change, words in (({}, [last]), ({"texts": [(record, 42, "NONE")]}, ["NONE", "G3BR"]),
                          ({"texts": [(record, 32, "GONE")]}, ["G3BR"]), ({"orders": [5, *[0] * 99]}, ["order 5"])):
        patch("b.ds", **change)
        text = run(*third, "--partial=drop", code=1)
        assert all(word in text for word in [first, *words]), (change, text)
    run(*third, "--exclude", first)


def test_noise():
    """Noise of distant sources goes, what a tone evokes stays."""
    quiet, noisy = {}, {}
    for kept, words in ((quiet, []), (noisy, ["--common-noise"])):
        run("simulate", "--quiet", "c.ds", "--channels", 100, "--trials", 40, "--samples", 600, "--pretrigger", 120, *words)
        for order in (0, 2, 3):
            kept[order] = export("c.ds", "--channels", "meg", "--exclude", "bad", "--compensation", order)
        shutil.rmtree("c.ds")
    added = {order: np.std(noisy[order] - quiet[order]) for order in quiet}
    print("order 2 leaves 1/%.0f of the noise, order 3 1/%.0f" % (added[0] / added[2], added[0] / added[3]))
    assert added[2] < added[0] / 10 and added[3] < added[0] / 100

    def evoked(trials):
        mean = trials.mean(axis=0)[:, :480]
        return (mean - mean[:, :120].mean(axis=1, keepdims=True)).ravel()

    brain, before, after = evoked(quiet[0]), evoked(noisy[0]), evoked(noisy[3])
    assert np.corrcoef(brain, before)[0, 1] < 0.5 and np.corrcoef(brain, after)[0, 1] > 0.9
    assert abs(after @ brain / (brain @ brain) - 1) < 0.05, "the response is smaller or larger"


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    test_noise()
    run("simulate", "--quiet", "a.ds", "--channels", 60, "--trials", 3, "--samples", 9000)
    run("simulate", "--quiet", "b.ds", "--channels", 60, "--trials", 2, "--samples", 300)
    test_values("a.ds")
    test_windows()
    test_missing()
    if (real := DATA / "testdata_ctf_short_discontinuous.ds").exists():
        test_values(shutil.copytree(real, "real.ds"))
