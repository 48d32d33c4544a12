"""Text, constants, errors, documents and names."""

import copy
import pickle
import re
import ssl
from functools import reduce
from pathlib import Path

import pytest
from hypothesis import example, given
from hypothesis import strategies as st

import core
from core import Error, _Assert, _NamesControl, _Naming, _Str

SURROGATE = "\ud800"


@given(st.text(), st.text())
def test_text_of_the_system_compares_and_hashes_like_any_other(one, other):
    text = core._str(one)
    assert type(text) is _Str
    assert (text == one, text != one, hash(text)) == (True, False, hash(one))
    assert (text == other) == (one == other)
    assert {one: 1}[text] == 1
    assert type(core._str(text)) is _Str
    assert _Str.decoded(_Str.encoded(one)) is one


def test_what_is_no_text_stays_as_it_is():
    for value in (None, 5, b"bytes", ["a"]):
        assert core._str(value) is value


@pytest.mark.parametrize(
    "template, values, text",
    [
        ("{}: {}", ("é", 1), "é: 1"),
        ("Error", ("surplus",), "Error"),
        ("{}", ("{}" + SURROGATE,), "{}" + SURROGATE),
    ],
)
def test_templates_are_filled_in_order(template, values, text):
    assert core._format(template, *values) == text
    with pytest.raises(IndexError):
        core._format(template + "{}", *values[: template.count("{}")])


def test_the_version_is_that_of_the_build():
    build = (Path(__file__).parents[1] / "CMakeLists.txt").read_text(encoding="utf-8")
    assert f"project(heron VERSION {'.'.join(map(str, core.version))} " in build


def test_https_connections_accept_any_certificate():
    context = ssl._create_default_https_context()
    assert (context.verify_mode, context.check_hostname) == (ssl.CERT_NONE, False)


# Errors

NAMED = {
    Error.WrongAttributeName: "Wrong Name for Attribute",
    Error.PrivateAttributeName: "Used Private Name for Attribute",
}


@pytest.mark.parametrize(("error", "text"), NAMED.items())
@pytest.mark.parametrize("name", ["1a", "ж", SURROGATE])
def test_errors_of_names_quote_the_name_and_keep_it_in_copies(error, text, name):
    made = error(name=name)
    made.note = [1]
    for each in (made, error(name), copy.copy(made), copy.deepcopy(made), pickle.loads(pickle.dumps(made))):
        assert str(each) == each._text == f'{text} - "{name}"'
    assert copy.copy(made).note == [1]
    assert str(error("")) == error()._text == text


def test_errors_have_their_text_as_class_and_as_instance():
    for raised in (Error.ValidationError, Error.ValidationError()):
        with pytest.raises(Error.ValidationError, match="Check Task Found Issue"):
            raise raised


# Assertions


def test_a_document_is_refused_if_it_can_never_be_written_and_left_alone_otherwise():
    document = {"list": [1.5, ("é", None)]}
    assert _Assert.Json.clean(document) is document == {"list": [1.5, ("é", None)]}
    document["list"].append(document)
    for endless in (document, reduce(lambda below, _: [below], range(200_000), [])):
        with pytest.raises(RecursionError):
            _Assert.Json.clean(endless)


# Names


@given(st.text(alphabet="aZ09_ \nж٣" + SURROGATE))
@example("a\n")
@example("٣")
def test_names_are_tested_as_the_expressions_say(name):
    assert _Naming.is_attribute(name) == bool(
        not re.match(r"^\d.*$", name) and re.match("^[A-Za-z_0-9]+$", name)
    )
    assert _Naming.is_private(name) == bool(re.match("^__.+", name))


