"""Running the checks of a session, and gathering what they say as plain data."""

from __future__ import annotations

from collections import defaultdict, deque
from collections.abc import Callable, Collection
from dataclasses import dataclass
from typing import Any

import core

from .logs import LogCollector
from .outcome import ERROR, CheckOutcome, ObjectOutcome, Verdict
from .session import Session

_MODE = core.Constants.Check.Mode

# Told after each check how many are done, and of how many.
Progress = Callable[[int, int], None]


def enable_in_rules(session: Session, ids: Collection[str]) -> None:
    """Enables checks in every rule of the project, besides those that the rules enable."""
    for rule in session.api.scene.hierarchy.pattern._rules.values():
        for control in rule.checklist:
            control.enabled = control.enabled or control.check.class_id in ids


def enable_for_selection(session: Session, ids: Collection[str]) -> None:
    """Chooses what runs on a selection.

    Args:
        session: The session.
        ids: The checks; if there are none, those that the settings enable, or else all known ones.
    """
    checklist = session.api.validator.checklist.workspace
    if not ids and not checklist.is_empty():
        return
    for control in checklist:
        control.enabled = not ids or control.check.class_id in ids


class Validator:
    """Runs checks, and then their fixes, in one session, and keeps account of them."""

    def __init__(self, session: Session, log: LogCollector, progress: Progress = lambda done, total: None):
        """Takes a session; `log` must be collecting while checks run."""
        self._session = session
        self._queue: core.Check._Queue = session.api.validator.queue
        self._ledger = _Ledger(session.api.statistics, log, self._count)
        session.api.statistics = self._ledger  # type: ignore[assignment]
        self._progress = progress
        self._total = 0
        self._fixable: list[tuple[CheckOutcome, core.Check._Queue.Task.Result]] = []

    def run(self, mode: int) -> list[ObjectOutcome]:
        """Runs the enabled checks on what the buffer holds, or on what is selected.

        Args:
            mode: One of `core.Constants.Check.Mode`.
        """
        self._total = 0
        self._ledger.runs.clear()
        self._session.api.settings.check.mode = mode
        self._session.api.validator.start()
        rules = _matched_rules(self._session) if mode == _MODE.Project else {}
        runs = iter(self._ledger.runs)
        self._fixable.clear()
        outcomes = []
        for task in self._queue:
            whole = task.name != task.path
            rule = rules[task.path].popleft() if rules and not whole else ""
            checks = [self._outcome(result, next(runs)) for result in task.results]
            outcomes.append(ObjectOutcome(task.path, task.name if whole else "", rule, checks))
        return outcomes

    def fix(self) -> None:
        """Has every check that can fix what it found do so. The outcomes of `run` then tell what is left."""
        fixable, self._fixable = self._fixable, []
        self._total = len(fixable)
        self._ledger.runs.clear()
        self._ledger.fixing = True
        self._queue.fix_all()
        self._ledger.write()
        for (outcome, result), run in zip(fixable, self._ledger.runs, strict=True):
            outcome.left = _verdict(result, run)

    def _outcome(self, result: core.Check._Queue.Task.Result, run: _Run) -> CheckOutcome:
        check = type(result._check)
        outcome = CheckOutcome(
            check.class_id,
            str(result.name) or check.short_name or check.class_id,
            check.category.lower(),
            _verdict(result, run),
            bool(result.could_be_fixed),
            seconds=run.seconds,
        )
        if outcome.fixable:
            self._fixable.append((outcome, result))
        return outcome

    def _count(self, done: int) -> None:
        if not self._total:
            # The plan is made within the run, and stands when its first check has run.
            controls = (control for task in self._queue for control in task.check_controls)
            self._total = sum(control.parameters.length for control in controls)
        self._progress(done, self._total)


@dataclass
class _Run:
    """One run of a check: how long it took, and what was logged as an error meanwhile."""

    seconds: float
    errors: list[str]


class _Ledger:
    """Stands before the statistics and sees each run of a check as it ends.

    The engine tells the statistics of a run only that there was an error. What the error was, it
    logs; the records that have come since the run before are the ones of this run.

    Attributes:
        runs: The runs since somebody cleared them.
        fixing: Whether each run follows a fix, which may have logged an error of its own.
    """

    def __init__(self, statistics: core._Statistics, log: LogCollector, ran: Callable[[int], None]):
        self._statistics = statistics
        self._log = log
        self._ran = ran
        self._seen = 0
        self.runs: list[_Run] = []
        self.fixing = False

    def add(self, record: Any) -> None:
        self._statistics.add(record)
        if isinstance(record, core._Statistics.Type.Checks):
            data = record.data
            may_have_failed = self.fixing or data["result"] == ERROR
            errors = self._log.claim_errors(self._seen) if may_have_failed else []
            self._seen = len(self._log.messages)
            self.runs.append(_Run(data["speed"], errors))
            self._ran(len(self.runs))

    def write(self) -> None:
        self._statistics.write()

    def __getattr__(self, name: str) -> Any:
        return getattr(self._statistics, name)


def _verdict(result: core.Check._Queue.Task.Result, run: _Run) -> Verdict:
    if result.status == ERROR:
        return Verdict(ERROR, "\n".join(run.errors))
    # What is logged beside any other status comes from a fix.
    return Verdict(result.status, "\n".join([result.result_message(), *run.errors]).strip("\n"))


def _matched_rules(session: Session) -> dict[str, deque[str]]:
    """The rules of each path that has object checks, in the order in which the engine takes its joints."""
    pattern = session.api.scene.hierarchy.pattern
    rules = defaultdict[str, deque[str]](deque)
    for bucket in session.buffer.get():
        for joint in bucket.get_joints() if bucket.checked else ():
            checklist = pattern.get_checklist(joint.stamp)
            if checklist is not None and checklist.get() and not joint.is_ghost():
                rules[joint.path].append(joint.type)
    return rules
