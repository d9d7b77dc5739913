#!/usr/bin/python3
"""The editing session of Quillbay+: a visible LibreOffice Writer with a profile of its own that
persists between sessions, in which the user writes one template. Spoken to in JSON lines on
standard input and output, like the office bridge: each request is one JSON object with an "op"
and gets one answer with "ok" (and "error" on failure). Between answers the helper writes
events, objects with an "event" name, as they happen in the writer:

  {"event": "click", "entry": n}              an entry n (1..16) of the "Quillbay+" menu was chosen
  {"event": "beforeClose", "saved": bool}     the user asked to close the document or the writer;
                                              nothing closes until the program answers "close"
  {"event": "quit"}                           the writer ended by itself

The menu belongs to the document's window alone: it is set on that frame's menu bar element,
which is marked not persistent, so neither the writer's own configuration nor the document
keeps it. Its entries and the closing commands of that frame are caught by a dispatch
interceptor registered on the frame.

    writer_session.py --profile FOLDER [--extension FILE.oxt] [--app-folder FOLDER]
"""
import argparse
import json
import os
import subprocess
import sys
import threading
import time
import uuid

import uno
import unohelper
from com.sun.star.frame import FeatureStateEvent, XDispatch, XDispatchProviderInterceptor
from com.sun.star.task import XInteractionHandler
from com.sun.star.ucb import XCommandEnvironment, XProgressHandler
from office_common import FILTERS, connect, desktop_of, office_program, props, url

MENUBAR = "private:resource/menubar/menubar"
# The menu's mark, as the tag of a menu entry: its popup carries this command.
POPUP_COMMAND = "vnd.quillbay:Quillbay"
ENTRY_PREFIX = "vnd.quillbay:field/"
POS_SIZE = 15
CLOSE_COMMANDS = (".uno:CloseDoc", ".uno:CloseWin", ".uno:CloseFrame", ".uno:Quit")
# A first start of a profile would greet the user with a dialog of tips, which waits for an
# answer before the document shows, and with a bar of news about the version.
PROFILE_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry" xmlns:xs="http://www.w3.org/2001/XMLSchema"
 xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="ShowTipOfTheDay" oor:op="fuse">
<value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Product"><prop oor:name="ooSetupLastVersion" oor:op="fuse">
<value>99.0</value></prop></item>
</oor:items>
"""

OUTPUT = threading.Lock()


def send(message):
    with OUTPUT:
        sys.stdout.write(json.dumps(message) + "\n")
        sys.stdout.flush()


def insert_entry(container, index, entry):
    # A menu entry goes into its container as a sequence of properties, which must be named as
    # such to cross the bridge.
    uno.invoke(container, "insertByIndex", (index, uno.Any("[]com.sun.star.beans.PropertyValue", entry)))


def prepare_profile(profile):
    """A new profile starts without the first start's dialog of tips."""
    settings = os.path.join(profile, "user", "registrymodifications.xcu")
    if not os.path.exists(settings):
        os.makedirs(os.path.dirname(settings), exist_ok=True)
        with open(settings, "w", encoding="utf-8") as out:
            out.write(PROFILE_SETTINGS)


def extension_stamp(extension):
    info = os.stat(extension)
    return "%s %d %d" % (os.path.realpath(extension), info.st_size, int(info.st_mtime))


class Approval(unohelper.Base, XCommandEnvironment, XInteractionHandler, XProgressHandler):
    """Answers the questions of an extension's installation with their approval."""

    def getInteractionHandler(self):
        return self

    def getProgressHandler(self):
        return self

    def handle(self, request):
        for choice in request.getContinuations():
            if choice.queryInterface(uno.getTypeByName("com.sun.star.task.XInteractionApprove")):
                choice.select()
                return

    def push(self, status):
        pass

    def update(self, status):
        pass

    def pop(self):
        pass


def add_extension(context, profile, extension):
    """Adds the extension to the running writer's profile when this copy of it is not there yet
    (a mark file in the profile remembers the copy added last)."""
    if not extension or not os.path.isfile(extension):
        return
    stamp = extension_stamp(extension)
    mark = os.path.join(profile, "extension.mark")
    try:
        with open(mark, encoding="utf-8") as current:
            if current.read() == stamp:
                return
    except OSError:
        pass
    manager = context.getValueByName("/singletons/com.sun.star.deployment.ExtensionManager")
    manager.addExtension(uno.systemPathToFileUrl(os.path.realpath(extension)), (), "user",
                         manager.createAbortChannel(), Approval())
    with open(mark, "w", encoding="utf-8") as out:
        out.write(stamp)


