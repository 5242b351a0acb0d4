#!/usr/bin/env python3
"""Runs clang-tidy over what a compilation database holds of src/, and compiles the headers by themselves that no source
includes first. Fails if there is any finding. What was found clean is noted in a folder, by content: a later run
passes it over until the file, a header that it reaches, the rules, the tools or the libraries are others.

    tidy.py DATABASE NOTES (posix | win32) [--without CHECK] [-- OPTION OF CLANG...]

Most of the time goes into looking through the system's headers. So all checks but the analyzer's read the sources of a
room as one, which looks through them once a room; the analyzer, which follows paths through one source only, reads each
by itself."""

import argparse
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = ROOT / "src"
PUBLIC = ROOT / "include"
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]', re.MULTILINE)
# A room is read as one: through a source that includes its sources.
OF_ROOMS_ONLY = {"bugprone-suspicious-include"}


def reached(files):
    """These files and the headers of ours that they include, directly or not."""
    seen, waiting = set(), list(files)
    while waiting:
        file = waiting.pop()
        if file in seen or not file.exists():
            continue
        seen.add(file)
        names = [name for _, name in INCLUDE.findall(file.read_text(encoding="utf-8"))]
        waiting += [root / name for name in names for root in (SOURCES, PUBLIC)]
    return sorted(seen)


def enabled_checks(without):
    listed = subprocess.run(["clang-tidy", "--list-checks"], cwd=ROOT, capture_output=True, text=True, check=True)
    checks = {line.strip() for line in listed.stdout.splitlines()[1:] if line.strip()} - set(without)
    analyzer = {check for check in checks if check.startswith("clang-analyzer-")}
    return checks - analyzer, analyzer


class Checker:
    def __init__(self, options):
        self.notes = Path(options.notes)
        self.notes.mkdir(parents=True, exist_ok=True)
        self.clang = options.clang
        common = hashlib.sha256()
        for file in [Path(__file__), ROOT / ".clang-tidy", Path("/var/lib/dpkg/status")]:
            common.update(file.read_bytes())
        self.common = common.hexdigest()
        self.used = set()
        self.done = self.passed_over = 0

    def clean(self, command, files, named):
        """Whether `command` finds nothing, of which a note may tell."""
        content = hashlib.sha256(self.common.encode())
        content.update("\0".join(command).encode())
        for file in reached(files):
            content.update(f"\0{file}\0".encode() + file.read_bytes())
        note = self.notes / content.hexdigest()
        self.used.add(note.name)
        if note.exists():
            self.passed_over += 1
            return True, ""
        done = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
        self.done += 1
        if done.returncode == 0:
            note.write_text(named + "\n")
        return done.returncode == 0, done.stdout + done.stderr

    def tidy(self, database, checks, source, files):
        options = [f"--extra-arg={option}" for option in ["-Wno-unknown-warning-option", *self.clang]]
        command = ["clang-tidy", "-p", str(database), "--quiet", "--checks=-*," + ",".join(sorted(checks)), *options]
        return self.clean([*command, str(source)], files, str(source))

    def forget_what_is_gone(self):
        for note in self.notes.glob("?" * 64):
            if note.name not in self.used:
                note.unlink()


def rooms_of(entries):
    """The sources of each room that are compiled with the same options, and these options."""
    rooms = {}
    for file, entry in sorted(entries.items()):
        parts = file.relative_to(SOURCES).parts
        room = parts[:2] if parts[0] == "hosts" else parts[:1]
        own = {str(file), entry.get("output", "")}
        words = shlex.split(entry["command"])
        at = words.index("-o")
        options = tuple(word for i, word in enumerate(words) if i not in (at, at + 1) and word not in own | {"-c"})
        rooms.setdefault((room, options), []).append(file)
    return rooms


def lone_headers(entries, system):
    """Headers that no source includes first: of the others, building shows that they need nothing before them."""
    first = set()
    for file in SOURCES.rglob("*.cpp"):
        include = INCLUDE.search(file.read_text(encoding="utf-8"))
        if include and include[1] == '"':
            first.add(SOURCES / include[2])
    other = {"posix": "win32", "win32": "posix"}[system]
    headers = [h for h in sorted(SOURCES.rglob("*.h")) if h not in first and other not in h.parts]
    return [h for h in headers if system == "posix" or system in h.parts]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("database")
    parser.add_argument("notes")
    parser.add_argument("system", choices=["posix", "win32"])
    parser.add_argument("--without", action="append", default=[])
    given = sys.argv[1:] if "--" in sys.argv else [*sys.argv[1:], "--"]
    options = parser.parse_args(given[:given.index("--")])
    options.clang = given[given.index("--") + 1:]
    checker = Checker(options)
    by_room, by_source = enabled_checks(options.without)

    entries = {}
    for entry in json.loads(Path(options.database, "compile_commands.json").read_text()):
        file = Path(entry["file"])
        if SOURCES in file.parents and ("win32" in file.parts) == (options.system == "win32"):
            entries[file] = entry
    rooms = rooms_of(entries)

    database = []
    jobs = []

    def read_room(number, words, files):
        whole = checker.notes / f"room{number}.cpp"
        clean, said = checker.tidy(checker.notes, by_room - OF_ROOMS_ONLY, whole, [whole, *files])
        if clean or "clang-diagnostic-error" not in said:
            return clean, said
        # Two of them define the same name for themselves: each has to be read alone.
        results = [checker.tidy(options.database, by_room, file, [file]) for file in files]
        return all(result[0] for result in results), "".join(result[1] for result in results)

    for number, ((_, words), files) in enumerate(sorted(rooms.items(), key=lambda room: -len(room[1]))):
        whole = checker.notes / f"room{number}.cpp"
        whole.write_text("".join(f'#include "{file.relative_to(SOURCES).as_posix()}"\n' for file in files))
        database.append({"directory": entries[files[0]]["directory"], "file": str(whole),
                         "arguments": [*words, "-c", str(whole)]})
        jobs.append(lambda n=number, w=words, f=files: read_room(n, w, f))
    checker.notes.joinpath("compile_commands.json").write_text(json.dumps(database))
    jobs += [lambda f=file: checker.tidy(options.database, by_source, f, [f]) for file in entries]
    compiler = ["clang++", "-std=c++20", f"-I{SOURCES}", f"-I{PUBLIC}", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-x", "c++",
                "-Wno-pragma-once-outside-header", "-Wno-unused-const-variable", *options.clang]
    jobs += [lambda h=header: checker.clean([*compiler, str(h)], [h], str(h))
             for header in lone_headers(entries, options.system)]

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = 0
        for clean, said in pool.map(lambda job: job(), jobs):
            if not clean:
                print(said, flush=True)
                failures += 1
    checker.forget_what_is_gone()
    print(f"{checker.done} of {checker.done + checker.passed_over} readings for {options.system}, "
          "the others are as they were")
    sys.exit(1 if failures else 0)


main()
