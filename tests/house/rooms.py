#!/usr/bin/env python3
"""Finds what neither compiler nor linker can: a header of a room that no arrow leads to, a system's own headers outside
the folder for that system, and printing outside the rooms that talk to people. Takes the folder src/; prints each place
and fails if there is any."""

import re
import sys
from pathlib import Path

# A room includes itself and these. What is compiled is checked by the linker (alone_*); this is for what is only included.
ARROWS = {
    "base": set(),
    "ctf": {"base"},
    "recording": {"ctf", "base"},
    "signal": {"recording", "ctf", "base"},
    "check": {"signal", "recording", "ctf", "base"},
    "check_host": {"recording", "ctf", "base", "megreader"},
    "output": {"base"},
    "describe": {"edit", "recording", "output", "base"},
    "edit": {"signal", "recording", "ctf", "output", "base"},
    "capi": {"describe", "edit", "signal", "recording", "output", "base"},
    "simulate": {"output", "base"},
    "cli": {"check", "check_host", "describe", "edit", "signal", "recording", "output", "simulate", "base"},
    "hosts/framework": {"base", "megreader"},
    "hosts/datamodel": {"hosts/framework", "base", "megreader"},
    "hosts/reader": {"hosts/datamodel", "hosts/framework", "ctf", "base", "megreader"},
    "hosts/dialogs": {"hosts/framework", "hosts/reader", "megreader"},
}
SYSTEM_HEADERS = {
    "win32": r"(windows|windowsx|commctrl|commdlg|shellapi|io|fcntl|sys/stat|share|conio)\.h",
    "posix": r"(unistd|fcntl|dirent|pthread|signal|termios|poll|sys/\w+)\.h",
}
FOLDERS_OF = {"hosts/dialogs": "win32"}
TALKS = re.compile(
    r"\bstd::w?(?:cout|cerr|clog|cin)\b"
    r"|\b(?:v?f?w?printf|f?put(?:s|ws|c|wc|char)|perror|std(?:out|err|in)|OutputDebugString[AW]?|WriteConsole[AW]?)\b"
    r"|\b(?:secure_|_w)?getenv(?:_s)?\b|\benviron\b|\bGetEnvironmentVariable[AW]?\b|\b_?isatty\b|\bGetStdHandle\b")
NOT_CODE = re.compile(
    r'R"(?P<mark>[^\s()\\]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|//[^\n]*|/\*.*?\*/', re.DOTALL)
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)


def room_of(name):
    parts = name.split("/")
    return "/".join(parts[:2]) if parts[0] == "hosts" else parts[0]


def faults_of(name, text):
    room = room_of(name)
    if room not in ARROWS:
        yield 1, f"there is no room {room}: what may it include?"
        return
    folders = set(name.split("/")) | {FOLDERS_OF.get(room)}
    for match in INCLUDE.finditer(text):
        line, target = text.count("\n", 0, match.start(1)) + 1, match[1]
        to = room_of(target)
        if (to in ARROWS or to == "megreader") and to != room and to not in ARROWS[room]:
            yield line, f"{room} must not include {target}"
        homes = {system for system, names in SYSTEM_HEADERS.items() if re.fullmatch(names, target)}
        if homes and not homes & folders:
            yield line, f"<{target}> belongs into a folder {' or '.join(sorted(homes))}"
        if target == "windows.h" and name.endswith(".h"):
            yield line, "<windows.h> in a header reaches everybody who includes that"
    if room != "cli":
        code = NOT_CODE.sub(lambda m: re.sub(r"[^\n]", " ", m[0]), re.sub(r"(?<=\d)'(?=\d)", "_", text))
        for match in TALKS.finditer(code):
            yield code.count("\n", 0, match.start()) + 1, f"{match[0]}: only cli may"


def main():
    root = Path(sys.argv[1])
    files = [path for path in sorted(root.rglob("*")) if path.suffix in {".h", ".cpp"}]
    faults = [f"{path.relative_to(root)}:{line}: {text}" for path in files
              for line, text in faults_of(path.relative_to(root).as_posix(), path.read_text(encoding="utf-8"))]
    print("\n".join(faults) or f"{len(files)} files keep to the arrows")
    sys.exit(1 if faults or not files else 0)


main()
