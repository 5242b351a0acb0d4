#!/usr/bin/python3
"""Fails the system calls of a change to a dataset one by one, and interrupts and kills it at them: what is copied stays
as it was, and a copy is whole or not there.

    faults_test.py CTFMEG OPERATION [--every N | --all]; ends with 77 where strace can't trace
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

OUT = "out.ds"
# What to run, and the folder that is to be whole or not there.
OPERATIONS = {
    "rename": (["rename", "run.ds", OUT], OUT),
    "anonymise": (["anonymise", "run.ds", OUT, "--subject=01", "--keep=notes.pdf"], OUT),
    "crop": (["crop", "run.ds", OUT, "--samples=3:12", "--channels=meg"], OUT),
    "mark": (["mark", "run.ds", "--bad=MLT11", "--bad-segment=0:0:0.01", "--marker=new", "--at=0:0"], None),
    "bids": (["bids", "run.ds", "study", "--subject=01", "--task=rest"], "study/sub-01/meg/sub-01_task-rest_meg.ds"),
}
ERRORS = ("EIO", "ENOSPC", "EACCES")
# A kill in front of a call that changes nothing leaves what one in front of the next that does leaves.
CHANGING = ("mkdir", "write", "pwrite64", "ioctl", "copy_file_range", "ftruncate", "rename", "renameat2", "unlink",
            "unlinkat", "rmdir", "link", "symlink", "utimensat", "fsync", "chmod", "fchmod")
NOT_OF_FILES = ("mmap", "munmap")


def tree(folder):
    """What is in a folder: of each file its bytes, of each link where it leads, and of both when it was changed."""
    return {str(path.relative_to(folder)): (os.readlink(path) if path.is_symlink() else
                                            path.read_bytes() if path.is_file() else None,
                                            0 if path.is_dir() else path.lstat().st_mtime_ns)
            for path in folder.rglob("*")}


def simulate(ctfmeg, dataset, *more):
    subprocess.run([ctfmeg, "simulate", dataset, "--quiet", "--channels=4", "--trials=2", "--samples=20", *more],
                   check=True, capture_output=True)


class Place:
    """A folder of its own to work in, with the dataset to be changed."""

    def __init__(self, ctfmeg, operation, folder):
        self.folder, (words, self.copy) = folder, OPERATIONS[operation]
        self.command = [ctfmeg, *words]
        self.fill()
        self.before = tree(folder)

    def fill(self):
        dataset = self.folder / "run.ds"
        self.folder.mkdir()
        simulate(self.command[0], dataset, "--split-after=1")
        simulate(self.command[0], dataset / "hz.ds")
        (dataset / "hist").write_text("of /data/run.ds\n")
        (dataset / "notes.pdf").write_bytes(b"\0" * 300)
        (self.folder / "store").mkdir()
        (dataset / "run.meg4").rename(self.folder / "store/samples")
        (dataset / "run.meg4").symlink_to("../store/samples")

    def run(self, *before):
        return subprocess.run([*before, *self.command], cwd=self.folder, capture_output=True, text=True, errors="replace")

    def restore(self):
        if tree(self.folder) == self.before:
            return
        shutil.rmtree(self.folder)
        self.fill()
        self.before = tree(self.folder)


def undisturbed(place, trace):
    """The calls of the program after it was loaded, each a name, a number among those of its name and whether it changes
    something; and what there is then."""
    done = place.run("strace", "-f", "-qq", "-o", trace, "-e", "trace=%file,%desc")
    if done.returncode != 0:
        print("strace:", done.stderr)
        sys.exit(77)
    counts, calls = collections.Counter(), []
    for line in trace.read_text(errors="replace").splitlines():
        call = re.match(r"\d+ +(\w+)\(", line)
        if not call or call[1] in ("execve", *NOT_OF_FILES):
            continue
        counts[call[1]] += 1
        if calls or "run.ds" in line:
            calls.append((call[1], counts[call[1]], call[1] in CHANGING or "O_CREAT" in line, line))
    return calls, tree(place.folder)


def judge(place, whole, done, killed, mayBeDone):
    """What there is afterwards, each file by itself and the copy as one."""
    now = tree(place.folder)
    if done.returncode == 0:  # what was only to be taken away again, and can't be
        now = {name: held for name, held in now.items() if not (name.endswith(".part") and held[0] is None) and not name.endswith(".lock")}
    for name, held in place.before.items():
        as_whole = name in whole and now.get(name, [0])[0] == whole[name][0] != held[0]
        assert now.get(name) == held or as_whole, f"{name} is neither as it was nor as it should be"
    for name in now.keys() - place.before.keys():
        unfinished = killed and (".part" in name or name.endswith(".lock"))
        assert unfinished or now[name][0] == whole.get(name, [0])[0], f"{name} was left"

    def copied(state):
        return {name for name in state if name.startswith(place.copy)} if place.copy else set()

    assert copied(now) in (set(), copied(whole)) or any(".part" in name for name in copied(now)), "left a part of a copy"
    if killed:
        scanned = subprocess.run([place.command[0], "scan", "--csv", "."], cwd=place.folder, capture_output=True,
                                 text=True).stdout
        assert ".part" not in scanned, f"what was left is taken for a dataset: {scanned}"
        return
    if done.returncode == 0:
        assert {name: held for name, (held, _) in now.items()} == {name: held for name, (held, _) in whole.items()}, \
            "says that it is done, and is not"
        return
    assert mayBeDone or not place.copy or now == place.before, "left something"
    if done.returncode == 130:
        return
    assert done.returncode == 1, f"ends with {done.returncode}"
    assert re.search(r"^ctfmeg: ((\S*/)?(run\.ds|out\.ds|study)\S*|\.|standard output): \S", done.stderr, re.MULTILINE), \
        "does not say which file it is about"
    assert ".part" not in done.stderr, "speaks of a file that nobody knows"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("ctfmeg", type=pathlib.Path)
    parser.add_argument("operation", choices=OPERATIONS)
    parser.add_argument("--every", type=int, default=1, help="of calls that change nothing fail each N-th")
    parser.add_argument("--all", action="store_true", help="fail each call in all ways, and kill at each")
    given = parser.parse_args()
    if not shutil.which("strace"):
        print("there is no strace")
        return 77
    faults, local, ends = [], threading.local(), collections.Counter()
    with tempfile.TemporaryDirectory() as name, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        folder, ctfmeg = pathlib.Path(name), given.ctfmeg.resolve()
        calls, whole = undisturbed(Place(ctfmeg, given.operation, folder / "first"), folder / "trace")

        def attempt(call, number, line, how):
            if not hasattr(local, "place"):
                local.place = Place(ctfmeg, given.operation, folder / str(threading.get_ident()))
            place, killed = local.place, how == "signal=KILL"
            done = place.run("strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + call,
                             "-e", f"inject={call}:{how}:when={number}")
            ends[done.returncode] += 1
            try:
                assert (done.returncode == -9) == killed and (how == "signal=INT" or done.returncode != 130), \
                    f"ends with {done.returncode}"
                judge(place, whole, done, killed, mayBeDone="write(1," in line)
            except AssertionError as fault:
                faults.append(f"{how} in call {number} of {call}: {fault}\n  {line}\n  {done.stderr}")
            place.restore()

        jobs = []
        for i, (call, number, changes, line) in enumerate(calls):
            errors = ERRORS if given.all else ERRORS[i % 3:][:1] if changes or i % given.every == 0 else ()
            kills = ["signal=KILL", "signal=INT"] if changes or given.all or i + 1 == len(calls) else []
            jobs += [(call, number, line, how) for how in [*map("error={}".format, errors), *kills]]
        list(pool.map(lambda job: attempt(*job), jobs))
    print(*faults[:10], sep="\n", end="")
    print(f"{given.operation}: {len(calls)} calls, {len(jobs)} faults, of which it survived {ends[0]}, reported {ends[1]}, "
          f"stopped at {ends[130]} and died of {ends[-9]}; {len(faults)} of them badly")
    assert ends[0] and ends[1] and (ends[130] or given.operation == "mark") and ends[-9] and len(whole) > 10
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
