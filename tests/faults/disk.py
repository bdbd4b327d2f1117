"""What a disk may hold after a power cut: a directory, what a process did in it, call by call, and
every state that a file system may leave of that.

Names and content are told apart. A name is durable once its directory has been synced, content once
its file has; of what is not, three kinds of file systems keep different things:

    ordered    one journal: of all changes of names, in whichever directory, the first ones; any sync
               of anything makes those before it durable
    directory  of the changes of each directory the first ones
    any        of the changes of each directory any

Content that is not durable is there, or the file is empty, or full of zeros, or cut in half."""

import dataclasses
import itertools
import os
import re
import subprocess

CALLS = ("open,openat,creat,close,read,pread64,write,pwrite64,writev,pwritev,pwritev2,lseek,sendfile,"
         "copy_file_range,splice,ftruncate,truncate,fallocate,fsync,fdatasync,sync,syncfs,"
         "sync_file_range,rename,renameat,renameat2,link,linkat,symlink,symlinkat,unlink,unlinkat,"
         "mkdir,mkdirat,rmdir,mmap,ioctl")
# They change nothing here: what a mapping or a control call could change is refused below.
HARMLESS = {"mmap", "ioctl", "pread64"}
KINDS = ("ordered", "directory", "any")


class NotModelled(Exception):
    """A call that the model does not know and that may have changed something."""


@dataclasses.dataclass(eq=False)
class Node:
    """A file, or a directory if it has entries."""
    entries: dict = None
    data: bytes = b""
    base: bool = False  # it was there, durable, before


@dataclasses.dataclass
class Names:
    """One change of names in a directory: names and their new nodes, None for those that go."""
    directory: Node
    entries: dict


@dataclasses.dataclass
class Data:
    file: Node
    data: bytes


@dataclasses.dataclass
class Sync:
    node: Node


@dataclasses.dataclass
class Said:
    """What the process has put out."""
    text: bytes


def tree_of(path):
    """A directory of the real file system, as nodes."""
    if os.path.isdir(path):
        return Node({name: tree_of(os.path.join(path, name)) for name in os.listdir(path)},
                    base=True)
    with open(path, "rb") as file:
        return Node(data=file.read(), base=True)


def traced(command, scratch):
    """Runs a command to its end; its calls, a line each, whole ones only."""
    log = os.path.join(scratch, "trace")
    done = subprocess.run(["strace", "-f", "-xx", "-s", "100000000", "-e", f"trace={CALLS}", "-o",
                           log, *command], stdin=subprocess.DEVNULL, capture_output=True)
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stderr.decode()}")
    begun = {}
    with open(log, encoding="ascii") as lines:
        for line in lines:
            process, rest = line.rstrip("\n").split(None, 1)
            if rest.endswith("<unfinished ...>"):
                begun[process] = rest.removesuffix("<unfinished ...>")
            elif rest.startswith("<... "):
                yield begun.pop(process) + rest.split(" resumed>", 1)[1]
            else:
                yield rest


def text_of(hexadecimal):
    return bytes.fromhex(hexadecimal.replace("\\x", ""))


