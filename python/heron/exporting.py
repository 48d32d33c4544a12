"""Exporting the hierarchies of a session, with account of what was written and what was not."""

from __future__ import annotations

import os
from collections.abc import Iterable
from dataclasses import dataclass, field
from typing import Any

import core

from .errors import InputError, described
from .hosts.gltf import GltfError, GltfScene
from .hosts.gltf_file import GltfFile, relative_files
from .session import Session

_P = core.Parameters
_SWITCHES = {"true": True, "yes": True, "on": True, "1": True,
             "false": False, "no": False, "off": False, "0": False}  # fmt: skip


class OptionError(InputError):
    """An option of an exporter that does not exist, or a value that it cannot have."""


@dataclass
class Exported:
    """What came of an export.

    Attributes:
        written: The hierarchies with the paths of their files, the main file first.
        skipped: The hierarchies that were not written, with the reason.
    """

    written: list[tuple[str, list[str]]] = field(default_factory=list)
    skipped: list[tuple[str, str]] = field(default_factory=list)


class ExportScene(GltfScene):
    """A scene that never writes one export over another.

    Attributes:
        written: What has gone to each file since somebody cleared it, as the roots of the hierarchy.
    """

    def __init__(self, path: str | None = None):
        """Opens a file."""
        self.written: dict[str, list[str]] = {}
        super().__init__(path)

    def export(self, roots: list[str], file_path: str, type: str, args: Any, **flags: bool) -> None:  # type: ignore[override]
        """Exports as `GltfScene` does.

        Raises:
            GltfError: As there, or another hierarchy has gone to this file.
        """
        other = self.written.get(os.path.normcase(file_path))
        if other is not None:
            raise GltfError(file_path, f"{', '.join(other)} has the same name and was written there")
        super().export(roots, file_path, type, args, **flags)
        self.written[os.path.normcase(file_path)] = roots


def set_format(options: core._Export.Options, name: str) -> None:
    """Selects an exporter.

    Raises:
        OptionError: There is none of this name.
    """
    known = [exporter.attr for exporter in options]
    if name not in known:
        raise OptionError(f"no export format {name}, but: {', '.join(known)}")
    options.select(name)


def set_options(options: core._Export.Options, assignments: Iterable[str]) -> None:
    """Sets options of the selected exporter.

    Args:
        options: The exporters.
        assignments: Each "NAME=VALUE".

    Raises:
        OptionError: There is no such option, or it cannot have such a value.
    """
    exporter = options.selected
    assert exporter is not None
    known = {entry.attr: entry for entry in exporter if isinstance(entry, _P._Input)}
    for assignment in assignments:
        name, equals, text = assignment.partition("=")
        if not equals:
            raise OptionError(f"an export option is NAME=VALUE, not {assignment}")
        if name not in known:
            raise OptionError(f"no option {name} for {exporter.attr}, but: {', '.join(known)}")
        _set(known[name], text)


def describe_options(exporter: core.Parameters.Options) -> str:
    """The options of an exporter with what they may be, in one line."""
    return ", ".join(
        f"{entry.attr}={'|'.join(_choices(entry))}" for entry in exporter if isinstance(entry, _P._Input)
    )


def _set(entry: core.Parameters._Input, text: str) -> None:
    choices = _choices(entry)
    if text not in choices and not (isinstance(entry, _P.Switch) and text.lower() in _SWITCHES):
        raise OptionError(f"{entry.attr} is one of {', '.join(choices)}, not {text}")
    if isinstance(entry, _P.Switch):
        entry.enabled = _SWITCHES[text.lower()]
    elif isinstance(entry, _P.ComboBox):
        entry.set_selected(list(entry)[choices.index(text)])


def _choices(entry: core.Parameters._Input) -> list[str]:
    if isinstance(entry, _P.ComboBox):
        return [item.attr for item in entry]
    return ["true", "false"]


def export(session: Session, scene: ExportScene, directory: str) -> Exported:
    """Exports the hierarchies that the session has found.

    Args:
        session: The session after a scan; its engine has the exporters and the flags.
        scene: Its scene.
        directory: Where to.
    """
    scene.written.clear()
    session.api.export.project(directory)
    result = Exported()
    for task in session.api.export.queue:
        if task.is_confirmed() and task.path is not None:
            result.written.append((task.name, _files(task.path)))
        else:
            result.skipped.append((task.name, _reason(task)))
    return result


def _files(path: str) -> list[str]:
    """A file, and those beside it to which it refers."""
    own, directory = os.path.realpath(path), os.path.dirname(path)
    beside = relative_files(GltfFile.read(path)) - {own}
    return [
        path,
        *sorted(os.path.join(directory, os.path.relpath(one, os.path.dirname(own))) for one in beside),
    ]


def _reason(task: core._Export.Queue.Task) -> str:
    """Why a hierarchy was not written."""
    if task.error is None:
        return "it has no objects"
    # Without a path it did not come as far as the host.
    return f"no name for its file: {task.error}" if task.path is None else described(task.error)
