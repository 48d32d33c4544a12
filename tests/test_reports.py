"""The reports of a validation, fed by hand: nothing is lost, and nothing in a name becomes markup."""

import json
import re
from html.parser import HTMLParser
from io import StringIO

import pytest
from hypothesis import example, given, strategies
from junitparser import JUnitXml
from rich.console import Console

from heron.outcome import CheckOutcome, ObjectOutcome, Validation, Verdict
from heron.reports import html, junit, text
from heron.reports import json as json_report
from heron.reports.console import printable

HOSTILE = "</script><b onclick='x'>&amp;\"]]>--><!--{{ 7*7 }}"
UNPRINTABLE = "\ud800\x00\x1b[31m\u202e\ufffe"
ESCAPED = "\\ud800\\x00\\x1b[31m\\u202e\\ufffe"
VOID = {"meta", "input", "br", "link", "img"}


def check(status, message="", name="Scale", **members):
    return CheckOutcome("object.scale", name, "object", Verdict(status, message), **members)


def fixed(message, **members):
    return check("fail", message, fixable=True, left=Verdict("pass"), **members)


def validation(*objects, **members):
    return Validation("street.gltf", "street.json", 1767225600.0, 0.5, list(objects), **members)


MIXED = [
    ObjectOutcome("street.gltf", "The Entire Scene", "", [check("pass", "12 objects")]),
    ObjectOutcome("/cars/car_red", "", "car", [check("pass"), check("info", "unusual")]),
    ObjectOutcome("/cars/car_red/body", "", "body", [
        fixed("scaled by -1"),
        check("fail", "first line\nsecond line", "Budget", seconds=0.25),
        check("error", "AttributeError: budgett", "Names", seconds=0.5),
        check("fail", "stays", "Stubborn", fixable=True, left=Verdict("fail", "stays")),
    ]),
    ObjectOutcome("/posts/post_01", "", "post", [check("pass"), check("pass", name="Names")]),
]  # fmt: skip


class Page(HTMLParser):
    """Reads a page; raises where elements do not nest, and keeps text, attributes and what is loaded."""

    def __init__(self, source):
        super().__init__()
        self.open, self.texts, self.tags, self.attributes = [], [], [], []
        self.feed(source)
        self.close()
        assert self.open == []

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        self.attributes += [(tag, *pair) for pair in attributes]
        if tag not in VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.texts.append((self.open[-1] if self.open else "", data))

    def visible(self):
        return "".join(data for tag, data in self.texts if tag not in ("script", "style"))


def as_text(result, **options):
    screen = StringIO()
    text.write(result, Console(file=screen, highlight=False, width=40, **options))
    return screen.getvalue()


# Text


def test_text_shows_what_was_found_fixed_and_left():
    output = as_text(validation(*MIXED, fixing=True, refused=[("/cars/car_green", "no rule takes it")]))
    clean, refused, *objects, summary = output.rstrip().split("\n\n")
    assert [line.split() for line in clean.splitlines()[1::2]] == [
        ["pass", "The", "Entire", "Scene"], ["pass", "/posts/post_01", "post"]]  # fmt: skip
    assert refused.splitlines() == ["not checked", "  /cars/car_green", "    no rule takes it"]
    assert [one.splitlines()[0] for one in objects] == ["/cars/car_red  car", "/cars/car_red/body  body"]
    assert objects[1].splitlines()[1:] == [
        "  fixed  Scale     scaled by -1",
        "  fail   Budget    first line",
        "                   second line",
        "  error  Names     AttributeError: budgett",
        "  fail   Stubborn  stays",
        "                   the fix did not help",
    ]
    assert summary.splitlines() == [
        "4 objects, 9 checks in 500.0 ms: 4 pass, 1 info, 3 fail, 1 error",
        "1 fixed, left: 5 pass, 1 info, 2 fail, 1 error",
        "the scene file stays as it was; --save would keep the fixes",
        "1 object not checked: no rule of the project fits",
    ]


def test_text_lists_only_the_first_objects_without_findings():
    many = [ObjectOutcome(f"/{number}", "", "", [check("pass")]) for number in range(50)]
    output = as_text(validation(*many, ObjectOutcome("/last", "", "", [check("fail")])))
    assert output.count("  pass ") == 20
    assert "and 30 more" in output
    assert "/last\n  fail   Scale\n" in output


def test_an_unsaved_fix_does_not_count():
    for members, status in (({}, "fail"), ({"saved": True}, "pass")):
        result = validation(ObjectOutcome("/a", "", "", [fixed("x")]), fixing=True, **members)
        assert (result.status, json_report.document(result)["status"]) == (status, status)
        case = next(iter(next(iter(JUnitXml.fromstring(junit.render(result).encode())))))
        assert case.is_passed is (status == "pass")


# Other programs


