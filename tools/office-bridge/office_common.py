"""What the program's two office suite helpers share (the hidden office bridge and the visible
writer session): the save filters, property lists, the office suite's program, and the start of
an office suite that listens on a pipe of its own."""
import os
import shutil
import time

import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException

RESTART_CODE = 81

FILTERS = {
    ".doc": "MS Word 97",
    ".dot": "MS Word 97 Vorlage",
    ".docx": "MS Word 2007 XML",
    ".docm": "MS Word 2007 XML VBA",
    ".dotx": "MS Word 2007 XML Template",
    ".rtf": "Rich Text Format",
    ".odt": "writer8",
    ".txt": "Text (encoded)",
    ".pdf": "writer_pdf_Export",
}


class OfficeFailure(RuntimeError):
    """The office suite is not there or is gone: the helper ends."""


def props(**values):
    result = []
    for name, value in values.items():
        item = PropertyValue()
        item.Name = name
        item.Value = value
        result.append(item)
    return tuple(result)


def url(path):
    return uno.systemPathToFileUrl(os.path.abspath(path))


def office_program():
    """soffice.bin itself, so that it can be bound to a helper's life; its launcher script
    would stand between them."""
    launcher = shutil.which("soffice")
    if launcher is None:
        raise OfficeFailure("LibreOffice is not installed (no soffice on the path)")
    program = os.path.join(os.path.dirname(os.path.realpath(launcher)), "soffice.bin")
    return program if os.access(program, os.X_OK) else launcher


def connect(pipe, start):
    """Starts the office suite with start() (which gives its process) and waits until it
    answers on the pipe; gives the remote component context. The first start of a fresh profile
    asks for a restart, which start() then makes."""
    process = start()
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    deadline = time.time() + 90
    while True:
        try:
            return resolver.resolve("uno:pipe,name=%s;urp;StarOffice.ComponentContext" % pipe)
        except NoConnectException:
            if process.poll() == RESTART_CODE:
                process = start()
            elif time.time() > deadline or process.poll() is not None:
                raise OfficeFailure("the office suite did not start")
            time.sleep(0.1)


def desktop_of(context):
    return context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)
