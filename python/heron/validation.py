"""Running the checks of a session, and gathering what they say as plain data."""

from __future__ import annotations

from collections import defaultdict, deque
from collections.abc import Callable, Collection

import core

from .errors import InputError
from .outcome import ERROR, CheckOutcome, ObjectOutcome, Verdict
from .session import Session

Result = core.Check._Queue.Task.Result

_MODE = core.Constants.Check.Mode

# Told after each check, and after each fix, how many are done, and of how many.
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

    def __init__(self, session: Session, progress: Progress = lambda done, total: None):
        """Takes a session; `progress` is told of each check and of each fix."""
        self._session = session
        self._queue: core.Check._Queue = session.api.validator.queue
        self._progress = progress
        self._cancelled: list[core.Check._Queue.Task] = []
        self._fixable: list[tuple[CheckOutcome, Result]] = []

    def cancel(self) -> None:
        """Ends the run, from `progress` or a check, after the object under way. What was checked is told."""
        self._cancelled += self._queue
        self._queue.clear()

    def run(self, mode: int) -> list[ObjectOutcome]:
        """Runs the enabled checks on what the buffer holds, or on what is selected.

        Args:
            mode: One of `core.Constants.Check.Mode`.
        """
        self._session.api.settings.check.mode = mode
        self._run()
        rules = _matched_rules(self._session) if mode == _MODE.Project else {}
        self._fixable.clear()
        outcomes = []
        for task in [task for task in self._cancelled if not task.empty] or self._queue:
            whole = task.name != task.path
            rule = rules[task.path].popleft() if rules and not whole else ""
            checks = [self._outcome(result) for result in task.results]
            outcomes.append(ObjectOutcome(task.path, task.name if whole else "", rule, checks))
        return outcomes

    def fix(self) -> None:
        """Has every check that can fix what it found do so. The outcomes of `run` then tell what is left."""
        fixable, self._fixable = self._fixable, []
        for done, (outcome, result) in enumerate(fixable, 1):
            result.fix_result()
            outcome.left = _verdict(result, (result.fix_error, result.fix_failure))
            self._progress(done, len(fixable))
        if fixable:
            self._session.api.statistics.write()

    def _run(self) -> None:
        validator = self._session.api.validator
        done = total = 0
        self._cancelled = []

        def tell(result: Result) -> None:
            nonlocal done, total
            if not done:
                # The plan is made within the run, and stands when its first check has run.
                controls = (control for task in self._queue for control in task.check_controls)
                total = sum(control.parameters.length for control in controls)
            done += 1
            self._progress(done, total)

        validator.progress = tell
        try:
            validator.start()
        finally:
            validator.progress = None

    def _outcome(self, result: Result) -> CheckOutcome:
        check = type(result._check)
        outcome = CheckOutcome(
            check.class_id,
            str(result.name) or check.short_name or check.class_id,
            check.category.lower(),
            _verdict(result),
            bool(result.could_be_fixed),
            seconds=result.seconds,
        )
        if outcome.fixable:
            self._fixable.append((outcome, result))
        return outcome


def _verdict(result: Result, *further: tuple[BaseException | None, str]) -> Verdict:
    """What a check says of its last run, with what else went wrong: errors, each with the words for it."""
    message = "" if result.status == ERROR else result.result_message()
    failures = ((result.error, result.failure), (result.message_error, result.message_failure), *further)
    told = [str(error) if isinstance(error, InputError) else words for error, words in failures]
    return Verdict(result.status, "\n".join(filter(None, [message.strip("\n"), *told])))


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
