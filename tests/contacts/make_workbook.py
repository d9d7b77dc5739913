#!/usr/bin/python3
"""Makes the workbooks the spreadsheet tests read: make_workbook.py KIND PATH [ARGUMENTS]

xlsx PATH           numbers, dates and booleans through openpyxl: five worksheets and a chart sheet
raw PATH            an .xlsx written part by part: rich and inline strings, formulas, escapes
xls PATH [--1904]   the same contacts as a BIFF .xls through xlwt
broken DIR          damaged packages, and one whose only sheet is a chart sheet
big PATH ROWS COLS  a plain sheet of ROWS contacts with COLS columns
"""
import datetime
import sys
import zipfile

CONTACTS = [
    ("Name", "Email", "Company", "Amount", "Joined"),
    ("Ann", "ann@example.com", "Acme", 12, datetime.date(2024, 1, 15)),
    ("Björn", "bjorn@example.com", "Nord, AB", 0.1, datetime.date(1999, 12, 31)),
    ("Cy", "cy@example.com", None, 1234567.5, None),
]


def make_xlsx(path):
    import openpyxl
    from openpyxl.chart import BarChart, Reference

    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Contacts"
    for row in CONTACTS:
        sheet.append(row)
    for row in sheet.iter_rows(min_row=2, min_col=5, max_col=5):
        row[0].number_format = "m/d/yyyy"
    values = book.create_sheet("Values")
    cases = [("integer", 12), ("tenth", 0.1), ("sum", 0.1 + 0.2), ("third", 1 / 3), ("huge", 1e20),
             ("tiny", -2.5e-7), ("negative", -42.0), ("true", True), ("false", False)]
    for label, value in cases:
        values.append((label, value))
    dated = [
        ("builtin", datetime.datetime(2024, 1, 15, 0, 0), "m/d/yyyy"),
        ("long", datetime.datetime(2024, 1, 15), "dddd, dd mmmm yyyy"),
        ("clock", datetime.datetime(2024, 1, 15, 14, 5, 9), "h:mm AM/PM"),
        ("stamp", datetime.datetime(2024, 1, 15, 14, 5, 9), "yyyy-mm-dd hh:mm:ss"),
        ("minutes", datetime.datetime(2024, 1, 15, 14, 5, 9), "mm:ss"),
        ("quoted", 45306, '0 "days"'),
        ("bracket", 45306, '[Red]0.00;[Blue]-0.00'),
        ("escaped", datetime.datetime(2024, 3, 1), '"Due" d\\.m\\.yy'),
        ("percent", 0.25, "0%"),
    ]
    for label, value, number_format in dated:
        values.append((label, value))
        values.cell(row=values.max_row, column=2).number_format = number_format
    offset = book.create_sheet("Offset")
    offset["C3"] = "Email"
    offset["D3"] = "Name"
    offset["C4"] = "dee@example.com"
    offset["D4"] = "Dee"
    offset["A1"].number_format = "0.00"  # formatted, with no value
    book.create_sheet("Single")["A1"] = "alone"
    book.create_sheet("Empty")
    chart = BarChart()
    chart.add_data(Reference(values, min_col=2, min_row=1, max_row=3))
    book.create_chartsheet("Chart").add_chart(chart)
    book.save(path)


RAW_PARTS = {
    "[Content_Types].xml": """<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="xml" ContentType="application/xml"/>
</Types>""",
    "_rels/.rels": """<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="book/main.xml"/>
</Relationships>""",
    "book/main.xml": """<x:workbook xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:rel="http://schemas.openxmlformats.org/officeDocument/2006/relationships">
<x:workbookPr date1904="true"/>
<x:sheets><x:sheet name="Raw &amp; Rich" sheetId="7" rel:id="rIdS"/></x:sheets>
</x:workbook>""",
    "book/_rels/main.xml.rels": """<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rIdS" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="/book/sheets/one.xml"/>
<Relationship Id="rIdT" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings" Target="strings.xml"/>
<Relationship Id="rIdY" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="../book/styles.xml"/>
</Relationships>""",
    "book/strings.xml": """<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" count="4" uniqueCount="4">
<si><t>Name</t></si>
<si><r><rPr><b/></rPr><t xml:space="preserve">Mary </t></r><r><t>Ann</t></r><rPh sb="0" eb="1"><t>PHONETIC</t></rPh></si>
<si><t>Line_x000D__x000A_Two_x005F_x0041_</t></si>
<si><t xml:space="preserve"> </t></si>
</sst>""",
    "book/styles.xml": """<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">
<numFmts count="1"><numFmt numFmtId="170" formatCode="yyyy\\-mm\\-dd"/></numFmts>
<cellXfs count="3"><xf numFmtId="0"/><xf numFmtId="170"/><xf numFmtId="14"/></cellXfs>
</styleSheet>""",
    "book/sheets/one.xml": """<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">
<dimension ref="A1:Z99"/>
<sheetData>
<row r="1"><c r="A1" t="s"><v>0</v></c><c t="inlineStr"><is><t>Tab_x0009_bed</t></is></c><c t="str"><f>A1&amp;"!"</f><v>Name!</v></c></row>
<row><c t="s"><v>1</v></c><c><f>1+1</f><v>2</v></c><c t="b"><v>1</v></c><c r="E2" s="1"><v>0</v></c><c r="D2"><v>7</v></c><c r="D2"><v>8</v></c></row>
<row r="4"><c r="A4"><v>0.30000000000000004</v></c><c r="B4" t="s"><v>2</v></c><c t="e"><f>1/0</f><v>#DIV/0!</v></c><c s="2"><v>366</v></c><c r="F4" t="s"><v>3</v></c></row>
</sheetData>
</worksheet>""",
}


