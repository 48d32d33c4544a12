"""Scenes of any size in the shapes that could make a scan slow, each with the pattern that fits it."""

from __future__ import annotations

from types import SimpleNamespace

import core

MANY = 1_000_000_000


class DictHost(core.Scene.Operator):
    """A scene in dictionaries: as little cost of its own as Python allows."""

    def __init__(self, parents: dict[str, str | None]):
        super().__init__()
        self.parents = parents
        self.children: dict[str, list[str]] = {}
        for path, parent in parents.items():
            if parent is not None:
                self.children.setdefault(parent, []).append(path)
        self.roots = [path for path, parent in parents.items() if parent is None]
        self.selection = list(self.roots)
        self.data: list = []

    def object_exists(self, path):
        return path in self.parents

    def get_type(self, path):
        return "transform"

    def get_parent(self, path):
        return self.parents[path]

    def get_children(self, path):
        return self.children.get(path)

    def get_selection(self):
        return self.selection

    def get_selection_roots(self):
        return self.roots

    def select(self, *paths):
        self.selection = list(paths)

    def register_scene_opened_callback(self, function):
        pass

    def query_filedata(self):
        return self.data

    def embed_filedata(self, data):
        self.data = data

    def erase_filedata(self):
        self.data = []

    def postscript_scan_append(self, joint):
        pass

    def postscript_scan_remove(self, joint):
        pass


def rule(name: str, regex: str, minimum: int = 1, maximum: int = 1) -> dict:
    """A rule of a project document; its stamp is made of its name."""
    return {"stamp": name.ljust(16, "0"), "name": name, "regex": regex, "range": [minimum, maximum]}


def record(*tree: tuple) -> SimpleNamespace:
    """A project's record of nested (rule, child, child, ...) tuples."""
    rules: list[dict] = []

    def node(item: tuple) -> dict:
        rules.append(item[0])
        return {"stamp": item[0]["stamp"], "children": [node(child) for child in item[1:]]}

    pattern = core._Project.Settings.Rule.Tree.Root()
    nodes = [node(item) for item in tree]
    rule_list = core._Project.Settings.Rule.List(rules)
    pattern.load(nodes, rule_list)
    return SimpleNamespace(rules=rule_list, pattern=pattern)


# A run's number stands in the names, so that no expression is known from a run before.


def assets(size: int, run: int):
    """Many assets of five objects, whose children repeat the asset's name by an anchor."""
    parents: dict[str, str | None] = {}
    for number in range(run * size, run * size + size // 5):
        parents[f"/asset{number}"] = None
        for part in "abcd":
            parents[f"/asset{number}/asset{number}_{part}"] = f"/asset{number}"
    pattern = record((rule("asset", r"^<name:asset\d+>$"), (rule("part", "^<name>_[abcd]$", 4, 4),)))
    return parents, pattern, size // 5


def parts(size: int, run: int):
    """One hierarchy of many parts with ten leaves each, and captures in every part."""
    parents: dict[str, str | None] = {"/top": None}
    for number in range(run * size, run * size + (size - 1) // 11):
        # Of one width: to a leaf below "part5" a capture at "part50" is as close as one at "part5".
        part = f"part{number:07}"
        parents[f"/top/{part}"] = "/top"
        for leaf in range(10):
            parents[f"/top/{part}/{part}_leaf{leaf}"] = f"/top/{part}"
    leaf_rule = rule("leaf", r"^<part>_<leaf:leaf\d>$", 10, 10)
    pattern = record((rule("top", "^top$"), (rule("part", r"^<part:part\d+>$", 1, MANY), (leaf_rule,))))
    return parents, pattern, 1


def captures(size: int, run: int):
    """One layer with half the objects defining captures and half asking for them."""
    parents: dict[str, str | None] = {"/top": None}
    for suffix in ("def", "use"):
        parents.update(
            (f"/top/item{number}_{suffix}", "/top") for number in range(run * size, run * size + size // 2)
        )
    defines, uses = rule("def", r"^<item:item\d+>_def$", 1, MANY), rule("use", "^<item>_use$", 1, MANY)
    return parents, record((rule("top", "^top$"), (defines,), (uses,))), 1


def kinds(size: int, run: int):
    """Two kinds of objects at the top, all of one before all of the other, each hierarchy one object."""
    parents: dict[str, str | None] = {}
    for kind in "ab":
        parents.update((f"/{kind}{number}", None) for number in range(run * size, run * size + size // 2))
    pattern = record((rule("a", r"^a\d+$", 0),), (rule("b", r"^b\d+$", 0),))
    return parents, pattern, size // 2 * 2


SHAPES = {shape.__name__: shape for shape in (assets, parts, captures, kinds)}
