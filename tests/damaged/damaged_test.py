#!/usr/bin/python3
"""What scan, info, check and markers say about datasets of which each is damaged in one way.

damaged_test.py CTFMEG [--write] compares it with seen.txt beside this file, or writes that file.
"""

import csv
import json
import pathlib
import subprocess
import sys
import tempfile

SEEN = pathlib.Path(__file__).with_name("seen.txt")
COMMAND = sys.argv[1]


def run(*arguments):
    done = subprocess.run([COMMAND, *map(str, arguments)], capture_output=True, text=True)
    assert done.returncode in (0, 1, 3), done.stderr
    return done


def replace(name, content):
    """Damage that gives a file of the dataset other content; None makes it a folder."""
    def damage(dataset):
        file = dataset / name.replace("*", dataset.stem)
        file.unlink()
        file.mkdir() if content is None else file.write_bytes(content)
    return damage


RUBBISH = b"\x07\xf1rubbish\xff 1 2\x00x\n" * 20
BY_HAND = {
    "header-only": replace("*.meg4", b"MEG41CP\0"),
    "half-a-header": replace("*.meg4", b"MEG4"),
    "samples-are-a-folder": replace("*.meg4", None),
    "utf16-bad-channels": replace("BadChannels", "MLC11\n".encode("utf-16")),
    "garbage-segments": replace("bad.segments", RUBBISH),
    "cut-segments": replace("bad.segments", b"0 0.1 0.2\n1 0."),
    "garbage-virtual": replace("VirtualChannels", RUBBISH),
    "empty-coils": replace("*.hc", b""),
    "coils-are-markers": replace("*.hc", b"PATH OF DATASET:\nx\n\nNUMBER OF MARKERS:\n0\n"),
    "garbage-pos": replace("*.pos", RUBBISH),
    "markers-are-a-folder": replace("MarkerFile.mrk", None),
    "unannounced-markers": replace("MarkerFile.mrk", b"PATH OF DATASET:\nx\n\n"),
}


def codes(findings):
    """Those of remarks in brackets."""
    return " ".join(sorted({f["code"] if f["severity"] != "remark" else f"({f['code']})" for f in findings})) or "-"


def row(dataset):
    scanned = next(csv.DictReader(run("scan", "--csv", dataset).stdout.splitlines()))
    info = json.loads(run("info", "--json", dataset).stdout)
    checked = run("check", "--json", dataset)
    check = json.loads(checked.stdout)
    markers = run("markers", "--json", dataset)
    found = json.loads(markers.stdout)
    said = "exit 1" if markers.returncode else f"{len(found)}" + (" with a warning" if "warning" in markers.stderr else "")
    verdict = {0: "sound", 3: "odd", 1: "broken"}[checked.returncode]
    return (dataset.stem, scanned["status"], info["error"]["kind"] if "error" in info else codes(info["warnings"]),
            verdict + ": " + codes(check["findings"]), said)


def main():
    with tempfile.TemporaryDirectory() as folder:
        help_text = subprocess.run([COMMAND, "simulate", "--help"], capture_output=True, text=True).stdout
        listed = help_text[help_text.index("\nDamage:\n"):].splitlines()[2:]
        damages = [line.split()[0] for line in listed if line.startswith("  ") and line.strip()]
        damages = damages[:damages.index("wrong-stem") + 1]
        rows = [("damage", "scan", "info", "check", "markers")]
        for name in ["none", *damages, *BY_HAND]:
            dataset = pathlib.Path(folder, name + ".ds")
            how = [] if name == "none" or name in BY_HAND else ["--damage", name]
            subprocess.run([COMMAND, "simulate", "--quiet", "--channels=40", "--trials=6", "--samples=300",
                            "--split-after=2" if name in ("gap", "cut-inside") else "--split-after=0", *how, dataset],
                           check=True, stdout=subprocess.DEVNULL)
            if name in BY_HAND:
                BY_HAND[name](dataset)
            rows.append(row(dataset))
    widths = [max(map(len, column)) for column in zip(*rows)]
    table = "".join("  ".join(map(str.ljust, r, widths)).rstrip() + "\n" for r in rows)
    if "--write" in sys.argv:
        SEEN.write_text(table)
    good = [r[0] for r in rows[2:] if r[1] == "ok" and r[3] == "sound: -"]
    assert not good, f"said to be sound: {good}"
    assert rows[1][1:4] == ("ok", "-", "sound: -"), rows[1]
    assert len(rows) > 40, len(rows)
    assert table == SEEN.read_text(), "not as in " + str(SEEN) + ":\n" + table


main()
