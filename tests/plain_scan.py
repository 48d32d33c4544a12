"""The matching alone, written plainly in Python: what answers and speed of the engine are measured against.

Nothing here is clever on purpose: tables are dicts, captures are sets, and every copy is a copy. Where the
engine is free to choose an order, the choice made here is the engine's.
"""

import re
from collections import namedtuple

GHOST, SCENE_ROOT = "ghost", "sceneRoot"


class Rule(namedtuple("Rule", "stamp name regex types minimum maximum")):  # equal rules share what they take
    def allows(self, count):
        return self.minimum <= count <= self.maximum


Scope = namedtuple("Scope", "rule children icon color")
Location = namedtuple("Location", "name path type parent children")


def plain_scopes(scopes):
    """The same scopes as the engine's own, taken over from a pattern that is sorted already."""
    result = []
    for scope in scopes:
        r = scope.rule
        rule = Rule(r.stamp, r.name, r.regex, tuple(r.types or ()), r.range.minimum, r.range.maximum)
        result.append(Scope(rule, plain_scopes(scope.children), r.icon, r.color))
    return result


def take_snapshot(host, roots):
    """Path to location, for everything below the roots."""
    snapshot = {}
    waiting = list(roots)
    while waiting:
        path = waiting.pop()
        if path not in snapshot and host.object_exists(path):
            children = host.get_children(path) or []
            name, kind, parent = host.name_from_path(path), host.get_type(path), host.get_parent(path)
            snapshot[path] = Location(name, path, kind, parent, children)
            waiting.extend(children)
    return snapshot


def all_rules(scopes):
    for scope in scopes:
        yield scope.rule
        yield from all_rules(scope.children)


def split_definition(anchor):
    name, value = re.sub("(<+|>+)", "", anchor).split(":")
    return f"<{name}>", value


def find_definitions(text):
    return [anchor for anchor in re.findall("<.*?>", text) if len(anchor.split(":")) == 2]


def parents(path):
    return [piece for piece in path.replace("\\", "|").replace("|", "/").split("/") if piece][:-1]


def same_scope(scope, path):
    above = parents(scope)
    return parents(path)[: len(above)] == above


def count_shared(source, target):
    different = (i for i, (a, b) in enumerate(zip(source, target)) if a != b)
    return next(different, min(len(source), len(target)))


def by_closeness(path, captures):
    """The closest first; among equals the one with the first path, then with the first text."""
    pairs = sorted(captures, key=lambda pair: (pair[1], pair[0]), reverse=True)
    pairs.sort(key=lambda pair: count_shared(pair[1], path))
    return pairs[::-1]


def trimmed(value, anchor, expression):
    if value.endswith("$"):
        _, end = expression.split(anchor)
        value = value[:-1] if end else value
    if value.startswith("^"):
        start, _ = expression.split(anchor)
        value = value[1:] if start else value
    return value


class Anchors:
    """Expressions with anchors, and everything captured so far: definition to a set of (text, path)."""

    def __init__(self):
        self.table = {}

    def copy(self):
        return {key: set(captures) for key, captures in self.table.items()}

    def replace(self, expression, path):
        for key, captures in self.table.items():
            usage, _ = split_definition(key)
            for text, scope in by_closeness(path, captures):
                if usage in expression and text and same_scope(scope, path):
                    expression = expression.replace(usage, text)
            expression = expression.replace(usage, "")
        return expression

    def apply(self, expression):
        for key in self.table:
            usage, value = split_definition(key)
            if key in expression:
                expression = expression.replace(key, trimmed(value, key, expression))
            if usage in expression:
                expression = expression.replace(usage, trimmed(value, usage, expression))
        return expression

    def match(self, expression, name, path):
        replaced = self.replace(expression, path)
        if not re.match(self.apply(replaced), name):
            return False
        self.extract(replaced, name, path)
        return True

    def extract(self, expression, name, path):
        found = []
        for key in filter(expression.__contains__, self.table):
            start, end = expression.split(key)
            text = name
            if start:
                start = self.apply(start)
                text = re.sub(start if start.startswith("^") else "^" + start, "", text)
            if end:
                end = self.apply(end)
                text = re.sub(end if end.endswith("$") else end + "$", "", text)
            if text:
                found.append((key, (text, path)))
        for key, capture in found:  # all or, after an error, none
            self.table[key].add(capture)


