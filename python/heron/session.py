"""One scene, the rules of a project, the checks and the engine between them."""

from __future__ import annotations

import enum
import os
from collections.abc import Iterator, Sequence

import core

from . import checks
from .diagnosis import Diagnosis
from .documents import document_warnings, ignored_warnings
from .errors import InputError, described
from .home import check_documents
from .hosts.gltf import GltfScene
from .hosts.gltf_export import exporters
from .plugins import plugins_contained
from .project import Record, types_of

_OUTCOME = core.Scene._Scanner.Run.Outcome


class Outcome(enum.Enum):
    """How a scan ended that did not fail."""

    FOUND = _OUTCOME.Found
    NOTHING_FOUND = _OUTCOME.NothingFound
    NOTHING_SELECTED = _OUTCOME.NothingSelected
    ALREADY_LOADED = _OUTCOME.AlreadyLoaded


class DirectoryError(InputError):
    """A directory of checks that does not exist."""


class ScanError(InputError):
    """A scan that could not be carried out."""


class Session:
    """The engine set up for one scene.

    Attributes:
        operator: The scene.
        api: The engine; it owns all parts below it.
        buffer: The hierarchies found in the scene.
        check_classes: The known checks.
        unknown_checks: (rule, check id) of the checks that the record enables and nobody has.
    """

    def __init__(
        self,
        operator: GltfScene,
        record: Record | None = None,
        environment: core.Environment | None = None,
        check_directories: Sequence[str] = (),
    ):
        """Joins a scene with the rules and the pattern of a record, and with checks.

        Args:
            operator: The scene.
            record: What its hierarchies should look like; None for work without a project.
            environment: Where settings and statistics live; by default beside Heron's own files.
            check_directories: Where to look for checks, besides the ones that come with Heron and
                those of the settings. They hold for this session, the settings file stays as it is.

        Raises:
            DirectoryError: One of the directories does not exist.
            HomeError: The settings or the statistics are none.
            PluginExit: A module of checks has called `sys.exit`.
        """
        self.operator = operator
        self.environment = environment or core._LocalEnv()
        self.unknown_checks: list[tuple[str, str]] = []
        with plugins_contained():
            self._build(record, check_directories)

    def warnings(self) -> list[str]:
        """What of the documents and the checks could not be used, or written, so far, in sentences."""
        return [*self._document_warnings(), *self._module_warnings()]

    def _document_warnings(self) -> Iterator[str]:
        settings, statistics = self.api.settings, self.api.statistics
        for path, document in ((settings._path, settings), (statistics._path, statistics)):
            yield from document_warnings(path, document)
        projects = self.api.project.collection
        for path, error in projects.errors.items():
            yield f"{path}: {described(error)}"
        for project in projects:
            yield from ignored_warnings(project.path, project.ignored)
        yield from ignored_warnings("export options", self.api.export.options.ignored)

    def _module_warnings(self) -> Iterator[str]:
        for path, failure in self.check_classes.failures.items():
            yield f"the module {path} cannot be imported: {failure}"

    def _build(self, record: Record | None, check_directories: Sequence[str]) -> None:
        """Makes the engine; this runs code of plug-ins."""
        check_documents(self.environment)
        self.api = core.Api(self.operator, self.environment, exporters(), checks)
        self._hierarchy: core._Hierarchy = self.api.scene.hierarchy
        self.buffer: core.Scene._Buffer = self.api.scene.buffer
        self.buffer.set([])  # what the scene file holds counts only after `load`
        self.check_classes: core.Check._Classes = self._hierarchy.pattern.check_classes
        self._add_checks(check_directories)
        if record is not None:
            # Building the rules' checklists drops what no check is known for.
            self.unknown_checks = list(self._find_unknown(record))
            self._hierarchy.pattern.set(record)
            self.api.export.options.load(record.export.get_options())
            self.api.export.flags.load(record.export.flags.data)

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

    def everything_below(self, paths: Sequence[str]) -> list[str]:
        """The objects at `paths` and all below them, parents before their children, each once."""
        stack, seen = list(reversed(paths)), dict[str, None]()
        while stack:
            path = stack.pop()
            if path not in seen:
                seen[path] = None
                stack.extend(reversed(self.operator.get_children(path)))
        return list(seen)

    def begins_below_top(self) -> bool:
        """Whether hierarchies begin one level below the top of the scene, not at the top."""
        ghost = self._hierarchy.pattern.get_ghost()
        types = types_of(ghost.rule) if ghost is not None else []
        return bool(types and core.Constants.Scene.Type.SceneRoot not in types)

    def scan(self, append: bool = False) -> Outcome:
        """Looks for hierarchies below the selected objects.

        Args:
            append: Adds to the buffer rather than replacing it.

        Returns:
            How the scan ended.

        Raises:
            ScanError: The scan failed.
        """
        scanner = self.api.scene.scanner
        scanner.upload_buffer(append)
        run = scanner.last_run
        assert run is not None
        if run.error is not None:
            raise ScanError(f"the scan failed: {described(run.error)}") from run.error
        return Outcome(run.outcome)

    def refused(self) -> list[str]:
        """The objects at which a hierarchy could have begun in the last scan, and none did."""
        scene_roots = self.operator.get_selection_roots()
        scopes = self._hierarchy.root_scopes(self.api.scene.scanner._find_scope_roots(scene_roots))
        found = set(self.loaded_roots())
        candidates = dict.fromkeys(path for scope in scopes for path in scope)
        return [path for path in candidates if path not in found]

    def diagnosis(self) -> Diagnosis:
        """What tells why an object was refused in the last scan."""
        return Diagnosis(self._hierarchy)

    def _add_checks(self, directories: Sequence[str]) -> None:
        """Looks for checks in further directories, and takes their states from the settings."""
        settings = self.api.settings.check
        for path in directories:
            if not os.path.isdir(path):
                raise DirectoryError(f"{path}: no such directory")
            settings.directories.register(os.path.basename(os.path.abspath(path)), path)
        if not directories:
            return
        self.check_classes.reload()
        if os.path.exists(self.environment.get_settings_file()):
            # The first checklist has dropped the states of checks that were not known yet.
            settings.config.apply(core._Settings(self.environment).check.config)
        self.api.validator.checklist = core.Api._Validator._CheckList(self.api, self.check_classes)

    def _find_unknown(self, record: Record) -> Iterator[tuple[str, str]]:
        known = {check.class_id for check in self.check_classes}
        for rule in record.rules:
            for state in rule.check_config:
                if state.enabled and state.class_id not in known:
                    yield rule.name, state.class_id
