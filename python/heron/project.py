"""Reading the documents of projects, with a clear error for what cannot be used in one."""

from __future__ import annotations

import os
from typing import Any

import core

from .documents import ignored_warnings
from .files import FileError, Json, parse_object, read_bytes
from .reports.console import complain

Project = core._Project.Settings
Record = core._Project.Settings.Record

# The result of a scan is as deep as the pattern, and JSON writers follow its levels by recursion.
MAX_PATTERN_DEPTH = 200


class ProjectError(FileError):
    """A project document that cannot be used."""


def read_project(path: str) -> Project:
    """Reads a project document. The file stays as it is, whatever is wrong with it.

    Raises:
        ProjectError: The file cannot be opened, or `check_document` finds something wrong.
    """
    document = parse_object(path, read_bytes(path, ProjectError), ProjectError)
    check_document(path, document)
    directory, filename = os.path.split(path)
    try:
        project = Project(None, directory, filename, document)
    except (AttributeError, TypeError, ValueError, ArithmeticError) as error:
        raise ProjectError(path, f"the project cannot be used: {error}") from error
    for warning in ignored_warnings(path, project.ignored):
        complain(f"warning: {warning}")
    return project


def check_document(path: str, document: Json) -> None:
    """Looks for what the engine would pass over, and who names a project wants to know of.

    Args:
        path: What the errors name.
        document: The content of the file.

    Raises:
        ProjectError: It is no project document of this format, has no records, or the rules or the
            pattern of one are broken.
    """
    version = document.get("version")
    if version != Project.version:
        known = f"project format {version}" if isinstance(version, int) else "no project format"
        raise ProjectError(path, f"{known}; this release reads format {Project.version}")
    records = document.get("records")
    if not isinstance(records, dict):
        raise ProjectError(path, 'the document has no "records"')
    saved = [record for time, record in records.items() if Record.History._is_timestamp(time)]
    if not saved:
        raise ProjectError(path, "the project has no records: nothing was ever saved in it")
    for record in saved:
        _check_record(path, record)


def read_record(path: str) -> Record:
    """Reads the selected record of a project document, or its first one if none is selected.

    Raises:
        ProjectError: As for `read_project`.
    """
    return read_project(path).history.get_record()


def _check_record(path: str, record: object) -> None:
    if not isinstance(record, dict):
        raise ProjectError(path, "the record is not an object")
    rules = _list(path, record, "rules", "the record")
    for index, rule in enumerate(rules):
        reason = _rule_fault(rule)
        if reason:
            raise ProjectError(path, f"rule {index + 1} {reason}")
    pattern = _list(path, record, "pattern", "the record")
    _check_nodes(path, pattern, {rule["stamp"] for rule in rules})


def _list(path: str, owner: Json, key: str, where: str) -> list[Json]:
    array = owner.get(key, [])
    if not isinstance(array, list) or not all(isinstance(item, dict) for item in array):
        raise ProjectError(path, f'"{key}" of {where} is not a list of objects')
    return array


def _rule_fault(rule: Json) -> str | None:
    """What is wrong with a rule, as the end of a sentence; None for a sound one."""
    for key in ("stamp", "name", "regex"):
        if not isinstance(rule.get(key), str):
            return f'has no text "{key}"'
    types = rule.get("types")
    given = [types] if isinstance(types, str) else types
    if given is not None and not (isinstance(given, list) and all(isinstance(item, str) for item in given)):
        return f'("{rule["name"]}") has "types" that are not a list of texts'
    limits = rule.get("range", [1, 1])
    if not (isinstance(limits, list) and len(limits) == 2 and all(type(number) is int for number in limits)):
        return f'("{rule["name"]}") has a "range" that is not two whole numbers'
    if not isinstance(rule.get("checklist", {}), dict):
        return f'("{rule["name"]}") has a "checklist" that is not an object'
    return None


def types_of(rule: core._Project.Settings.Rule | core._Hierarchy.Pattern.Rule) -> list[str]:
    """The object types that a rule allows; a single one may be given without a list."""
    types: Any = rule.types  # a document may hold anything
    return [types] if isinstance(types, str) and types else list(types or ())


def _check_nodes(path: str, pattern: list[Json], stamps: set[str]) -> None:
    stack = [(node, 1) for node in pattern]
    while stack:
        node, depth = stack.pop()
        if depth > MAX_PATTERN_DEPTH:
            raise ProjectError(path, f"the pattern is more than {MAX_PATTERN_DEPTH} levels deep")
        stamp = node.get("stamp")
        if not isinstance(stamp, str) or stamp not in stamps:
            raise ProjectError(path, f'the pattern has a node without a rule: "{stamp}"')
        below = _list(path, node, "children", f'the node "{stamp}"')
        stack.extend((child, depth + 1) for child in below)
