#!/usr/bin/python3
"""An SMTP server that writes each line of its EHLO reply on its own, a moment apart, as a busy
server does. It serves one connection: it prints its port, then the count of messages it took
when the client has quit."""
import socket
import time

EHLO_LINES = ["250-split.example", "250-SIZE 1000000", "250-8BITMIME", "250 HELP"]


def main():
    server = socket.socket()
    server.bind(("127.0.0.1", 0))
    server.listen(1)
    print(server.getsockname()[1], flush=True)
    connection, _ = server.accept()
    lines = connection.makefile("rb")

    def say(text):
        connection.sendall(text.encode() + b"\r\n")

    say("220 split.example ESMTP")
    messages = 0
    for line in lines:
        command = line.strip().upper()
        if command.startswith(b"EHLO"):
            for reply in EHLO_LINES:
                say(reply)
                time.sleep(0.2)
        elif command.startswith((b"MAIL", b"RCPT", b"RSET")):
            say("250 OK")
        elif command == b"DATA":
            say("354 go ahead")
            while lines.readline() not in (b".\r\n", b""):
                pass
            messages += 1
            say("250 accepted")
        elif command == b"QUIT":
            say("221 bye")
            break
        else:
            say("500 unknown")
    connection.close()
    print(messages, flush=True)


if __name__ == "__main__":
    main()
