"""Copies with changes, and marks: what is in them, and that what fails leaves nothing."""

import os
import shutil
import signal
import sys
import threading
import time

import numpy as np
import pytest

import ctfmeg


def contents(folder):
    """The bytes of each file below a folder."""
    files = (path for path in folder.rglob("*") if path.is_file())
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in files}


def test_renamed_and_back(rec, paths, files, tmp_path):
    report = rec.save_renamed(tmp_path / "other.ds")
    copy = report.open()
    assert copy.name == "other" and copy.path == report.path == str(tmp_path / "other.ds")
    assert ctfmeg.Change("other.res4", None, "replaced", 1) in report.changes and "13 changes" in repr(report)
    np.testing.assert_array_equal(copy.raw, files["gap"].raw)
    copy.save_renamed(tmp_path / "gap.ds")
    assert contents(tmp_path / "gap.ds") == contents(paths["gap"])


def test_anonymised(rec, files, tmp_path):
    report = rec.save_anonymised(tmp_path / "07.ds", subject="S07", shift_days=-1000)
    copy = report.open()
    assert {change.what for change in report.changes} == {"kept", "removed", "replaced", "shifted"}
    assert report.names["markers"] == ["tone", "button"]
    assert report.names["channels"] == ["difference", *rec.channel_names()]  # a virtual one among them
    np.testing.assert_array_equal(copy.raw, files["gap"].raw)
    assert copy.channels == rec.channels and copy.markers[0].samples == rec.markers[0].samples
    assert copy.info["record"]["subjectId"] == "S07" and copy.info["startTime"] == "2021-04-06T12:00:00"
    left = b"".join(text for name, text in contents(tmp_path / "07.ds").items() if "meg4" not in name)
    for value in ("SIM0001", "Simulated", "simulate", "gap", str(tmp_path)):
        assert value.encode() not in left
    kept = rec.save_anonymised(tmp_path / "08.ds", keep_dates=True).open()
    assert kept.info["startTime"] == rec.info["startTime"] and kept.info["record"]["subjectId"] == ""


@pytest.mark.parametrize(
    "part",
    [
        dict(trials=[4, 1], channels=["meg", "ref"], exclude="MLF11"),
        dict(tmin=-0.02, tmax=0.1, markers="tone"),
        dict(samples=(100, None), channels="*", trials=2),
    ],
)
def test_cropped_as_selected(rec, tmp_path, part):
    view, copy = rec.select(**part), rec.save_cropped(tmp_path / "part.ds", **part).open()
    np.testing.assert_array_equal(copy.raw, view.raw)
    assert copy.channel_names() == view.channel_names
    np.testing.assert_allclose(copy.data.times, view.times, atol=1e-9)


def test_cut_short_made_whole(paths, tmp_path):
    short = ctfmeg.open(paths["short"], on_warning=lambda finding: None)
    whole = short.save_cropped(tmp_path / "whole.ds").open()
    np.testing.assert_array_equal(whole.raw, short.raw)
    assert not whole.warnings and whole.info["record"]["numTrials"] == short.n_trials


def test_marked(rec, tmp_path):
    copy = rec.save_renamed(tmp_path / "a.ds").open()
    report = copy.mark(
        bad="MLF1*", good="MZC01", bad_segments=[(1, 0.05, 0.1)], marker="spike", at=[(2, 0.1), (0, 0)]
    )
    assert copy.bad_channels == rec.bad_channels and len(copy.markers) == 2
    again = report.open()
    assert {c.short_name for c in again.channels if not c.good} == {
        c.short_name for c in rec.channels if c.short_name.startswith("MLF1")
    }
    assert (again.bad_segments[-1].trial, again.bad_segments[-1].end_ms) == (1, 100)
    assert [(s.trial, s.sample) for s in again.markers[-1].samples] == [(0, 60), (2, 180)]
    before = contents(tmp_path / "a.ds")
    for name, backup in (
        ("BadChannels", "BadChannels.bak"),
        ("bad.segments", "bad.segments.bak"),
        ("MarkerFile.mrk", "MarkerFile.mrk.1.bak"),
    ):
        assert before[name] != before[backup] and {change.file for change in report.changes} >= {name}
    with pytest.raises(ctfmeg.Error, match="no trial 6"):
        again.mark(bad="MLF?2", good="MLF11", marker="spike", at=[(6, 0)])
    assert contents(tmp_path / "a.ds") == before


