"""A validation as JUnit XML, which CI systems show: a suite for each object, a case for each check."""

from __future__ import annotations

from collections import Counter
from datetime import datetime, timezone
from xml.etree.ElementTree import Element, SubElement, indent, tostring

from ..outcome import ERROR, FAIL, CheckOutcome, ObjectOutcome, Validation
from .console import printable, printable_lines

# How many cases of a suite ended how; these are also its attributes.
_COUNTS = ("tests", "failures", "errors", "skipped")


def render(validation: Validation) -> str:
    """The whole report; ASCII, so that any name comes through any pipe."""
    root = Element("testsuites")
    suites = [_object_suite(validation, one) for one in validation.objects]
    if validation.refused:
        suites.append(_refused_suite(validation))
    root.extend(suites)
    totals = Counter[str]()
    for suite in suites:
        totals.update({name: int(suite.get(name, "0")) for name in _COUNTS})
    root.attrib.update(_attributes(validation.scene, totals, validation.seconds))
    indent(root)
    # ASCII is UTF-8 as well, and that name every reader knows.
    return '<?xml version="1.0" encoding="UTF-8"?>\n' + tostring(root, "us-ascii").decode() + "\n"


def _object_suite(validation: Validation, one: ObjectOutcome) -> Element:
    cases = [_case(validation, one, check) for check in one.checks]
    return _suite(validation, one.title, cases, sum(check.seconds for check in one.checks))


def _refused_suite(validation: Validation) -> Element:
    cases = []
    for path, reason in validation.refused:
        case = Element("testcase", {"name": "fits a rule of the project", "classname": printable(path)})
        SubElement(case, "skipped", {"message": printable(reason)})
        cases.append(case)
    return _suite(validation, "not checked", cases, 0.0)


def _suite(validation: Validation, name: str, cases: list[Element], seconds: float) -> Element:
    kinds = Counter(child.tag for case in cases for child in case)
    counts = Counter(
        tests=len(cases), failures=kinds["failure"], errors=kinds["error"], skipped=kinds["skipped"]
    )
    suite = Element("testsuite", _attributes(name, counts, seconds))
    suite.set(
        "timestamp", datetime.fromtimestamp(validation.started, timezone.utc).strftime("%Y-%m-%dT%H:%M:%S")
    )
    suite.extend(cases)
    return suite


def _attributes(name: str, counts: Counter[str], seconds: float) -> dict[str, str]:
    numbers = {key: str(counts[key]) for key in _COUNTS}
    return {"name": printable(name), **numbers, "time": f"{seconds:.6f}"}


def _case(validation: Validation, one: ObjectOutcome, check: CheckOutcome) -> Element:
    attributes = {
        "name": check.name,
        "classname": f"{one.title} {one.rule}".rstrip(),
        "time": f"{check.seconds:.6f}",
    }
    case = Element("testcase", {key: printable(value) for key, value in attributes.items()})
    verdict = validation.standing(check)
    lines = printable_lines(verdict.message)
    if verdict.status in (FAIL, ERROR):
        tag = "failure" if verdict.status == FAIL else "error"
        first = lines[0] if lines else check.name
        SubElement(case, tag, {"message": printable(first), "type": printable(check.id)}).text = "\n".join(
            lines
        )
        return case
    output = [f"{verdict.status}: {lines[0]}", *lines[1:]] if lines else []
    if check.fixed and validation.saved:
        output += ["fixed:", *printable_lines(check.found.message)]
    if output:
        SubElement(case, "system-out").text = "\n".join(output)
    return case
