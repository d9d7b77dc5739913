#!/usr/bin/python3
"""Word documents for the tests, made with python-docx.

  make_docx.py letter OUT     tokens in the body, one split over three runs of other formats and
                              spell-check marks, one bold, one in a table, one in the header,
                              a tab, a page break, a picture, a field
  make_docx.py plain OUT TEXT one paragraph per "|"-separated piece of TEXT
  make_docx.py pages OUT N    a letter of about N pages with twelve tokens, a table and a picture
  make_docx.py template OUT   the letter saved as a Word template (.dotx)
"""
import base64
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
TOKENS = ["[[FirstName]]", "[[LastName]]", "[[Job-Title]]", "[[CompanyName]]", "[[Business-Street]]",
          "[[Business-City]]", "[[Business-State]]", "[[Business-Zip]]", "[[Business-Country]]",
          "[[Business-Phone]]", "[[Email1Address]]", "[[WebPage]]"]


def element(name, **attributes):
    made = OxmlElement(name)
    for key, value in attributes.items():
        made.set(qn("w:" + key), value)
    return made


def split_token(paragraph, pieces, bold_middle=True):
    """A token written in three runs, as Word leaves it after spell-checking and editing."""
    for index, piece in enumerate(pieces):
        if index:
            paragraph._p.append(element("w:proofErr", type="spellStart" if index == 1 else "spellEnd"))
        run = paragraph.add_run(piece)
        run.bold = bold_middle and index == 1
        run.italic = index == 2 or None


def add_field(paragraph, code, result):
    instruction = element("w:instrText")
    instruction.text = code
    for child in (element("w:fldChar", fldCharType="begin"), instruction, element("w:fldChar", fldCharType="separate")):
        paragraph.add_run()._r.append(child)
    paragraph.add_run(result)
    paragraph.add_run()._r.append(element("w:fldChar", fldCharType="end"))


def add_table(document, cells):
    table = document.add_table(rows=len(cells), cols=2)
    for row, (label, token) in enumerate(cells):
        table.cell(row, 0).text = label
        table.cell(row, 1).text = token


def letter():
    document = docx.Document()
    document.sections[0].header.paragraphs[0].text = "Header for [[FirstName]]"
    first = document.add_paragraph("Dear ")
    split_token(first, ["[[First", "Na", "me]]"])
    first.add_run(",")
    second = document.add_paragraph()
    second.add_run("[[CompanyName]]").bold = True
    second.add_run("\tis at [[Business-City]]; see [[WebPage]] or [[webpage]].")
    add_table(document, [("Name", "[[LastName]]"), ("Mail", "[[Email1Address]]")])
    add_field(document.add_paragraph("Date: "), " DATE \\@ \"d MMMM yyyy\" ", "1 March 2026")
    document.add_paragraph().add_run().add_picture(io.BytesIO(PNG), width=Pt(20))
    document.add_paragraph("Kind regards, the Quillbay club").runs[0].add_break(WD_BREAK.PAGE)
    document.add_paragraph("Second page for [[FirstName]].")
    return document


def pages(count):
    document = docx.Document()
    head = document.add_paragraph()
    split_token(head, ["[[First", "Na", "me]]"])
    head.add_run(" " + " ".join(TOKENS[1:5]))
    for token in TOKENS[5:9]:
        split_token(document.add_paragraph("Address: "), [token[:4], token[4:-3], token[-3:]], bold_middle=False)
    add_table(document, [(token.strip("[]"), token) for token in TOKENS[9:]])
    document.add_paragraph().add_run().add_picture(io.BytesIO(PNG), width=Pt(60))
    filler = ("The club thanks every member for a year of letters, meetings and walks. " * 6).strip()
    for page in range(count):
        for _ in range(9):
            document.add_paragraph(filler)
        if page + 1 < count:
            document.add_paragraph().add_run().add_break(WD_BREAK.PAGE)
    return document


def rezip(document, out):
    """The document written again entry by entry as a template."""
    buffer = io.BytesIO()
    document.save(buffer)
    with zipfile.ZipFile(buffer) as source, zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as target:
        for item in source.infolist():
            data = source.read(item.filename)
            if item.filename == "[Content_Types].xml":
                data = data.replace(b"wordprocessingml.document.main+xml", b"wordprocessingml.template.main+xml")
            target.writestr(item, data)


def main():
    kind, out, extra = sys.argv[1], sys.argv[2], sys.argv[3:]
    os.makedirs(os.path.dirname(os.path.abspath(out)), exist_ok=True)
    if kind == "plain":
        document = docx.Document()
        for piece in extra[0].split("|"):
            document.add_paragraph(piece)
        document.save(out)
    elif kind in ("letter", "pages"):
        (letter() if kind == "letter" else pages(int(extra[0]))).save(out)
    elif kind == "template":
        rezip(letter(), out)
    else:
        raise SystemExit("unknown kind " + kind)


if __name__ == "__main__":
    main()