class Interceptor(unohelper.Base, XDispatchProviderInterceptor, XDispatch):
    """Catches the menu's entries and the closing commands of one frame."""

    def __init__(self, session):
        self.session = session
        self.slave = None
        self.master = None

    def getSlaveDispatchProvider(self):
        return self.slave

    def setSlaveDispatchProvider(self, provider):
        self.slave = provider

    def getMasterDispatchProvider(self):
        return self.master

    def setMasterDispatchProvider(self, provider):
        self.master = provider

    def queryDispatch(self, url, target, flags):
        if url.Complete.startswith("vnd.quillbay:") or url.Complete in CLOSE_COMMANDS:
            return self
        return self.slave.queryDispatch(url, target, flags) if self.slave else None

    def queryDispatches(self, requests):
        return tuple(self.queryDispatch(r.FeatureURL, r.FrameName, r.SearchFlags) for r in requests)

    def dispatch(self, url, arguments):
        if url.Complete.startswith(ENTRY_PREFIX):
            send({"event": "click", "entry": int(url.Complete[len(ENTRY_PREFIX):])})
        elif url.Complete in CLOSE_COMMANDS:
            self.session.ask_to_close()

    def addStatusListener(self, listener, url):
        state = FeatureStateEvent()
        state.FeatureURL = url
        state.IsEnabled = True
        state.Source = self
        try:
            listener.statusChanged(state)
        except Exception:
            pass

    def removeStatusListener(self, listener, url):
        pass


class Session:
    def __init__(self, profile, extension, app_folder):
        self.profile = os.path.abspath(profile)
        self.app_folder = app_folder
        prepare_profile(self.profile)
        self.pipe = "quillbaysession" + uuid.uuid4().hex
        self.process = None
        self.document = None
        self.frame = None
        self.interceptor = None
        self.closing = False
        # Set when the program ends the writer, whose end is then no news to report.
        self.quitting = False
        # What state() tells once the document is closed: its state just before the close.
        self.closed_state = {"open": False, "saved": False, "fullName": ""}
        self.desktop = self.connect()
        try:
            add_extension(self.context, self.profile, extension)
        except Exception as error:
            sys.stderr.write("writer_session: the document log's extension was not added: %s\n" % error)

    def start_office(self):
        # Not bound to this helper's life: a writer left behind by an ended program stays with
        # the user, who may still have work in it.
        self.process = subprocess.Popen(
            [office_program(), "--nologo", "--norestore", "--nodefault",
             "-env:UserInstallation=" + uno.systemPathToFileUrl(self.profile),
             "--accept=pipe,name=%s;urp;" % self.pipe],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env=dict(os.environ, QUILLBAY_APP_FOLDER=self.app_folder) if self.app_folder else None,
            start_new_session=True)
        return self.process

    def connect(self):
        self.context = connect(self.pipe, self.start_office)
        return desktop_of(self.context)

    # The menu.

    def menubar(self):
        return self.frame.LayoutManager.getElement(MENUBAR)

    def remove_menu(self):
        """Takes every popup with the menu's mark off the document window's menu bar."""
        if self.frame is None:
            return
        element = self.menubar()
        if element is None:
            return
        settings = element.getSettings(True)
        marked = [index for index in range(settings.getCount())
                  if dict((p.Name, p.Value) for p in settings.getByIndex(index)).get("CommandURL") == POPUP_COMMAND]
        for index in reversed(marked):
            settings.removeByIndex(index)
        if marked:
            element.Persistent = False
            element.setSettings(settings)

    def add_menu(self, captions):
        """captions: the entries' captions in order; their entry numbers are 1, 2, ..."""
        self.remove_menu()
        element = self.menubar()
        settings = element.getSettings(True)
        popup = settings.createInstanceWithContext(self.context)
        for number, caption in enumerate(captions, start=1):
            insert_entry(popup, popup.getCount(),
                         props(CommandURL=ENTRY_PREFIX + str(number), Label=caption, Type=0, Style=0))
        entry = props(CommandURL=POPUP_COMMAND, Label="Quillbay+", Type=0, Style=0, ItemDescriptorContainer=popup)
        insert_entry(settings, min(5, settings.getCount()), entry)
        element.Persistent = False
        element.setSettings(settings)

    def menu_state(self):
        """The top entries of the window's menu bar, and the captions inside the marked popups."""
        settings = self.menubar().getSettings(False)
        top, popups = [], []
        for index in range(settings.getCount()):
            entry = dict((p.Name, p.Value) for p in settings.getByIndex(index))
            top.append(entry.get("Label") or entry.get("CommandURL", ""))
            if entry.get("CommandURL") == POPUP_COMMAND:
                inner = entry["ItemDescriptorContainer"]
                popups.append([dict((p.Name, p.Value) for p in inner.getByIndex(i)).get("Label", "")
                               for i in range(inner.getCount())])
        return {"top": top, "popups": popups}

    # The document.

    def open(self, path, captions):
        target = url(path) if path else "private:factory/swriter"
        document = self.desktop.loadComponentFromURL(target, "_blank", 0, ())
        if document is None:
            raise RuntimeError("the document cannot be opened: " + (path or "new document"))
        self.document = document
        self.frame = document.getCurrentController().getFrame()
        window = self.frame.getContainerWindow()
        size = window.getPosSize()
        if size.Width < 400 or size.Height < 300:
            # Without a window manager the window would open at the size of its icon.
            window.setPosSize(0, 0, 1024, 768, POS_SIZE)
        self.interceptor = Interceptor(self)
        self.frame.registerDispatchProviderInterceptor(self.interceptor)
        if captions is not None:
            self.add_menu(captions)
        return self.state()

    def state(self):
        """Saved: no unsaved changes. Full name: the file's path, or the window's title for a
        document that was never saved (which has no "/" in it)."""
        if self.document is None:
            return dict(self.closed_state)
        location = self.document.getLocation()
        name = uno.fileUrlToSystemPath(location) if location else self.document.getTitle()
        return {"open": True, "saved": not self.document.isModified(), "fullName": name}

    def ask_to_close(self):
        if not self.closing and self.document is not None:
            self.closing = True
            send({"event": "beforeClose", "saved": not self.document.isModified()})

    def close(self, drop_changes):
        """Closes the document; changes are dropped first when asked, so no question comes."""
        answer = self.state()
        if self.document is not None:
            self.closed_state = dict(answer, open=False)
        document, self.document = self.document, None
        if document is not None:
            self.unhook()
            if drop_changes:
                document.setModified(False)
            try:
                document.close(True)
            except Exception:
                pass
        self.frame = None
        self.closing = False
        return answer

    def unhook(self):
        if self.frame is not None and self.interceptor is not None:
            try:
                self.frame.releaseDispatchProviderInterceptor(self.interceptor)
            except Exception:
                pass
        self.interceptor = None

    def type_text(self, text):
        """Types the text at the document's cursor, over a selection, as the keyboard would."""
        controller = self.document.getCurrentController()
        cursor = controller.getViewCursor()
        cursor.getText().insertString(cursor, text, True)
        cursor.collapseToEnd()

    def dispatch(self, command):
        """Runs a command on the document's window as a click on its menu entry does."""
        helper = self.context.ServiceManager.createInstanceWithContext("com.sun.star.frame.DispatchHelper",
                                                                       self.context)
        helper.executeDispatch(self.frame, command, "", 0, ())

    def quit(self):
        """Ends the writer through its own exit, which asks about other documents the user has
        opened there; when the user keeps it open, it stays."""
        self.quitting = True
        self.close(True)
        try:
            ended = self.desktop.terminate()
        except Exception:
            ended = True  # the writer is already gone
        if ended:
            try:
                self.process.wait(timeout=20)
            except subprocess.TimeoutExpired:
                self.process.kill()

    def connected(self):
        try:
            self.desktop.getComponents()
            return True
        except Exception:
            return False

    def leave_to_user(self):
        """The program is gone: the window stays with the user, without the menu and the
        interceptor, and closes as any other."""
        try:
            self.remove_menu()
        except Exception:
            pass
        self.unhook()

    def handle(self, request):
        op = request["op"]
        if op == "open":
            return self.open(request.get("path", ""), request.get("menu"))
        if op == "state":
            return self.state()
        if op == "removeMenu":
            self.remove_menu()
            return {}
        if op == "menu":
            return self.menu_state()
        if op == "type":
            self.type_text(request["text"])
            return {}
        if op == "dispatch":
            self.dispatch(request["command"])
            return {}
        if op == "text":
            return {"text": self.document.getText().getString()}
        if op == "saveAs":
            path = os.path.abspath(request["path"])
            extension = os.path.splitext(path)[1].lower()
            self.document.storeAsURL(url(path), props(FilterName=FILTERS.get(extension, "writer8")))
            return {}
        if op == "close":
            return self.close(bool(request.get("dropChanges", False)))
        if op == "pid":
            return {"pid": self.process.pid}
        raise RuntimeError("unknown operation " + op)


