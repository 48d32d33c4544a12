"""Writes the example: `street.gltf`, a street with cars and lamp posts, and `street.json`, the
project that tells how such a street must be built.

    python make_street.py [DIRECTORY]

The files are the same on every run. Without a directory they go beside this script.

The right objects show the rules at work, the wrong ones what the rules catch:

- car_green has a wheel that is named after another car,
- car_yellow has no body,
- "car_blue copy" is what is left when somebody duplicates an object,
- post_03 has lost its bulb.

Of the objects that fit the rules, the checks find fault with some:

- the body of car_blue has a triangle without area, which can be fixed,
- car_black is stretched,
- the poles have more triangles than they should, which is worth a note,
- the name check of the posts has an expression that lacks a parenthesis, and so cannot run.
"""

from __future__ import annotations

import base64
import json
import math
import struct
import sys
from pathlib import Path

Point = tuple[float, float, float]

FLOAT, SHORT = 5126, 5123
VERTICES, INDICES = 34962, 34963

COLORS = {
    "red": (0.72, 0.06, 0.05),
    "blue": (0.05, 0.16, 0.55),
    "black": (0.02, 0.02, 0.03),
    "green": (0.05, 0.40, 0.12),
    "yellow": (0.86, 0.66, 0.06),
    "rubber": (0.03, 0.03, 0.03),
    "metal": (0.55, 0.57, 0.60),
    "light": (1.0, 0.93, 0.70),
    "asphalt": (0.12, 0.12, 0.13),
}


class Shape:
    """Triangles with one normal each, so that edges stay hard."""

    def __init__(self) -> None:
        self.positions: list[Point] = []
        self.normals: list[Point] = []
        self.indices: list[int] = []

    def face(self, corners: list[Point], normal: Point) -> None:
        """Adds a convex face, its corners counter-clockwise as seen from outside."""
        first = len(self.positions)
        self.positions += corners
        self.normals += [normal] * len(corners)
        for index in range(1, len(corners) - 1):
            self.indices += [first, first + index, first + index + 1]


def box(*parts: tuple[Point, Point]) -> Shape:
    """One or more boxes, each given by its lowest and its highest corner."""
    shape = Shape()
    for low, high in parts:
        for axis in range(3):
            for side, sign in ((low, -1.0), (high, 1.0)):
                u, v = (axis + 1) % 3, (axis + 2) % 3
                corners = []
                for a, b in ((low, low), (high, low), (high, high), (low, high)):
                    corner = [0.0, 0.0, 0.0]
                    corner[axis], corner[u], corner[v] = side[axis], a[u], b[v]
                    corners.append((corner[0], corner[1], corner[2]))
                if sign < 0:
                    corners.reverse()
                normal = [0.0, 0.0, 0.0]
                normal[axis] = sign
                shape.face(corners, (normal[0], normal[1], normal[2]))
    return shape


def cylinder(radius: float, half_length: float, sides: int = 16) -> Shape:
    """A cylinder around the z axis."""
    shape = Shape()
    ring = [
        (radius * math.cos(2 * math.pi * i / sides), radius * math.sin(2 * math.pi * i / sides))
        for i in range(sides)
    ]
    for index, (x, y) in enumerate(ring):
        nx, ny = ring[(index + 1) % sides]
        middle = 2 * math.pi * (index + 0.5) / sides
        shape.face(
            [(x, y, -half_length), (nx, ny, -half_length), (nx, ny, half_length), (x, y, half_length)],
            (math.cos(middle), math.sin(middle), 0.0),
        )
    shape.face([(x, y, half_length) for x, y in ring], (0.0, 0.0, 1.0))
    shape.face([(x, y, -half_length) for x, y in reversed(ring)], (0.0, 0.0, -1.0))
    return shape


def flawed(shape: Shape) -> Shape:
    """The shape with a triangle more that has no area."""
    shape.face([(-2.1, 0.3, 0.0), (0.0, 0.3, 0.0), (2.1, 0.3, 0.0)], (0.0, -1.0, 0.0))
    return shape


