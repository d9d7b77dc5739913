"""Reads mail files with Python's standard parser and prints, as JSON, what a mail reader finds in
each: the defects the parser reports (of the message, its parts and their header values), the
HTML body, the inline parts by Content-ID, the attachments, the number of leaf parts, the
subject, the sender's name and the date."""
import base64
import email
import json
import sys
from email import policy


def defects_of(part):
    found = [type(defect).__name__ for defect in part.defects]
    for name, value in part.items():
        found += [name + ": " + type(defect).__name__ for defect in getattr(value, "defects", ())]
    return found


def read(path):
    with open(path, "rb") as source:
        message = email.message_from_bytes(source.read(), policy=policy.default)
    found, inline, attachments, leaves = [], {}, [], 0
    for part in message.walk():
        found += defects_of(part)
        if part.is_multipart():
            continue
        leaves += 1
        data = base64.b64encode(part.get_payload(decode=True) or b"").decode("ascii")
        if part.get_content_disposition() == "attachment":
            attachments.append({"name": part.get_filename(), "data": data})
        elif part["Content-ID"] is not None:
            inline[str(part["Content-ID"]).strip("<>")] = data
    body = message.get_body(("html",))
    date = message["Date"].datetime if message["Date"] is not None else None
    return {
        "defects": found,
        "html": body.get_content() if body is not None else None,
        "inline": inline,
        "attachments": attachments,
        "leaves": leaves,
        "subject": str(message["Subject"]),
        "fromName": message["From"].addresses[0].display_name if message["From"] is not None else None,
        "date": date.isoformat() if date is not None else None,
    }


json.dump({path: read(path) for path in sys.argv[1:]}, sys.stdout)
