"""Checks of single objects: their names and their scale."""

from __future__ import annotations

import re
from typing import Any

import numpy as np

import core
from heron.checking import GltfCheck

_P = core.Parameters
_FLAT = 1e-9
_SHEARED = 1e-4


class Name(GltfCheck):
    """Holds the name of an object to an expression, and can give a name to what has none."""

    class_id = "heron.object.name"
    long_name = "Object Name"
    short_name = "Name"
    description = (
        "Finds objects without a name, with a name that does not match the expression, or with a name "
        "that holds a text it must not hold, such as what a program appends to copies.\n"
        "The fix gives an object without a name the one under which it is shown here, such as node_12."
    )
    category = core.Constants.Check.Category.Object
    sort_index = 10

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The expression, and the forbidden texts."""
        return _P.Block(
            _P.RegEx("pattern", ".+", "Expression", "The regular expression that the whole name must match"),
            _P.TextInputList(
                "forbidden",
                [_P.TextInput("copy", True), _P.TextInput("untitled", True), _P.TextInput("tmp", False)],
                "Texts that no name may hold, in upper or lower case; those without a mark are let pass",
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks at the name as it stands in the file."""
        name = self.node(path).get("name")
        if not name:
            self.found("the object has no name", path)
            self.could_be_fixed = True
            return
        if re.fullmatch(parameters.pattern.text, name) is None:
            self.found(f'the name "{name}" does not match {parameters.pattern.text}', path)
        for text in parameters.forbidden.values():
            if text and text.lower() in name.lower():
                self.found(f'the name "{name}" holds "{text}"', path, [text])

    def fix_result(self, path: str, parameters: Any) -> None:
        """Writes the name that is shown, if there is none."""
        if not self.node(path).get("name"):
            self.scene.write_name(path)


class Scale(GltfCheck):
    """Finds objects that are mirrored, flattened, stretched or sheared."""

    class_id = "heron.object.scale"
    long_name = "Negative Or Uneven Scale"
    short_name = "Scale"
    description = (
        "Finds objects with a negative scale, which turns faces inside out in many engines, with a "
        "scale that differs by axis, which distorts children, normals and collisions, with a scale of "
        "zero, and with a shear. It looks at the object's own scale, not at that of its parents. "
        "Nothing is fixed: apply the scale in the program that made the object."
    )
    category = core.Constants.Check.Category.Object
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """What is allowed, and how exactly."""
        return _P.Block(
            _P.Switch("negative", False, "Allow negative scale", "For objects that are mirrored on purpose"),
            _P.Switch("uneven", False, "Allow uneven scale", "For objects that are stretched on purpose"),
            _P.FloatRange(
                "tolerance",
                0.0,
                1.0,
                0.001,
                4,
                0.001,
                "",
                "",
                "Tolerance",
                "How much axes may differ, as a share",
            ),
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Looks at the scale, or at what the matrix scales by."""
        scale, sheared = self._scale(path)
        told = ", ".join(f"{value:.4g}" for value in scale)
        sizes = [abs(value) for value in scale]
        if min(sizes) <= _FLAT:
            self.found(f"the object is flattened by its scale {told}", path)
        elif (
            max(sizes) - min(sizes) > parameters.tolerance.value * max(sizes)
            and not parameters.uneven.enabled
        ):
            self.found(f"the scale {told} differs by axis", path)
        if min(scale) < 0 and not parameters.negative.enabled:
            self.found(f"the scale {told} is negative", path)
        if sheared:
            self.found("the object's matrix shears it", path)

    def _scale(self, path: str) -> tuple[list[float], bool]:
        """The scale by axis, and whether there is a shear. A mirroring matrix has a negative x."""
        node = self.node(path)
        matrix = self.members.numbers(node, "matrix", 16, path)
        if matrix is None:
            return self.members.numbers(node, "scale", 3, path) or [1.0, 1.0, 1.0], False
        axes = np.array(matrix).reshape(4, 4)[:3, :3]
        sizes = np.linalg.norm(axes, axis=1)
        straight = axes / np.maximum(sizes, _FLAT)[:, None]
        scale = sizes.tolist()
        if np.linalg.det(straight) < 0:
            scale[0] = -scale[0]
        cosines = straight @ straight.T
        return scale, bool(np.abs(cosines - np.diag(np.diag(cosines))).max() > _SHEARED)
