"""The writer of Quillbay+'s document log: each time the office suite has opened a Word document
(.doc, .docx, .rtf), one record is added to "Log.Dat" in Quillbay+'s application folder, and the
file keeps the newest 50 records.

A record is one line ended by CR LF: the document's full path, the times of its last access,
last change and creation (the time of its last status change where the file system keeps no
creation time), and its size in KB, joined by the character U+0081. The file is UTF-8; an older
file that is not is read as Windows-1252 and written again as UTF-8, so the reader, which takes
the whole file in one of the two, sees every record.

The job never holds up the office suite: the file is locked only to rewrite it, a lock held by
another writer is waited for at most two seconds (the record is then left out), and any failure
is swallowed. Two writers at once cannot corrupt the file: each writes a complete new file
under the lock and renames it over the old one.
"""
import fcntl
import os
import tempfile
import time

import uno
import unohelper
from com.sun.star.task import XJob

SEPARATOR = "\u0081"
KEEP = 50
EXTENSIONS = (".doc", ".docx", ".rtf")
LOCK_WAIT = 2.0
TIME_FORMAT = "%d/%m/%Y %H:%M:%S"
# The five bytes that Windows-1252 leaves undefined keep their control characters.
UNDEFINED_1252 = {0x81: "\u0081", 0x8D: "\u008d", 0x8F: "\u008f", 0x90: "\u0090", 0x9D: "\u009d"}


def application_folder():
    """The program's own session passes its folder; the user's office suite uses the default."""
    folder = os.environ.get("QUILLBAY_APP_FOLDER")
    if folder:
        return folder
    data = os.environ.get("XDG_DATA_HOME") or os.path.join(os.path.expanduser("~"), ".local", "share")
    return os.path.join(data, "Quillbay")


def decode(data):
    try:
        return data.decode("utf-8-sig")
    except UnicodeDecodeError:
        return "".join(UNDEFINED_1252.get(byte) or bytes([byte]).decode("cp1252") for byte in data)


def record(path):
    info = os.stat(path)
    stamp = lambda seconds: time.strftime(TIME_FORMAT, time.localtime(seconds))
    size = (info.st_size + 1023) // 1024
    return SEPARATOR.join([path, stamp(info.st_atime), stamp(info.st_mtime), stamp(info.st_ctime), str(size)])


def append_record(folder, line, keep=KEEP):
    """Adds the line to Log.Dat in the folder, keeping the newest `keep` lines. False when the
    lock could not be had in time."""
    os.makedirs(folder, exist_ok=True)
    log = os.path.join(folder, "Log.Dat")
    with open(os.path.join(folder, "Log.Dat.lock"), "a") as lock:
        deadline = time.monotonic() + LOCK_WAIT
        while True:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                break
            except BlockingIOError:
                if time.monotonic() > deadline:
                    return False
                time.sleep(0.02)
        try:
            with open(log, "rb") as current:
                old = decode(current.read())
        except FileNotFoundError:
            old = ""
        lines = [item for item in old.replace("\r\n", "\n").replace("\r", "\n").split("\n") if item]
        lines = (lines + [line])[-keep:]
        handle, temporary = tempfile.mkstemp(prefix=".Log.Dat.", dir=folder)
        try:
            with os.fdopen(handle, "wb") as out:
                out.write("".join(item + "\r\n" for item in lines).encode("utf-8"))
                out.flush()
                os.fsync(out.fileno())
            os.replace(temporary, log)
        except BaseException:
            os.unlink(temporary)
            raise
    return True


def document_path(arguments):
    """The local path of the document the event is about, "" for none."""
    for argument in arguments:
        if argument.Name != "Environment":
            continue
        for value in argument.Value:
            if value.Name == "Model" and value.Value is not None:
                location = value.Value.getLocation() if hasattr(value.Value, "getLocation") else ""
                if location.startswith("file:"):
                    return uno.fileUrlToSystemPath(location)
    return ""


class LogDatWriter(unohelper.Base, XJob):
    def __init__(self, context):
        self.context = context

    def execute(self, arguments):
        try:
            path = document_path(arguments)
            if path and os.path.splitext(path)[1].lower() in EXTENSIONS:
                append_record(application_folder(), record(path))
        except Exception:
            pass
        return None


g_ImplementationHelper = unohelper.ImplementationHelper()
g_ImplementationHelper.addImplementation(LogDatWriter, "org.quillbay.LogDatWriter", ("com.sun.star.task.Job",))
