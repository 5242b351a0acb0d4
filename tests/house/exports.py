"""What the shared library ctfmeg offers: the C functions of <ctfmeg/ctfmeg.h>, all of them and no other, the classes
and functions that the headers of C++ mark with CTFMEG_API, and nothing else.

    exports.py LIBRARY INCLUDE_FOLDER OBJDUMP
"""

import re
import subprocess
import sys
from pathlib import Path

COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.DOTALL)
C_FUNCTION = re.compile(r"\bCTFMEG_API\b[^;(]*?\b(\w+)\s*\(")
CLASS = re.compile(r"\b(?:class|struct) CTFMEG_API (\w+)")
OF_CXX = re.compile(r"_Z(?:T[ISV])?(?:NKR?|N)6ctfmeg")
# A line of `objdump -T` from the version on; "Base" is the version of the versions' own names.
ELF = re.compile(r"^[0-9a-f]{16} (.{7}) (\S+)\s+[0-9a-f]{16}\s+(\S+)\s+(\S+)$", re.MULTILINE)
DLL = re.compile(r"^\s*\[ *\d+\] (?:\+base\[ *\d+\] +[0-9a-f]+ )?(\S+)$", re.MULTILINE)


def exported_names(library, objdump):
    """Each exported name and its version; a DLL has no versions."""
    if library.suffix == ".dll":
        table = subprocess.run([objdump, "-p", library], capture_output=True, text=True, check=True).stdout
        return dict.fromkeys(DLL.findall(table.split("[Ordinal/Name Pointer] Table")[1]), "")
    table = subprocess.run([objdump, "-T", library], capture_output=True, text=True, check=True).stdout
    return {name: version for _, section, version, name in ELF.findall(table) if section not in ("*UND*", "*ABS*")}


def faults_of(library, include, objdump):
    names = exported_names(library, objdump)
    headers = {path: COMMENT.sub("", path.read_text(encoding="utf-8")) for path in sorted(include.glob("ctfmeg/*.h"))}
    declared = set(C_FUNCTION.findall(headers[include / "ctfmeg/ctfmeg.h"]))
    of_cxx = {name for name in names if OF_CXX.match(name)}
    of_c = set(names) - of_cxx
    yield from (f"{name} is declared and not exported" for name in sorted(declared - of_c))
    yield from (f"{name} is exported and not declared in ctfmeg.h" for name in sorted(of_c - declared))
    for name, version in sorted(names.items()):
        begins = "CTFMEG_CXX_" if name in of_cxx else "CTFMEG_"
        if library.suffix != ".dll" and not re.fullmatch(begins + r"[\d.]+", version):
            yield f"{name} has the version {version}"
    for name in sorted(set(CLASS.findall("".join(headers.values())))):
        if not any(f"{len(name)}{name}" in symbol for symbol in of_cxx):
            yield f"nothing of class {name} is exported"
    if not declared:
        yield "ctfmeg.h declares nothing"


def main():
    faults = list(faults_of(Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]))
    print("\n".join(faults) or "what is exported is what is declared")
    sys.exit(1 if faults else 0)


main()