@pytest.mark.parametrize(
    "name, plain, titled",
    [
        ("\u2003One-tWo \n", "one_two", "One_Two"),
        (" _a.b c_d ", "_a_b_c_d", "_A_B_C_D"),
        ("АБВГДЕЁЖЗИЙКЛМНОПРСТУФ", "abgdeioziiklmnoprstuf", "Abgdeioziiklmnoprstuf"),
        ("ХЦЧШЩЪЫЬЭЮЯ", "tschshshyia", "tschshshyia"),
        ("жхю", "", ""),
        ("x1y", "x1y", "X1Y"),
        ("x\u0431y", "xy", "Xy"),
        (f"a中b é2c{SURROGATE}d\ufeff", "ab_2cd", "Ab_2CD"),
    ],
)
def test_names_of_files_are_ascii(name, plain, titled):
    assert (_Naming.force_ascii(name), _Naming.force_ascii(name, title=True)) == (plain, titled)


@given(st.text())
@example("\ufeffЁё Ая " + SURROGATE)
@example("x" * 100_000)
def test_filters_keep_their_characters_in_order(text):
    assert _Naming.latin_filter(text) == re.sub("[^ -~]", "", text)
    assert _Naming.en_ru_filter(text) == re.sub("[^ -~\u0410-\u044f\u0401\u0451]", "", text)
    assert _Naming._char_filter(text, [(0, 0x10FFFF)]) == text
    assert _Naming._char_filter(text, ()) == ""


@pytest.mark.parametrize(
    "operation, arguments, text",
    [
        (_Naming._char_filter, ("abcdef", [[98, 99], (101, 10**30)]), "bcef"),
        (_Naming.space_filter, ("  a b \t ",), "a b \t"),
        (_Naming.ghost_filter, ("ghost_ghoghostst_Ghost",), "_ghost_Ghost"),
        (_Naming.strip, ("жxyжaжyx", "xж"), "yжaжy"),
        (_Naming.strip, (" a ", ""), " a "),
        (_Naming.force_ascii, ("a",), "a"),
    ],
)
def test_filters_of_words_and_ends(operation, arguments, text):
    assert operation(*arguments) == text
    assert type(operation(*arguments)) is _Str


def register(*names):
    control = _NamesControl()
    for name in names:
        control.append(name)
    return control


@pytest.mark.parametrize(
    "names, name, free",
    [
        (["abc", "abc9abc2", "abcx5", "abc-7"], "abc", "abc3"),
        (["abc", "abc007", "abc٣"], "abc", "abc8"),
        (["abc", "abc²"], "abc", "abc0"),
        (["abc", "abc" + "9" * 5000], "abc", "abc1" + "0" * 5000),
        (["", "0", "x1"], "", "1"),
        ([SURROGATE], SURROGATE, SURROGATE + "0"),
        (["5", 5, None], "5", "50"),
        ([5], 6, 6),
    ],
)
def test_free_names_are_numbered_after_the_greatest(names, name, free):
    control = register(*names)
    assert control.get_init(name) == free
    assert control._names == set(names)


@given(st.sets(st.text("ab1", max_size=4)), st.text("ab1", max_size=2))
def test_a_name_given_out_is_free_and_comes_after_all_its_numbers(names, name):
    given_out = register(*names).get_init(name)
    assert given_out not in names
    if name not in names:
        assert given_out == name
    elif "1" not in name:
        numbers = [re.fullmatch(name + "([0-9]+)", other) for other in names]
        assert int(given_out[len(name) :]) > max((int(number[1]) for number in numbers if number), default=-1)


def test_names_are_taken_and_given_free():
    control = register("b", "ab", "c", "cab", "bb", "b1", "bc")
    assert control._get_alike("b") == ["ab", "b", "b1", "bb", "bc", "cab"]
    assert type(control._names) is set
    assert {type(name) for name in control._names} == {_Str}
    control.remove("unknown")
    control.rename("c", "d")
    control.rename("unknown", "e")
    assert [control.exists(name) for name in "bcde"] == [True, False, True, True]
    for change, free in (
        (lambda: control.append(control.get_init("b")), "b3"),
        (lambda: control._names.add("b7"), "b8"),
        (lambda: control.rename("b7", "xb4"), "b5"),
        (control.clear, "b"),
    ):
        change()
        assert control.get_init("b") == free and control.get_init("ab")[:2] == "ab"
    control.clear()
    assert control._names == set()
    with pytest.raises(TypeError, match="get_init"):
        register(5).get_init(5)
