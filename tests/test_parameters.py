"""Inputs of checks and exporters, alone and in blocks, and what plug-ins may derive from them."""

import gc
import weakref

import pytest
from hosts import logged

from core import Error, Parameters

Block, ComboBox, FloatRange, IntRange = (
    Parameters.Block,
    Parameters.ComboBox,
    Parameters.FloatRange,
    Parameters.IntRange,
)
RegEx, Switch, Item, Task = Parameters.RegEx, Parameters.Switch, ComboBox.Item, Block.Task
TextInput, TextInputList, TextMatch = Parameters.TextInput, Parameters.TextInputList, Parameters.TextMatch
TextMatchList, IntSlice, IntSliceList = Parameters.TextMatchList, Parameters.IntSlice, Parameters.IntSliceList
Group, Options = Parameters.Group, Parameters.Options


class Color(Parameters._Input):
    """A kind of input of a plug-in, with a value of several parts."""

    def __init__(self, attr_name, rgb):
        super().__init__(attr_name, label="Color")
        self.rgb = rgb

    @property
    def data(self):
        return {"rgb": self.rgb}

    def load(self, data):
        self.rgb = data["rgb"]

    def clone(self):
        return Color(self.attr, list(self.rgb))


class Percent(IntRange):
    """An input derived with another constructor and an attribute of its own."""

    def __init__(self):
        super().__init__("percent", value=10, units="%")
        self.of = "triangles"


def inputs():
    box = ComboBox("unit", [Item("cm", "Centimetre"), Item("m", "Metre", selected=True)])
    return IntRange("limit", value=7), Switch("strict"), RegEx("names", "a+"), box, FloatRange("scale")


STATE = {
    "limit": {"value": 7},
    "strict": {"enabled": False},
    "names": {"text": "a+"},
    "unit": {"selected_attr": "m"},
    "scale": {"value": 0.5},
}


@pytest.mark.parametrize(
    ("make", "error"),
    [
        (lambda: Parameters._Input(5), TypeError("Wrong Type for Attribute Name")),
        (lambda: Switch("", enabled=1), ValueError("Empty Attribute Name")),
        (lambda: IntRange("a b", value=1.5), Error.WrongAttributeName("a b")),
        (lambda: Parameters._Input("a", label=b"b"), TypeError()),
        (lambda: Parameters._Input("a", help_text=None), TypeError()),
        (lambda: IntRange("a", value=1.5), TypeError()),
        (lambda: IntRange("a", units=1), TypeError()),
        (lambda: FloatRange("a", value=1), TypeError()),
        (lambda: FloatRange("a", maximum=True), TypeError()),
        (lambda: FloatRange("a", precision=2.0), TypeError()),
        (lambda: RegEx("a", b".+"), TypeError()),
        (lambda: Switch("a", enabled=1), TypeError()),
        (lambda: Item("__a"), Error.PrivateAttributeName("__a")),
        (lambda: Item("a", selected=1), TypeError()),
        (lambda: ComboBox("a", ["b"]), TypeError()),
        (lambda: ComboBox("a", [Item("b"), Item("b")]), Error.AttributeNameRepeat()),
    ],
)
def test_constructors_refuse_what_does_not_fit(make, error):
    with pytest.raises(type(error)) as caught:
        make()
    assert (type(caught.value), str(caught.value)) == (type(error), str(error))


def test_numbers_are_not_held_to_their_limits_and_booleans_are_integers():
    assert IntRange("a", value=10**400, maximum=True).value == 10**400
    assert (
        str(IntRange("a", 0, 100, 1, 50, "", "", "Budget", 'in "k"'))
        == 'attr="a" label="Budget" help="in "k""'
    )
    assert FloatRange("a").step == 0.05


@pytest.mark.parametrize(
    ("made", "field", "fixed"),
    [
        (IntRange("a", value=7), "value", 50),
        (FloatRange("a", value=7.0), "value", 0.5),
        (RegEx("a", "b"), "text", ".+"),
        (Switch("a", enabled=True), "enabled", False),
    ],
)
def test_load_takes_values_as_they_come_and_falls_back_on_a_constant(made, field, fixed):
    value = [1]
    made.load({field: value, "other": 1})
    assert getattr(made, field) is made.data[field] is value
    with pytest.raises(AttributeError):
        made.load([value])
    assert getattr(made, field) is value
    made.load({})
    assert made.data == {field: fixed}


