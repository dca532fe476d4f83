#!/usr/bin/python3
"""make_tables.py [DIR]: writes the tolerance tables the dialog tests import with openpyxl, an independent
writer. Columns A to D are Over, Up to, A value and B value under a header row."""
import os
import sys

import openpyxl

BANDS = [[0, 3, 0.1, 0.002], [3, 6, 0.12, 0.0025], [6, 10, 0.15, 0.003]]  # integers among the numbers
TABLES = {
    "bands.xlsx": BANDS,
    "upto-zero.xlsx": [BANDS[0], [3, 0, 0.12, 0.0025], BANDS[2]],  # an Up to of 0: the whole sheet is refused
    "early-stop.xlsx": [BANDS[0], BANDS[1], [None] * 4, BANDS[2]],  # a row without Over ends the table
    "over-text.xlsx": [BANDS[0], ["1e3", 6, 0.12, 0.0025]],  # an Over the decimal reader takes as 1: refused
    "header-only.xlsx": [],
}

folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
for name, rows in TABLES.items():
    book = openpyxl.Workbook()
    book.active.title = "Tolerances"
    for row in [["Over", "Up to", "A value", "B value"]] + rows:
        book.active.append(row)
    book.save(os.path.join(folder, name))
