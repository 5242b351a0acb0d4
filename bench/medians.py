"""Prints the medians of several runs of scripts/bench, whose outputs are named: medians.py RUN...

Ratios are listed with those of each run; times and memory are medians alone.
"""

import statistics
import sys
from pathlib import Path


def tables_of(text):
    """Tables as lists of rows, heading first; what is no table is left out."""
    blocks = [[line for line in block.splitlines() if line.startswith("|")] for block in text.split("\n\n")]
    return [[[cell.strip() for cell in line.strip("|").split("|")] for line in block] for block in blocks if block]


def print_row(cells):
    print("| " + " | ".join(cells) + " |")


def print_medians(runs):
    head, rows = runs[0][0], list(zip(*runs))[2:]  # the second row is a ruler
    ratios = head[1] == "ms"
    print_row([*head, *(f"run {i + 1}" for i in range(len(runs)))] if ratios else head)
    print_row(["---"] + ["---:"] * (2 + len(runs) if ratios else len(head) - 1))
    for same in rows:
        columns = [[float(row[i]) for row in same] for i in range(1, len(head))]
        cells = [f"{statistics.median(column):g}" for column in columns]
        if ratios:
            cells[1] = f"{statistics.median(columns[1]):.2f}"
            cells += [f"{ratio:.2f}" for ratio in columns[1]]
        print_row([same[0][0], *cells])
    print()


for table in zip(*(tables_of(Path(name).read_text()) for name in sys.argv[1:])):
    print_medians(table)
