#!/usr/bin/python3
"""The office bridge of Quillbay+: a hidden LibreOffice with a private profile, driven through
UNO, offering the document operations of the program as JSON lines on standard input and
output. Each request is one JSON object with an "op"; each answer one JSON object with "ok"
and, on failure, "error". Only the main text of a document is read or changed, as in Word:
headers, footers, notes and text frames are left alone (a table's cells belong to the text).
"""
import ctypes
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import uuid

import uno
from com.sun.star.style.BreakType import PAGE_AFTER, PAGE_BEFORE
from office_common import FILTERS, connect, desktop_of, office_program, props, url

PR_SET_PDEATHSIG = 1
PROFILE_PREFIX = "quillbay-office-"


# Looked up before any fork: the child between fork and exec only calls it.
PRCTL = ctypes.CDLL(None, use_errno=True).prctl


def remove_orphaned_profiles():
    """Profiles of helpers that were killed before they could clean up: the helper's process
    number is in the name, and only profiles of ended helpers of this user are removed."""
    folder = tempfile.gettempdir()
    for name in os.listdir(folder):
        if not name.startswith(PROFILE_PREFIX):
            continue
        owner = name[len(PROFILE_PREFIX):].split("-")[0]
        path = os.path.join(folder, name)
        try:
            mine = os.stat(path).st_uid == os.getuid()
        except OSError:
            continue
        if mine and owner.isdigit() and not os.path.exists("/proc/" + owner):
            shutil.rmtree(path, ignore_errors=True)


def end_with_parent():
    # The office suite is killed by the kernel when this helper dies, however it dies.
    PRCTL(PR_SET_PDEATHSIG, signal.SIGKILL)


