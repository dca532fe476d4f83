#!/usr/bin/python3
"""Writes the tolerance tables the dialog tests import, with openpyxl (an independent writer).

  make_tables.py DIR

Columns A to D are Over, Up to, A value and B value under a header row.
"""
import os
import sys

import openpyxl

HEADER = ["Over", "Up to", "A value", "B value"]

TABLES = {
    # three bands, integers among the numbers
    "bands.xlsx": [[0, 3, 0.1, 0.002], [3, 6, 0.12, 0.0025], [6, 10, 0.15, 0.003]],
    # the second band has an Up to of 0: the whole sheet is refused
    "upto-zero.xlsx": [[0, 3, 0.1, 0.002], [3, 0, 0.12, 0.0025], [6, 10, 0.15, 0.003]],
    # a row without Over ends the table; the rows below it are not part of it
    "early-stop.xlsx": [[0, 3, 0.1, 0.002], [3, 6, 0.12, 0.0025], [None, None, None, None], [6, 10, 0.15, 0.003]],
    # an Over written as text that the decimal reader would take as 1: the whole sheet is refused
    "over-text.xlsx": [[0, 3, 0.1, 0.002], ["1e3", 6, 0.12, 0.0025]],
    # only the header
    "header-only.xlsx": [],
}


def write(path, rows):
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Tolerances"
    sheet.append(HEADER)
    for row in rows:
        sheet.append(row)
    book.save(path)


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for name, rows in TABLES.items():
        write(os.path.join(folder, name), rows)


if __name__ == "__main__":
    main()
