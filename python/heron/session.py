"""One scene, one project and the engine between them."""

from __future__ import annotations

import enum

import core

from .diagnosis import Diagnosis
from .hosts.gltf import GltfScene
from .logs import LogCollector
from .project import Record


class Outcome(enum.Enum):
    """How a scan ended."""

    FOUND = "found"
    NOTHING_FOUND = "nothing found"
    NOTHING_SELECTED = "nothing selected"
    ALREADY_LOADED = "already loaded"
    FAILED = "failed"


class Session:
    """The engine set up for one scene and one project.

    Attributes:
        operator: The scene.
        buffer: The hierarchies found in it.
    """

    def __init__(self, operator: GltfScene, record: Record):
        """Joins a scene with the rules and the pattern of a record."""
        self.operator = operator
        self._virtual = core.Scene._Virtual(operator)
        self._hierarchy = core._Hierarchy(self._virtual, None)
        self._hierarchy.pattern.set(record)
        self.buffer = core.Scene._Buffer(operator, self._virtual, self._hierarchy)
        with LogCollector():  # which settings it starts with is no matter of a scan
            api = core.Api(operator, None)
        callbacks = api.callbacks
        self._scanner = core.Scene._Scanner(
            api, operator, self._virtual, self._hierarchy, self.buffer, callbacks
        )
        self._outcome = Outcome.FAILED
        for event, outcome in (
            (callbacks.empty_scan_result, Outcome.NOTHING_FOUND),
            (callbacks.empty_scan_selection, Outcome.NOTHING_SELECTED),
            (callbacks.used_scan_selection, Outcome.ALREADY_LOADED),
        ):
            event.register(lambda outcome=outcome: self._end(outcome))

    def load(self) -> None:
        """Takes over the hierarchies that the scene file holds from an earlier scan."""
        self.buffer.load()

    def loaded_roots(self) -> list[str]:
        """The root objects of all hierarchies in the buffer."""
        return [path for group in self.buffer.get_path_groups() for path in group]

    def default_selection(self) -> list[str]:
        """All objects at which a hierarchy of this project may begin, less the loaded ones.

        These are the top objects of the scene, or, for a pattern whose ghost stands for objects
        of the scene, the objects one level below them.
        """
        selection = self.operator.roots()
        if self.begins_below_top():
            selection = [path for root in selection for path in self.operator.get_children(root)]
        loaded = set(self.loaded_roots())
        return [path for path in selection if path not in loaded]

    def begins_below_top(self) -> bool:
        """Whether hierarchies begin one level below the top of the scene, not at the top."""
        ghost = self._hierarchy.pattern.get_ghost()
        types = ghost.rule.types if ghost is not None else None
        return bool(types and core.Constants.Scene.Type.SceneRoot not in types)

    def scan(self, append: bool = False) -> Outcome:
        """Looks for hierarchies below the selected objects.

        Args:
            append: Adds to the buffer rather than replacing it.

        Returns:
            How the scan ended. After `FAILED` the reason is in the log.
        """
        self._outcome = Outcome.FAILED
        if self._scanner.upload_buffer(append):
            self._outcome = Outcome.FOUND
        return self._outcome

    def refused(self) -> list[str]:
        """The objects at which a hierarchy could have begun in the last scan, and none did."""
        scene_roots = self.operator.get_selection_roots()
        scopes = self._hierarchy.root_scopes(self._scanner._find_scope_roots(scene_roots))
        found = set(self.loaded_roots())
        candidates = dict.fromkeys(path for scope in scopes for path in scope)
        return [path for path in candidates if path not in found]

    def diagnosis(self) -> Diagnosis:
        """What tells why an object was refused in the last scan."""
        return Diagnosis(self._hierarchy)

    def _end(self, outcome: Outcome) -> None:
        self._outcome = outcome