class Bridge:
    def __init__(self):
        remove_orphaned_profiles()
        self.profile = tempfile.mkdtemp(prefix="%s%d-" % (PROFILE_PREFIX, os.getpid()))
        self.pipe = "quillbay" + uuid.uuid4().hex
        self.program = office_program()
        self.process = None
        for number in (signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, self.end_office)
        try:
            self.desktop = self.connect()
        except Exception:
            self.stop_office()
            raise
        self.documents = {}
        self.pending = (None, [])

    def start_office(self):
        self.process = subprocess.Popen(
            [self.program, "--headless", "--invisible", "--nologo", "--norestore", "--nodefault", "--nolockcheck",
             "-env:UserInstallation=" + uno.systemPathToFileUrl(self.profile),
             "--accept=pipe,name=%s;urp;" % self.pipe],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env=dict(os.environ, SAL_ENABLE_FILE_LOCKING="1"), preexec_fn=end_with_parent)
        return self.process

    def connect(self):
        return desktop_of(connect(self.pipe, self.start_office))

    def stop_office(self):
        if self.process is not None:
            try:
                self.process.kill()
            except OSError:
                pass
        shutil.rmtree(self.profile, ignore_errors=True)

    def end_office(self, *_):
        self.stop_office()
        os._exit(1)

    def alive(self):
        """False once the office suite has ended or its connection is broken."""
        if self.process.poll() is not None:
            return False
        try:
            self.desktop.getComponents()
            return True
        except Exception:
            return False

    def close(self):
        for document in list(self.documents.values()):
            try:
                document.close(True)
            except Exception:
                pass
        try:
            self.desktop.terminate()
        except Exception:
            pass
        try:
            self.process.wait(timeout=15)
        except Exception:
            self.process.kill()
        shutil.rmtree(self.profile, ignore_errors=True)

    def load(self, path, **options):
        document = self.desktop.loadComponentFromURL(url(path), "_blank", 0, props(Hidden=True, **options))
        if document is None or not document.supportsService("com.sun.star.text.TextDocument"):
            if document is not None:
                document.close(True)
            raise RuntimeError("not a text document: " + path)
        key = uuid.uuid4().hex
        self.documents[key] = document
        return key

    def document(self, request):
        return self.documents[request["doc"]]

    @staticmethod
    def body_tables(document):
        names = set()
        elements = document.getText().createEnumeration()
        while elements.hasMoreElements():
            element = elements.nextElement()
            if element.supportsService("com.sun.star.text.TextTable"):
                names.add(element.getName())
        return names

    @staticmethod
    def in_main_text(hit, body_tables):
        """body_tables: gives the names of the body's tables (asked only for a hit in a cell)."""
        text = hit.getText()
        if text.getImplementationName() == "SwXBodyText":
            return True
        # A cell of a table of the body counts; header tables, frames and notes do not.
        if text.getImplementationName() == "SwXCell":
            try:
                return hit.TextTable.getName() in body_tables()
            except Exception:
                return False
        return False

    @staticmethod
    def word_text(text):
        """The text as Word's Content.Text gives it."""
        out = []
        paragraphs = text.createEnumeration()
        while paragraphs.hasMoreElements():
            element = paragraphs.nextElement()
            if element.supportsService("com.sun.star.text.TextTable"):
                rows = {}
                for name in element.getCellNames():
                    row = int("".join(ch for ch in name if ch.isdigit()) or 0)
                    rows.setdefault(row, []).append(name)
                for row in sorted(rows):
                    for name in rows[row]:
                        cell = element.getCellByName(name).getString().replace("\n", "\r")
                        out.append(cell + "\r\a")
                    out.append("\r\a")
            else:
                # The office suite keeps a manual page break as a mark of the paragraph after it,
                # Word as a form feed in the text.
                breaks = element.BreakType
                out.append(("\f" if breaks == PAGE_BEFORE else "") + element.getString().replace("\n", "\v") +
                           ("\f" if breaks == PAGE_AFTER else "") + "\r")
        return "".join(out)

    def hits(self, document, request):
        descriptor = document.createSearchDescriptor()
        descriptor.SearchString = request["regex"]
        descriptor.SearchRegularExpression = True
        descriptor.SearchCaseSensitive = bool(request.get("caseSensitive", False))
        found = document.findAll(descriptor)
        tables = []

        def body_tables():
            if not tables:
                tables.append(self.body_tables(document))
            return tables[0]

        return [hit for hit in (found.getByIndex(index) for index in range(found.getCount()))
                if self.in_main_text(hit, body_tables)]

    def handle(self, request):
        op = request["op"]
        if op == "ping":
            return {}
        if op == "open":
            return {"doc": self.load(request["path"], ReadOnly=bool(request.get("readOnly", False)))}
        if op == "add":
            return {"doc": self.load(request["template"], AsTemplate=True)}
        if op == "text":
            return {"text": self.word_text(self.document(request).getText())}
        if op == "find":
            return {"found": len(self.hits(self.document(request), request)) > 0}
        if op == "hits":
            document = self.document(request)
            self.pending = (request["doc"], self.hits(document, request))
            return {"hits": [hit.getString() for hit in self.pending[1]]}
        if op == "replaceHits":
            key, hits = self.pending
            if key != request["doc"]:
                raise RuntimeError("no hits of this document are pending")
            replacements = request["replacements"]
            for hit, replacement in reversed(list(zip(hits, replacements))):
                hit.setString(replacement)
            self.pending = (None, [])
            return {"count": min(len(hits), len(replacements))}
        if op == "append":
            document = self.document(request)
            text = document.getText()
            cursor = text.createTextCursor()
            cursor.gotoEnd(False)
            from com.sun.star.text.ControlCharacter import PARAGRAPH_BREAK
            text.insertControlCharacter(cursor, PARAGRAPH_BREAK, False)
            cursor.BreakType = PAGE_BEFORE
            lines = request["text"].replace("\a", "").rstrip("\r").split("\r")
            for number, line in enumerate(lines):
                if number:
                    text.insertControlCharacter(cursor, PARAGRAPH_BREAK, False)
                text.insertString(cursor, line.replace("\v", "\n"), False)
            return {}
        if op == "save":
            self.document(request).store()
            return {}
        if op == "saveAs":
            path = request["path"]
            extension = os.path.splitext(path)[1].lower()
            document = self.document(request)
            if extension == ".pdf":
                document.storeToURL(url(path), props(FilterName=FILTERS[".pdf"]))
            else:
                document.storeAsURL(url(path), props(FilterName=FILTERS.get(extension, "MS Word 2007 XML"),
                                                     Overwrite=True))
            return {}
        if op == "close":
            document = self.documents.pop(request["doc"], None)
            if document is not None:
                document.close(True)
            return {}
        if op == "convert":
            key = self.load(request["from"], ReadOnly=True)
            try:
                target = request["to"]
                extension = os.path.splitext(target)[1].lower()
                self.documents[key].storeToURL(url(target), props(FilterName=FILTERS.get(extension, "writer8"),
                                                                  Overwrite=True))
            finally:
                self.documents.pop(key).close(True)
            return {}
        raise RuntimeError("unknown operation " + op)


def main():
    try:
        bridge = Bridge()
    except Exception as error:
        sys.stdout.write(json.dumps({"ok": False, "error": str(error)}) + "\n")
        sys.stdout.flush()
        return 1
    sys.stdout.write(json.dumps({"ok": True, "ready": True}) + "\n")
    sys.stdout.flush()
    for line in sys.stdin:
        if not line.strip():
            continue
        fatal = False
        try:
            request = json.loads(line)
            if request.get("op") == "quit":
                break
            answer = bridge.handle(request)
            answer["ok"] = True
        except Exception as error:
            answer = {"ok": False, "error": "%s: %s" % (type(error).__name__, error)}
            # A step that failed because the office suite crashed ends this helper: the client
            # waits for the end and starts a fresh helper on the next use.
            fatal = not bridge.alive()
            if fatal:
                answer["fatal"] = True
        sys.stdout.write(json.dumps(answer) + "\n")
        sys.stdout.flush()
        if fatal:
            break
    bridge.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
