#!/usr/bin/python3
"""What each gradient order leaves of distant sources, from the geometry and the coefficients of the real header alone:
prints the table of docs/signals.md, and fails where third order leaves more than it should.

    dipoles_test.py CTFMEG DATA, the folder of the real recording; ends with 77 where there is none
"""

import json
import pathlib
import subprocess
import sys

import numpy as np

CTFMEG, DATA = sys.argv[1], sorted(pathlib.Path(sys.argv[2]).glob("*.ds"))
if not DATA:
    sys.exit(77)
said = json.loads(subprocess.run([CTFMEG, "info", "--json", "--quiet", DATA[0]], capture_output=True, check=True).stdout)
channels = {c[key]: c for key in ("shortName", "name") for c in said["channels"]}
sensors = [c for c in said["channels"] if c["kind"] == "gradiometer"]


def flux(channel, sources, coils=8):
    """Of each dipole (place in m, moment), up to one factor for all channels: the sum over the coils of orientation . B."""
    total = np.zeros(len(sources))
    for coil in channel["dewarCoils"][:coils]:
        for i, (place, moment) in enumerate(sources):
            way = np.array(coil["position"]) / 100 - place
            far = np.linalg.norm(way)
            way /= far
            total[i] += np.array(coil["orientation"]) @ (3 * (moment @ way) * way - moment) / far**3
    return abs(channel["properGain"]) * total


def share(left, of):
    return np.sqrt(sum(np.sum(values**2) for values in left) / sum(np.sum(values**2) for values in of))


def main():
    types = ["G1BR", "G2BR", "G3BR", "G2OI", "G3OI"]
    records = {(r["sensor"], r["type"]): r["references"] for r in said["coefficients"]}
    print("| distance | share of | none | " + " | ".join(types) + " |\n|---|---|" + "---|" * (len(types) + 1))
    for distance in (3, 10, 30):
        sources = [(distance * sign * side, moment) for side in np.eye(3) for sign in (1, -1) for moment in np.eye(3)]
        of = {name: flux(channel, sources) for name, channel in channels.items() if channel["dewarCoils"]}
        own = [of[c["name"]] for c in sensors]
        field = [flux(c, sources, coils=1) for c in sensors]
        rests = {}
        for kind in types:
            rests[kind] = [of[c["name"]] - sum(r["value"] * of[r["name"]] for r in
                           records.get((c["name"], kind)) or records[c["shortName"], kind]) for c in sensors]
        for what, base in (("the field at the inner coil", field), ("the gradiometers' own signal", own)):
            shares = [share(own, base), *(share(rests[kind], base) for kind in types)]
            print(f"| {distance} m | {what} | " + " | ".join(f"{100 * s:.3g} %" for s in shares) + " |")
        if distance == 10:
            third = [share([rest], [one]) for rest, one in zip(rests["G3OI"], field)]
            assert share(rests["G3OI"], field) < 0.014, "third order leaves too much at 10 m"
            print(f"\nG3OI at 10 m, channel by channel: {100 * min(third):.2g} % to {100 * max(third):.2g} %\n", file=sys.stderr)


main()