def test_clones_have_all_fields_and_the_current_value():
    ranges = (
        IntRange("a", 1, 2, 3, 4, "p", "u", "l", "h"),
        FloatRange("a", 1.0, 2.0, 3.0, 4, 5.0, "p", "u", "l", "h"),
    )
    fields = "attr", "minimum", "maximum", "step", "value", "prefix", "units", "label", "help_text"
    for made in ranges:
        made.value *= 2
        copy = made.clone()
        assert type(copy) is type(made)
        assert [getattr(copy, name) for name in fields] == [getattr(made, name) for name in fields]
    assert ranges[1].clone().precision == 4
    ranges[0].value = "no number"
    with pytest.raises(TypeError):
        ranges[0].clone()
    for made in RegEx("a", "b", "l", "h"), Switch("a", True, "l", "h"):
        copy = made.clone()
        assert (str(copy), copy.data) == (str(made), made.data)


def test_an_expression_equals_its_text():
    assert RegEx("a", "x") == RegEx("b", "x") == "x"
    assert RegEx("a", "x") != RegEx("a", "y")
    assert RegEx("a", "1") != 1


def test_one_item_of_a_combo_box_is_selected():
    first, second, third = items = [Item("a"), Item("b", "B", selected=True), Item("c", selected=True)]
    box = ComboBox("box", iter(items), label="l", help_text="h")
    assert list(box) == items
    assert [item.selected for item in items] == [False, True, False]
    assert (box.get_selected(), box.get_selected(text=True), box.current_index) == (second, "B", 1)
    assert box.b is second
    box.load({"selected_attr": "c"})
    box.load({"selected_attr": "d"})
    box.load({})
    assert box.get_selected() is third
    copy = box.clone()
    assert (copy.data, str(copy)) == ({"selected_attr": "c"}, str(box))
    assert copy.c is not third
    box.set_selected(Item("elsewhere"))
    assert box.current_index == 0
    assert not any(item.selected for item in items)
    assert box.data == {"selected_attr": "a"}
    assert first.selected
    assert ComboBox("box", [Item("a"), Item("b")]).current_index == 0


def test_a_combo_box_without_items_selects_nothing():
    box = ComboBox("box", [])
    assert (box.get_selected(), box.get_selected(text=True), box.data, box.current_index) == (None, "", {}, 0)
    for name in "data", "clone":
        with pytest.raises(AttributeError, match=name):
            ComboBox("box", [Item(name)])


def test_kinds_of_plug_ins_are_used_by_name():
    base = Parameters._Input("a")
    for use in (lambda: base.data, lambda: base.load({}), base.clone):
        with pytest.raises(NotImplementedError):
            use()
    prototype = Color("color", [1, 2, 3])
    block = Block(prototype, Percent())
    block.load(None)
    task = block.append_task()
    task.color.rgb.append(4)
    assert task.state == {"color": {"rgb": [1, 2, 3, 4]}, "percent": {"value": 10}}
    block.append_task()
    assert block.data[2] == block.data[0] == block.defaults[0]
    assert prototype.rgb == [1, 2, 3]
    assert isinstance(task.percent, Percent)
    assert (task.percent.of, task.percent.units) == ("triangles", "%")


