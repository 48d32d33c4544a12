"""A scene in dictionaries, and what it takes to match a pattern with it."""

import logging
import threading
from collections import Counter
from contextlib import contextmanager
from types import SimpleNamespace

import core

Rule = core._Project.Settings.Rule


class DictHost(core.Scene.Operator):
    """Holds path to (parent, type). Counts the calls of its operations, and raises where it is told to.

    What follows a "#" in a path is no part of the name, so that siblings can have the same one.
    """

    TYPE_MAPPING = {"xform": "transform", "loc": "locator"}

    def __init__(self, objects=()):
        super().__init__()
        self.objects, self.children = {}, {}
        self.selection, self.data = [], []
        self.appended, self.removed, self.selected = [], [], []
        self.calls, self.failures = Counter(), {}
        self.before = lambda operation, *arguments: None  # what a test does inside a call
        for path, parent, kind in objects:
            self.put(path, parent, kind)

    def put(self, path, parent=None, kind="transform"):
        self.objects[path] = (parent, kind)
        if parent:
            self.children.setdefault(parent, []).append(path)

    def called(self, operation, *arguments):
        self.calls[operation] += 1
        self.before(operation, *arguments)
        if operation in self.failures:
            raise self.failures[operation]

    def object_exists(self, path):
        self.called("object_exists", path)
        return path in self.objects

    def get_type(self, path):
        self.called("get_type", path)
        return self.objects[path][1]

    def get_parent(self, path):
        self.called("get_parent", path)
        return self.objects[path][0] if path in self.objects else None

    def get_children(self, path):
        self.called("get_children", path)
        return self.children.get(path)

    def name_from_path(self, path):
        self.called("name_from_path", path)
        return core.Scene.Operator.name_from_path(path).split("#")[0]

    def get_selection(self):
        self.called("get_selection")
        return list(self.selection)

    def get_selection_roots(self):
        self.called("get_selection_roots")
        roots = []
        for path in self.selection:
            while self.objects[path][0]:
                path = self.objects[path][0]
            if path not in roots:
                roots.append(path)
        return roots

    def select(self, *paths):
        self.called("select", *paths)
        self.selected.append(list(paths))
        self.selection = list(paths)

    def query_filedata(self):
        self.called("query_filedata")
        return self.data

    def embed_filedata(self, data):
        self.called("embed_filedata", data)
        self.data = data

    def erase_filedata(self):
        self.called("erase_filedata")
        self.data = []

    def postscript_scan_append(self, joint):
        self.called("postscript_scan_append", joint)
        self.appended.append(joint.path)

    def postscript_scan_remove(self, joint):
        self.called("postscript_scan_remove", joint)
        self.removed.append(joint.path)


def scene(tree, parent="", into=None):
    """A host of nested dicts of names; a "name:type" has another type than transform."""
    host = into or DictHost()
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
        getattr(callbacks, name).register(lambda name=name: events.append(name))
    scanner = core.Scene._Scanner(None, host, virtual, hierarchy, buffer, callbacks)
    return SimpleNamespace(
        host=host, virtual=virtual, hierarchy=hierarchy, buffer=buffer, scanner=scanner, events=events
    )


@contextmanager
def logged():
    """What is logged inside, the objects themselves; complete after the block, as each comes on its own thread."""
    messages, before = [], set(threading.enumerate())
    handler = logging.Handler(logging.WARNING)
    handler.emit = lambda record: messages.append(record.msg)
    logging.getLogger().addHandler(handler)
    try:
        yield messages
        for thread in set(threading.enumerate()) - before:
            thread.join()
    finally:
        logging.getLogger().removeHandler(handler)
