"""The reference of the Python package; scripts/api-docs runs it."""

import os
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[2] / "python"))
sys.dont_write_bytecode = True

project = "ctfmeg"
copyright = "2026 the MEGReader authors"
release = version = os.environ["MEGREADER_VERSION"]
extensions = ["sphinx.ext.autodoc", "sphinx.ext.napoleon"]
napoleon_google_docstring = False
autodoc_member_order = "bysource"
autodoc_typehints = "none"  # the docstrings say types, with shapes and units
html_theme = "alabaster"
html_show_sourcelink = False
html_copy_source = False
