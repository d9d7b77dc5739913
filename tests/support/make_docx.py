#!/usr/bin/python3
"""Word documents for the tests, made with python-docx.

  make_docx.py letter OUT     tokens in the body, one split over three runs of other formats and
                              spell-check marks, one bold, one in a table, one in the header,
                              a tab, a page break, a picture, a field
  make_docx.py plain OUT TEXT one paragraph per "|"-separated piece of TEXT
  make_docx.py pages OUT N    a letter of about N pages with twelve tokens, a table and a picture
  make_docx.py template OUT   the letter saved as a Word template (.dotx)
  make_docx.py fastest OUT    the letter with every entry compressed at zlib's fastest level, which
                              no other writer uses, so that an entry compressed anew shows
"""
import base64
import copy
import io
import os
import sys
import zipfile

import docx
from docx.enum.text import WD_BREAK
from docx.oxml import OxmlElement
from docx.oxml.ns import qn
from docx.shared import Pt

PNG = base64.b64decode(
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAFklEQVR4nGP8z8DAwMDAxMDAwMDAAAANHQEDasKb6QAAAABJRU5ErkJggg==")


def split_token(paragraph, pieces, bold_middle=True):
    """A token written in several runs, as Word leaves it after spell-checking and editing."""
    for index, piece in enumerate(pieces):
        if index:
            mark = OxmlElement("w:proofErr")
            mark.set(qn("w:type"), "spellStart" if index == 1 else "spellEnd")
            paragraph._p.append(mark)
        run = paragraph.add_run(piece)
        run.bold = bold_middle and index == 1
        if index == 2:
            run.italic = True


def add_field(paragraph, code, result):
    def fld(kind):
        element = OxmlElement("w:fldChar")
        element.set(qn("w:fldCharType"), kind)
        run = paragraph.add_run()
        run._r.append(element)

    fld("begin")
    instruction = OxmlElement("w:instrText")
    instruction.text = code
    run = paragraph.add_run()
    run._r.append(instruction)
    fld("separate")
    paragraph.add_run(result)
    fld("end")


def letter():
    document = docx.Document()
    document.sections[0].header.paragraphs[0].text = "Header for [[FirstName]]"
    first = document.add_paragraph("Dear ")
    split_token(first, ["[[First", "Na", "me]]"])
    first.add_run(",")
    second = document.add_paragraph()
    run = second.add_run("[[CompanyName]]")
    run.bold = True
    second.add_run("\tis at [[Business-City]]; see [[WebPage]] or [[webpage]].")
    table = document.add_table(rows=2, cols=2)
    table.cell(0, 0).text = "Name"
    table.cell(0, 1).text = "[[LastName]]"
    table.cell(1, 0).text = "Mail"
    table.cell(1, 1).text = "[[Email1Address]]"
    third = document.add_paragraph("Date: ")
    add_field(third, " DATE \\@ \"d MMMM yyyy\" ", "1 March 2026")
    document.add_paragraph().add_run().add_picture(io.BytesIO(PNG), width=Pt(20))
    document.add_paragraph("Kind regards, the Quillbay club").runs[0].add_break(WD_BREAK.PAGE)
    document.add_paragraph("Second page for [[FirstName]].")
    return document


def pages(count):
    document = docx.Document()
    tokens = ["[[FirstName]]", "[[LastName]]", "[[Job-Title]]", "[[CompanyName]]", "[[Business-Street]]",
              "[[Business-City]]", "[[Business-State]]", "[[Business-Zip]]", "[[Business-Country]]",
              "[[Business-Phone]]", "[[Email1Address]]", "[[WebPage]]"]
    head = document.add_paragraph()
    split_token(head, ["[[First", "Na", "me]]"])
    head.add_run(" " + " ".join(tokens[1:5]))
    for token in tokens[5:9]:
        split_token(document.add_paragraph("Address: "), [token[:4], token[4:-3], token[-3:]], bold_middle=False)
    table = document.add_table(rows=3, cols=2)
    for row, token in enumerate(tokens[9:]):
        table.cell(row, 0).text = token.strip("[]")
        table.cell(row, 1).text = token
    document.add_paragraph().add_run().add_picture(io.BytesIO(PNG), width=Pt(60))
    filler = ("The club thanks every member for a year of letters, meetings and walks. " * 6).strip()
    for page in range(count):
        for _ in range(9):
            document.add_paragraph(filler)
        if page + 1 < count:
            document.add_paragraph().add_run().add_break(WD_BREAK.PAGE)
    return document


def rezip(document, out, transform=lambda name, data: data, level=None):
    buffer = io.BytesIO()
    document.save(buffer)
    with zipfile.ZipFile(io.BytesIO(buffer.getvalue())) as source, zipfile.ZipFile(out, "w",
                                                                                  zipfile.ZIP_DEFLATED) as target:
        for item in source.infolist():
            target.writestr(item, transform(item.filename, source.read(item.filename)), compresslevel=level)


def as_template(name, data):
    if name == "[Content_Types].xml":
        return data.replace(b"wordprocessingml.document.main+xml", b"wordprocessingml.template.main+xml")
    return data


def main():
    kind, out = sys.argv[1], sys.argv[2]
    os.makedirs(os.path.dirname(os.path.abspath(out)), exist_ok=True)
    if kind == "letter":
        letter().save(out)
    elif kind == "plain":
        document = docx.Document()
        for piece in sys.argv[3].split("|"):
            document.add_paragraph(piece)
        document.save(out)
    elif kind == "pages":
        pages(int(sys.argv[3])).save(out)
    elif kind == "template":
        rezip(letter(), out, as_template)
    elif kind == "fastest":
        rezip(letter(), out, level=1)
    else:
        raise SystemExit("unknown kind " + kind)


if __name__ == "__main__":
    main()
