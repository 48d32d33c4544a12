"""Small glTF files and projects for the tests."""

import base64
import json
import struct

import numpy as np

from heron.hosts.gltf import GltfScene

CORNERS, SQUARE = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], [0, 1, 2, 0, 2, 3]

TYPES = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4"}
COMPONENTS = {"i1": 5120, "u1": 5121, "i2": 5122, "u2": 5123, "u4": 5125, "f4": 5126}


def document(nodes, **members):
    """A glTF document whose only scene shows the nodes that no other node lists."""
    below = {index for node in nodes for index in node.get("children", ())}
    roots = [index for index in range(len(nodes)) if index not in below]
    return {"asset": {"version": "2.0"}, "scenes": [{"nodes": roots}], "nodes": nodes, **members}


def nodes_of(tree):
    """Nodes from nested maps of names; a leaf is a mesh, any other node a transform."""
    nodes = []

    def add(name, below):
        index = len(nodes)
        nodes.append(node := {"name": name})
        node |= {"children": [add(*item) for item in below.items()]} if below else {"mesh": 0}
        return index

    for item in tree.items():
        add(*item)
    return nodes


def grow(nodes, steps):
    """Puts each node below the one so many places before it; where there is none, it stays at the top."""
    for index, step in enumerate(steps):
        if 0 < step <= index:
            nodes[index - step].setdefault("children", []).append(index)
    return nodes


def put(content, place, value=...):
    """A copy of a document with this value at a place such as "nodes/0/mesh", or without one there."""
    content = owner = json.loads(json.dumps(content))
    *above, last = (int(key) if key.isdigit() else key for key in place.split("/"))
    for key in above:
        owner = owner[key]
    if value is ...:
        del owner[last]
    else:
        owner[last] = value
    return content


class Data:
    """Collects arrays in one buffer."""

    def __init__(self):
        self.bytes = b""
        self.views = []
        self.accessors = []

    def view(self, raw, **members):
        """Appends bytes in a buffer view of their own, and returns its number."""
        self.views.append({"buffer": 0, "byteOffset": len(self.bytes), "byteLength": len(raw), **members})
        self.bytes += raw + bytes(-len(raw) % 4)
        return len(self.views) - 1

    def add(self, rows, kind="f4", **members):
        """Appends an accessor for an array of rows, and returns its number."""
        rows = np.array(rows, "<" + kind)
        rows = rows.reshape(len(rows), -1)
        members = {"componentType": COMPONENTS[kind], "type": TYPES[rows.shape[1]], **members}
        return self.place(self.view(rows.tobytes()), 0, len(rows), **members)

    def place(self, view, start, count, **members):
        """Appends an accessor for what lies in a buffer view, and returns its number."""
        record = {"bufferView": view, "byteOffset": start, "componentType": 5126, "type": "VEC3"}
        self.accessors.append({**record, "count": count, **members})
        return len(self.accessors) - 1

    def members(self, uri=None):
        """The members of a document; the buffer is a data URI unless told otherwise."""
        uri = uri or "data:application/octet-stream;base64," + base64.b64encode(self.bytes).decode()
        buffer = {"byteLength": len(self.bytes), "uri": uri}
        return {"buffers": [buffer], "bufferViews": self.views, "accessors": self.accessors}


def glb(content, *chunks, size=None, version=2):
    """A `.glb` of a document, or of raw JSON bytes, with further (type, bytes) chunks."""
    text = content if isinstance(content, bytes) else json.dumps(content).encode()
    text += b" " * (-len(text) % 4)
    body = b"".join(
        struct.pack("<II", len(data), kind) + data for kind, data in ((0x4E4F534A, text), *chunks)
    )
    return struct.pack("<4sII", b"glTF", version, size or 12 + len(body)) + body


def opened(directory, content, name="scene.gltf"):
    """A scene that has just been written."""
    return GltfScene(write(directory / name, content))


def write(path, content):
    """Writes bytes as they are and anything else as JSON; returns the path as text."""
    path.write_bytes(content if isinstance(content, bytes) else json.dumps(content).encode())
    return str(path)


def rule(name, regex, types=(), limits=(1, 1)):
    """A rule whose stamp is its name."""
    names = {"stamp": name, "name": name, "regex": regex, "types": list(types)}
    return {**names, "checklist": {}, "range": list(limits), "color": "#4390ea", "icon": ""}


def pattern(tree):
    """The nodes of a pattern from nested maps of rule names."""
    return [{"stamp": name, "children": pattern(below)} for name, below in tree.items()]


def project(rules, tree, **members):
    """A project document with one record."""
    records = {"5": {"rules": rules, "pattern": pattern(tree)}}
    return {"name": "Test", "version": 3, "records": records, "selected_record": 5, **members}