CAR_BODY = ((-2.1, 0.3, -0.85), (2.1, 0.9, 0.85)), ((-1.3, 0.9, -0.75), (0.9, 1.5, 0.75))
SHAPES = {
    "body": box(*CAR_BODY),
    "body_flawed": flawed(box(*CAR_BODY)),
    "body_far": box(((-2.0, 0.35, -0.8), (2.0, 1.2, 0.8))),
    "tyre": cylinder(0.34, 0.11),
    "rim": cylinder(0.2, 0.12, 8),
    "headlamp": box(((-0.04, -0.1, -0.16), (0.04, 0.1, 0.16))),
    "pole": cylinder(0.07, 2.0, 12),
    "bulb": box(((-0.15, -0.1, -0.15), (0.15, 0.1, 0.15))),
    "ground": box(((-24.0, -0.2, -8.0), (24.0, 0.0, 8.0))),
}


class Street:
    """Collects the nodes of the scene and the meshes that they use."""

    def __init__(self) -> None:
        self.nodes: list[dict] = []
        self.meshes: dict[tuple[str, str], int] = {}

    def node(self, name: str, children: list[int] | None = None, **members) -> int:
        """Adds a node, returns its index."""
        node: dict = {"name": name, **members}
        if children:
            node["children"] = children
        self.nodes.append(node)
        return len(self.nodes) - 1

    def mesh(self, name: str, shape: str, color: str, place: Point | None = None, **members) -> int:
        """Adds a node with a mesh."""
        index = self.meshes.setdefault((shape, color), len(self.meshes))
        where = {} if place is None else {"translation": list(place)}
        return self.node(name, mesh=index, **where, **members)


def body(street: Street, name: str, color: str, shape: str) -> int:
    """A body in two levels of detail."""
    near = street.mesh(f"{name}_lod0", shape, color)
    far = street.mesh(f"{name}_lod1", "body_far", color)
    return street.node(name, [near, far], extensions={"MSFT_lod": {"ids": [far]}})


def wheel(street: Street, name: str, place: Point, rim: bool) -> int:
    """A tyre, with or without a rim."""
    parts = [street.mesh(f"{name}_tyre", "tyre", "rubber")]
    if rim:
        parts.append(street.mesh(f"{name}_rim", "rim", "metal"))
    return street.node(name, parts, translation=list(place))


def car(
    street: Street,
    name: str,
    place: Point,
    lamps: int = 2,
    rims: bool = True,
    with_body: bool = True,
    stray: str = "",
    shape: str = "body",
    **members,
) -> int:
    """A car. `stray` is the name under which its rear right wheel goes by mistake."""
    color = name.partition("_")[2].partition(" ")[0]
    children = [body(street, f"{name}_body", color, shape)] if with_body else []
    for spot, x, z in (
        ("front_left", 1.3, -0.85),
        ("front_right", 1.3, 0.85),
        ("rear_left", -1.3, -0.85),
        ("rear_right", -1.3, 0.85),
    ):
        wheel_name = stray if stray and spot == "rear_right" else f"{name}_wheel_{spot}"
        children.append(wheel(street, wheel_name, (x, 0.34, z), rims))
    for number in range(lamps):
        side = -0.6 if number % 2 else 0.6
        children.append(street.mesh(f"{name}_lamp_{number + 1:02d}", "headlamp", "light", (2.1, 0.65, side)))
    return street.node(name, children, translation=list(place), **members)


def post(street: Street, name: str, place: Point, bulbs: int) -> int:
    """A lamp post."""
    children = [
        street.mesh(
            f"{name}_pole",
            "pole",
            "metal",
            (0.0, 2.0, 0.0),
            rotation=[0.7071067811865476, 0.0, 0.0, 0.7071067811865476],
        )
    ]
    for number in range(bulbs):
        children.append(
            street.mesh(
                f"{name}_bulb_{number + 1:02d}", "bulb", "light", (0.4 * number - 0.2 * (bulbs - 1), 4.1, 0.0)
            )
        )
    return street.node(name, children, translation=list(place))


