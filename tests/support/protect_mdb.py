#!/usr/bin/python3
"""Makes a password-protected copy of an Access database, for the tests.

  protect_mdb.py SOURCE TARGET PASSWORD

The database password lives in the file's header, inside a region from 0x18 scrambled with the
RC4 key stream of the key 0x6b39dac7 (126 bytes in a Jet 3 file, 128 in a Jet 4 one). In a Jet 3
file (Access 97) the password is 20 bytes of Windows-1252 at 0x42; in a Jet 4 file it is 40
bytes of UTF-16LE there, each byte XORed with the four little-endian bytes of the whole part of
the creation date (a double at 0x72). This writes the password there and leaves the rest of the
file as it is, as the database engine does when a password is set.
"""
import shutil
import struct
import sys

SCRAMBLED = 0x18
PASSWORD = 0x42
CREATION_DATE = 0x72


def rc4_stream(key, length):
    state = list(range(256))
    j = 0
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) % 256
        state[i], state[j] = state[j], state[i]
    out = bytearray()
    i = j = 0
    for _ in range(length):
        i = (i + 1) % 256
        j = (j + state[i]) % 256
        state[i], state[j] = state[j], state[i]
        out.append(state[(state[i] + state[j]) % 256])
    return bytes(out)


def main(source, target, password):
    shutil.copyfile(source, target)
    with open(target, "r+b") as database:
        header = bytearray(database.read(SCRAMBLED + 128))
        if header[4:19] not in (b"Standard Jet DB", b"Standard ACE DB"):
            sys.exit("not an Access database: " + source)
        jet3 = header[0x14] == 0
        scrambled_length = 126 if jet3 else 128
        stream = rc4_stream(struct.pack("<I", 0x6B39DAC7), scrambled_length)
        for k in range(scrambled_length):
            header[SCRAMBLED + k] ^= stream[k]
        if jet3:
            encoded = password.encode("cp1252").ljust(20, b"\0")
            mask = b"\0\0\0\0"
        else:
            encoded = password.encode("utf-16-le").ljust(40, b"\0")
            (created,) = struct.unpack_from("<d", header, CREATION_DATE)
            mask = struct.pack("<I", int(created) & 0xFFFFFFFF)
        if len(encoded) > (20 if jet3 else 40):
            sys.exit("a database password has at most 20 characters")
        for k, byte in enumerate(encoded):
            header[PASSWORD + k] = byte ^ mask[k % 4]
        for k in range(scrambled_length):
            header[SCRAMBLED + k] ^= stream[k]
        database.seek(0)
        database.write(header)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2], sys.argv[3])
