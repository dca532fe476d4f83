#!/usr/bin/python3
"""Writes the spreadsheet samples the reader is tested and measured with, using independent writers
(openpyxl for .xlsx, xlwt for .xls, gnumeric's ssconvert for one workbook saved in both formats with its
formula results), plus damaged files.

  make_samples.py samples DIR          the small samples and damaged files (committed beside this script)
  make_samples.py big ROWS FILE        a four-column table of ROWS rows under a header row (.xlsx or .xls)
  make_samples.py seeds DIR            the .xls fuzzer's seeds: small xlwt files, and bare workbook streams
"""
import datetime
import os
import random
import subprocess
import sys
import zipfile

import openpyxl
import xlwt

# Cells of the layout sample: (column letter, row, value or (value, number format)), the same in both formats.
LAYOUT = [
    ("A", 1, "Over"), ("A", 2, 0), ("A", 3, 3), ("A", 4, 6.5), ("A", 5, 10),  # a header, numbers, integers among them
    ("B", 1, "x"), ("B", 3, 2.5),  # values in rows 1 and 3 only
    ("C", 11, 7),  # the first ten cells empty, a value after them
    ("D", 1, 1), ("D", 11, 2),  # a gap of nine empty cells is still bridged
    ("E", 1, 100000), ("E", 2, -3), ("E", 3, 1.25), ("E", 4, 1e-7), ("E", 5, 123456.789),  # every size and sign
    ("F", 1, "\u00d8 10 \u00b5m"), ("F", 2, " a "), ("F", 3, " "),  # texts not plain ASCII or not trimmed
    # G: dates and times are no numbers to the sheet; a percentage is
    ("G", 1, (datetime.date(2020, 5, 17), "yyyy-mm-dd")), ("G", 2, 5), ("G", 3, (0.25, "0.00%")),
    ("G", 4, (datetime.time(8, 30), "hh:mm")), ("G", 5, 7),
]


def fill_xlsx(sheet, cells):
    for letter, row, cell in cells:
        value, number_format = cell if isinstance(cell, tuple) else (cell, None)
        sheet[f"{letter}{row}"] = value
        if number_format:
            sheet[f"{letter}{row}"].number_format = number_format


def write_layout(directory):
    book = openpyxl.Workbook()
    book.active.title = "Table"
    fill_xlsx(book.active, LAYOUT)
    book.save(os.path.join(directory, "layout.xlsx"))
    book = xlwt.Workbook()
    sheet = book.add_sheet("Table")
    for letter, row, cell in LAYOUT:
        value, number_format = cell if isinstance(cell, tuple) else (cell, None)
        style = xlwt.easyxf(num_format_str=number_format) if number_format else xlwt.Style.default_style
        sheet.write(row - 1, ord(letter) - ord("A"), value, style)
    book.save(os.path.join(directory, "layout.xls"))


def write_active_xlsx(path):
    """Two sheets; the second is the one the workbook opens on."""
    book = openpyxl.Workbook()
    book.active.title = "First"
    book.active["A1"] = "first sheet"
    book.create_sheet("Second")["A1"] = "second sheet"
    book.active = 1
    book.save(path)


def write_active_xls(path):
    book = xlwt.Workbook()
    book.add_sheet("First").write(0, 0, "first sheet")
    book.add_sheet("Second").write(0, 0, "second sheet")
    book.active_sheet = 1
    book.save(path)


# The mixed workbook: every kind of cell, formulas among them, on the second of three sheets, which is
# the one the workbook opens on. Column F holds more than ten formulas in a row.
MIXED = {
    "A": ["Over", 1, 2.5, -3, 1e-7, 123456.789, "\u00d8 10 \u00b5m \U0001d70b", " a "],
    "B": [True, False, 4, "=A2>0", 5],
    "C": [datetime.date(2020, 5, 17), datetime.time(8, 30), datetime.datetime(2021, 1, 2, 3, 4),
          ("=DATE(2020,1,1)", "yyyy-mm-dd"), 8, (0.25, "0.00%")],
    "D": ["=1/0", "=NA()", 9, "=A99+1"],
    "E": ["=A2*2", '="ab"&"cd"', "=A2<0", "=1/0", '=""', "=A3/4", "x"],
    "F": ["=ROW()*1.5"] * 12 + ["after"],
}


