"""The matching of names by regular expressions: the same as the runtime's, whether natively or by it."""

import random
import re
import warnings

import plain_scan
import pytest

import core

Anchor = core._Hierarchy.Anchor
KEY = "<@:x>"
compile_expression = re.compile  # the runtime's own, whatever stands in its place during a test
NEVER = "(?:|never the same text as elsewhere)"  # after an expression: for one that nobody knows yet
ERRORS = (re.error, OverflowError, RecursionError)


def matches(expression, name):
    return Anchor().match(expression, name, "/")


def left_of(expression, name):
    """What is captured at `KEY` once the parts of the expression before and after it are cut away."""
    anchor = Anchor()
    anchor.state.set_expressions({KEY: ()})
    anchor.extract_anchors(expression, name, "/")
    return "".join(text for text, _ in anchor.state.expressions[KEY])


def plainly_left_of(expression, name):
    anchors = plain_scan.Anchors()
    anchors.table = {KEY: set()}
    anchors.extract(expression, name, "/")
    return "".join(text for text, _ in anchors.table[KEY])


def plainly_matches(expression, name):
    return re.match(expression, name) is not None


def outcome(operation, *arguments):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        try:
            return operation(*arguments)
        except ERRORS as error:
            return type(error), str(error)


def compare(expression, names):
    """Holds the engine against the runtime. The number of comparisons, and that of names that matched."""
    matched = 0
    for name in names:
        expected = outcome(plainly_matches, expression, name)
        assert outcome(matches, expression, name) == expected, (expression, name)
        matched += expected is True
        # From the start, from the end and, by the alternative, from anywhere.
        for parts in (expression + KEY, KEY + expression, "^!|" + expression + KEY):
            assert outcome(left_of, parts, name) == outcome(plainly_left_of, parts, name), (parts, name)
    return 4 * len(names), matched


@pytest.fixture
def left_to_the_runtime(monkeypatch):
    """The expressions that the runtime was asked to compile."""
    asked = []
    monkeypatch.setattr(re, "compile", lambda text: asked.append(text) or compile_expression(text))
    return asked


class Expressions:
    """Draws expressions with a text that each may match."""

    SETS = [
        *((".", "x"), (r"\d", "7"), (r"\w", "_"), (r"\s", "\x1c"), (r"\D", "b"), (r"\W", "-"), (r"\S", "a")),
        *(
            ("[ab]", "b"),
            ("[^ab]", "é"),
            ("[a-c_]", "c"),
            (r"[\d-]", "-"),
            (r"[^\W1]", "a"),
            (r"[\n\].]", "]"),
        ),
        *(
            (r"[^\n]", "車"),
            ("[-a]", "-"),
            ("[a^]", "^"),
            (r"[\b\\]", "\\"),
            (r"[\s\S]", "\n"),
            ("[+-/]", ","),
        ),
    ]
    ANCHORS = ["^", "$", r"\A", r"\Z", r"\b"]
    REPEATS = [
        "*",
        "+",
        "?",
        "{2}",
        "{1,2}",
        "{0,2}",
        "{,2}",
        "{2,}",
        "{1}",
        "*?",
        "+?",
        "??",
        "{1,3}?",
        "{,1}?",
    ]
    # What is left to the runtime, or invalid.
    OTHERS = [
        *(
            "(?i)",
            "(?:a*)*",
            "(?=a)",
            "(?<!b)",
            "(?P<g>a)",
            r"\1",
            "(a",
            "b)",
            "[",
            "[]a]",
            "[[a]",
            "[a--b]",
            "a**",
        ),
        *(
            "a{0}",
            "{",
            "a{",
            "a{,}",
            "a{3,2}",
            "*",
            "^*",
            r"\B",
            r"\z",
            r"\x41",
            r"\07",
            "[é]",
            r"[\é]",
            "(?#x)",
        ),
        *("[b-a]", r"[a-\d]", "[a&&b]", "a*+", "(|a)+", "a{1}{2}", "\\", "[^]", "(?", "(?a:b)", r"\q", "()?"),
    ]

    def __init__(self, seed, others=False, characters="ab1_ -\né車\ud800😀"):
        self.random, self.others, self.characters = random.Random(seed), others, characters

    def draw(self, depth=3):
        """An expression of alternatives, a text for one of them, and whether it may be empty."""
        branches = [self.branch(depth) for _ in range(self.random.choice((1, 1, 1, 2, 3)))]
        texts, examples, empty = zip(*branches)
        return "|".join(texts), self.random.choice(examples), any(empty)

    def branch(self, depth):
        pieces = [self.piece(depth) for _ in range(self.random.choice((0, 1, 1, 2, 2, 3, 4)))]
        texts, examples, empty = zip(("", "", True), *pieces)
        return "".join(texts), "".join(examples), all(empty)

    def piece(self, depth):
        kind = self.random.random()
        if self.others and kind < 0.08:
            return self.random.choice(self.OTHERS), "a", False
        if kind < 0.2:
            return self.random.choice(self.ANCHORS), "", True
        empty = False
        if kind < 0.4 and depth:
            inner, example, empty = self.draw(depth - 1)
            text = self.random.choice(("({})", "(?:{})")).replace("{}", inner)
        elif kind < 0.65:
            text, example = self.random.choice(self.SETS)
        else:
            example = self.random.choice(self.characters)
            text = self.random.choice((re.escape, str))(example)
        if self.random.random() < 0.3 and (self.others or not empty):
            repeat = self.random.choice(self.REPEATS)
            text += repeat
            example *= self.random.choice((0, 1, 1, 2, 3))
            empty = empty or repeat[0] in "*?" or repeat[:2] in ("{0", "{,")
        return text, example, empty

    def names(self, example, count):
        """The example, some that are nearly it, and others."""
        yield example
        yield ""
        for _ in range(count - 2):
            name = self.random.choice((example, ""))[:12]
            for _ in range(self.random.choice((1, 1, 2, 5))):
                at = self.random.randint(0, len(name))
                name = (
                    name[:at]
                    + self.random.choice(self.characters)
                    + name[at + self.random.choice((0, 0, 1, 2)) :]
                )
            yield name


