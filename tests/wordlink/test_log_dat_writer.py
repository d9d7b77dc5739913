#!/usr/bin/python3
"""The document log's writer (tools/log-extension/log_dat_writer.py), outside the office suite."""
import fcntl
import multiprocessing
import os
import sys
import tempfile
import unittest
import unittest.mock

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "log-extension"))
import log_dat_writer as writer  # noqa: E402

SEP = "\u0081"


def lines_of(folder):
    with open(os.path.join(folder, "Log.Dat"), "rb") as log:
        data = log.read()
    assert data.endswith(b"\r\n"), data[-10:]
    return data.decode("utf-8").split("\r\n")[:-1]


def append_many(folder, writer_number):
    for number in range(12):
        assert writer.append_record(folder, "/w%d/%03d.doc" % (writer_number, number) + SEP * 4)


class LogDatWriterTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.log = os.path.join(self.folder, "Log.Dat")

    def test_records_keepTheNewest50_andAnOldWindows1252LogIsWrittenAgainAsUtf8(self):
        path = os.path.join(self.folder, "Brief für Ann.docx")
        with open(path, "wb") as out:
            out.write(b"x" * 1025)
        fields = writer.record(path).split(SEP)
        self.assertEqual((len(fields), fields[0], fields[4]), (5, path, "2"))  # whole kilobytes, rounded up
        with open(self.log, "wb") as out:
            out.write(b"".join(b"/old/%02d.doc\x81a\x81b\x81c\x814\r\n" % n for n in range(59)))
            out.write(b"/docs/Caf\xe9 \x80.doc\x81a\x81b\x81c\x814\r\n\r\n")
        writer.append_record(self.folder, "/new.doc" + SEP * 4)
        lines = lines_of(self.folder)
        self.assertEqual(len(lines), 50)  # blank lines go too
        self.assertEqual(lines[0].split(SEP)[0], "/old/11.doc")
        self.assertEqual(lines[-2], "/docs/Café €.doc" + SEP + "a" + SEP + "b" + SEP + "c" + SEP + "4")
        self.assertEqual(lines[-1], "/new.doc" + SEP * 4)

    def test_writersAtTheSameTime_loseNoRecord_andALockHeldTooLongLeavesTheRecordOut(self):
        processes = [multiprocessing.Process(target=append_many, args=(self.folder, n)) for n in range(4)]
        for process in processes:
            process.start()
        for process in processes:
            process.join(60)
            self.assertEqual(process.exitcode, 0)
        lines = lines_of(self.folder)
        self.assertEqual(len(set(lines)), 48)
        for number in range(4):
            own = [line.split(SEP)[0] for line in lines if line.startswith("/w%d/" % number)]
            self.assertEqual(own, ["/w%d/%03d.doc" % (number, n) for n in range(12)])
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".Log.Dat.")], [])

        waited, writer.LOCK_WAIT = writer.LOCK_WAIT, 0.2
        try:
            with open(self.log + ".lock", "a") as lock:
                fcntl.flock(lock, fcntl.LOCK_EX)
                self.assertFalse(writer.append_record(self.folder, "/late.doc" + SEP * 4))
        finally:
            writer.LOCK_WAIT = waited
        self.assertEqual(len(lines_of(self.folder)), 48)

    def test_anOpenedDocument_isRecordedOnlyWhenItIsAWordDocument(self):
        class Named:
            def __init__(self, name, value):
                self.Name, self.Value = name, value

        class Model:
            def __init__(self, path):
                self.path = path

            def getLocation(self):
                return "file://" + self.path

        with unittest.mock.patch.dict(os.environ, {"QUILLBAY_APP_FOLDER": self.folder}):
            for name in ("Notes.odt", "Offer.DOCX", "Sheet.xlsx"):
                path = os.path.join(self.folder, name)
                open(path, "wb").close()
                writer.LogDatWriter(None).execute([Named("Environment", [Named("Model", Model(path))])])
        recorded = [line.split(SEP)[0] for line in lines_of(self.folder)]
        self.assertEqual(recorded, [os.path.join(self.folder, "Offer.DOCX")])


if __name__ == "__main__":
    unittest.main()
