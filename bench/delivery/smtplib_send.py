#!/usr/bin/python3
"""The peer of the SMTP benchmark: the very same messages, sent by a plain smtplib loop over
one connection. Usage: smtplib_send.py PORT MESSAGES_FILE, where the file holds the messages as
"<recipient> <length>\\n<bytes>" one after another. Prints the count and the seconds it took."""
import smtplib
import sys
import time

port, path = int(sys.argv[1]), sys.argv[2]
messages = []
with open(path, "rb") as stream:
    while True:
        head = stream.readline()
        if not head:
            break
        recipient, length = head.split()
        messages.append((recipient.decode(), stream.read(int(length))))

start = time.perf_counter()
with smtplib.SMTP("127.0.0.1", port) as server:
    server.ehlo()
    for recipient, content in messages:
        server.sendmail("club@example.org", [recipient], content)
elapsed = time.perf_counter() - start
print("%d %.3f" % (len(messages), elapsed))
