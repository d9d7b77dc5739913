#!/usr/bin/python3
"""The document log's writer (tools/log-extension/log_dat_writer.py), outside the office suite:
the records it appends, the 50 it keeps, an old file in Windows-1252, and writers that append
at the same time."""
import multiprocessing
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "log-extension"))
import log_dat_writer as writer  # noqa: E402

SEP = "\u0081"


def lines_of(folder):
    with open(os.path.join(folder, "Log.Dat"), "rb") as log:
        data = log.read()
    assert data.endswith(b"\r\n"), data[-10:]
    return data.decode("utf-8").split("\r\n")[:-1]


def append_many(folder, writer_number, count):
    for number in range(count):
        assert writer.append_record(folder, "/w%d/%03d.doc%s1%s2%s3%s4" % (writer_number, number, SEP, SEP, SEP, SEP))


class LogDatWriterTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()

    def test_record_hasFiveFields_pathFirst_sizeInWholeKilobytes(self):
        path = os.path.join(self.folder, "Brief für Ann.docx")
        with open(path, "wb") as out:
            out.write(b"x" * 1025)
        fields = writer.record(path).split(SEP)
        self.assertEqual(len(fields), 5)
        self.assertEqual(fields[0], path)
        self.assertEqual(fields[4], "2")
        self.assertTrue(all(fields[1:4]))

    def test_theNewest50_areKept_inTheirOrder_andBlankLinesGo(self):
        with open(os.path.join(self.folder, "Log.Dat"), "wb") as out:
            out.write(b"".join(b"/old/%02d.doc\xc2\x81a\xc2\x81b\xc2\x81c\xc2\x814\r\n\r\n" % n for n in range(60)))
        writer.append_record(self.folder, "/new.doc" + SEP * 4)
        lines = lines_of(self.folder)
        self.assertEqual(len(lines), 50)
        self.assertEqual(lines[0].split(SEP)[0], "/old/11.doc")
        self.assertEqual(lines[-2].split(SEP)[0], "/old/59.doc")
        self.assertEqual(lines[-1], "/new.doc" + SEP * 4)

    def test_anOldWindows1252File_isWrittenAgainAsUtf8(self):
        with open(os.path.join(self.folder, "Log.Dat"), "wb") as out:
            out.write(b"/docs/Caf\xe9 \x80.doc\x81a\x81b\x81c\x814\r\n")
        writer.append_record(self.folder, "/docs/Ünïcode.doc" + SEP + "a" + SEP + "b" + SEP + "c" + SEP + "1")
        lines = lines_of(self.folder)
        self.assertEqual(lines[0], "/docs/Café €.doc" + SEP + "a" + SEP + "b" + SEP + "c" + SEP + "4")
        self.assertEqual(lines[1].split(SEP)[0], "/docs/Ünïcode.doc")

    def test_writersAtTheSameTime_loseNoRecord_andLeaveAWholeFile(self):
        processes = [multiprocessing.Process(target=append_many, args=(self.folder, n, 12)) for n in range(4)]
        for process in processes:
            process.start()
        for process in processes:
            process.join(60)
            self.assertEqual(process.exitcode, 0)
        lines = lines_of(self.folder)
        self.assertEqual(len(lines), 48)
        self.assertEqual(len(set(lines)), 48)
        for number in range(4):
            own = [line.split(SEP)[0] for line in lines if line.startswith("/w%d/" % number)]
            self.assertEqual(own, ["/w%d/%03d.doc" % (number, n) for n in range(12)])
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".Log.Dat.")], [])

    def test_aLockHeldTooLong_leavesTheRecordOut_insteadOfWaiting(self):
        import fcntl
        waited, writer.LOCK_WAIT = writer.LOCK_WAIT, 0.2
        try:
            with open(os.path.join(self.folder, "Log.Dat.lock"), "a") as lock:
                fcntl.flock(lock, fcntl.LOCK_EX)
                self.assertFalse(writer.append_record(self.folder, "/late.doc" + SEP * 4))
        finally:
            writer.LOCK_WAIT = waited
        self.assertFalse(os.path.exists(os.path.join(self.folder, "Log.Dat")))


if __name__ == "__main__":
    unittest.main()
