"""The shape of the data that the engine keeps in a scene file."""

from __future__ import annotations

import json
from typing import Any, TypeGuard

# Under which key of the "extras" of a document the data stand.
EXTRAS_KEY = "heron"

# No scan makes deeper data, and JSON writers follow the levels by recursion.
MAX_JOINT_DEPTH = 200

_JOINT_TEXTS = ("stamp", "type", "name", "path", "icon", "color")


def plain(data: list[dict[str, Any]]) -> list[dict[str, Any]]:
    """A deep copy made of plain lists, maps, texts, numbers and truth values only.

    Raises:
        TypeError: Something in `data` has no JSON form.
    """
    copy: list[dict[str, Any]] = json.loads(json.dumps(data))
    return copy


def is_filedata(value: object) -> TypeGuard[list[dict[str, Any]]]:
    """Whether `value` is a list of bucket maps as the engine embeds them.

    Absent keys are fine, joints deeper than `MAX_JOINT_DEPTH` are not.
    """
    return isinstance(value, list) and all(map(_is_bucket, value))


def _is_bucket(value: object) -> bool:
    return (
        isinstance(value, dict)
        and _is_text(value.get("name"))
        and isinstance(value.get("checked", True), bool)
        and isinstance(value.get("opened", True), bool)
        and _is_joint_tree(value.get("joint", {}))
    )


def _is_joint_tree(root: object) -> bool:
    stack = [(root, 1)]
    while stack:
        joint, depth = stack.pop()
        if not isinstance(joint, dict) or depth > MAX_JOINT_DEPTH:
            return False
        children = joint.get("children", [])
        if not isinstance(children, list) or not all(_is_text(joint.get(key)) for key in _JOINT_TEXTS):
            return False
        stack.extend((child, depth + 1) for child in children)
    return True


def _is_text(value: object) -> bool:
    return value is None or isinstance(value, str)
