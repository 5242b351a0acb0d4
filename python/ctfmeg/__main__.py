"""`python -m ctfmeg` prints what the package found."""

from __future__ import annotations

import platform
import sys
from importlib import import_module
from typing import Optional

import numpy

from . import __version__
from ._library import library

_OPTIONAL = {  # what is imported where it is used, and Debian's package that brings it
    "dask": "python3-dask",
    "distributed": "python3-distributed",
    "fsspec": "python3-fsspec",
    "aiohttp": "python3-aiohttp",
    "matplotlib": "python3-matplotlib",
    "scipy": "python3-scipy",
    "pandas": "python3-pandas",
}


def _version_of(module: str) -> Optional[str]:
    try:
        return str(getattr(import_module(module), "__version__", "there"))
    except ImportError:
        return None


def main() -> int:
    """Prints it; 1 where the library is missing."""
    print(f"ctfmeg       {__version__} (Python {platform.python_version()})")
    missing = ""
    try:
        print(f"library      {library().version} ({library().path})")
    except ImportError as error:
        missing = str(error)
        print("library      missing")
    print(f"numpy        {numpy.__version__}")
    for module, package in _OPTIONAL.items():
        print(f"{module:<13}{_version_of(module) or f'missing: {package}, or pip install {module}'}")
    if missing:
        print(missing, file=sys.stderr)
    return 1 if missing else 0


sys.exit(main())
