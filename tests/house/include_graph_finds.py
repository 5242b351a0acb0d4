#!/usr/bin/env python3
"""Breaks a copy of src/ in each way that include_graph.py is to find, and fails where it finds nothing or too much.
Takes the folder to copy."""

import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

CHECK = Path(__file__).with_name("include_graph.py")

# A file, what is written at its end, and what the check has to say; nothing where it has to keep silent.
CASES = [
    ("util/scan.cpp", "", ""),
    ("util/scan.cpp", '#include <megreader/datamodel/meg_datazk.h>', "util must not include datamodel/meg/meg_datazk.h"),
    ("meg4/sample_files.cpp", '#include "res4/decode.h"', "meg4 must not include res4/decode.h"),
    ("res4/decode.h", '#include <megreader/reader/meg_reader_face.h>', "res4 must not include reader/meg_reader_face.h"),
    ("host/convert.cpp", '#include "hosts/reader/ctf_dataset_reader.h"', "host must not include reader/ctf_"),
    ("host/record.h", '#include <megreader/framework/cstring.h>', "host/recording.h: reaches framework/cstring.h"),
    ("output/table.cpp", '#include "cli/terminal.h"', "output must not include cli/terminal.h"),
    ("hosts/dialogs/dialogs.cpp", '#include <ctfmeg/record.h>', "hosts/dialogs must not include host/record.h"),
    ("output/table.cpp", "void f() { std::cout << 1; }", "std::cout: only cli may"),
    ("simulate/random.h", '#include "util/byte_order.h"', "simulate must not include util/byte_order.h"),
    ("cli/tables.cpp", '#include "../host/record.h"', "is no file of ours"),
    ("cli/tables.cpp", "#include <nlohmann/json.hpp>", "nlohmann/json.hpp: cli/json.cpp output/json.cpp may include it"),
    ("cli/tables.cpp", "#include <windows.h>", "<windows.h> belongs into a folder win32"),
    ("hosts/dialogs/dialogs.h", "#include <windows.h>", "<windows.h> in a header"),
    ("host/convert.cpp", '#include "hosts/framework/win32/long_path.h"', "is for win32 only"),
    ("util/scan.h", '#include "util/scan.h"', "util/scan.h:1: includes itself"),
    ("util/fresh.h", "int one();", "util/fresh.h:1: does not begin with #pragma once"),
    ("extra/fresh.cpp", "", "there is no room extra"),
    ("util/scan.cpp", 'void f() { std::printf("x"); }', "printf: only cli may"),
    ("reader/load_sequence.cpp", 'auto v = std::getenv("HOME");', "getenv: only cli may"),
    ("util/scan.cpp", 'const char* text = "std::cout << getenv";  // printf(', ""),
    ("util/scan.cpp", "int many = 1'000; void f() { std::cerr << 'x'; }", "std::cerr: only cli may"),
]


def findings(source, name, line):
    with tempfile.TemporaryDirectory() as folder:
        copy = Path(folder, "src")
        shutil.copytree(source, copy)
        file = copy / name
        file.parent.mkdir(exist_ok=True)
        with file.open("a", encoding="utf-8") as stream:
            stream.write("\n" + line + "\n" if line else "")
        done = subprocess.run([sys.executable, CHECK, copy], capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr


failed = False
for name, line, expected in CASES:
    code, said = findings(sys.argv[1], name, line)
    if (code == 1) != bool(expected) or expected not in said:
        failed = True
        print(f"{name}: {line!r}: ended with {code} and said: {said}")
sys.exit(failed)