def test_in_a_study(rec, tmp_path):
    study = tmp_path / "study"
    report = rec.save_bids(study, "01", "rest", run=1, line_frequency=50, anonymise={"keep_dates": True})
    copy = report.open()
    assert copy.path == str(study / "sub-01" / "meg" / "sub-01_task-rest_run-1_meg.ds")
    assert copy.info["record"]["subjectId"] == "01" and copy.info["startTime"] == rec.info["startTime"]
    assert '"PowerLineFrequency": 50' in next(study.glob("sub-01/meg/*_meg.json")).read_text()
    before = contents(study)
    with pytest.raises(ctfmeg.Error, match="there already"):
        rec.save_bids(study, "01", "rest", run="1")
    assert contents(study) == before


def test_what_is_refused(rec, paths, tmp_path):
    out = tmp_path / "out.ds"
    for wrong, kind, words in (
        (lambda: rec.save_renamed(paths["short"]), "refused", "there already"),
        (lambda: rec.save_renamed(tmp_path / "out"), "refused", "end in .ds"),
        (lambda: rec.save_renamed(tmp_path / ("x" * 249 + ".ds")), "notWritten", "can't be written"),
        (lambda: rec.save_renamed(tmp_path / "a" / "b.ds"), "notFound", "folder"),
        (lambda: rec.save_cropped(out, trials=[6]), "refused", "0 to 5"),
        (lambda: rec.save_cropped(out, partial="nan"), "refused", ""),
        (lambda: rec.save_bids(tmp_path / "study", "0 1", "rest"), "refused", "letters"),
    ):
        with pytest.raises(ctfmeg.Error, match=words) as error:
            wrong()
        assert error.value.kind == kind and isinstance(error.value, OSError) == (kind.startswith("not"))
    for wrong, kind in (
        (lambda: rec.save_renamed("a\0.ds"), ValueError),
        (lambda: rec.save_anonymised(out, subject=7), TypeError),
        (lambda: rec.save_anonymised(out, shift_days=1, keep_dates=True), ValueError),
        (lambda: rec.save_anonymised(out, shift_days=10**6), ValueError),
        (lambda: rec.save_bids(out, "01", "rest", anonymise={"keeps": 1}), TypeError),
        (lambda: rec.save_bids(out, "01", "rest", line_frequency=0), ValueError),
        (lambda: rec.mark(), ValueError),
        (lambda: rec.mark(marker="spike"), ValueError),
        (lambda: rec.mark(bad_segments=[(0, np.nan, 1)]), ValueError),
    ):
        with pytest.raises(kind):
            wrong()
    assert not list(tmp_path.iterdir())


def test_urls_are_copied_by_other_means(paths, tmp_path):
    fsspec = pytest.importorskip("fsspec")
    fsspec.filesystem("memory").put(str(paths["gap"]), "/copies/gap.ds", recursive=True)
    rec = ctfmeg.open("memory://copies/gap.ds")
    for wrong in (lambda: rec.save_renamed(tmp_path / "a.ds"), lambda: rec.mark(bad="MLF11")):
        with pytest.raises(ctfmeg.Error, match="copy its folder") as error:
            wrong()
        assert error.value.kind == "refused"


def test_warnings_of_a_copy(rec, tmp_path):
    odd = rec.save_renamed(tmp_path / "a.ds").path
    (tmp_path / "a.ds" / "link").symlink_to("nowhere")
    told = []
    report = ctfmeg.open(odd, on_warning=told.append).save_renamed(tmp_path / "b.ds")
    assert told == report.warnings and told[0].file.endswith("link")
    with pytest.warns(ctfmeg.ReadingWarning, match="leads nowhere") as caught:
        ctfmeg.open(odd).save_renamed(tmp_path / "c.ds")
    assert caught[0].filename == __file__


@pytest.mark.skipif(sys.platform == "win32", reason="signals of POSIX")
def test_interrupts_leave_nothing(simulate, tmp_path):
    path = simulate(tmp_path / "long.ds", "--channels", 20, "--trials", 1, "--samples", 600000)
    rec = ctfmeg.open(path)
    start = time.monotonic()
    rec.save_renamed(tmp_path / "whole.ds")
    whole, interrupted = time.monotonic() - start, 0
    for part in (0.1, 0.3, 0.5):
        timer = threading.Timer(whole * part, os.kill, (os.getpid(), signal.SIGINT))
        timer.start()
        try:
            rec.save_renamed(tmp_path / "part.ds")
            timer.join()
            time.sleep(0.1)  # where the interrupt came too late
        except KeyboardInterrupt:
            timer.join()
        left = {path.name for path in tmp_path.iterdir()} - {"long.ds", "whole.ds"}
        assert left <= {"part.ds"}
        if left:
            shutil.rmtree(tmp_path / "part.ds")
        interrupted += not left
    assert interrupted and rec.raw[0, 1, :3].size == 3