def test_the_same_as_the_runtime():
    compared = matched = 0
    for seed in range(4000):  # with 13 names and 4 ways to match each, 208,000 comparisons
        expressions = Expressions(seed, others=seed % 2 == 1)
        expression, example, _ = expressions.draw()
        pairs, found = compare(expression, [*expressions.names(example, 13)])
        compared, matched = compared + pairs, matched + found
    assert 0.2 < matched / (compared / 4) < 0.8  # both are worth something only together


def test_what_is_certain_is_matched_natively(left_to_the_runtime):
    names = 0
    for seed in range(1000):
        expressions = Expressions(seed, characters="ab1_ -\n")  # of the sets some depend on characters beyond
        expression, example, _ = expressions.draw()
        for name in expressions.names(example, 5):
            if name.isascii():
                names += 1
                matches(expression, name)
                left_of(expression + KEY, name)
    assert names > 4000 and left_to_the_runtime == []


@pytest.mark.parametrize("expression", Expressions.OTHERS)
def test_what_is_not_certain_is_left_to_the_runtime(expression, left_to_the_runtime):
    outcome(matches, expression + NEVER, "a")
    assert left_to_the_runtime == [expression + NEVER]


@pytest.mark.parametrize(
    ("expression", "name", "native"),
    [
        # Beyond ASCII: literals, ".", and sets that say the same of all such characters.
        *(
            (r"^車+_\d$", "車車_1", True),
            ("^.$", "😀", True),
            ("^[^_]{2}_", "é車_", True),
            ("^[a-z]+$", "é", True),
        ),
        *(
            (r"^\é", "é", True),
            ("é?x", "x", True),
            (r"^[\w]", "é", False),
            (r"^\d", "٣", False),
            (r"^a\b", "aé", False),
        ),
        *(
            (r"^\S", "\u2003", False),
            (r"^[^\d]", "٣", False),
            (r"^_\w", "é", True),
            (r"^a?\s", "a\x85", False),
        ),
        # Lone surrogates are characters of their own, also side by side.
        *(("^.$", "\ud83d\ude00", True), ("^..$", "\ud83d\ude00", True), ("^\ud83d", "\ud83d\ude00", True)),
        *(("^\ud83d\ude00$", "😀", True), ("^\ude00+$", "\ude00\ude00", True), ("\\\ud800", "\ud800", True)),
        # The end, and the line feed that ends a name.
        *(
            ("a$", "a\n", True),
            ("a$", "a\n\n", True),
            (r"a\Z", "a\n", True),
            ("a$\n", "a\n", True),
            ("^.$", "\n", True),
        ),
        *(
            (r"\b", "", True),
            (r"\b_", "_", True),
            ("$|a", "a", True),
            ("", "", True),
            ("|", "a", True),
            ("()", "a", True),
        ),
        # What a captured name may bring along.
        *(
            ("^a.b$", "axb", True),
            ("^a+1_b$", "aa1_b", True),
            ("^a(1)_b$", "a1_b", True),
            ("^a[1]_b$", "a1_b", True),
        ),
        *(("^a(1_b$", "a(1_b", False), ("^a{b}$", "a{b}", False), ("^a\\", "a", False), ("^+a$", "a", False)),
        # Limits: the rest is the runtime's.
        *(("(" * 31 + "a" + ")" * 31, "a", True), ("(" * 50 + "a" + ")" * 50, "a", False)),
        *(
            ("(?:a{20}){20}b", "a" * 400 + "b", True),
            ("(?:a{99}){99}", "a" * 99**2, False),
            ("a" * 5000, "a", False),
        ),
        *(("(?:" + "|".join("abcdefgh") * 9 + ")+", "b" * 50, True), ("^a{2,9999}$", "a", False)),
    ],
)
def test_hard_cases(expression, name, native, left_to_the_runtime):
    outcome(matches, expression + NEVER, name)
    assert left_to_the_runtime == ([] if native else [expression + NEVER])
    compare(expression, [name])


@pytest.mark.parametrize(
    "expression", ["^(a+)+$", "^(a|a)*b$", "^(?:a|aa)+$", "^(a+?){2,}b", "^(?:(?:.+x)+y)+$"]
)
def test_no_expression_makes_a_name_take_ages(expression):
    for length in (60, 5000):
        assert matches(expression, "a" * length + "c") is False
        assert left_of("^!|" + expression + KEY, "a" * length + "c") == "a" * length + "c"
    assert (
        left_of("^!|(?:a|b|c)*d|a" + KEY, "a" * 100_000) == ""
    )  # found everywhere, after a look at all the rest


def test_deep_and_large_expressions_end():
    deep = "(" * 100_000 + ")" * 100_000
    assert outcome(matches, deep, "a")[0] is RecursionError
    assert matches("a" * 100_000 + "+", "a" * 100_001) is True
    assert left_of("^a{1,3}?(?:a|é)*" + KEY, "aé" * 1_000_000) == ""


def test_an_expression_is_known_again():
    # More than any cache holds, twice, so that places are taken over and back.
    numbers = [*range(5000)] * 2
    assert all(matches(rf"^part{n}_\d$", f"part{n}_7") for n in numbers)
    assert not any(matches(rf"^part{n}_\d$", f"part{n}0_7") for n in numbers)
    assert all(left_of(rf"^(?=part){n}?" + KEY, "part") == "part" for n in numbers[:100])
