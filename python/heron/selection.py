"""Checking the object paths that a user typed against the scene."""

from __future__ import annotations

import difflib

from .errors import InputError
from .hosts.gltf import GltfScene

_SUGGESTIONS = 3


class SelectionError(InputError):
    """A path that names no object of the scene; its text tells the nearest ones."""


def select_paths(scene: GltfScene, paths: list[str]) -> None:
    """Selects the objects at `paths`.

    Raises:
        SelectionError: One of them does not exist.
    """
    for path in paths:
        if not scene.object_exists(path):
            near = ", ".join(suggestions(scene, path))
            raise SelectionError(f"no object {path}" + (f"; did you mean {near}?" if near else ""))
    scene.select(*paths)


def suggestions(scene: GltfScene, path: str) -> list[str]:
    """Existing paths that `path` may have meant, the nearest first.

    The path is followed as far as it exists; only names at the place where it breaks off are
    compared, so this costs nothing in a large scene.
    """
    parent, siblings = "", scene.roots()
    rest = path.strip("/").split("/")
    while f"{parent}/{rest[0]}" in siblings and len(rest) > 1:
        parent = f"{parent}/{rest.pop(0)}"
        siblings = scene.get_children(parent)
    by_name = {sibling.rpartition("/")[2]: sibling for sibling in siblings}
    near = difflib.get_close_matches(rest[0], by_name, _SUGGESTIONS)
    whole = ["/".join([by_name[name], *rest[1:]]) for name in near]
    return [known for known in whole if scene.object_exists(known)] or [by_name[n] for n in near]