def build_street() -> Street:
    """The whole scene; its last three nodes are the top ones."""
    street = Street()
    cars = [
        car(street, "car_red", (-16.0, 0.0, -2.5)),
        car(street, "car_blue", (-9.0, 0.0, -2.5), rims=False, shape="body_flawed"),
        car(street, "car_black", (-2.0, 0.0, -2.5), lamps=0, scale=[1.0, 1.0, 1.1]),
        car(street, "car_green", (5.0, 0.0, 2.5), stray="car_red_wheel_rear_right"),
        car(street, "car_yellow", (12.0, 0.0, 2.5), with_body=False),
        car(street, "car_blue copy", (19.0, 0.0, 2.5), rims=False),
    ]
    posts = [
        post(street, f"post_{number:02d}", (24.0 * number - 48.0, 0.0, 6.0), bulbs)
        for number, bulbs in ((1, 1), (2, 2), (3, 0))
    ]
    scenery = [
        street.mesh("ground", "ground", "asphalt"),
        street.node("camera_street", camera=0, translation=[0.0, 6.0, 22.0]),
        street.node(
            "sun",
            extensions={"KHR_lights_punctual": {"light": 0}},
            rotation=[-0.5, 0.0, 0.0, 0.8660254037844386],
        ),
    ]
    street.node("cars", cars)
    street.node("posts", posts)
    street.node("scenery", scenery)
    return street


def gltf_document(street: Street) -> dict:
    """The glTF document of the street, its buffer embedded."""
    data = bytearray()
    views: list[dict] = []
    accessors: list[dict] = []
    primitives = {}
    for name, shape in SHAPES.items():
        attributes = {}
        for attribute, points in (("POSITION", shape.positions), ("NORMAL", shape.normals)):
            packed = struct.pack(f"<{3 * len(points)}f", *(v for point in points for v in point))
            axes = [struct.unpack(f"<{3 * len(points)}f", packed)[axis::3] for axis in range(3)]
            limits = {
                "min": [min(axis) for axis in axes],
                "max": [max(axis) for axis in axes],
            }
            attributes[attribute] = len(accessors)
            accessors.append(
                {
                    "bufferView": len(views),
                    "componentType": FLOAT,
                    "count": len(points),
                    "type": "VEC3",
                    **(limits if attribute == "POSITION" else {}),
                }
            )
            views.append(
                {"buffer": 0, "byteOffset": len(data), "byteLength": len(packed), "target": VERTICES}
            )
            data += packed
        packed = struct.pack(f"<{len(shape.indices)}H", *shape.indices)
        primitives[name] = {"attributes": attributes, "indices": len(accessors)}
        accessors.append(
            {"bufferView": len(views), "componentType": SHORT, "count": len(shape.indices), "type": "SCALAR"}
        )
        views.append({"buffer": 0, "byteOffset": len(data), "byteLength": len(packed), "target": INDICES})
        data += packed + bytes(-len(packed) % 4)
    materials = list(COLORS)
    return {
        "asset": {"version": "2.0", "generator": "make_street.py"},
        "extensionsUsed": ["KHR_lights_punctual", "MSFT_lod"],
        "extensions": {
            "KHR_lights_punctual": {
                "lights": [{"type": "directional", "color": [1.0, 0.97, 0.9], "intensity": 3.0}]
            }
        },
        "scene": 0,
        "scenes": [{"name": "street", "nodes": [len(street.nodes) - 3 + i for i in range(3)]}],
        "nodes": street.nodes,
        "cameras": [
            {
                "type": "perspective",
                "perspective": {"aspectRatio": 1.7777777777777777, "yfov": 0.7, "znear": 0.1, "zfar": 200.0},
            }
        ],
        "meshes": [
            {
                "name": f"{shape}_{color}",
                "primitives": [{**primitives[shape], "material": materials.index(color)}],
            }
            for shape, color in street.meshes
        ],
        "materials": [
            {
                "name": name,
                "pbrMetallicRoughness": {
                    "baseColorFactor": [*color, 1.0],
                    "metallicFactor": 0.0,
                    "roughnessFactor": 0.6,
                },
            }
            for name, color in COLORS.items()
        ],
        "accessors": accessors,
        "bufferViews": views,
        "buffers": [
            {
                "byteLength": len(data),
                "uri": "data:application/octet-stream;base64," + base64.b64encode(data).decode(),
            }
        ],
    }


def rule(
    number: int,
    name: str,
    regex: str,
    types: list[str],
    least: int,
    most: int,
    color: str,
    icon: str,
    checklist: dict | None = None,
) -> dict:
    """One rule of the project. The stamp is what nodes of the pattern refer to."""
    return {
        "stamp": f"57ee700000000{number:03x}",
        "name": name,
        "regex": regex,
        "types": types,
        "checklist": checklist or {},
        "range": [least, most],
        "color": color,
        "icon": icon,
    }


