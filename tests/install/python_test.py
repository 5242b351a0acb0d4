"""An installed Python package: python_test.py FOLDER LIBRARY VERSION DATASET RAW VALUE

The package must come from FOLDER, use LIBRARY, and be of VERSION. Sample 5 of channel MLF11 in trial 2 must be RAW, and
VALUE in tesla.
"""

import sys
from pathlib import Path

import ctfmeg

folder, library, version, dataset, raw, value = sys.argv[1:]
assert Path(ctfmeg.__file__).parent == Path(folder, "ctfmeg").resolve(), ctfmeg.__file__
assert ctfmeg.__version__ == version, ctfmeg.__version__
assert Path(folder, "ctfmeg/py.typed").exists()
recording = ctfmeg.open(dataset)
assert recording.raw.shape == (3, 20, 240), recording.raw.shape
assert recording.raw[2, "MLF11", 5] == int(raw), recording.raw[2, "MLF11", 5]
assert f"{recording.data[2, 'MLF11', 5].item():.9e}" == value, recording.data[2, "MLF11", 5]
with open("/proc/self/maps", encoding="utf-8") as maps:
    loaded = {line.split()[-1] for line in maps if "libctfmeg" in line}
assert loaded == {str(Path(library).resolve())}, loaded