def test_a_block_holds_tasks_with_values_of_their_own():
    prototypes = inputs()
    block = Block(*prototypes)
    block.as_info = block.complex = 1
    assert (block.as_info, block.complex, block.empty, len(block), block.data) == (True, True, False, 0, [])
    block.load([{"state": STATE | {"limit": {"value": 1}}}, {"as_info": False}])
    first, second = block
    assert [task.number for task in block] == [1, 2]
    assert list(first.data) == ["as_info", "state"]
    assert list(first.state) == list(STATE)
    assert (first.as_info, first.limit.value, second.as_info, second.state) == (True, 1, False, STATE)
    first.unit.load({"selected_attr": "cm"})
    first.names.text = "b"
    assert second.state == STATE
    assert block.defaults == [{"as_info": True, "state": STATE}]
    assert [made.data for made in prototypes] == list(STATE.values())
    assert list(first) == [first.limit, first.strict, first.names, first.unit, first.scale]
    third = block.append_task()
    assert (third.number, third.as_info, third.state) == (3, True, STATE)
    Block(*prototypes).remove_task(first)
    block.remove_task(first.clone())
    assert block.length == 3
    block.remove_task(first)
    assert [(task, task.number) for task in block] == [(second, 1), (third, 2)]
    tasks = block._tasks
    block.reset()
    assert tasks == []
    assert third.number == 2
    with pytest.raises(TypeError):
        block.clone()


def test_an_empty_block_has_one_task_without_state():
    block = Block()
    assert block.empty
    for data in ([], None, {"state": {}}, ()):
        block.load(data)
        assert block.data == [{"as_info": False, "state": {}}]
    next(iter(block)).assert_no_errors()


def test_errors_of_stored_data_wait_for_the_check():
    block = Block(*inputs())
    late = {"limit": {"value": 1}, "strict": 5, "names": {"text": "late"}}
    block.load([{"state": {"gone": {}} | late}, {"state": late}, {"state": None}, {"state": {}}])
    unknown, wrong, none, empty = block
    assert unknown.state == none.state == empty.state == STATE
    assert wrong.state == STATE | {"limit": {"value": 1}}
    empty.assert_no_errors()
    for task in unknown, wrong, none:
        for _ in range(2):
            with pytest.raises(AttributeError):
                task.assert_no_errors()
    copy = wrong.clone()
    assert (copy.state, copy.number) == (wrong.state, 0)
    assert copy._load_exceptions == wrong._load_exceptions != []


def test_values_that_cannot_be_cloned_wait_for_the_check():
    block = Block(*inputs())
    block.load([{"state": {"limit": {"value": "much"}, "strict": {"enabled": True}}}])
    (task,) = block
    task.assert_no_errors()
    copy = task.clone()
    with pytest.raises(TypeError):
        copy.assert_no_errors()
    assert copy.state == {}
    assert block.data[0]["state"]["limit"] == {"value": "much"}


def test_entries_that_are_no_mappings_become_default_tasks():
    block = Block(*inputs())
    with logged() as messages:
        block.load([None, 5, {"as_info": "kept"}])
    assert [task.as_info for task in block] == [False, False, "kept"]
    assert [task.state for task in block] == [STATE] * 3
    assert len(messages) == 2


@pytest.mark.parametrize(
    ("made", "error"),
    [
        ([Switch("a"), Switch("b"), Switch("a")], Error.AttributeNameRepeat),
        ([Switch("a"), Item("b")], Error.ParameterInputType),
        ([Switch("a"), Switch("data")], AttributeError),
        ([Switch("a"), Switch("clone")], AttributeError),
        ([Switch("a"), Switch("number")], AttributeError),
    ],
)
def test_errors_of_building_wait_for_the_check(made, error):
    block = Block(*made)
    task = block.append_task()
    assert task.state == {}
    assert task.a is task._inputs[0] is not made[0]
    assert task._load_exceptions
    for broken in (task, task.clone()):
        with pytest.raises(error):
            broken.assert_no_errors()


def test_what_is_no_input_shows_when_a_task_is_made():
    block = Block(Switch("a"), 5)
    assert block._state == {"a": {"enabled": False}}
    with pytest.raises(AttributeError):
        block.append_task()

    class Interrupted(Color):
        def load(self, data):
            raise KeyboardInterrupt

        def clone(self):
            return self

    with pytest.raises(KeyboardInterrupt):
        Block(Interrupted("a", [])).append_task()


def test_kept_errors_hold_no_frames():
    class Broken(Color):
        def load(self, data):
            local = Color("local", [])
            frames.append(weakref.ref(local))
            raise ValueError(data)

        def clone(self):
            return self

    frames = []
    task = Task([Broken("a", [])])
    task.load({"a": 1})
    for _ in range(3):
        with pytest.raises(ValueError, match="1") as caught:
            task.assert_no_errors()
    depth = len(list(caught.traceback))
    del caught
    gc.collect()
    assert depth == 1
    assert frames[0]() is None


