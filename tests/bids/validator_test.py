#!/usr/bin/python3
"""Has a study checked by the validator of the BIDS standard. Its warnings are those that a page explains, no others.

    validator_test.py CTFMEG DATA, the folder of the real recording, if it is there PAGE
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

CTFMEG, DATA, PAGE = (pathlib.Path(word).resolve() for word in sys.argv[1:])
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "ctfmeg-bids"
VALIDATOR, VERSION = CACHE / "node_modules/.bin/bids-validator", "1.15.0"


def run(*words):
    subprocess.run(
        [CTFMEG, *map(str, words), "--quiet"], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL
    )


def issues(study):
    """What the validator says: words for errors, and for warnings."""
    done = subprocess.run([VALIDATOR, "--json", study], capture_output=True, text=True)
    found = json.loads(done.stdout)["issues"]
    return [[(issue["key"], issue["files"]) for issue in found[kind]] for kind in ("errors", "warnings")]


def simulate(name, *words):
    run("simulate", name, *words)
    return name


if not VALIDATOR.exists():
    print(f"skipped: there is no {VALIDATOR}; scripts/setup --bids installs it")
    sys.exit(77)
assert subprocess.run([VALIDATOR, "--version"], capture_output=True, text=True).stdout.strip() == VERSION

with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    rest = simulate("rest.ds", "--channels", 60, "--trials", 4, "--continuous")
    tones = simulate(
        "tones.ds", "--channels", 40, "--trials", 4, "--gap", "1:2.5", "--pretrigger", 120, "--seed", 2
    )
    plain = simulate("plain.ds", "--channels", 5, "--split-after", 1)  # neither references nor EEG
    for session in "ab":
        run(
            "bids",
            rest,
            "study",
            "--subject",
            "01",
            "--session",
            session,
            "--task",
            "rest",
            "--line-frequency",
            50,
        )
    for number in (1, 2):
        run("bids", tones, "study", "--subject", "02", "--session", "a", "--task", "tones", "--run", number)
    run("bids", plain, "study", "--subject", "03", "--task", "rest", "--anonymise")
    for recording in DATA.glob("*.ds"):
        run("bids", recording, "study", "--subject", "04", "--task", "none")
    errors, warnings = issues("study")
    assert not errors, errors
    explained = set(re.findall(r"^\| `([A-Z_0-9]+)` \|", PAGE.read_text(), re.MULTILINE))
    assert explained == {key for key, _ in warnings}, (explained, warnings)

    # The validator does look at each of the files.
    meg = pathlib.Path("study/sub-01/ses-a/meg")
    for file, old, new in (
        (meg / "sub-01_ses-a_task-rest_meg.json", '"TaskName"', '"Task"'),
        (meg / "sub-01_ses-a_coordsystem.json", '"MEGCoordinateUnits": "cm"', '"MEGCoordinateUnits": "feet"'),
        (meg / "sub-01_ses-a_task-rest_channels.tsv", "name\ttype", "type\tname"),
        (meg / "sub-01_ses-a_task-rest_events.tsv", "onset\t", "start\t"),
        (meg / "../sub-01_ses-a_scans.tsv", "task-rest", "task-other"),
        (pathlib.Path("study/participants.tsv"), "participant_id", "participant"),
        (pathlib.Path("study/dataset_description.json"), '"Name"', '"Title"'),
    ):
        before = file.read_text()
        assert old in before, file
        file.write_text(before.replace(old, new, 1))
        assert issues("study")[0], file
        file.write_text(before)
