#!/usr/bin/env python3
"""What a recording is and holds.

first_steps.py RECORDING
"""

import sys

import ctfmeg

recording = ctfmeg.open(sys.argv[1])
print(recording)
print("markers:", ", ".join(f"{marker.name} ({len(marker.samples)})" for marker in recording.markers))

window = recording.data[
    0, "meg", :100
]  # trial 0, all MEG channels, 100 samples, in tesla; nothing else is read
print("a window:", window.shape, window.dtype, f"largest {1e12 * abs(window).max():.1f} pT")

first = recording.markers[0].name
epochs = recording.epochs(first, tmin=-0.05, tmax=0.1).select(channels="meg", exclude="bad")
print(f"epochs around {first}:", epochs.shape, f"from {epochs.times[0]:.3f} s to {epochs.times[-1]:.3f} s")
