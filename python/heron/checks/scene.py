"""Checks of the scene as a whole."""

from __future__ import annotations

import fnmatch
from collections import defaultdict
from typing import Any

import core
from heron.checking import GltfCheck, amount

_P = core.Parameters
_MOST_PATHS = 4


class DuplicateNames(GltfCheck):
    """Finds objects of one name, and can write the numbered names that tell siblings apart."""

    class_id = "heron.scene.duplicate_names"
    long_name = "Names Used More Than Once"
    short_name = "Duplicate names"
    description = (
        "Finds objects that bear the same name. Many programs rename one of them without a word, and "
        "references by name then miss it.\n"
        "The fix gives siblings of one name the numbered names under which they are shown here, such as "
        "wheel.001. Objects in different places keep their names."
    )
    category = core.Constants.Check.Category.Scene
    sort_index = 10
    scene_oriented = True

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """Where names must be unique, and which need not be."""
        return _P.Block(
            _P.ComboBox(
                "within",
                [
                    _P.ComboBox.Item("siblings", "Among objects of one parent", True),
                    _P.ComboBox.Item("scene", "In the whole scene"),
                ],
                label="Unique",
                help_text="Where a name may be used only once",
            ),
            _P.TextMatchList("ignored", [], "Names that may repeat; * stands for any text, ? for one letter"),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Groups the objects by name, and notes each group of more than one."""
        groups = defaultdict(list)
        everywhere = parameters.within.get_selected().attr == "scene"
        for place in self.scene.paths():
            name = self._name(place)
            if not any(fnmatch.fnmatchcase(name, pattern) for pattern in parameters.ignored.values()):
                groups[None if everywhere else self.scene.get_parent(place), name].append(place)
        for (_, name), paths in groups.items():
            if len(paths) > 1:
                shown = ", ".join(paths[:_MOST_PATHS]) + (", ..." if len(paths) > _MOST_PATHS else "")
                self.found(f'{amount(len(paths), "object")} of the name "{name}": {shown}', name, paths)
        self.could_be_selected = len(self.result) > 0
        self.could_be_fixed = any(map(self._is_shown_otherwise, self._findings()))

    def fix_result(self, path: str, parameters: Any) -> None:
        """Writes the names that are shown."""
        for place in filter(self._is_shown_otherwise, self._findings()):
            self.scene.write_name(place)

    def select_result(self) -> None:
        """Selects all objects whose name is not theirs alone."""
        self.scene.select(*self._findings())

    def _findings(self) -> list[str]:
        return [path for group in self.result for path in group]

    def _name(self, path: str) -> str:
        return self.node(path).get("name") or _last_name(path)

    def _is_shown_otherwise(self, path: str) -> bool:
        return self._name(path) != _last_name(path)


class TriangleBudget(GltfCheck):
    """Holds the triangles of the whole scene to a limit."""

    class_id = "heron.scene.triangle_budget"
    long_name = "Triangles Of The Whole Scene"
    short_name = "Scene triangles"
    description = (
        "Counts the triangles of all objects of the scene. A mesh that several objects use counts for "
        "each of them, as it is drawn for each, unless you choose to count it once. Nothing is fixed."
    )
    category = core.Constants.Check.Category.Scene
    sort_index = 20
    scene_oriented = True

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The limit, and how to count."""
        return _P.Block(
            _P.IntRange(
                "most",
                0,
                1_000_000_000,
                1_000,
                1_000_000,
                "",
                "triangles",
                "At most",
                "The triangles allowed",
            ),
            _P.Switch(
                "once", False, "Count shared meshes once", "Ask for the size of the file, not the work"
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Adds up the triangles."""
        total = 0
        counted = set()
        for place in self.scene.paths():
            mesh = self.mesh(place)
            if mesh is None or (parameters.once.enabled and mesh.index in counted):
                continue
            counted.add(mesh.index)
            total += mesh.triangle_count()
        if total > parameters.most.value:
            self.found(f"the scene has {amount(total, 'triangle')}, {parameters.most.value:,} are allowed")


def _last_name(path: str) -> str:
    return path.rpartition("/")[2]