def test_text_lists_give_load_and_change_their_texts():
    marked = TextInputList("list", [TextInput("a"), TextInput("b", True)], help_text="h")
    plain = TextMatchList("list", [TextMatch("a"), TextMatch("b")], help_text="h")
    assert (marked.values(), marked.values(enabled=False), plain.values()) == (("b",), ("a", "b"), ("a", "b"))
    assert (marked.label, len(marked), marked[1].text, plain[-1].text) == ("", 2, "b", "b")
    assert str(marked) == (
        '<class TextInputList> attr="list" label="" help="h"\n'
        '  <class TextInput> enabled=False text="a"\n'
        '  <class TextInput> enabled=True text="b"'
    )
    marked.add().text = "c"
    plain.add().text = "c"
    array = marked._array
    for made, help_text in (marked, "h"), (plain, ""):
        made.pop(0)
        with pytest.raises(IndexError):
            made.pop(2)
        copy = made.clone()
        assert (copy.data, copy.help_text) == (made.data, help_text)
        assert copy[0] is not made[0]
        for wrong, error in [
            ([{"text": "x"}, {"text": 5}], TypeError),
            ([{"text": "x"}, None], AttributeError),
        ]:
            with pytest.raises(error):
                made.load(wrong)
        assert made.data == copy.data
        made.load(iter([{"text": "x"}, {}]))
        assert made.values(*([False] if made is marked else [])) == ("x", "")
        made.load([])
        assert made.clone().data == []
    assert marked._array is array
    assert copy.data == [{"text": "b"}, {"text": "c"}]
    marked.load([{"text": "x", "enabled": True}, {}])
    assert marked.data == [{"text": "x", "enabled": True}, {"text": "", "enabled": False}]


@pytest.mark.parametrize(
    "make",
    [
        lambda: TextInput(5),
        lambda: TextInput("a", 1),
        lambda: TextMatch(b"a"),
        lambda: TextInputList("a", ["b"]),
        lambda: TextMatchList("a", [TextInput("b")]),
        lambda: IntSlice(IntRange("a"), 5),
        lambda: IntSliceList("a", IntRange("b")),
        lambda: IntSliceList("a", a_slice(), [IntRange("b")]),
    ],
)
def test_lists_refuse_what_does_not_fit(make):
    with pytest.raises(TypeError) as caught:
        make()
    assert caught.value.args == ()


def a_slice(start=1, stop=2, **limits):
    return IntSlice(IntRange("first", value=start, **limits), IntRange("second", value=stop))


def test_slices_have_the_limits_of_the_default():
    default = a_slice(3, 4, minimum=-5, step=5, units="cm")
    own = a_slice(7, 8, maximum=9, prefix="own", units="own")
    slices = IntSliceList("list", default, [own], help_text="h")
    assert (own.start.minimum, own.start.maximum, own.start.step) == (-5, 100, 5)
    assert (own.start.prefix, own.start.units, own.start.value) == ("own", "cm", 7)
    default.start.value = default.start.minimum = 0
    added = slices.add()
    assert added.data == {"start": {"value": 3}, "stop": {"value": 4}}
    assert (added.start.attr, added.stop.attr, added.start.minimum, added.start.units) == (
        "start",
        "stop",
        -5,
        "cm",
    )
    copy = slices.clone()
    assert (copy.data, copy.help_text, copy._default is default) == (slices.data, "", True)
    assert copy.add().start.minimum == 0
    with pytest.raises(AttributeError):
        slices.load([{}, None])
    assert list(slices) == [own, added]
    slices.load([{"start": {"value": 9}}])
    assert slices.data == [{"start": {"value": 9}, "stop": {"value": 50}}]
    assert next(iter(slices)).start.units == "cm"
    slices.pop(-1)
    assert list(slices) == []


