"""`heron validate`: run checks on the objects of a scene."""

from __future__ import annotations

import argparse
import contextlib
import os
import sys
import time
from collections.abc import Callable, Iterator

from rich.progress import BarColumn, MofNCompleteColumn, TextColumn
from rich.progress import Progress as ProgressBar

import core

from ..catalogue import read_catalogue, require_known
from ..files import replace_file
from ..home import find_home
from ..hosts.gltf import GltfScene
from ..outcome import INFO, PASS, Validation
from ..plugins import plugins_contained
from ..projects import choose_project
from ..reports import html, json, junit, text
from ..reports.console import Console, complain, printable, reader_may_leave
from ..selection import select_paths
from ..session import Outcome, Session
from ..validation import Progress, Validator, enable_for_selection, enable_in_rules
from .options import (
    OutputError,
    add_checks,
    add_command,
    add_home,
    add_project,
    add_scene,
    add_select,
    check_output,
)

CLEAN, FINDINGS = range(2)

_RENDER: dict[str, Callable[[Validation], str]] = {
    "text": text.render,
    "json": json.render,
    "junit": junit.render,
    "html": html.render,
}

_EPILOG = """\
With --project the scene is scanned first, and each object that matches a rule is checked as the rule says.
Without it the selected objects are checked, with the checks that --enable names, or else those that the
settings enable, or else all known ones.

exit status:
  0  every check passed, or gave information only
  1  a check failed, or could not do its work, or nothing was checked; what --fix removed counts as long as
     --save has not brought the fix into the scene file
  2  bad input: a file that cannot be used, an unknown object, an unknown check, a missing directory

examples:
  heron validate street.gltf --project street.json
  heron validate street.gltf --project street.json --format html --output street.html
  heron validate street.gltf --select /cars --enable heron.mesh.degenerate_triangles --fix --save
"""


def add_parser(commands: argparse._SubParsersAction[argparse.ArgumentParser]) -> None:
    """Declares the command."""
    parser = add_command(
        commands,
        "validate",
        help="run checks on the objects of a scene",
        description="Runs checks on the objects of a glTF scene, tells what they find, and fixes what can be "
        "fixed.",
        epilog=_EPILOG,
    )
    add_scene(parser)
    add_project(parser, default="check the selection")
    add_checks(parser)
    parser.add_argument(
        "--enable",
        metavar="ID",
        nargs="+",
        action="extend",
        default=[],
        help="with --project, run these checks on every matched object, besides those of its rule; "
        "without, run these checks and no others. `heron checks` lists the ids",
    )
    add_select(
        parser,
        "look only at these objects: with --project at the hierarchies they belong to, without at all "
        "that is below them, too (default: all)",
    )
    parser.add_argument(
        "--fix", action="store_true", help="fix what the checks can fix, and check that again"
    )
    parser.add_argument(
        "--save", action="store_true", help="write what was scanned and fixed into the scene file"
    )
    parser.add_argument(
        "--format", choices=_RENDER, default="text", help="how to show the result (default: text)"
    )
    parser.add_argument(
        "--output", metavar="FILE", help="write the result to this file, and print only a summary"
    )
    add_home(parser)
    parser.set_defaults(run=run)


def run(options: argparse.Namespace) -> int:
    """Carries the command out; returns the exit status."""
    home = find_home(options.home)
    check_output(options.output, options.scene, options.project)
    scene = GltfScene(options.scene)
    file, project = choose_project(options.project, home) if options.project else (None, None)
    check_output(options.output, file)
    record = project.history.get_record() if project is not None else None
    session = Session(scene, record, home, options.checks)
    if file is not None:
        session.api.settings.workspace.project = os.path.basename(file)
    troubles = _warned(read_catalogue(session).troubles())
    _require_checks(session, options.enable)
    validation = Validation(options.scene, options.project, time.time(), fixing=options.fix)
    with progress_bar() as progress, plugins_contained():
        validator = Validator(session, progress)
        if record is None:
            _check_selection(session, validator, validation, options)
        else:
            _check_project(session, validator, validation, options)
        if options.fix:
            validator.fix()
    validation.seconds = time.time() - validation.started
    validation.warnings = troubles + _warned([one for one in session.warnings() if one not in troubles])
    try:
        if options.save and (session.buffer.get() or any(check.left for check in validation.checks())):
            scene.save()
            validation.saved = True
    finally:
        # What was found is worth knowing even if the scene file cannot be written.
        _report(options, validation)
    return CLEAN if any(validation.checks()) and validation.status in (PASS, INFO) else FINDINGS


def _warned(warnings: list[str]) -> list[str]:
    """The warnings, which are on standard error by now."""
    for warning in warnings:
        complain(f"warning: {warning}")
    return warnings


def _require_checks(session: Session, enabled: list[str]) -> None:
    require_known(session.check_classes, enabled)
    for rule, check in session.unknown_checks:
        require_known(session.check_classes, [check], f'rule "{rule}": ')


def _check_selection(
    session: Session, validator: Validator, validation: Validation, options: argparse.Namespace
) -> None:
    enable_for_selection(session, options.enable)
    paths = options.select or session.operator.roots()
    select_paths(session.operator, paths)
    session.operator.select(*session.everything_below(paths))
    validation.objects = validator.run(core.Constants.Check.Mode.Selection)


def _check_project(
    session: Session, validator: Validator, validation: Validation, options: argparse.Namespace
) -> None:
    enable_in_rules(session, options.enable)
    select_paths(session.operator, options.select or session.default_selection())
    outcome = session.scan()
    if outcome is not Outcome.NOTHING_SELECTED:
        diagnosis = session.diagnosis()
        validation.refused = [(path, diagnosis.explain(path)) for path in session.refused()]
    if outcome is Outcome.FOUND:
        validation.objects = validator.run(core.Constants.Check.Mode.Project)


@contextlib.contextmanager
def progress_bar() -> Iterator[Progress]:
    """A progress bar on a terminal, which vanishes in the end; nothing where there is none.

    It stands on standard error, so that it never gets into redirected output.
    """
    if not sys.stderr.isatty():
        yield lambda done, total: None
        return
    columns = TextColumn("checking"), BarColumn(), MofNCompleteColumn()
    with ProgressBar(*columns, console=Console(stderr=True), transient=True) as bar:
        task = bar.add_task("", total=None)
        yield lambda done, total: bar.update(task, completed=done, total=total)


def _report(options: argparse.Namespace, validation: Validation) -> None:
    with reader_may_leave():
        if options.output is not None:
            content = _RENDER[options.format](validation)
            replace_file(options.output, content.encode("utf-8"), OutputError)
            for line in text.summary(validation):
                print(printable(line, sys.stdout.encoding or "utf-8"))
        elif options.format == "text":
            text.write(validation, Console(highlight=False))
        else:
            print(_RENDER[options.format](validation), end="")
