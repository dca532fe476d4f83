#!/usr/bin/python3
"""Writes the spreadsheet samples the reader is tested and measured with, using independent writers
(openpyxl for .xlsx, xlwt for .xls), plus damaged files.

  make_samples.py samples DIR          the small samples and damaged files (committed beside this script)
  make_samples.py big ROWS FILE        a four-column table of ROWS rows under a header row (.xlsx or .xls)
"""
import datetime
import os
import random
import sys
import zipfile

import openpyxl
import xlwt

# Cells of the layout sample: (column letter, row, value). The same cells go into both formats.
LAYOUT = [
    # A: a header and numbers, integers among them
    ("A", 1, "Over"), ("A", 2, 0), ("A", 3, 3), ("A", 4, 6.5), ("A", 5, 10),
    # B: values in rows 1 and 3 only
    ("B", 1, "x"), ("B", 3, 2.5),
    # C: the first ten cells empty, a value after them
    ("C", 11, 7),
    # D: a gap of nine empty cells is still bridged
    ("D", 1, 1), ("D", 11, 2),
    # E: numbers of every size and sign
    ("E", 1, 100000), ("E", 2, -3), ("E", 3, 1.25), ("E", 4, 1e-7), ("E", 5, 123456.789),
    # F: texts that are not plain ASCII or not trimmed
    ("F", 1, "\u00d8 10 \u00b5m"), ("F", 2, " a "), ("F", 3, " "),
    # G: dates and times are no numbers to the sheet; a percentage is
    ("G", 1, (datetime.date(2020, 5, 17), "yyyy-mm-dd")), ("G", 2, 5), ("G", 3, (0.25, "0.00%")),
    ("G", 4, (datetime.time(8, 30), "hh:mm")), ("G", 5, 7),
]


def value_and_format(value):
    return value if isinstance(value, tuple) else (value, None)


def column_index(letter):
    number = 0
    for c in letter:
        number = number * 26 + ord(c) - ord("A") + 1
    return number - 1


def write_layout_xlsx(path):
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Table"
    for letter, row, cell in LAYOUT:
        value, number_format = value_and_format(cell)
        sheet[f"{letter}{row}"] = value
        if number_format:
            sheet[f"{letter}{row}"].number_format = number_format
    book.save(path)


def write_layout_xls(path):
    book = xlwt.Workbook()
    sheet = book.add_sheet("Table")
    for letter, row, cell in LAYOUT:
        value, number_format = value_and_format(cell)
        style = xlwt.easyxf(num_format_str=number_format) if number_format else xlwt.Style.default_style
        sheet.write(row - 1, column_index(letter), value, style)
    book.save(path)


def write_active_xlsx(path):
    """Two sheets; the second is the one the workbook opens on."""
    book = openpyxl.Workbook()
    first = book.active
    first.title = "First"
    first["A1"] = "first sheet"
    second = book.create_sheet("Second")
    second["A1"] = "second sheet"
    book.active = 1
    book.save(path)


def write_active_xls(path):
    book = xlwt.Workbook()
    book.add_sheet("First").write(0, 0, "first sheet")
    book.add_sheet("Second").write(0, 0, "second sheet")
    book.active_sheet = 1
    book.save(path)


def write_big(rows, path):
    """A header row, then rows of four distinct numbers, as a tolerance table grows."""
    header = ["Over", "Upto", "A value", "B value"]
    values = lambda i: [i * 0.5, i * 0.5 + 0.5, 0.05 + i * 0.001, 0.1 + i * 0.002]
    if path.endswith(".xlsx"):
        book = openpyxl.Workbook(write_only=True)
        sheet = book.create_sheet("Table")
        sheet.append(header)
        for i in range(rows):
            sheet.append(values(i))
        book.save(path)
    else:
        book = xlwt.Workbook()
        sheet = book.add_sheet("Table")
        for column, text in enumerate(header):
            sheet.write(0, column, text)
        for i in range(rows):
            for column, value in enumerate(values(i)):
                sheet.write(i + 1, column, value)
        book.save(path)


def write_damaged(directory):
    with open(os.path.join(directory, "layout.xlsx"), "rb") as whole:
        data = whole.read()
    with open(os.path.join(directory, "truncated.xlsx"), "wb") as out:
        out.write(data[: len(data) // 2])
    with open(os.path.join(directory, "layout.xls"), "rb") as whole:
        data = whole.read()
    with open(os.path.join(directory, "truncated.xls"), "wb") as out:
        out.write(data[: len(data) // 2])
    with zipfile.ZipFile(os.path.join(directory, "nosheet.xlsx"), "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("readme.txt", "an archive without a workbook\n")
    with open(os.path.join(directory, "random.xls"), "wb") as out:
        out.write(random.Random(5).randbytes(4096))
    for name in ("empty.xls", "empty.xlsx"):
        open(os.path.join(directory, name), "wb").close()


def main(argv):
    if len(argv) == 3 and argv[1] == "samples":
        directory = argv[2]
        write_layout_xlsx(os.path.join(directory, "layout.xlsx"))
        write_layout_xls(os.path.join(directory, "layout.xls"))
        write_active_xlsx(os.path.join(directory, "active.xlsx"))
        write_active_xls(os.path.join(directory, "active.xls"))
        write_damaged(directory)
        return 0
    if len(argv) == 4 and argv[1] == "big":
        write_big(int(argv[2]), argv[3])
        return 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