def make_raw(path):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as package:
        for name, text in RAW_PARTS.items():
            package.writestr(name, text.encode("utf-8"))


def make_broken(folder):
    sheet = RAW_PARTS["book/sheets/one.xml"]
    damaged = {
        "bad_string.xlsx": sheet.replace('<c r="B4" t="s"><v>2</v>', '<c r="B4" t="s"><v>99</v>'),
        "bad_row.xlsx": sheet.replace('<row r="4">', '<row r="1048577">'),
        "bad_xml.xlsx": sheet.replace("</sheetData>", ""),
    }
    for name, text in damaged.items():
        with zipfile.ZipFile(folder + "/" + name, "w") as package:
            for part, content in RAW_PARTS.items():
                package.writestr(part, (text if part == "book/sheets/one.xml" else content).encode("utf-8"))
    with zipfile.ZipFile(folder + "/no_workbook.xlsx", "w") as package:
        package.writestr("word/document.xml", "<document/>")
    # A workbook whose one sheet is a chart sheet: it has no worksheet to list.
    with zipfile.ZipFile(folder + "/no_sheets.xlsx", "w") as package:
        for part, content in RAW_PARTS.items():
            if part == "book/_rels/main.xml.rels":
                content = content.replace("relationships/worksheet", "relationships/chartsheet")
            package.writestr(part, content.encode("utf-8"))


def make_xls(path, date1904):
    import xlwt

    book = xlwt.Workbook(encoding="utf-8")
    book.dates_1904 = date1904
    sheet = book.add_sheet("People")
    dated = xlwt.easyxf(num_format_str="DD-MMM-YYYY")
    stamped = xlwt.easyxf(num_format_str="YYYY-MM-DD HH:MM")
    for r, row in enumerate(CONTACTS):
        for c, value in enumerate(row):
            if value is None:
                continue
            if isinstance(value, datetime.date):
                sheet.write(r, c, value, dated)
            else:
                sheet.write(r, c, value)
    sheet.write(1, 5, datetime.datetime(2024, 1, 15, 14, 5), stamped)
    sheet.write(2, 5, 1 / 3)
    sheet.write(3, 5, 1e20)
    other = book.add_sheet("Second")
    other.write(2, 1, "Email")
    other.write(3, 1, "eve@example.com")
    book.save(path)


def make_big(path, rows, columns):
    import openpyxl

    book = openpyxl.Workbook(write_only=True)
    sheet = book.create_sheet("Contacts")
    names = ["Email", "First Name", "Last Name", "Company", "Phone", "Amount"]
    names += ["Column %d" % c for c in range(len(names) + 1, columns + 1)]
    sheet.append(names[:columns])
    for r in range(1, rows + 1):
        row = ["person%d@example.com" % r, "First%d" % r, "Last%d" % r, "Company %d" % (r % 97), r * 1000 + 7,
               r / 8]
        row += ["value %d-%d" % (r, c) for c in range(len(row) + 1, columns + 1)]
        sheet.append(row[:columns])
    book.save(path)


if __name__ == "__main__":
    kind, target, date1904 = sys.argv[1], sys.argv[2], "--1904" in sys.argv
    makers = {
        "xlsx": lambda: make_xlsx(target),
        "raw": lambda: make_raw(target),
        "xls": lambda: make_xls(target, date1904),
        "broken": lambda: make_broken(target),
        "big": lambda: make_big(target, int(sys.argv[3]), int(sys.argv[4])),
    }
    if kind not in makers:
        sys.exit("unknown kind " + kind)
    makers[kind]()
