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
ORDERS = range(4)


def run(*words, code=0, binary=False):
    done = subprocess.run([CTFMEG, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True, text=not binary)
    assert done.returncode == code, (words, done)
    return done.stdout if code == 0 else done.stderr


def export(path, *words):
    run("export", "--quiet", path, "-o", "x.npy", *words)
    return np.load("x.npy")


def info(path):
    return json.loads(run("info", "--json", "--quiet", path))


def patch(path, change):
    """Lets `change` edit the resource file; it is told where sensor and coefficient records begin."""
    said = info(path)
    file = next(pathlib.Path(path).glob("*.res4"))
    data = bytearray(file.read_bytes())
    sensors = 1844 + struct.unpack_from(">i", data, 1836)[0] + 2 + 32 * len(said["channels"])
    sensors += sum(18 + 8 * len(f["params"]) for f in said["record"]["filters"])
    change(data, sensors, sensors + 1328 * len(said["channels"]) + 2)
    file.write_bytes(data)
    return info(path)


def store(path, orders):
    """Marks MEG channels as stored in these orders, in turn."""
    places = [c["index"] for c in info(path)["channels"] if c["kind"] == "gradiometer"]
    return patch(path, lambda data, sensors, _: [
        struct.pack_into(">h", data, sensors + 1328 * place + 42, orders[i % len(orders)])
        for i, place in enumerate(places)])


def bring(said, values, order, stored=None):
    """By fluxes, first undoing and then applying, as exact as NumPy goes."""
    channels, records = said["channels"], {(r["sensor"], r["type"]): r["references"] for r in said["coefficients"]}
    names = {c["shortName"]: c["index"] for c in channels} | {c["name"]: c["index"] for c in channels}
    proper = np.array([c["properGain"] for c in channels], np.longdouble)[:, None]
    flux, result = values * proper, values.copy()
    for c in channels:
        if c["kind"] not in ("gradiometer", "magnetometer"):
            continue
        own = c["gradientOrder"] if stored is None else stored
        for k, sign in ((own, 1), (order, -1)) if own != order else ():
            for r in (records.get((c["name"], f"G{k}BR")) or records[c["shortName"], f"G{k}BR"]) if k else ():
                flux[:, c["index"]] += sign * r["value"] * flux[:, names[r["name"]]]
        result[:, c["index"]] = flux[:, c["index"]] / proper[c["index"]]
    return result


def same(found, wanted, rtol=1e-12):
    scale = np.nanmax(abs(wanted), axis=-1, keepdims=True)
    return found.shape == wanted.shape and np.all((abs(found - wanted) <= rtol * scale) | (found == wanted))


def test_values(path):
    """Every order from every order, mixed ones last, and 0 -> 3 -> 0."""
    for stored in ((0,), (1,), (2,), (3,), (0, 3, 1, 2)):
        said, values = store(path, stored), export(path, "--physical")
        for order in ORDERS:
            found = export(path, "--compensation", order)
            assert same(found, bring(said, values, order)), (path, stored, order)
            if stored == (0,) and order == 3:
                assert not same(found, values, 1e-3)
                assert same(bring(said, found, 0, stored=3), values)


def test_selections():
    said = store("a.ds", (1, 2))
    meg = [c["index"] for c in said["channels"] if c["kind"] == "gradiometer"]
    whole = bring(said, export("a.ds", "--physical"), 3)
    third = ["--compensation", 3]
    assert same(export("a.ds", *third, "--channels", "meg"), whole[:, meg])
    one = [*third, "--channels", said["channels"][meg[7]]["name"]]
    assert same(export("a.ds", *one, "--resample", 7, "--samples", "3:8999"), whole[:, meg[7:8], 3:8998:7])
    assert same(export("a.ds", *one, "--continuous")[0], whole[:, meg[7]].ravel())
    single, double = export("a.ds", *third, "--dtype", "float32"), export("a.ds", *third)
    about = json.load(open("x.npy.json"))
    assert single.dtype == np.float32 and np.array_equal(single, double.astype(np.float32))
    assert about["selection"] == {"compensation": "3"} and about["channels"][meg[0]]["unit"] == "T"
    assert run("export", "--quiet", "a.ds", "-o", "-", *third, binary=True) == pathlib.Path("x.npy").read_bytes()
    gaps = ["--trials", "0,2", "--continuous", "--gaps=nan"]
    assert np.array_equal(np.isnan(export("a.ds", *third, *gaps)), np.isnan(export("a.ds", *gaps)))


def test_partial():
    """What needs a reference that is cut off is missing, and no other channel."""
    said = store("cut.ds", (0,))
    names = [c["name"] for c in said["channels"]]
    meg = [c["index"] for c in said["channels"] if c["kind"] == "gradiometer"]
    records = [(r["sensor"], r["type"]) for r in said["coefficients"]]
    name_reference("cut.ds", records.index((names[meg[0]], "G3BR")), names[meg[-1]])
    os.truncate(next(pathlib.Path("cut.ds").glob("*.meg4")), 8 + 4 * 300 * (len(names) + meg[9]))
    missing = np.isnan(export("cut.ds", "--compensation", 3, "--partial"))
    assert not missing[0].any() and np.array_equal(missing[1].all(axis=1), missing[1].any(axis=1))
    assert list(np.flatnonzero(missing[1, :, 0])) == [meg[0], *range(meg[9], len(names))]
    text = run("export", "--quiet", "cut.ds", "-o", "y.npy", "--compensation", 3, "--partial=drop", code=1)
    assert names[meg[0]] in text and names[meg[-1]] in text, text


def name_reference(path, record, name):
    patch(path, lambda data, _, records: struct.pack_into("31s", data, records + 1992 * record + 42, name.encode()))


def test_errors():
    command = ["export", "--quiet", "b.ds", "-o", "y.npy", "--compensation"]
    said = store("b.ds", (0, 5))
    names = [c["name"] for c in said["channels"] if c["kind"] == "gradiometer"]
    assert f"{names[1]} in gradient order 5" in run(*command, 2, code=1)
    store("b.ds", (0,))
    last, sensor = len(said["coefficients"]) - 1, said["coefficients"][-1]["sensor"]
    name_reference("b.ds", last, "NONE")
    assert sensor in (text := run(*command, 3, code=1)) and "NONE" in text, text
    patch("b.ds", lambda data, _, records: struct.pack_into("4s", data, records + 1992 * last + 32, b"GXBR"))
    assert sensor in (text := run(*command, 3, code=1)) and "G3BR" in text and not os.path.exists("y.npy"), text
    run(*command, 3, "--exclude", sensor)
    run(*command, 3, "--dtype", "int32", code=2)
    run(*command, 4, code=2)
    run(*command, 2, "--rules=host", code=1)


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    run("simulate", "--quiet", "a.ds", "--channels", 60, "--trials", 3, "--samples", 9000)
    for small in ("b.ds", "cut.ds"):
        run("simulate", "--quiet", small, "--channels", 60, "--trials", 2, "--samples", 300)
    test_values("a.ds")
    if (real := DATA / "testdata_ctf_short_discontinuous.ds").exists():
        test_values(shutil.copytree(real, "real.ds"))
    test_selections()
    test_partial()
    test_errors()
