"""Checks of levels of detail, as the extension MSFT_lod tells them."""

from __future__ import annotations

from typing import Any

import core
from heron.checking import GltfCheck, amount
from heron.hosts.gltf_levels import LevelsOfDetail

_P = core.Parameters
_CATEGORY = core.Constants.Check.Category.Lod


class Decreasing(GltfCheck):
    """Finds levels of detail that have not fewer triangles than the one before, and can sort them."""

    class_id = "heron.lod.decreasing"
    long_name = "Levels Of Detail That Do Not Decrease"
    short_name = "LOD order"
    description = (
        "Finds levels of detail that have as many triangles as the level before, or too many to be "
        "worth it. The levels can be selected.\n"
        "The fix sorts the levels behind the first one, where that is enough."
    )
    category = _CATEGORY
    sort_index = 10

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """How much a level must be smaller."""
        return _P.Block(
            _P.FloatRange(
                "share",
                0.05,
                1.0,
                0.05,
                2,
                1.0,
                "",
                "",
                "Share",
                "The triangles of the level before that may stay",
            )
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares each level with the one before."""
        levels = LevelsOfDetail(self.scene, path)
        counts = levels.triangle_counts()
        wrong = _too_large(counts, parameters)
        for level in wrong:
            self.found(
                f"level {level} has {amount(counts[level], 'triangle')}, level {level - 1} before it "
                f"{counts[level - 1]:,}",
                f"level {level}",
                levels.paths(level),
            )
        self.could_be_selected = any(len(finding) for finding in self.result)
        self.could_be_fixed = bool(wrong) and not _too_large(_sorted(counts), parameters)

    def fix_result(self, path: str, parameters: Any) -> None:
        """Sorts the levels, if that mends everything."""
        levels = LevelsOfDetail(self.scene, path)
        counts = levels.triangle_counts()
        if _too_large(counts, parameters) and not _too_large(_sorted(counts), parameters):
            levels.sort()

    def select_result(self) -> None:
        """Selects the levels that are too large."""
        self.scene.select(*(path for finding in self.result for path in finding))


class LevelTriangles(GltfCheck):
    """Holds the triangles of each level of detail to a range."""

    class_id = "heron.lod.triangles"
    long_name = "Triangles By Level Of Detail"
    short_name = "LOD triangles"
    description = (
        "Holds the triangles of each level of detail to a range: the first range is for level 0, and so "
        "on. Levels without a range are free. Nothing is fixed."
    )
    category = _CATEGORY
    sort_index = 20

    @staticmethod
    def parameters() -> core.Parameters.Block:
        """The ranges, level by level."""
        return _P.Block(
            _P.IntSliceList(
                "levels",
                _range(0, 1_000),
                [_range(0, 100_000), _range(0, 50_000), _range(0, 25_000)],
                "The least and the most triangles of each level, beginning with level 0",
            )
        )

    def inspect(self, path: str, parameters: Any) -> None:
        """Compares each level with its range."""
        counts = LevelsOfDetail(self.scene, path).triangle_counts()
        for level, (count, limits) in enumerate(zip(counts, parameters.levels)):
            if not limits.start.value <= count <= limits.stop.value:
                self.found(
                    f"level {level} has {amount(count, 'triangle')}, allowed are {limits.start.value:,} to "
                    f"{limits.stop.value:,}",
                    f"level {level}",
                    [level],
                )


def _range(start: int, stop: int) -> core.Parameters.IntSlice:
    return _P.IntSlice(_triangles("start", start), _triangles("stop", stop))


def _triangles(name: str, value: int) -> core.Parameters.IntRange:
    return _P.IntRange(name, 0, 100_000_000, 100, value, "", "triangles")


def _too_large(counts: list[int], parameters: Any) -> list[int]:
    """The levels that are not small enough beside the level before."""
    return [
        level
        for level in range(1, len(counts))
        if counts[level] >= counts[level - 1] or counts[level] > parameters.share.value * counts[level - 1]
    ]


def _sorted(counts: list[int]) -> list[int]:
    return counts[:1] + sorted(counts[1:], reverse=True)
