#!/usr/bin/env python3
"""Finds what the compiler can't: an include that goes against the arrows between the rooms of src/, and calls that
belong into one room only. Prints each place and fails if there is any. Takes the folder to look at."""

import re
import sys
from pathlib import Path

# A room includes itself and these. A name with a slash is the one header that is meant.
LAYERS = {"reader/ctf_dataset_reader.h", "util", "datamodel", "framework"}
MAY_INCLUDE = {
    "framework": set(),
    "util": {"framework"},
    "datamodel": {"framework"},
    "hosts/dialogs": {"framework"},
    "output": set(),
    "simulate": set(),
    "reader": {"util", "datamodel", "framework"},
    "res4": LAYERS,
    "meg4": LAYERS,
    "sidefiles": LAYERS,
    "host": {"reader/meg_reader_face.h", "datamodel", "framework"},
    "cli": {"host", "output", "simulate"},
}

# Programs compile these against an installed library: what they reach must be installed, too, and is to stay small.
PLAIN_HEADER = "host/recording.h"

# Large headers: these files of ours pay for them and no others.
INCLUDED_BY = {"CLI/": {"cli/command_line.cpp"}, "nlohmann/json.hpp": {"cli/json.cpp", "output/json.cpp"}}

# Rooms that exist on one system only.
ROOM_OF_SYSTEM = {"hosts/dialogs": "win32"}

# The header that fills every file with macros and types, and what the systems have each for itself.
SYSTEM_HEADERS = {
    "win32": r"(windows|windowsx|commctrl|commdlg|shellapi|io|fcntl|sys/stat|share|conio)\.h",
    "posix": r"(unistd|fcntl|dirent|pthread|signal|termios|poll|sys/\w+)\.h",
}

# Only the command prints, reads settings and knows a terminal.
TALKS = re.compile(
    r"\bstd::w?(?:cout|cerr|clog|cin)\b"
    r"|\b(?:v?f?w?printf|f?put(?:s|ws|c|wc|char)|perror|std(?:out|err|in)|OutputDebugString[AW]?|Write(?:Console|File)[AW]?)\b"
    r"|\b(?:secure_|_w)?getenv(?:_s)?\b|\benviron\b|\bGetEnvironmentVariable[AW]?\b"
    r"|\b_?isatty\b|\bGetStdHandle\b")
TALKING_ROOMS = {"cli"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
NOT_CODE = re.compile(
    r'R"(?P<mark>[^\s()\\]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|//[^\n]*|/\*.*?\*/', re.DOTALL)


def room_of(name):
    parts = name.split("/")
    return "/".join(parts[:2]) if parts[0] == "hosts" else parts[0]


def blanked(match):
    return re.sub(r"[^\n]", " ", match.group())


def without_texts(source):
    """The source with comments and literals blanked; line numbers stay. A digit's separator begins no literal."""
    return NOT_CODE.sub(blanked, re.sub(r"(?<=\d)'(?=\d)", "_", source))


def line_of(text, position):
    return text.count("\n", 0, position) + 1


class Tree:
    def __init__(self, root):
        self.sources = {}
        for path in sorted(root.rglob("*")):
            if path.suffix in {".h", ".cpp"}:
                self.sources[path.relative_to(root).as_posix()] = path.read_text(encoding="utf-8")
        self.includes = {}  # of each file: line, kind of bracket, name
        for name, text in self.sources.items():
            # A quoted name is a literal, too: only comments may go before includes are looked for.
            bare = re.sub(r"//[^\n]*|/\*.*?\*/", blanked, text, flags=re.DOTALL)
            self.includes[name] = [(line_of(bare, m.start(1)), m[1], m[2]) for m in INCLUDE.finditer(bare)]

    def own(self, name):
        return [target for _, bracket, target in self.includes[name] if bracket == '"' and target in self.sources]

    def reached(self, name):
        seen, waiting = set(), [name]
        while waiting:
            for target in self.own(waiting.pop()):
                if target not in seen:
                    seen.add(target)
                    waiting.append(target)
        return seen


def faults_of_includes(tree, name):
    room, folders = room_of(name), name.split("/")[1:-1]
    if room in ROOM_OF_SYSTEM:
        folders.append(ROOM_OF_SYSTEM[room])
    if room not in MAY_INCLUDE:
        yield 1, f"there is no room {room}: what may it include?"
        return
    allowed = MAY_INCLUDE[room]
    for line, bracket, target in tree.includes[name]:
        if bracket == '"':
            if target not in tree.sources:
                yield line, f'"{target}" is no file of ours'
                continue
            to = room_of(target)
            if to != room and to not in allowed and target not in allowed:
                yield line, f"{room} must not include {target}"
            for system in SYSTEM_HEADERS:
                if f"/{system}/" in target and system not in folders:
                    yield line, f"{target} is for {system} only"
        elif target.endswith(".h"):
            homes = [system for system, names in SYSTEM_HEADERS.items() if re.fullmatch(names, target)]
            if homes and not set(homes) & set(folders):
                yield line, f"<{target}> belongs into a folder {' or '.join(homes)}"
            if target == "windows.h" and not name.endswith(".cpp"):
                yield line, "<windows.h> in a header reaches everybody who includes that"


def faults_of_headers(tree, name):
    if name.endswith(".h") and not tree.sources[name].startswith("#pragma once\n"):
        yield 1, "does not begin with #pragma once"
    if name in tree.reached(name):
        yield 1, "includes itself by way of others"


def faults_of_calls(tree, name):
    if room_of(name) in TALKING_ROOMS:
        return
    code = without_texts(tree.sources[name])
    for match in TALKS.finditer(code):
        yield line_of(code, match.start()), f"{match.group()}: only {' and '.join(sorted(TALKING_ROOMS))} may"


def faults_of(tree):
    for name in tree.sources:
        for check in (faults_of_includes, faults_of_headers, faults_of_calls):
            for line, text in check(tree, name):
                yield f"{name}:{line}: {text}"
    for prefix, allowed in INCLUDED_BY.items():
        users = {name for name in tree.sources if any(t.startswith(prefix) for _, _, t in tree.includes[name])}
        if users != allowed:
            yield f"{prefix}: {' '.join(sorted(allowed))} may include it, these do: {' '.join(sorted(users)) or 'none'}"
    outside = [target for target in tree.reached(PLAIN_HEADER) if not target.startswith("host/")]
    if outside:
        yield f"{PLAIN_HEADER}: reaches {' '.join(sorted(outside))}"


def main():
    tree = Tree(Path(sys.argv[1]))
    if PLAIN_HEADER not in tree.sources:
        sys.exit(f"{PLAIN_HEADER} is not in {sys.argv[1]}")
    faults = list(faults_of(tree))
    print("\n".join(faults) or f"{len(tree.sources)} files keep to the arrows")
    sys.exit(1 if faults else 0)


main()
