"""Reading the rules and the pattern of a project from its document."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import core

from .files import FileError, Json, parse_object, read_bytes

FORMAT_VERSION = 3
# The result of a scan is as deep as the pattern, and JSON writers follow its levels by recursion.
MAX_PATTERN_DEPTH = 200


class ProjectError(FileError):
    """A project document that cannot be used."""


@dataclass
class Record:
    """One saved state of a project, as the matcher takes it.

    Attributes:
        project: The project's name.
        rules: The list of rules.
        pattern: The tree that arranges them.
    """

    project: str
    rules: core._Project.Settings.Rule.List
    pattern: core._Project.Settings.Rule.Tree.Root


def read_record(path: str) -> Record:
    """Reads the selected record of a project document, or its first one if none is selected.

    Raises:
        ProjectError: The file cannot be opened, is no project document of this format, has no
            records, or the record's rules or pattern are broken.
    """
    document = parse_object(path, read_bytes(path, ProjectError), ProjectError)
    version = document.get("version")
    if version != FORMAT_VERSION:
        known = f"project format {version}" if isinstance(version, int) else "no project format"
        raise ProjectError(path, f"{known}; this release reads format {FORMAT_VERSION}")
    record = _select(path, document)
    rules = _list(path, record, "rules", "the record")
    for index, rule in enumerate(rules):
        reason = _rule_fault(rule)
        if reason:
            raise ProjectError(path, f"rule {index + 1} {reason}")
    pattern = _list(path, record, "pattern", "the record")
    _check_nodes(path, pattern, {rule["stamp"] for rule in rules})
    rule_list = core._Project.Settings.Rule.List(rules)
    root = core._Project.Settings.Rule.Tree.Root()
    root.load(pattern, rule_list)
    name = document.get("name")
    return Record(name if isinstance(name, str) else "", rule_list, root)


def _select(path: str, document: Json) -> Json:
    records = document.get("records")
    if not isinstance(records, dict):
        raise ProjectError(path, 'the document has no "records"')
    by_time = {_timestamp(key): record for key, record in records.items()}
    by_time.pop(None, None)
    if not by_time:
        raise ProjectError(path, "the project has no records: nothing was ever saved in it")
    selected = _timestamp(document.get("selected_record"))
    record = by_time[selected if selected in by_time else next(iter(by_time))]
    if not isinstance(record, dict):
        raise ProjectError(path, "the record is not an object")
    return record


def _timestamp(value: Any) -> int | None:
    """The whole second that a key or a pointer names; None if it names none."""
    try:
        return int(float(value))
    except (TypeError, ValueError, OverflowError):
        return None


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
    if types is not None and not (isinstance(types, list) and all(isinstance(item, str) for item in types)):
        return f'("{rule["name"]}") has "types" that are not a list of texts'
    limits = rule.get("range", [1, 1])
    if not (isinstance(limits, list) and len(limits) == 2 and all(type(number) is int for number in limits)):
        return f'("{rule["name"]}") has a "range" that is not two whole numbers'
    if not isinstance(rule.get("checklist", {}), dict):
        return f'("{rule["name"]}") has a "checklist" that is not an object'
    return None


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