def check(as_info: bool = False, **state) -> dict:
    """A check that a rule enables: with the parameters of `state`, the others as the check has them."""
    task = [{"as_info": as_info, "state": state}] if state else []
    return {"enabled": True, "opened": False, "parameters": task}


CARS = {
    "heron.scene.duplicate_names": check(),
    "heron.object.name": check(),
    "heron.object.scale": check(),
}
MESHES = {
    "heron.mesh.indices": check(),
    "heron.mesh.degenerate_triangles": check(),
    "heron.mesh.normals": check(),
    "heron.material.missing": check(),
}
POLES = {**MESHES, "heron.mesh.triangle_budget": check(as_info=True, most={"value": 40})}
POSTS = {"heron.object.name": check(pattern={"text": "post_([0-9]+"})}

RULES = [
    rule(1, "ghost", "^(cars|posts)$", ["transform"], 0, 99, "#262626", "Ghost"),
    rule(2, "car", "^<car:car_[a-z]+>$", ["transform"], 0, 1, "#d9534f", "Car", CARS),
    rule(3, "body", "^<car>_body$", ["lodGroup"], 1, 1, "#4390ea", "Body", {"heron.lod.decreasing": check()}),
    rule(4, "level", r"^<car>_body_lod\d$", ["mesh"], 1, 4, "#7fb2ef", "Render", MESHES),
    rule(
        5, "wheel", "^<car>_wheel_<place:(front|rear)_(left|right)>$", ["transform"], 4, 4, "#f0ad4e", "Wheel"
    ),
    rule(6, "tyre", "^<car>_wheel_<place>_tyre$", ["mesh"], 1, 1, "#8a6d3b", "Render"),
    rule(7, "rim", "^<car>_wheel_<place>_rim$", ["mesh"], 0, 1, "#b8b8b8", "Render"),
    rule(8, "lamp", r"^<car>_lamp_\d+$", ["mesh"], 0, 4, "#ffe066", "Light"),
    rule(9, "post", r"^<post:post_\d+>$", ["transform"], 0, 1, "#5cb85c", "Post", POSTS),
    rule(10, "pole", "^<post>_pole$", ["mesh"], 1, 1, "#9aa0a6", "Render", POLES),
    rule(11, "bulb", r"^<post>_bulb_\d+$", ["mesh"], 1, 2, "#ffe066", "Light"),
]

PATTERN = {
    "ghost": {
        "car": {"body": {"level": {}}, "wheel": {"tyre": {}, "rim": {}}, "lamp": {}},
        "post": {"pole": {}, "bulb": {}},
    }
}


def pattern_nodes(tree: dict) -> list[dict]:
    """The tree of names as the project document keeps it, by stamps."""
    stamps = {item["name"]: item["stamp"] for item in RULES}
    return [{"stamp": stamps[name], "children": pattern_nodes(below)} for name, below in tree.items()]


def project_document() -> dict:
    """The project document."""
    saved = 1767225600
    record = {
        "export": {
            "directory": "~",
            "options": {},
            "flags": {
                "automatic_uv": False,
                "triangulate": False,
                "reset_xforms": False,
                "version_control": False,
            },
        },
        "rules": RULES,
        "pattern": pattern_nodes(PATTERN),
        "author": "Heron",
        "comment": "Cars with bodies, wheels and lamps; posts with bulbs.",
    }
    return {
        "name": "Street",
        "description": "A street with cars and lamp posts.",
        "records": {str(saved): record},
        "selected_record": saved,
        "deleted": False,
        "version": 3,
        "filename": "street.json",
        "target": "standalone",
        "edit_timestamp": float(saved),
    }


def write(path: Path, document: dict) -> None:
    """Writes a document as it stands in the repository."""
    text = json.dumps(document, ensure_ascii=False, indent=2)
    path.write_bytes(text.encode("utf-8"))


def main(directory: Path) -> None:
    """Writes both files into a directory."""
    write(directory / "street.gltf", gltf_document(build_street()))
    write(directory / "street.json", project_document())


if __name__ == "__main__":
    main(Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent)
