#!/usr/bin/python3
"""The peer of the search benchmark: a plain one-process script that walks a tree, opens each .docx
with zipfile, strips the tags of word/document.xml and runs a regular expression over the text.

  python_zip_search.py TREE WORD     prints "<documents> <hits> <seconds>"
"""
import os
import re
import sys
import time
import zipfile


def main():
    tree, word = sys.argv[1], sys.argv[2]
    tags = re.compile(rb"<[^>]+>")
    pattern = re.compile(re.escape(word), re.IGNORECASE)
    documents = hits = 0
    started = time.perf_counter()
    for folder, subfolders, files in os.walk(tree):
        subfolders.sort()
        for name in sorted(files):
            if not name.lower().endswith(".docx"):
                continue
            documents += 1
            with zipfile.ZipFile(os.path.join(folder, name)) as package:
                text = tags.sub(b"", package.read("word/document.xml")).decode("utf-8")
            if pattern.search(text):
                hits += 1
    print(documents, hits, "%.3f" % (time.perf_counter() - started))


if __name__ == "__main__":
    main()