def test_json_keeps_everything():
    result = validation(*MIXED, fixing=True, refused=[("/x", "why")], warnings=[UNPRINTABLE])
    document = json.loads(json_report.render(result))
    assert document["found"] == {"pass": 4, "info": 1, "fail": 3, "error": 1}
    assert document["left"] == {"pass": 5, "info": 1, "fail": 2, "error": 1}
    assert (document["status"], document["fixed"], document["saved"]) == ("error", 1, False)
    assert document["refused"] == [{"path": "/x", "reason": "why"}]
    assert document["warnings"] == [UNPRINTABLE]
    body = document["objects"][2]
    assert (body["path"], body["rule"], body["status"]) == ("/cars/car_red/body", "body", "error")
    assert body["checks"][0] == {
        "id": "object.scale",
        "name": "Scale",
        "category": "object",
        "found": {"status": "fail", "message": "scaled by -1"},
        "fixable": True,
        "fixed": True,
        "left": {"status": "pass", "message": ""},
        "seconds": 0.0,
    }


def test_junit_has_a_suite_for_each_object_and_a_case_for_each_check():
    result = validation(*MIXED, refused=[("/cars/car_green", "no rule takes it")])
    report = JUnitXml.fromstring(junit.render(result).encode())
    assert (report.tests, report.failures, report.errors, report.skipped) == (10, 3, 1, 1)
    suites = list(report)
    assert [suite.name for suite in suites] == [*(one.title for one in MIXED), "not checked"]
    assert (suites[2].tests, suites[2].failures, suites[2].errors, suites[2].time) == (4, 3, 1, 0.75)
    results = {case.name: case for case in suites[2]}
    assert results["Budget"].result[0].text == "first line\nsecond line"
    assert results["Budget"].result[0].message == "first line"
    assert results["Names"].result[0].type == "object.scale"
    assert [case.system_out for case in suites[1]] == [None, "info: unusual"]
    counted = JUnitXml.fromstring(junit.render(result).encode())
    counted.update_statistics()
    assert (counted.tests, counted.failures, counted.errors) == (10, 3, 1)


@pytest.mark.parametrize("render", [text.render, json_report.render, junit.render, html.render])
def test_every_report_takes_an_empty_validation(render):
    assert "street.gltf" in render(validation()) or "nothing checked" in render(validation())


def hostile(name):
    one = ObjectOutcome("/" + name, "", name, [check("fail", f"{name}\n{name}", name), fixed(name)])
    return validation(one, refused=[(name, name)], warnings=[name])


@example(HOSTILE + UNPRINTABLE)
@given(strategies.text(strategies.characters(exclude_categories=[]), min_size=1))
def test_any_name_comes_through_junit(name):
    report = JUnitXml.fromstring(junit.render(hostile(name)).encode())
    assert next(iter(next(iter(report)))).name == printable(name)


# The page


def test_the_page_nests_and_loads_nothing():
    for result in (validation(*MIXED, fixing=True), hostile(HOSTILE), hostile(UNPRINTABLE), validation()):
        page = Page(html.render(result))
        assert not {"link", "img", "iframe", "object", "base"} & set(page.tags)
        assert not [item for item in page.attributes if item[1] in ("src", "href", "action")]
        styles = "".join(data for tag, data in page.texts if tag == "style")
        assert not re.search(r"url\(|@import", styles)
        policy = next(
            value for tag, name, value in page.attributes if name == "content" and "default-src" in value
        )
        assert policy.startswith("default-src 'none'")


def test_no_name_becomes_markup():
    plain, page = (Page(html.render(hostile(name))) for name in ("plain", HOSTILE.replace("/", "")))
    assert page.tags == plain.tags
    assert [item[:2] for item in page.attributes] == [item[:2] for item in plain.attributes]
    assert page.visible().count(HOSTILE.replace("/", "")) == plain.visible().count("plain")
    assert ESCAPED in Page(html.render(hostile(UNPRINTABLE))).visible()
    assert html.render(hostile(UNPRINTABLE + "дом")).isascii()


def test_the_page_shows_objects_as_a_tree():
    rows = html.tree_rows(MIXED)
    assert [(row.name, row.level, row.status, row.is_open) for row in rows] == [
        ("The Entire Scene", 0, "pass", False),
        ("cars", 0, "error", False),
        ("car_red", 1, "error", True),
        ("body", 2, "error", True),
        ("posts", 0, "pass", False),
        ("post_01", 1, "pass", False),
    ]
    deep = ObjectOutcome("/a" * 4000, "", "", [check("fail")])
    assert html.tree_rows([deep])[0].status == "fail"
    twice = html.tree_rows([MIXED[1], MIXED[1]])
    assert [len(row.outcomes) for row in twice] == [0, 2]


def test_the_page_counts_what_its_filters_choose():
    page = Page(html.render(validation(*MIXED, fixing=True)))
    boxes = [value for tag, name, value in page.attributes if (tag, name) == ("input", "value")]
    assert boxes == ["fixed", "pass", "info", "fail", "error"]
    shown = [value for tag, name, value in page.attributes if name == "data-status"]
    for status in boxes:
        assert re.search(rf"{status}\s*{shown.count(status)}\b", page.visible())
