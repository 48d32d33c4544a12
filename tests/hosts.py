"""A scene in dictionaries, and what it takes to match a pattern with it."""

import json
import logging
import threading
from collections import Counter
from contextlib import contextmanager
from functools import partial, wraps
from pathlib import Path
from types import SimpleNamespace

import pytest

import core
import heron.home

Rule = core._Project.Settings.Rule


class DictHost(core.Scene.Operator):
    """Holds path to (parent, type), at first of selected roots. What follows a "#" is no part of the name."""

    TYPE_MAPPING = {"xform": "transform", "loc": "locator"}

    def __init__(self, *paths):
        super().__init__()
        self.objects, self.children, self.selection, self.data = {}, {}, list(paths), []
        self.appended, self.removed, self.selected, self.opened = [], [], [], []
        self.scopes, self.ends, self.file = 0, [], "street.gltf"
        self.calls, self.failures = Counter(), {}
        self.before = lambda operation, *arguments: None  # what a test does inside a call
        for path in paths:
            self.put(path)

    def put(self, path, parent=None, kind="transform"):
        self.objects[path] = (parent, kind)
        if parent:
            self.children.setdefault(parent, []).append(path)

    def object_exists(self, path):
        return path in self.objects

    def get_type(self, path):
        return self.objects[path][1]

    def get_parent(self, path):
        return self.objects[path][0] if path in self.objects else None

    def get_children(self, path):
        return self.children.get(path)

    def name_from_path(self, path):
        return core.Scene.Operator.name_from_path(path).split("#")[0]

    def get_selection(self):
        return list(self.selection)

    def get_selection_roots(self):
        roots = []
        for path in self.selection:
            while self.objects[path][0]:
                path = self.objects[path][0]
            if path not in roots:
                roots.append(path)
        return roots

    def select(self, *paths):
        self.selection = list(paths)
        self.selected.append(self.selection)

    @contextmanager
    def selection_manager(self):
        self.scopes += 1
        try:
            yield
        except BaseException as error:
            self.ends.append(type(error))
            raise
        self.ends.append(None)

    def get_current_file(self):
        return self.file

    def register_scene_opened_callback(self, function):
        self.opened.append(function)

    def delete_callbacks(self):
        self.opened.clear()

    def query_filedata(self):
        return self.data

    def embed_filedata(self, data):
        self.data = data

    def erase_filedata(self):
        self.data = []

    def postscript_scan_append(self, joint):
        self.appended.append(joint.path)

    def postscript_scan_remove(self, joint):
        self.removed.append(joint.path)


def counted(name):
    """An operation of the host that is counted, and fails where the test wants it to."""
    operation = getattr(DictHost, name)

    @wraps(operation)
    def call(host, *arguments):
        host.calls[name] += 1
        host.before(name, *arguments)
        if name in host.failures:
            raise host.failures[name]
        return operation(host, *arguments)

    return call


QUERIES = ("object_exists", "get_type", "get_parent", "get_children", "name_from_path")
HOOKS = ("erase_filedata", "postscript_scan_append", "postscript_scan_remove")
FURTHER = ("get_selection", "get_selection_roots", "select", "query_filedata", "embed_filedata")
for name in (*QUERIES, *HOOKS, *FURTHER):
    setattr(DictHost, name, counted(name))


class Home(heron.home.Home):
    """Everything in one directory."""

    def records(self, category):
        """What the file of the statistics holds."""
        file = Path(self.get_statistics_file())
        return json.loads(file.read_text(encoding="utf-8")).get(category, []) if file.exists() else []


def scene(tree, parent="", into=None):
    """A host of nested dicts of names; a "name:type" has another type than transform."""
    host = DictHost() if into is None else into
    for key, below in tree.items():
        name, _, kind = key.partition(":")
        path = f"{parent}/{name}"
        host.put(path, parent or None, kind or "transform")
        scene(below or {}, path, host)
    return host


def rule(name, regex=".", least=1, most=1, types=()):
    data = {"stamp": f"<{name}>", "name": name, "regex": regex, "range": [least, most], "types": types}
    return Rule({**data, "color": "#123456", "icon": f"icon of {name}"})


def node(rule, *children):
    return SimpleNamespace(rule=rule, children=list(children))


def record(*nodes):
    """A record as a project has it: the rules, and the tree of nodes."""
    rules, waiting = {}, list(nodes)
    while waiting:
        one = waiting.pop()
        rules[one.rule.stamp] = one.rule
        waiting += one.children
    return SimpleNamespace(rules=list(rules.values()), pattern=SimpleNamespace(children=list(nodes)))


def session(host, *nodes):
    """Everything that a scan needs, around one host and one pattern; `events` are those of the front-end."""
    virtual = core.Scene._Virtual(host)
    hierarchy = core._Hierarchy(virtual, None)
    hierarchy.pattern.set(record(*nodes))
    buffer = core.Scene._Buffer(host, virtual, hierarchy)
    events, callbacks = [], core._CallBacks()
    for name in ("empty_scan_selection", "used_scan_selection", "empty_scan_result"):
        getattr(callbacks, name).register(partial(events.append, name))
    scanner = core.Scene._Scanner(None, host, virtual, hierarchy, buffer, callbacks)
    parts = {"virtual": virtual, "hierarchy": hierarchy, "buffer": buffer, "scanner": scanner}
    return SimpleNamespace(host=host, events=events, **parts)


@contextmanager
def full_disk(size):
    """No file can be written beyond this size, in bytes."""
    resource = pytest.importorskip("resource")
    limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, limits[1]))
    try:
        yield
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, limits)


@contextmanager
def logged(level=logging.WARNING):
    """What is logged inside, the objects themselves; complete after the block, as each has its own thread."""
    messages, before = [], set(threading.enumerate())
    earlier = before - {threading.current_thread()}  # may be about to log what an earlier test caused

    def emit(record):
        if threading.current_thread() not in earlier:
            messages.append(record.msg)

    handler, root = logging.Handler(level), logging.getLogger()
    handler.emit, usual = emit, root.level
    root.addHandler(handler)
    root.setLevel(min(usual, level))
    try:
        yield messages
        for thread in set(threading.enumerate()) - before:
            thread.join()
    finally:
        root.removeHandler(handler)
        root.setLevel(usual)
