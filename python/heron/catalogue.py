"""The known checks and the refused ones, as plain data."""

from __future__ import annotations

import difflib
import re
import sys
from collections.abc import Iterable
from dataclasses import dataclass, field
from typing import Any

import core

from .errors import InputError
from .plugins import plugins_contained
from .session import Session

_SUGGESTIONS = 3
_LIMITS = ("minimum", "maximum", "step", "prefix", "units")


class UnknownCheckError(InputError):
    """An id that no known check has; its text tells the nearest ones."""


@dataclass
class Parameter:
    """One setting of a check.

    Attributes:
        name: How the settings of the check call it.
        kind: The class of the input, such as "IntRange".
        label: What a form shows beside it.
        help: What it is for.
        default: Its value where nobody sets another, as project documents keep it.
        limits: For numbers: "minimum", "maximum", "step", "prefix" and "units".
        choices: For a choice: the text of each option by its name.
    """

    name: str
    kind: str
    label: str
    help: str
    default: Any
    limits: dict[str, Any] = field(default_factory=dict)
    choices: dict[str, str] = field(default_factory=dict)


@dataclass
class KnownCheck:
    """A check that can be enabled.

    Attributes:
        id: What `--enable` and project documents call it.
        name: Its full name.
        category: Its category, in lower case.
        description: Its help text.
        scene_oriented: Whether it looks at the scene as a whole.
        parameters: Its settings.
    """

    id: str
    name: str
    category: str
    description: str
    scene_oriented: bool
    parameters: list[Parameter]


@dataclass
class DeniedCheck:
    """A check class that does not hold to the contract.

    Attributes:
        name: The class, behind the name of its module.
        file: Where it is written; empty where that cannot be told.
        reason: The first thing that is wrong with it.
    """

    name: str
    file: str
    reason: str

    def __str__(self) -> str:
        where = f" ({self.file})" if self.file else ""
        return f"the check class {self.name}{where} cannot be used: {self.reason}"


@dataclass
class Catalogue:
    """What the directories of checks hold.

    Attributes:
        checks: The checks in the engine's order: by category, then by their sort index.
        denied: The classes that the engine refuses.
        warnings: What else cannot be used, such as modules that cannot be imported.
    """

    checks: list[KnownCheck]
    denied: list[DeniedCheck]
    warnings: list[str]

    def troubles(self) -> list[str]:
        """All that cannot be used, in sentences."""
        return [*self.warnings, *map(str, self.denied)]


def read_catalogue(session: Session) -> Catalogue:
    """Describes all check classes that the engine found, and those that it refused."""
    with plugins_contained():
        checks = [_describe(check) for check in session.check_classes]
    # A class that several modules import is refused in each.
    refused = {id(check): (check, reason) for check, reason in session.check_classes.get_denials()}.values()
    denied = [DeniedCheck(_name(check), _file(check), reason) for check, reason in refused]
    return Catalogue(checks, denied, session.warnings())


def require_known(classes: core.Check._Classes, ids: Iterable[str], where: str = "") -> None:
    """Holds ids against the known checks.

    Args:
        classes: The known checks.
        ids: The ids.
        where: What asks for them, as the beginning of a sentence; empty for the command line.

    Raises:
        UnknownCheckError: One of them is not known.
    """
    known = {check.class_id for check in classes}
    for name in ids:
        if name not in known:
            raise UnknownCheckError(where + _unknown(classes, name, known))


def _unknown(classes: core.Check._Classes, name: str, known: Iterable[str]) -> str:
    for check, reason in classes.get_denials():
        if vars(check).get("class_id") == name:
            return f"the check {name} cannot be used: {reason}"
    near = difflib.get_close_matches(name, known, _SUGGESTIONS)
    hint = f"did you mean {', '.join(near)}?" if near else "`heron checks` lists the known ones"
    return f"no check {name}; {hint}"


def _describe(check: type[core.Check.Base]) -> KnownCheck:
    return KnownCheck(
        check.class_id,
        check.long_name or check.short_name,
        check.category.lower(),
        check.description,
        check.scene_oriented,
        [_parameter(one) for one in check.parameters().append_task()],
    )


def _parameter(one: core.Parameters._Input) -> Parameter:
    choices = {item.attr: item.text for item in one} if isinstance(one, core.Parameters.ComboBox) else {}
    return Parameter(one.attr, type(one).__name__, one.label, one.help_text, one.data, _limits(one), choices)


def _limits(one: core.Parameters._Input) -> dict[str, Any]:
    """The limits of a number; those of a slice go from the least start to the greatest stop."""
    if isinstance(one, core.Parameters.IntSliceList):
        return {**_limits(one._default.start), "maximum": one._default.stop.maximum}
    if not isinstance(one, (core.Parameters.IntRange, core.Parameters.FloatRange)):
        return {}
    return {name: getattr(one, name) for name in _LIMITS}


def _name(check: type) -> str:
    """The class behind the name of its file; the engine runs each module under a name that no other has."""
    return f"{re.sub(r'^_plugin_[0-9]+[.]', '', check.__module__)}.{check.__qualname__}"


def _file(check: type) -> str:
    return getattr(sys.modules.get(check.__module__), "__file__", None) or ""
