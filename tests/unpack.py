#!/usr/bin/env python3
"""Unpacks a .tar.gz and names the files in which a secret can be read.

Usage: unpack.py ARCHIVE DIR SECRET... or, of a directory that is there: unpack.py '' DIR SECRET...
Prints a line a file: its name below DIR.
"""
import html
import pathlib
import re
import sys
import tarfile
import urllib.parse

ENCODINGS = ["utf-8", "gb18030", "utf-16-le", "utf-16-be"]


def readings(data):
    """All that a person who takes trouble could make of the bytes."""
    for encoding in ENCODINGS:
        for begin in (0, 1):
            text = data[begin:].decode(encoding, "ignore")
            for _ in range(3):
                yield text
                text = html.unescape(text)
                text = re.sub(r"\\u([0-9a-fA-F]{4})", lambda m: chr(int(m[1], 16)), text)
                text = text.replace('\\"', '"').replace("\\\\", "\\")
                text = urllib.parse.unquote(text)


def main():
    directory = pathlib.Path(sys.argv[2])
    if sys.argv[1]:
        with tarfile.open(sys.argv[1], "r:gz") as archive:
            for member in archive.getmembers():
                assert member.isdir() or (member.isreg() and member.mode == 0o600), member
            archive.extractall(directory)
    for path in sorted(directory.rglob("*")):
        if path.is_file() and any(secret in text for secret in sys.argv[3:]
                                  for text in readings(path.read_bytes())):
            print(path.relative_to(directory))


if __name__ == "__main__":
    main()
