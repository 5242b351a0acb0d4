#!/usr/bin/python3
"""Fails each system call of a change to a dataset in turn, and kills it at each: what is copied stays as it was, and
a copy is whole or not there.

    faults_test.py CTFMEG OPERATION [--every N] [--show]; ends with 77 where strace can't trace
"""

import argparse
import collections
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading

OPERATIONS = {
    "rename": ["rename", "run.ds", "out.ds"],
}
ERRORS = ("EIO", "ENOSPC", "EACCES")
CALLS = "%file,%desc"
NOT_OF_FILES = ("mmap", "munmap")


def tree(folder, times=False):
    """What is in a folder: of each file its bytes, of each link where it leads, and when they were changed."""
    found = {}
    for path in sorted(folder.rglob("*")):
        held = os.readlink(path) if path.is_symlink() else path.read_bytes() if path.is_file() else None
        found[str(path.relative_to(folder))] = held, path.lstat().st_mtime_ns if times else 0
    return found


class Place:
    """A folder of its own to work in, with the dataset to be copied."""

    def __init__(self, ctfmeg, operation, folder):
        self.ctfmeg, self.operation, self.folder = ctfmeg, OPERATIONS[operation], folder
        self.changes = operation == "mark"
        folder.mkdir()
        self.make()
        self.before = tree(folder, times=True)

    def run(self, *words):
        return subprocess.run(
            [*words, self.ctfmeg, *self.operation], cwd=self.folder, capture_output=True, text=True, errors="replace"
        )

    def make(self):
        def simulate(name, *more):
            options = ["--quiet", "--channels=4", "--trials=2", "--samples=20", *more]
            subprocess.run([self.ctfmeg, "simulate", self.folder / name, *options], check=True, capture_output=True)

        simulate("run.ds", "--split-after=1")
        simulate("run.ds/hz.ds")
        dataset = self.folder / "run.ds"
        (dataset / "hist").write_text("of /data/run.ds\n")
        (dataset / "notes.pdf").write_bytes(b"\0" * 300)
        (self.folder / "store").mkdir()
        (dataset / "run.meg4").rename(self.folder / "store/samples")
        (dataset / "run.meg4").symlink_to("../store/samples")

    def clear(self):
        """Makes the folder again what it was at first."""
        for path in self.folder.iterdir():
            if path.name not in ("run.ds", "store"):
                shutil.rmtree(path) if path.is_dir() else path.unlink()


def new_files(place):
    """What is there that was not; what was there must be as it was."""
    now = tree(place.folder, times=True)
    for name, held in place.before.items():
        assert now.get(name) == held, f"{name} is not what it was"
    return {name: held for name, (held, _) in now.items() if name not in place.before}


def own_calls(place):
    """The calls of an undisturbed run after its program is loaded, each a name and a number among those of its
    name, and what that run made."""
    done = place.run("strace", "-f", "-qq", "-o", "../trace", "-e", "trace=" + CALLS)
    if done.returncode != 0:
        print("strace:", done.stderr)
        sys.exit(77)
    counts, calls, begun = collections.Counter(), [], False
    for line in (place.folder.parent / "trace").read_text(errors="replace").splitlines():
        call = re.match(r"\d+ +(\w+)\(", line)
        if not call:
            continue
        counts[call[1]] += 1
        begun = begun or "run.ds" in line and call[1] != "execve"
        if begun and call[1] not in NOT_OF_FILES:
            calls.append((call[1], counts[call[1]], line))
    return calls, new_files(place)


def judge_failed(place, done, made, whole):
    if done.returncode == 0:
        assert made == whole, "says that it is done, and made something else"
        return
    assert done.returncode == 1, f"ends with {done.returncode}"
    said = [line for line in done.stderr.splitlines() if re.match(r"ctfmeg: (run\.ds|out\.ds|\.)\S*: \S", line)]
    assert said, "does not say which file it is about"
    assert ".part" not in done.stderr, "speaks of a file that nobody knows"
    assert not made, f"left {sorted(made)}"


def judge_killed(place, made, whole):
    copy = {name: held for name, held in made.items() if name.split("/")[0] == "out.ds"}
    assert copy in ({}, whole), f"left a part of a copy: {sorted(copy)}"
    others = {name.split("/")[0] for name in made} - {"out.ds"}
    assert all(name.endswith(".part") for name in others), f"left {others}"
    scanned = subprocess.run(
        [place.ctfmeg, "scan", "--csv", "."], cwd=place.folder, capture_output=True, text=True
    ).stdout.splitlines()[1:]
    paths = [row.split(",")[0] for row in scanned]
    assert not any(".part" in path for path in paths), f"takes what was left for a dataset: {paths}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("ctfmeg", type=pathlib.Path)
    parser.add_argument("operation", choices=OPERATIONS)
    parser.add_argument("--every", type=int, default=1, help="of the calls only each N-th, the others not")
    parser.add_argument("--show", action="store_true", help="print what is said")
    given = parser.parse_args()
    if not shutil.which("strace"):
        print("there is no strace")
        return 77
    faults, said, local = [], collections.Counter(), threading.local()
    with tempfile.TemporaryDirectory() as name, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        folder = pathlib.Path(name)
        ctfmeg = given.ctfmeg.resolve()
        calls, whole = own_calls(Place(ctfmeg, given.operation, folder / "first"))
        assert len(calls) > 100 and whole, calls

        def attempt(call, number, line, what):
            if not hasattr(local, "place"):
                local.place = Place(ctfmeg, given.operation, folder / str(threading.get_ident()))
            place = local.place
            inject = f"inject={call}:{what}:when={number}"
            done = place.run("strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + call, "-e", inject)
            try:
                made = new_files(place)
                if what.startswith("error"):
                    judge_failed(place, done, made, whole)
                else:
                    assert done.returncode == -9, f"was not killed: {done.returncode}"
                    judge_killed(place, made, whole)
            except AssertionError as fault:
                faults.append(f"{what} in call {number} of {call}: {fault}\n  {line}\n  {done.stderr}")
            said[done.stderr, done.returncode] += 1
            place.clear()

        chosen = calls[:: given.every]
        jobs = [(*call, what) for call in chosen for what in [*map("error={}".format, ERRORS), "signal=KILL"]]
        list(pool.map(lambda job: attempt(*job), jobs))
    if given.show:
        for (text, code), times in sorted(said.items()):
            print(f"{times} times {code}: {text.rstrip()}")
    for fault in faults:
        print(fault)
    print(f"{given.operation}: {len(chosen)} of {len(calls)} calls, {len(jobs)} runs, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
