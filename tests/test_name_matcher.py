"""The matching of names by regular expressions: the same as the runtime's, whether natively or by it."""

import random
import re

import plain_scan
import pytest

import core

pytestmark = pytest.mark.filterwarnings("ignore")  # of the runtime, on what it may read differently one day
Anchor = core._Hierarchy.Anchor
KEY = "<@:x>"
compile_expression = re.compile  # the runtime's own, whatever stands in its place during a test
NEVER = "(?:|never the same text as elsewhere)"  # after an expression: for one that nobody knows yet


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
    try:
        return operation(*arguments)
    except (re.error, OverflowError, RecursionError) as error:
        return type(error), str(error)


def compare(expression, names):
    """Holds the engine against the runtime. The number of names that matched."""
    matched = 0
    for name in names:
        expected = outcome(plainly_matches, expression, name)
        assert outcome(matches, expression, name) == expected, (expression, name)
        matched += expected is True
        # From the start, from the end and, by the alternative, from anywhere.
        for parts in (expression + KEY, KEY + expression, "^!|" + expression + KEY):
            assert outcome(left_of, parts, name) == outcome(plainly_left_of, parts, name), (parts, name)
    return matched


@pytest.fixture
def left_to_the_runtime(monkeypatch):
    """The expressions that the runtime was asked to compile."""
    asked = []
    monkeypatch.setattr(re, "compile", lambda text: asked.append(text) or compile_expression(text))
    return asked


class Expressions:
    """Draws expressions with a text that each may match."""

    # Each with a character of the set after it.
    SETS = r".x \d7 \w_ \Db \W- \Sa [ab]b [^ab]é [a-c_]c [\d-]- [^\W1]a [\n\].]] [^\n]車 [-a]- [a^]^ [\b\\]\ "
    SETS += "[+-/], \\s\x1c [\\s\\S]\n"
    ANCHORS = r"^ $ \A \Z \b"
    REPEATS = "* + ? {2} {1,2} {0,2} {,2} {2,} {1} *? +? ?? {1,3}? {,1}?"
    # What is left to the runtime, or invalid.
    OTHERS = r"""
        (?i) (?:a*)* (?=a) (?<!b) (?P<g>a) \1 (a b) [ []a] [[a] [a--b] a** a{0} { a{ a{,} a{3,2} * ^*
        \B \z \x41 \07 [é] [\é] (?#x) [b-a] [a-\d] [a&&b] a*+ (|a)+ a{1}{2} \ [^] (? (?a:b) \q ()?
    """

    def __init__(self, seed, others=False, characters="ab1_ -\né車\ud800😀"):
        self.random, self.others, self.characters = random.Random(seed), others, characters

    def one_of(self, texts):
        return self.random.choice(texts.split(" "))

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
            return self.random.choice(self.OTHERS.split()), "a", False
        if kind < 0.2:
            return self.one_of(self.ANCHORS), "", True
        empty = False
        if kind < 0.4 and depth:
            inner, example, empty = self.draw(depth - 1)
            text = self.random.choice(("({})", "(?:{})")).replace("{}", inner)
        elif kind < 0.65:
            drawn = self.one_of(self.SETS)
            text, example = drawn[:-1], drawn[-1]
        else:
            example = self.random.choice(self.characters)
            text = self.random.choice((re.escape, str))(example)
        if self.random.random() < 0.3 and (self.others or not empty):
            repeat = self.one_of(self.REPEATS)
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
                at, gone = self.random.randint(0, len(name)), self.random.choice((0, 0, 1, 2))
                name = name[:at] + self.random.choice(self.characters) + name[at + gone :]
            yield name


def test_the_same_as_the_runtime():
    matched = 0
    for seed in range(2500):  # with 10 names and 4 ways to match each, 100,000 comparisons
        expressions = Expressions(seed, others=seed % 2 == 1)
        expression, example, _ = expressions.draw()
        matched += compare(expression, expressions.names(example, 10))
    assert 0.2 < matched / 25_000 < 0.8  # both are worth something only together


def test_what_is_certain_is_matched_natively(left_to_the_runtime):
    names = 0
    for seed in range(1000):
        expressions = Expressions(seed, characters="ab1_ -\n")  # of the sets some depend on characters beyond
        expression, example, _ = expressions.draw()
        for name in filter(str.isascii, expressions.names(example, 5)):
            names += 1
            matches(expression, name)
            left_of(expression + KEY, name)
    assert names > 4000 and left_to_the_runtime == []


# By name, the expressions that hold a difficulty for it: of characters beyond ASCII, of surrogates that stand
# alone or side by side, of the end and the line feed before it, of what captured names bring along.
NATIVE = {
    "é": r"^[a-z]+$ ^\é ^_\w",
    "😀": "^.$ ^\ud83d\ude00$",
    "\ud83d\ude00": "^.$ ^..$ ^\ud83d ^\ude00+$",
    "\ud800": "\\\ud800",
    "a\n": r"a$ a\Z a$\n",
    "a\n\n": "a$",
    "\n": "^.$",
    "": r"\b",
    "_": r"\b_",
    "a": "$|a | () " + "(" * 31 + "a" + ")" * 31,
    "a1_b": "^a(1)_b$ ^a[1]_b$",
    "a" * 400 + "b": "(?:a{20}){20}b",
    "b" * 50: "(?:" + "|".join("abcdefgh") * 9 + ")+",
}
# The same of what the runtime has to say, from a character on that it knows more of, or from a limit on.
LEFT = {
    "é": r"^[\w]",
    "٣": r"^\d ^[^\d]",
    "aé": r"^a\b",
    "\u2003": r"^\S",
    "a\x85": r"^a?\s",
    "a(1_b": "^a(1_b$",
    "a{b}": "^a{b}$",
    "a": " ".join([Expressions.OTHERS, "^a\\ ^+a$ ^a{2,9999}$", "a" * 5000, "(" * 50 + "a" + ")" * 50]),
    "a" * 99**2: "(?:a{99}){99}",
}


@pytest.mark.parametrize(("cases", "native"), [(NATIVE, True), (LEFT, False)])
def test_hard_cases(cases, native, left_to_the_runtime):
    for name, expressions in cases.items():
        for expression in expressions.split():
            del left_to_the_runtime[:]
            outcome(matches, expression + NEVER, name)
            assert left_to_the_runtime == ([] if native else [expression + NEVER]), name[:10]
            compare(expression, [name])
    compare("", ["", "a"])


def test_deep_and_large_expressions_end():
    deep = "(" * 100_000 + ")" * 100_000
    assert outcome(matches, deep, "a")[0] is RecursionError
    assert matches("a" * 100_000 + "+", "a" * 100_001) is True
    assert left_of("^!|(?:a|b|c)*d|a" + KEY, "a" * 100_000) == ""  # each after a look at all the rest
    assert left_of("^a{1,3}?(?:a|é)*" + KEY, "aé" * 1_000_000) == ""
