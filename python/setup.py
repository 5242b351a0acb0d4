"""Builds the wheel `py3-none-PLATFORM`: the package with the C library inside.

The library is the one that the environment variable CTFMEG_LIBRARY names. Without it, the library is built
from the sources that this folder belongs to, by CMake and Ninja, as their preset "release" says.
"""

from __future__ import annotations

import ctypes
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from setuptools import Distribution, find_packages, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
PROJECT = HERE.parent


def found(path: Path, pattern: str) -> str | None:
    """What the group of a pattern matches in a file, if there is one."""
    match = re.search(pattern, path.read_text(encoding="utf-8"), re.MULTILINE) if path.is_file() else None
    return match[1] if match else None


# Of the code of others that is compiled into the library: its terms go where that goes.
TERMS = Path("/usr/share/doc/nlohmann-json3-dev/copyright")
PROJECT_VERSION = found(PROJECT / "CMakeLists.txt", r"^project\(MEGReader VERSION ([\d.]+)")


def named_library() -> Path | None:
    """The library that CTFMEG_LIBRARY names."""
    name = os.environ.get("CTFMEG_LIBRARY")
    if name and not Path(name).is_file():
        sys.exit(f"CTFMEG_LIBRARY is {name}, which is not a file.")
    return Path(name).resolve() if name else None


def version() -> str:
    """The project's version; without the project that of an archive, or of the library."""
    known = PROJECT_VERSION or found(HERE / "PKG-INFO", r"^Version: (\S+)")
    if known:
        return known
    library = named_library()
    if not library:
        sys.exit(f"{HERE.name} is not in MEGReader's sources: name a built library in CTFMEG_LIBRARY.")
    function = ctypes.CDLL(str(library)).ctfmeg_version
    function.restype = ctypes.c_char_p
    return str(function().decode())


def built_library() -> Path:
    """The library, built now."""
    if not PROJECT_VERSION:
        sys.exit(f"{HERE.name} is not in MEGReader's sources: name a built library in CTFMEG_LIBRARY.")
    for program in ("cmake", "ninja"):
        if not shutil.which(program):
            sys.exit(
                f"Building the library needs {program}. Run scripts/setup, which installs what is missing, or"
                " name a built library in CTFMEG_LIBRARY."
            )
    build = PROJECT / "build" / "release"
    made_for = found(build / "CMakeCache.txt", r"^CMAKE_HOME_DIRECTORY:INTERNAL=(.*)$")
    moved = ["--fresh"] if made_for not in (None, str(PROJECT)) else []  # copied along with what was built
    subprocess.run(["cmake", "--preset", "release", *moved], cwd=PROJECT, check=True)
    subprocess.run(["cmake", "--build", build, "--target", "ctfmeg_shared"], check=True)
    return (build / "lib" / "libctfmeg.so").resolve()


class WithLibrary(build_py):
    """The package as it is, and the library beside its modules; one that is edited in place has none."""

    def run(self) -> None:
        super().run()
        if self.editable_mode:
            return
        library = named_library() or built_library()
        elf = ".so" in library.name
        # The name by which programs ask for the library: it stays while its functions stay what they are.
        name = f"libctfmeg.so.{version().split('.')[0]}" if elf else library.name
        inside = Path(self.build_lib) / "ctfmeg" / name
        shutil.copyfile(library, inside)
        inside.chmod(0o644)
        if TERMS.is_file():
            shutil.copyfile(TERMS, inside.with_name("copyright-of-nlohmann-json"))
        if elf and shutil.which("strip"):
            subprocess.run(["strip", "--strip-unneeded", inside], check=True)


class ForEveryPython(bdist_wheel):
    """A wheel for this system and any version of Python: nothing in it is compiled for one."""

    def get_tag(self) -> tuple[str, str, str]:
        return "py3", "none", super().get_tag()[2]


class OfOneSystem(Distribution):
    def has_ext_modules(self) -> bool:
        return True


# What setuptools writes on its way goes nowhere near the sources, and nothing of an earlier build gets in.
with tempfile.TemporaryDirectory(prefix="ctfmeg-") as scratch:
    setup(
        version=version(),
        packages=find_packages(str(HERE), include=["ctfmeg*"]),
        package_data={"ctfmeg": ["py.typed"]},
        distclass=OfOneSystem,
        cmdclass={"build_py": WithLibrary, "bdist_wheel": ForEveryPython},
        options={"build": {"build_base": scratch}, "egg_info": {"egg_base": scratch}},
    )
