"""What a validation found, as plain data: the one thing that all reports show."""

from __future__ import annotations

from collections import Counter
from collections.abc import Iterable, Iterator
from dataclasses import dataclass, field

import core

PASS, INFO, FAIL, ERROR = (
    core.Constants.Check.Result.Pass,
    core.Constants.Check.Result.Info,
    core.Constants.Check.Result.Fail,
    core.Constants.Check.Result.Error,
)
# From harmless to severe.
STATUSES = (PASS, INFO, FAIL, ERROR)


def worst(statuses: Iterable[str]) -> str:
    """The most severe of some statuses, `PASS` if there are none."""
    return max(statuses, key=STATUSES.index, default=PASS)


@dataclass(frozen=True)
class Verdict:
    """What one run of a check said.

    Attributes:
        status: One of `STATUSES`.
        message: The check's text for the user; for an error, what went wrong in the check.
    """

    status: str
    message: str = ""


@dataclass
class CheckOutcome:
    """One check on one object.

    Attributes:
        id: The check's id.
        name: The check's name; it tells the task where a check runs with several sets of parameters.
        category: The check's category.
        found: What the check said first.
        fixable: Whether the check then offered to fix what it found.
        left: What the check said after its fix; None where no fix was tried.
        seconds: How long the check took, the fix left out.
    """

    id: str
    name: str
    category: str
    found: Verdict
    fixable: bool = False
    left: Verdict | None = None
    seconds: float = 0.0

    @property
    def now(self) -> Verdict:
        """What the check said last."""
        return self.left or self.found

    @property
    def fixed(self) -> bool:
        """Whether a fix has removed what was found."""
        return self.left is not None and self.left.status == PASS


@dataclass
class ObjectOutcome:
    """The checks of one object, or of the scene as a whole.

    Attributes:
        path: The object's path; for the whole scene, the path of its file.
        name: What to call it where the path would not do; empty for an object.
        rule: The rule of the project that it matched; empty without a project.
        checks: The checks in the order in which they ran.
    """

    path: str
    name: str = ""
    rule: str = ""
    checks: list[CheckOutcome] = field(default_factory=list)

    @property
    def title(self) -> str:
        """The name, or else the path."""
        return self.name or self.path

    @property
    def status(self) -> str:
        """The worst that its checks said last."""
        return worst(check.now.status for check in self.checks)


@dataclass
class Validation:
    """All that came of one validation.

    Attributes:
        scene: The scene file.
        project: The project file, None where the checks ran on a selection.
        started: When it began, in seconds since 1970.
        seconds: How long it took.
        objects: What was checked.
        refused: (path, reason) of the objects that fit no rule of the project, and so were not checked.
        warnings: What else the user should know.
        fixing: Whether fixes were asked for.
        saved: Whether the scene file now holds what the fixes left.
    """

    scene: str
    project: str | None = None
    started: float = 0.0
    seconds: float = 0.0
    objects: list[ObjectOutcome] = field(default_factory=list)
    refused: list[tuple[str, str]] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)
    fixing: bool = False
    saved: bool = False

    def checks(self) -> Iterator[CheckOutcome]:
        """All checks of all objects."""
        return (check for one in self.objects for check in one.checks)

    def standing(self, check: CheckOutcome) -> Verdict:
        """What holds for the scene file: a fix that was not saved does not count."""
        return check.now if self.saved else check.found

    @property
    def status(self) -> str:
        """The worst that holds for the scene file."""
        return worst(self.standing(check).status for check in self.checks())

    def found(self) -> Counter[str]:
        """How many checks first said what."""
        return Counter(check.found.status for check in self.checks())

    def left(self) -> Counter[str]:
        """How many checks said what in the end."""
        return Counter(check.now.status for check in self.checks())

    def fixed(self) -> int:
        """How many findings a fix has removed."""
        return sum(check.fixed for check in self.checks())