def watch(session):
    """Reports the writer's end when it ends by itself. A writer of this profile that an earlier
    run of the program left with the user takes the session over (the office suite started here
    hands its work to it and ends at once): its end is seen when its connection breaks."""
    session.process.wait()
    while not session.quitting and session.connected():
        time.sleep(1)
    if not session.quitting:
        send({"event": "quit"})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--profile", required=True)
    parser.add_argument("--extension", default="")
    # Where the document log of this writer goes (its extension's default otherwise).
    parser.add_argument("--app-folder", default="")
    options = parser.parse_args()
    try:
        session = Session(options.profile, options.extension, options.app_folder)
    except Exception as error:
        send({"ok": False, "error": str(error)})
        return 1
    threading.Thread(target=watch, args=(session,), daemon=True).start()
    send({"ok": True, "ready": True})
    for line in sys.stdin:
        if not line.strip():
            continue
        try:
            request = json.loads(line)
            if request.get("op") == "quit":
                session.quit()
                send({"ok": True})
                return 0
            answer = session.handle(request)
            answer["ok"] = True
        except Exception as error:
            answer = {"ok": False, "error": "%s: %s" % (type(error).__name__, error)}
        send(answer)
    session.leave_to_user()
    return 0


if __name__ == "__main__":
    sys.exit(main())
