"""What the proofs share: a user's directory, the tool, and a reader of documents that has no code in
common with either."""

import io
import os
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
SAMPLE = os.path.join(ROOT, "examples/user")
LIVE = "indexUserConfig.xml"
# In memory where there is such a place: the proofs that use it look at what is written, not at
# what a disk keeps of it.
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None


def scratch():
    """A directory that goes with its last reference."""
    return tempfile.TemporaryDirectory(prefix="proof-", dir=MEMORY)


def content(path):
    """None where there is no such file."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)


def generation(number):
    """The sample's file, as somebody wrote it by hand, with one option at that number."""
    sample = content(os.path.join(SAMPLE, LIVE))
    option = b'reportRefreshTime="500"'
    assert sample.count(option) == 1, "the sample user is another one"
    return sample.replace(option, b'reportRefreshTime="%d"' % number)


def meaning(data):
    """All that a document says, whatever the blanks between elements and the order of attributes;
    None when it is missing or not well-formed."""
    try:
        return ElementTree.canonicalize(from_file=io.BytesIO(data or b""), strip_text=True)
    except ElementTree.ParseError:
        return None


def new_user(directory):
    """A copy of the sample user in a directory."""
    shutil.copytree(SAMPLE, directory, dirs_exist_ok=True)


class Tool:
    def __init__(self, path):
        self.path = path

    def command(self, directory, *words):
        return [self.path, "--config-dir", directory, *words]

    def __call__(self, directory, *words):
        """Runs a command to its end; a minute is too long."""
        return subprocess.run(self.command(directory, *words), stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=60)


def table(head, rows):
    """As Markdown."""
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines) + "\n"


def progress(text):
    if sys.stderr.isatty():
        print(f"\r{text}   ", end="", file=sys.stderr, flush=True)