class Matching:
    """One scene compared with one pattern; `pattern` is the list of top scopes, a ghost's own included."""

    def __init__(self, snapshot, pattern):
        self.snapshot, self.anchors = snapshot, Anchors()
        self.ghost = next((scope for scope in pattern if scope.rule.name == GHOST), None)
        self.top = self.ghost.children if self.ghost else pattern
        self.hooks = []  # the joints in the order in which they are finished

    def find_anchors(self):
        definitions = (anchor for rule in all_rules(self.top) for anchor in find_definitions(rule.regex))
        self.anchors.table = {anchor: set() for anchor in definitions}

    def fits(self, location, scope):
        if scope.rule.types and location.type not in scope.rule.types:
            return False
        if not self.anchors.match(scope.rule.regex, location.name, location.path):
            return False
        return bool(scope.children or not location.children)

    def layer(self, paths, scopes, exact=True):
        """Pairs of a location and the scope that took it; none if the layer does not fit."""
        left = [self.snapshot[path] for path in paths if path in self.snapshot]
        backup, shared, guess = self.anchors.copy(), self.anchors.copy(), {}
        for scope in scopes:
            taken = []
            for location in left:
                if self.fits(location, scope):
                    if len(taken) + 1 > scope.rule.maximum:
                        break
                    taken.append(location)
                    shared = {key: shared[key] | captures for key, captures in self.anchors.table.items()}
            if len(taken) < scope.rule.minimum:
                self.anchors.table = {key: set(captures) for key, captures in backup.items()}
                break
            guess[scope.rule] = taken
            self.anchors.table = {key: set(captures) for key, captures in shared.items()}
            for location in taken:
                left.remove(location)
        short = any(not scope.rule.allows(len(guess.get(scope.rule, ()))) for scope in scopes)
        if short or (exact and left):
            self.anchors.table = backup
            return []
        return [(location, scope) for scope in scopes for location in guess.get(scope.rule, ())]

    def match(self, paths, scopes):
        result = self.layer(paths, scopes)
        if not result:
            return all(scope.rule.allows(0) for scope in scopes)
        return all(
            self.match(location.children, scope.children)
            for location, scope in result
            if location.children or scope.children
        )

    def mask(self, paths):
        self.find_anchors()
        return [location.path for location, _ in self.layer(paths, self.top, exact=False)]

    def is_valid(self, paths):
        self.find_anchors()
        return self.match(paths, self.top)

    def parent(self, path):
        return self.snapshot[path].parent if path in self.snapshot else None

    def is_ghost_root(self, path):
        parent, rule = self.parent(path), self.ghost.rule
        if not rule.types or SCENE_ROOT in rule.types:
            return not parent
        if not parent or not re.match(rule.regex, re.split(r"[|/]", parent)[-1]):
            return False
        return parent in self.snapshot and self.snapshot[parent].type in rule.types

    def root_scopes(self, roots):
        if not self.ghost:
            return [list(roots)]
        table = {}
        for path in roots:
            if self.is_ghost_root(path):
                table.setdefault(self.parent(path), []).append(path)
        return list(table.values())

    def begin_at(self, selection, roots):
        """The paths at which hierarchies can begin."""
        if not self.ghost or not self.ghost.rule.types or SCENE_ROOT in self.ghost.rule.types:
            return roots
        found = []
        for path in selection:
            while parent := self.parent(path):
                if parent in roots:
                    found += [path] if self.is_ghost_root(path) else []
                    break
                path = parent
        return found

    def scan(self, roots):
        """The found hierarchies, as they are embedded in a scene."""
        buckets = []
        for group in self.root_scopes(roots):
            claimed = self.mask(group)
            while claimed:
                for path in claimed:
                    if path in group:  # equal rules may claim a path twice
                        group.remove(path)
                if self.is_valid(claimed):
                    state = {"checked": True, "opened": True}
                    buckets += [{"joint": one, "name": one["name"], **state} for one in self.load(claimed)]
                claimed = self.mask(group)
        first = {}  # of buckets with equal roots
        for bucket in buckets:
            key = tuple(bucket["joint"][name] for name in ("stamp", "name", "path", "type"))
            first.setdefault(key, bucket)
        sort_joints([bucket["joint"] for bucket in first.values()])
        return list(first.values())

    def load(self, paths):
        self.find_anchors()
        joints = self.load_layer(paths, self.top)
        if self.ghost and joints:
            joints = [self.joint("", GHOST, joints[0]["name"], "|", joints, "Ghost", "none")]
        return joints

    def load_layer(self, paths, scopes):
        joints = []
        for found, scope in self.layer(paths, scopes):
            below = self.load_layer(found.children, scope.children)
            stamp, kind = scope.rule.stamp, scope.rule.name
            joints.append(self.joint(stamp, kind, found.name, found.path, below, scope.icon, scope.color))
        return joints

    def joint(self, stamp, kind, name, path, children, icon, color):
        self.hooks.append(path)
        joint = {"stamp": stamp, "type": kind, "name": name, "path": path}
        return {**joint, "children": children, "icon": icon, "color": color}


def sort_joints(joints):
    for joint in joints:
        joint["children"].sort(key=lambda child: child["name"])
        sort_joints(joint["children"])
