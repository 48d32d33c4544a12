"""The reports of a validation, fed by hand: nothing is lost, and nothing in a name becomes markup."""

import json
import re
from collections import defaultdict
from html.parser import HTMLParser

import pytest
from hypothesis import example, given, strategies
from junitparser import JUnitXml

from heron.outcome import CheckOutcome, ObjectOutcome, Validation, Verdict
from heron.reports import html, junit
from heron.reports import json as json_report
from heron.reports.console import printable

HOSTILE = "</script><b onclick='x'>&amp;\"]]>--><!--{{ 7*7 }}"
UNPRINTABLE = "\ud800\x00\x1b[31m\u202e\ufffe"
ESCAPED = "\\ud800\\x00\\x1b[31m\\u202e\\ufffe"
VOID = {"meta", "input", "br", "link", "img"}
LOADING = {"link", "img", "iframe", "object", "base", "src", "href", "action"}


def check(status, message="", name="Scale", left=None, **members):
    left = left and Verdict(left, message if left == "fail" else "")
    found = Verdict(status, message)
    return CheckOutcome("object.scale", name, "object", found, left=left, fixable=bool(left), **members)


def validation(*objects, **members):
    return Validation("street.gltf", "street.json", 1767225600.0, 0.5, list(objects), **members)


MIXED = [
    ObjectOutcome("street.gltf", "The Entire Scene", "", [check("pass", "12 objects")]),
    ObjectOutcome("/cars/car_red", "", "car", [check("pass"), check("info", "unusual")]),
    ObjectOutcome("/cars/car_red/body", "", "body", [
        check("fail", "scaled by -1", left="pass"),
        check("fail", "first line\nsecond line", "Budget", seconds=0.25),
        check("error", "AttributeError: budgett", "Names", seconds=0.5),
        check("fail", "stays", "Stubborn", left="fail"),
    ]),
    ObjectOutcome("/posts/post_01", "", "post", [check("pass"), check("pass", name="Names")]),
]  # fmt: skip


class Page(HTMLParser):
    """Reads a page; raises where elements do not nest, and keeps tags, attributes and text by tag."""

    def __init__(self, source):
        super().__init__()
        self.open, self.texts, self.tags, self.attributes = [""], defaultdict(str), [], []
        self.feed(source)
        self.close()
        assert self.open == [""]
        self.style = self.texts.pop("style")
        self.script = self.texts.pop("script")
        self.visible = "".join(self.texts.values())

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        self.attributes += [(tag, *pair) for pair in attributes]
        self.open += [] if tag in VOID else [tag]

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.texts[self.open[-1]] += data


def junit_cases(result):
    """The cases of each suite of the report."""
    return [list(suite) for suite in JUnitXml.fromstring(junit.render(result).encode())]


@pytest.mark.parametrize("found", ["fail", "info"])
def test_an_unsaved_fix_does_not_count(found):
    fixed = ObjectOutcome("/a", "", "", [check(found, "x", left="pass")])
    for saved, status in ((False, found), (True, "pass")):
        result = validation(fixed, fixing=True, saved=saved)
        document = json.loads(json_report.render(result))
        assert (result.status, document["status"]) == (status, status)
        assert document["left"]["pass"] == document["found"][found] == document["fixed"] == 1
        ((case,),) = junit_cases(result)
        assert case.is_passed is (status != "fail")
        assert case.system_out == {"fail": None, "info": "info: x", "pass": "fixed:\nx"}[status]


def test_junit_has_a_suite_for_each_object_and_a_case_for_each_check():
    result = validation(*MIXED, refused=[("/cars/car_green", "no rule takes it")])
    report = JUnitXml.fromstring(junit.render(result).encode())
    assert (report.tests, report.failures, report.errors, report.skipped) == (10, 3, 1, 1)
    suites = list(report)
    assert [suite.name for suite in suites] == [*(one.title for one in MIXED), "not checked"]
    assert (suites[2].tests, suites[2].failures, suites[2].errors, suites[2].time) == (4, 3, 1, 0.75)
    results = {case.name: case.result[0] for case in suites[2]}
    budget = results["Budget"]
    assert (budget.message, budget.text) == ("first line", "first line\nsecond line")
    assert results["Names"].type == "object.scale"
    assert [case.system_out for case in suites[1]] == [None, "info: unusual"]


def hostile(name):
    checks = [check("fail", f"{name}\n{name}", name), check("fail", name, left="pass")]
    one = ObjectOutcome("/" + name, "", name, checks)
    return validation(one, refused=[(name, name)], warnings=[name])


@example(HOSTILE + UNPRINTABLE)
@given(strategies.text(strategies.characters(exclude_categories=[]), min_size=1))
def test_any_name_comes_through_junit(name):
    assert junit_cases(hostile(name))[0][0].name == printable(name)


def test_the_page_nests_and_loads_nothing():
    for result in (validation(*MIXED, fixing=True), hostile(HOSTILE), hostile(UNPRINTABLE), validation()):
        page = Page(html.render(result))
        assert not LOADING & {*page.tags, *(name for _, name, _ in page.attributes)}
        assert not re.search(r"url\(|@import", page.style)
        policies = [value for _, name, value in page.attributes if name == "content"]
        assert any(policy.startswith("default-src 'none'") for policy in policies)


def test_no_name_becomes_markup():
    name = HOSTILE.replace("/", "")
    plain, page = Page(html.render(hostile("plain"))), Page(html.render(hostile(name)))
    assert page.tags == plain.tags
    assert [item[:2] for item in page.attributes] == [item[:2] for item in plain.attributes]
    assert page.visible.count(name) == plain.visible.count("plain")
    source = html.render(hostile(UNPRINTABLE + "дом"))
    assert source.isascii()
    assert Page(source).visible.count(ESCAPED + "дом") == plain.visible.count("plain")
    assert ("ul", "data-path", f"/{ESCAPED}дом") in Page(source).attributes


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