def write_mixed(directory):
    """Written by openpyxl without formula results, then calculated and saved as .xls and .xlsx by
    ssconvert, as a spreadsheet application saves them."""
    source = os.path.join(directory, "mixed-source.xlsx")
    book = openpyxl.Workbook()
    first = book.active
    first.title = "First"
    first["A1"] = "first sheet"
    table = book.create_sheet("Table")
    fill_xlsx(table, [(letter, row, cell) for letter, cells in MIXED.items() for row, cell in enumerate(cells, 1)])
    table["G1"] = "#N/A"
    table["G1"].data_type = "e"
    table["G2"] = 7
    book.create_sheet("Third")["A1"] = "third sheet"
    book.active = 1
    first.sheet_view.tabSelected = False
    table.sheet_view.tabSelected = True
    book.save(source)
    try:
        for name, exporter in (("mixed.xls", "Gnumeric_Excel:excel_biff8"), ("mixed.xlsx", "Gnumeric_Excel:xlsx"),
                               ("biff5.xls", "Gnumeric_Excel:excel_biff7")):
            subprocess.run(["ssconvert", "--recalc", "-T", exporter, source, os.path.join(directory, name)],
                           check=True, stderr=subprocess.DEVNULL)
    finally:
        os.remove(source)


def write_long_texts(path):
    """More text than one record holds, so the shared strings go on in continuation records, some of
    them breaking inside a text whose characters need two bytes (every second one is beyond Latin-1)."""
    book = xlwt.Workbook()
    sheet = book.add_sheet("Texts")
    for row in range(300):
        sheet.write(row, 0, f"{row:04d} " + ("\u0416" if row % 2 == 0 else "z") * (20 + row % 17))
    book.save(path)


def write_big(rows, path):
    """A header row, then rows of four distinct numbers, as a tolerance table grows."""
    table = [["Over", "Upto", "A value", "B value"]]
    table += [[i * 0.5, i * 0.5 + 0.5, 0.05 + i * 0.001, 0.1 + i * 0.002] for i in range(rows)]
    if path.endswith(".xlsx"):
        book = openpyxl.Workbook(write_only=True)
        sheet = book.create_sheet("Table")
        for values in table:
            sheet.append(values)
    else:
        book = xlwt.Workbook()
        sheet = book.add_sheet("Table")
        for row, values in enumerate(table):
            for column, value in enumerate(values):
                sheet.write(row, column, value)
    book.save(path)


def write_damaged(directory):
    for extension in ("xlsx", "xls"):
        with open(os.path.join(directory, f"layout.{extension}"), "rb") as whole:
            data = whole.read()
        with open(os.path.join(directory, f"truncated.{extension}"), "wb") as out:
            out.write(data[: len(data) // 2])
        open(os.path.join(directory, f"empty.{extension}"), "wb").close()
    with zipfile.ZipFile(os.path.join(directory, "nosheet.xlsx"), "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("readme.txt", "an archive without a workbook\n")
    with open(os.path.join(directory, "random.xls"), "wb") as out:
        out.write(random.Random(5).randbytes(4096))


def write_seeds(directory):
    """The cell kinds xlwt writes, as whole files and as the bare workbook streams inside them (which the
    fuzzer also reads without their container)."""
    book = xlwt.Workbook()
    sheet = book.add_sheet("Kinds")
    book.add_sheet("Other").write(0, 0, "other")
    for row, value in enumerate(["text", 2.5, 7, -123456, True, xlwt.Formula("A2*2"), "\u0416"]):
        sheet.write(row, 0, value)
    sheet.write(0, 1, datetime.date(2020, 5, 17), xlwt.easyxf(num_format_str="yyyy-mm-dd"))
    sheet.write_merge(1, 2, 1, 2, "merged")
    book.active_sheet = 0
    book.save(os.path.join(directory, "kinds.xls"))
    with open(os.path.join(directory, "kinds.biff"), "wb") as out:
        out.write(book.get_biff_data())
    write_active_xls(os.path.join(directory, "active.xls"))


def write_samples(directory):
    write_layout(directory)
    write_active_xlsx(os.path.join(directory, "active.xlsx"))
    write_active_xls(os.path.join(directory, "active.xls"))
    write_damaged(directory)
    write_mixed(directory)
    write_long_texts(os.path.join(directory, "texts.xls"))


def main(argv):
    if len(argv) == 3 and argv[1] in ("samples", "seeds"):
        (write_samples if argv[1] == "samples" else write_seeds)(argv[2])
    elif len(argv) == 4 and argv[1] == "big":
        write_big(int(argv[2]), argv[3])
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