class Recorder:
    """Follows the calls of one process below one directory and notes what they change."""

    def __init__(self, directory):
        self.prefix, self.root, self.events = directory, tree_of(directory), []
        self.open, self.offsets = {}, {}

    def follow(self, lines):
        for line in lines:
            match = re.fullmatch(r"(\w+)\((.*)\)\s+= (-?\d+).*", line)
            if match and int(match[3]) >= 0:
                self.call(match[1], match[2], int(match[3]))
        return self.events

    def call(self, name, words, result):
        strings = [text_of(each) for each in re.findall(r'"((?:\\x[0-9a-f]{2})*)"', words)]
        numbers = [int(each) for each in re.findall(r"(?:^|, )(\d+)(?=,|$)", words)]
        flags = set(re.findall(r"\bO_\w+|\bAT_\w+|\bMAP_\w+|\bPROT_\w+|\bFI\w+", words))
        handler = getattr(self, "on_" + name, None)
        if handler is not None:
            handler(strings, numbers, flags, result)
        elif name not in HARMLESS and (any(map(self.is_below, strings))
                                       or any(each in self.open for each in numbers[:2])):
            raise NotModelled(f"{name}({words[:200]})")
        elif "FICLONE" in flags or {"MAP_SHARED", "PROT_WRITE"} <= flags:
            raise NotModelled(f"{name}({words[:200]})")

    def is_below(self, path):
        return (os.path.normpath(path.decode()) + "/").startswith(self.prefix + "/")

    def find(self, path):
        """The directory, the name in it and the node of a path below; None for others."""
        if not self.is_below(path):
            return None
        parts = os.path.relpath(path.decode(), self.prefix).split("/")
        if parts == ["."]:
            return None, ".", self.root
        directory = self.root
        for part in parts[:-1]:
            directory = directory.entries[part]
        return directory, parts[-1], directory.entries.get(parts[-1])

    def name(self, directory, entries):
        for name, node in entries.items():
            if node is None:
                directory.entries.pop(name, None)
            else:
                directory.entries[name] = node
        self.events.append(Names(directory, entries))

    def fill(self, node, data):
        node.data = data
        self.events.append(Data(node, data))

    def on_open(self, strings, _, flags, result):
        found = self.find(strings[0])
        self.open.pop(result, None)
        if found is None:
            return
        directory, name, node = found
        if "O_TMPFILE" in flags:
            node = Node()
        elif node is None:
            node = Node()
            self.name(directory, {name: node})
        elif "O_TRUNC" in flags and node.data:
            self.fill(node, b"")
        self.open[result], self.offsets[result] = node, 0

    on_openat = on_open

    def on_close(self, _, numbers, *__):
        self.open.pop(numbers[0], None)

    def on_lseek(self, _, numbers, __, result):
        self.offsets[numbers[0]] = result

    def on_read(self, _, numbers, __, result):
        if numbers and numbers[0] in self.open:
            self.offsets[numbers[0]] += result

    def put(self, descriptor, data):
        node, offset = self.open[descriptor], self.offsets[descriptor]
        self.fill(node, node.data[:offset].ljust(offset, b"\0") + data
                  + node.data[offset + len(data):])
        self.offsets[descriptor] += len(data)

    def on_write(self, strings, numbers, _, result):
        if numbers[0] in self.open:
            self.put(numbers[0], strings[0][:result])
        elif numbers[0] == 1:
            self.events.append(Said(strings[0]))

    def on_sendfile(self, _, numbers, __, result):
        to, source = numbers[:2]
        offset = self.offsets[source]
        self.offsets[source] += result
        self.put(to, self.open[source].data[offset:offset + result])

    def on_ftruncate(self, _, numbers, *__):
        if numbers[0] in self.open:
            node = self.open[numbers[0]]
            self.fill(node, node.data[:numbers[1]].ljust(numbers[1], b"\0"))

    def on_fsync(self, _, numbers, *__):
        if numbers[0] in self.open:
            self.events.append(Sync(self.open[numbers[0]]))

    on_fdatasync = on_fsync

    def on_mkdir(self, strings, *_):
        found = self.find(strings[0])
        if found:
            self.name(found[0], {found[1]: Node({})})

    def on_unlink(self, strings, *_):
        found = self.find(strings[0])
        if found:
            self.name(found[0], {found[1]: None})

    on_unlinkat = on_rmdir = on_unlink

    def on_rename(self, strings, *_):
        source, target = self.find(strings[0]), self.find(strings[1])
        if source is None and target is None:
            return
        if source is None or target is None or source[0] is not target[0]:
            raise NotModelled(f"rename {strings}")
        self.name(source[0], {source[1]: None, target[1]: source[2]})

    on_renameat = on_renameat2 = on_rename

    def on_link(self, strings, *_):
        target = self.find(strings[1])
        if target:
            by_descriptor = re.fullmatch(rb"/proc/self/fd/(\d+)", strings[0])
            node = self.open[int(by_descriptor[1])] if by_descriptor else self.find(strings[0])[2]
            self.name(target[0], {target[1]: node})

    on_linkat = on_link


def recorded(command, directory, scratch):
    """The events of a command that works in a directory."""
    return Recorder(directory).follow(traced(command, scratch))


def last_sync(events, node):
    return max((i for i, event in enumerate(events)
                if isinstance(event, Sync) and (node is None or event.node is node)), default=-1)


def name_choices(events, kind):
    """Of the changes of names that a cut after these events may leave: each choice as indices."""
    changes = [i for i, event in enumerate(events) if isinstance(event, Names)]
    if kind == "ordered":
        durable = last_sync(events, None)
        least = sum(i < durable for i in changes)
        return [changes[:count] for count in range(least, len(changes) + 1)]
    each = []
    for directory in {id(events[i].directory): events[i].directory for i in changes}.values():
        own = [i for i in changes if events[i].directory is directory]
        durable = last_sync(events, directory)
        kept = [i for i in own if i < durable]
        free = own[len(kept):]
        if kind == "directory":
            each.append([kept + free[:count] for count in range(len(free) + 1)])
        else:
            each.append([kept + list(some) for count in range(len(free) + 1)
                         for some in itertools.combinations(free, count)])
    return [sorted(itertools.chain(*parts)) for parts in itertools.product(*each)]


def data_choices(events, node):
    """What a file may hold; the number of the write that it comes from tells its age."""
    writes = [i for i, event in enumerate(events) if isinstance(event, Data) and event.file is node]
    durable = last_sync(events, node)
    kept = [i for i in writes if i < durable]
    if node.base and not writes:
        return [(node.data, -1)]
    choices = [(events[kept[-1]].data, kept[-1])] if kept else []
    if writes and writes != kept:
        data, at = events[writes[-1]].data, writes[-1]
        choices += [(each, at) for each in (data, b"", bytes(len(data)), data[:len(data) // 2])]
    return choices or [(b"", -1)]


def states(base, events, kind):
    """Every state that a cut after these events may leave: paths, and what is there (a pair of data
    and age, None for a directory)."""
    for chosen in name_choices(events, kind):
        entries = {id(node): dict(old) for node, old in base.items()}
        for i in chosen:
            own = entries.setdefault(id(events[i].directory), {})
            for name, node in events[i].entries.items():
                own.pop(name, None)
                if node is not None:
                    own[name] = node
        root = next(iter(base))
        nodes = dict(walked(root, "", entries))
        files = [path for path, node in nodes.items() if node.entries is None]
        for held in itertools.product(*[data_choices(events, nodes[path]) for path in files]):
            yield {**{path: None for path in nodes}, **dict(zip(files, held))}


def walked(directory, path, entries):
    for name, node in sorted(entries.get(id(directory), {}).items()):
        yield path + name, node
        if node.entries is not None:
            yield from walked(node, path + name + "/", entries)


def entries_of(node):
    """Of each directory of a tree, the root first, its entries as they are now."""
    found = {node: dict(node.entries)}
    for child in node.entries.values():
        if child.entries is not None:
            found.update(entries_of(child))
    return found
