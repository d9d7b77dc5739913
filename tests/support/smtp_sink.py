#!/usr/bin/python3
"""A real SMTP server for the tests: aiosmtpd on a free loopback port, printed on the first line of
standard output; it runs until its standard input closes. Each message is stored in --dir as
NNNNN.eml (the bytes that followed DATA) and NNNNN.json (envelope sender and recipients, whether
the session was encrypted and logged in); --discard (for benchmarks) stores nothing."""
import argparse
import json
import os
import socket
import ssl
import sys

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword


class Store:
    def __init__(self, folder, discard, reject):
        self.folder = folder
        self.count = 0
        self.discard = discard
        self.reject = reject

    async def handle_RCPT(self, server, session, envelope, address, rcpt_options):
        if address == self.reject:
            return "550 No such user here"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        if self.discard:
            return "250 Message accepted for delivery"
        base = os.path.join(self.folder, "%05d" % self.count)
        content = envelope.original_content if envelope.original_content is not None else envelope.content
        with open(base + ".eml", "wb") as out:
            out.write(content)
        # The envelope appears last and whole: a reader that sees it finds the message complete.
        with open(base + ".part", "w") as out:
            json.dump({"from": envelope.mail_from, "to": envelope.rcpt_tos,
                       "tls": session.ssl is not None or server.transport.get_extra_info("ssl_object") is not None,
                       "authenticated": bool(session.authenticated)}, out)
        os.replace(base + ".part", base + ".json")
        return "250 Message accepted for delivery"


class LongLineSMTP(SMTP):
    # The client sends HTML bodies unwrapped; real servers take long lines, so this one does too.
    line_length_limit = 1 << 20


class SinkController(Controller):
    def factory(self):
        return LongLineSMTP(self.handler, **self.SMTP_kwargs)


def tls_context(pair):
    context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
    context.load_cert_chain(pair[0], pair[1])
    return context


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--dir", required=True)
    parser.add_argument("--starttls", nargs=2, metavar=("CERT", "KEY"))
    parser.add_argument("--implicit-tls", nargs=2, metavar=("CERT", "KEY"))
    parser.add_argument("--auth")
    parser.add_argument("--discard", action="store_true")
    parser.add_argument("--reject")
    args = parser.parse_args()
    os.makedirs(args.dir, exist_ok=True)

    kwargs = {"decode_data": False, "data_size_limit": 1 << 28}
    if args.auth:
        user, password = args.auth.split(":", 1)

        def authenticator(server, session, envelope, mechanism, auth_data):
            if isinstance(auth_data, LoginPassword) and auth_data.login == user.encode() \
                    and auth_data.password == password.encode():
                return AuthResult(success=True)
            return AuthResult(success=False, handled=False)

        kwargs["authenticator"] = authenticator
        kwargs["auth_require_tls"] = bool(args.starttls)
    if args.starttls:
        kwargs["tls_context"] = tls_context(args.starttls)
    controller_kwargs = {"ssl_context": tls_context(args.implicit_tls)} if args.implicit_tls else {}

    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    controller = SinkController(Store(args.dir, args.discard, args.reject), hostname="127.0.0.1", port=port,
                                server_kwargs=kwargs, ready_timeout=10, **controller_kwargs)
    controller.start()
    print(port, flush=True)
    sys.stdin.read()
    controller.stop()


if __name__ == "__main__":
    main()