def exporter(kind=Options):
    box = ComboBox("unit", [Item("cm"), Item("m", selected=True)])
    switch = Switch("smooth")
    inner = Group(
        "Inner", [FloatRange("scale"), box, RegEx("names"), Item("no_input")], visibility_switch=switch
    )
    return kind("fbx", "FBX", "h", iter([switch, Group("Outer", [IntRange("count", value=3), inner])]))


def test_options_tell_what_differs_from_the_defaults():
    options = exporter()
    assert list(options._parameters) == ["smooth", "count", "scale", "unit", "names"]
    assert options._defaults == {"smooth": False, "count": 3, "scale": 0.5, "unit": "m"}
    assert options.data == {}
    change = {"unit": "cm", "gone": 1, "scale": 2.0, "smooth": True, "count": 4}
    options.load(change)
    assert options.data == {"smooth": True, "count": 4, "unit": "cm"}
    options._parameters["scale"].value = 0.75
    options.load({"unit": "gone", "count": 4})
    assert options.data == {"count": 4, "scale": 0.75}
    options.reset()
    assert options.data == {"scale": 0.75}
    with pytest.raises(AttributeError):
        options.load([])


def test_clones_of_options_keep_the_defaults_of_their_source():
    class Derived(Options):
        def __init__(self, *args):
            super().__init__(*args)
            self.kept = self._parameters

    for options in exporter(), exporter(Derived):
        options.load({"count": 4})
        copy = options.clone()
        assert type(copy) is type(options)
        assert (copy.attr, copy.label, copy.help_text, copy.data) == ("fbx", "FBX", "", {"count": 4})
        copy.load({"smooth": True})
        assert (copy.data, options.data) == ({"smooth": True}, {"count": 4})
        outer, copied = list(options)[1], list(copy)[1]
        assert (copied.label, list(copied)[1].visibility_switch) == (
            "Outer",
            list(outer)[1].visibility_switch,
        )
        assert not hasattr(copy, "kept")


def test_options_refuse_what_cannot_be_a_tree():
    loop = []
    group = Group("loop", loop)
    loop.append(group)
    deep = Switch("deep")
    for _ in range(100_000):
        deep = Group(contents=(deep,))
    for endless in group, deep:
        with pytest.raises(RecursionError):
            endless.clone()
        with pytest.raises(RecursionError):
            Options("a", contents=[endless])
    with pytest.raises(ValueError, match="Empty Attribute Name"):
        Options()
    with pytest.raises(TypeError):
        Options("a", contents=5)
    with pytest.raises(AttributeError, match="no items"):
        Options("a", contents=[ComboBox("a", [])])
    assert Options("a", contents=[Switch("b", True), Switch("b")])._defaults == {"b": False}


def cycles():
    """Objects that hold themselves where an accessor reads on."""
    inner = Parameters.IntSlice(Parameters.IntRange("a"), Parameters.IntRange("b"))
    inner.start = inner
    yield inner
    deep = Parameters.IntSlice(Parameters.IntRange("a"), Parameters.IntRange("b"))
    for _ in range(100_000):
        outer = Parameters.IntSlice(Parameters.IntRange("a"), Parameters.IntRange("b"))
        outer.start, deep = deep, outer
    yield deep
    texts = Parameters.TextMatchList("a")
    texts._array.append(texts)
    yield texts
    block = Parameters.Block()
    block._tasks.append(block)
    yield block


def test_what_holds_itself_cannot_be_read():
    for one in cycles():
        with pytest.raises(RecursionError):
            _ = one.data


def test_groups_that_stand_at_many_places_are_walked_once():
    group = Parameters.Group(contents=[Parameters.Switch("on")])
    for _ in range(60):
        group = Parameters.Group(contents=[group, group])
    assert list(Parameters.Options("a", contents=[group])._parameters) == ["on"]


def test_the_collector_frees_what_refers_to_itself():
    options, block = exporter(), Block(*inputs())
    options.self = block.append_task().self = block.self = [options, block]
    kept = [weakref.ref(made) for made in (options, block, block._tasks[0], options._contents[0])]
    del options, block
    gc.collect()
    assert [reference() for reference in kept] == [None] * 4
