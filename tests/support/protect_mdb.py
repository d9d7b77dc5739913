#!/usr/bin/python3
"""protect_mdb.py SOURCE TARGET PASSWORD: a copy of an Access database with the password set.

The password lies at 0x42 in the header's region from 0x18, which is scrambled with the RC4 key
stream of the key 0x6b39dac7 (126 bytes in a Jet 3 file, 128 in a Jet 4 one): in Jet 3 as 20
bytes of Windows-1252, in Jet 4 as 40 bytes of UTF-16LE, each XORed with the four little-endian
bytes of the whole part of the creation date (a double at 0x72). The rest stays as it is.
"""
import shutil
import struct
import sys


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
    return out


def main(source, target, password):
    shutil.copyfile(source, target)
    with open(target, "r+b") as database:
        header = bytearray(database.read(0x18 + 128))
        if header[4:19] not in (b"Standard Jet DB", b"Standard ACE DB"):
            sys.exit("not an Access database: " + source)
        jet3 = header[0x14] == 0
        stream = rc4_stream(struct.pack("<I", 0x6B39DAC7), 126 if jet3 else 128)
        plain = bytearray(a ^ b for a, b in zip(header[0x18:], stream))
        width = 20 if jet3 else 40
        encoded = password.encode("cp1252" if jet3 else "utf-16-le")
        if len(encoded) > width:
            sys.exit("a database password has at most 20 characters")
        (created,) = struct.unpack_from("<d", plain, 0x72 - 0x18)
        mask = b"\0\0\0\0" if jet3 else struct.pack("<I", int(created) & 0xFFFFFFFF)
        for k, byte in enumerate(encoded.ljust(width, b"\0")):
            plain[0x42 - 0x18 + k] = byte ^ mask[k % 4]
        header[0x18 : 0x18 + len(stream)] = bytes(a ^ b for a, b in zip(plain, stream))
        database.seek(0)
        database.write(header)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
