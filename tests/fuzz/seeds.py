#!/usr/bin/env python3
"""Writes the seed corpus, corpus/<target>/, a few small scripts each in the
layout that the target reads (input.h: bytes, little-endian numbers, runs
with a length byte, NUL-ended texts). Run once; the files are checked in."""
import os
import struct

here = os.path.dirname(os.path.abspath(__file__))


def le(n, width):
    return n.to_bytes(width, "little")


def run(b):
    return bytes([len(b)]) + b


seeds = {
    # map, how, row (2 bytes), then what `how` asks for
    "strmap": [
        bytes([0, 0]) + le(4, 2),
        bytes([2, 0x0B]) + le(136, 2) + le(0x80000000, 8),       # vendor fall-back, prefixed name
        bytes([2, 0x0E]) + le(0, 2) + b"CKA_CKA_TR31_INFO\0",
        bytes([5, 0x07]) + le(0, 2) + le(7, 8) + b"success\0",
        bytes([6, 0x01]) + le(15, 2) + le(0x1234, 2),            # session KDF with a modifier
        bytes([4, 0x14]) + le(1, 2) + b"CKS_RO_USER_FUNCTIONS\0",
    ],
    # curve pick, buffer size, bytes for the key size, then the domain search
    "ecattr": [
        bytes([7, 10]) + run(bytes.fromhex("06082a8648ce3d030107")) + bytes([12, 0]),
        bytes([34, 4]) + run(bytes.fromhex("06032b6571")) + bytes([3, 0]) + bytes([0, 0, 1, 0, 5, 0, 0, 3, 0, 0, 2]) + bytes.fromhex("0602"),
        bytes([200]) + b"sect571k1\0" + run(b"") + bytes([8, 0]) + bytes([0, 0, 0, 0, 0, 0, 1, 9, 0, 0, 0, 5]) + b"\x06\x03\x2b\x65\x70",
        bytes([40]) + b"-x\0" + run(bytes.fromhex("06052b81040022ff")) + bytes([0, 1, 0xC1]),
        bytes([33, 11]) + run(bytes.fromhex("06092b24030302080101")) + bytes([2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]),
    ],
    # initial rows, then steps: op, arguments
    "attrset": [
        bytes([0, 0x00, 3, 2]) + b"ab" + bytes([0x00, 3, 3]) + b"cde" + bytes([0x07, 3]),
        bytes([1, 0x03, 0, 8]) + le(4, 8) + bytes([0x03, 4, 4]) + b"keyv" + bytes([0x03, 4, 4]) + b"KEYV"
        + bytes([0x05, 7, 1, 1, 0x05, 7, 1, 0, 0x03, 11, 1, 1, 0x03, 11, 1, 0]),
        bytes([0, 0x10, 12, 1, 0, 0x00, 3, 1]) + b"x" + bytes([0x08, 0x18, 0x09]),
        bytes([2, 0x00, 16, 4]) + b"chk1" + bytes([0x00, 17, 1, 9, 0x0B, 0, 1, 0x0A, 2, 2]) + b"zz" + bytes([3, 0xE2, 5]),
        bytes([0, 0x0C, 10, 4]) + le(16, 4) + bytes([0, 8]) + le(0, 8) + bytes([1, 7]) + bytes([2, 0]) + bytes([3, 5, 4]),
        bytes([0, 0x00, 3, 1]) + b"a" + bytes([0x0E, 0x00, 0x01, 3, 1]) + b"b" + bytes([0x18, 0x38, 0x0B, 0, 1]),
    ],
    # op, session (2), object (2), then per op
    "objio": [
        bytes([0]) + le(1, 2) + le(2, 2) + bytes([1, 16, 0, 0, 4]) + b"data" + bytes([0, 0, 4]) + b"data",
        bytes([0]) + le(1, 2) + le(2, 2) + bytes([1, 2, 0, 1, 4]) + b"long",
        bytes([0]) + le(3, 2) + le(4, 2) + bytes([9, 0, 0x10, 0, 0]),
        bytes([1]) + le(1, 2) + le(0, 2) + bytes([0, 0]) + b"file\0" + bytes([0, 0, 1]) + le(42, 2) + bytes([0]),
        bytes([1]) + le(1, 2) + le(0, 2) + bytes([0x90]) + le(0x80000001, 8) + b"x\0" + bytes([0, 0, 2]) + le(5, 2) + le(6, 2) + bytes([0xC4]),
        bytes([2]) + le(1, 2) + le(7, 2) + run(b"contents") + bytes([0xC2]),
    ],
    # function, how, then the fields
    "forward": [
        bytes([0, 0]) + le(0, 2) + le(12, 8) + le(4, 2) + le(16, 8) + le(128, 8),
        bytes([9, 1]) + le(0xFFFF, 2) + le(0, 8) + le(0xFFFF, 2) + le(0, 8) + le(96, 8),
        bytes([3, 0x20]) + le(8, 2) + le(12, 8) + le(0, 2) + le(0, 8) + le(128, 8) + le(1, 2) + le(16, 8) + le(128, 8) + le(2, 2) + le(3, 8) + le(64, 8),
        bytes([1, 0x04]) + bytes([48]) + le(0, 2) + le(12, 8) + le(0, 2) + le(0, 8) + le(128, 8) + bytes(48),
        bytes([11, 0x03]) + le(0x1085, 8) + le(0, 2) + le(1, 8) + le(0, 2) + le(1, 8) + le(1, 8),
        bytes([5, 0x50]),
        bytes([7, 0x08]) + le(3, 2) + le(0xFFFFFFFFFFFFFFFF, 8) + le(3, 2) + le(0x2000000000000001, 8) + le(0xFFFF, 8),
    ],
}

for target, inputs in seeds.items():
    os.makedirs(os.path.join(here, "corpus", target), exist_ok=True)
    for i, data in enumerate(inputs):
        with open(os.path.join(here, "corpus", target, "seed-%02d" % i), "wb") as f:
            f.write(data)
