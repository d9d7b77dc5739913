#!/usr/bin/python3
"""The python-docx peer of the postal merge benchmark: the same letters, made by replacing the
tokens in the text of each run (tokens split over runs are merged paragraph by paragraph, as a
careful script must). Usage: python_docx_merge.py TEMPLATE CONTACTS.tsv FOLDER; prints the
count and the seconds it took."""
import csv
import os
import sys
import time

import docx

FIELDS = ["Email1Address", "FirstName", "LastName", "Job-Title", "CompanyName", "Business-Street",
          "Business-City", "Business-State", "Business-Zip", "Business-Country", "Business-Phone",
          "Business-Fax", "WebPage"]


def paragraphs(document):
    for paragraph in document.paragraphs:
        yield paragraph
    for table in document.tables:
        for row in table.rows:
            for cell in row.cells:
                yield from cell.paragraphs


def merge(template, values, out):
    document = docx.Document(template)
    for paragraph in paragraphs(document):
        text = "".join(run.text for run in paragraph.runs)
        if "[[" not in text:
            continue
        for field, value in zip(FIELDS, values):
            text = text.replace("[[" + field + "]]", value)
        runs = paragraph.runs
        runs[0].text = text
        for run in runs[1:]:
            run.text = ""
    document.save(out)


def main():
    template, contacts, folder = sys.argv[1:4]
    with open(contacts, newline="") as stream:
        rows = list(csv.reader(stream, delimiter="\t"))
    start = time.perf_counter()
    for number, row in enumerate(rows, 1):
        merge(template, row, os.path.join(folder, "Quillbay+%d.docx" % number))
    print(len(rows), "%.3f" % (time.perf_counter() - start))


if __name__ == "__main__":
    main()
