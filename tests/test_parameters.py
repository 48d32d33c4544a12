"""Inputs of checks and exporters, alone and in blocks, and what plug-ins may derive from them."""

import gc
import weakref
from inspect import signature

import pytest
from hosts import logged

from core import Error, Parameters

Block, Task, Group, Options = Parameters.Block, Parameters.Block.Task, Parameters.Group, Parameters.Options
IntRange, FloatRange, IntSlice = Parameters.IntRange, Parameters.FloatRange, Parameters.IntSlice
RegEx, Switch, TextMatch = Parameters.RegEx, Parameters.Switch, Parameters.TextMatch
ComboBox, Item, TextInput = Parameters.ComboBox, Parameters.ComboBox.Item, Parameters.TextInput
TextInputList, TextMatchList = Parameters.TextInputList, Parameters.TextMatchList
IntSliceList = Parameters.IntSliceList


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


class Angle(FloatRange):
    """An input derived with the constructor of its base, which makes something of the value."""

    def __init__(self, attr_name, value=0.5, **named):
        super().__init__(attr_name, value=value, **named)
        self.degrees = 360 * value


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


def a_slice(start=1, stop=2, **limits):
    return IntSlice(IntRange("first", value=start, **limits), IntRange("second", value=stop))


def test_constructors_refuse_what_does_not_fit():
    bounds = {"default": a_slice(), "start": IntRange("a"), "stop": IntRange("a")}
    fitting = {"attr_name": "a", "items": (), "text": "", **bounds}
    kinds = [Parameters._Input, IntRange, FloatRange, RegEx, Switch, ComboBox, Item, TextInput, TextMatch]
    kinds += [TextInputList, TextMatchList, IntSlice, IntSliceList]
    wrong = [(kind, name, [object()]) for kind in kinds for name in signature(kind).parameters]
    wrong += [(IntRange, "value", 1.5), (FloatRange, "value", 1), (FloatRange, "maximum", True)]
    wrong += [(Switch, "enabled", 1), (RegEx, "text", b".+"), (TextMatchList, "items", [TextInput("b")])]
    for kind, name, value in wrong:
        needed = {key: fitting[key] for key in signature(kind).parameters if key in fitting}
        with pytest.raises(TypeError) as caught:
            kind(**needed | {name: value})
        text = "Wrong Type for Attribute Name" if name == "attr_name" else ""
        assert str(caught.value) == text, (kind, name)

    for make, error in (
        (lambda: Switch("", enabled=1), ValueError("Empty Attribute Name")),
        (lambda: Options(), ValueError("Empty Attribute Name")),
        (lambda: IntRange("a b", value=1.5), Error.WrongAttributeName("a b")),
        (lambda: Item("__a"), Error.PrivateAttributeName("__a")),
        (lambda: ComboBox("a", [Item("b"), Item("b")]), Error.AttributeNameRepeat()),
    ):
        with pytest.raises(type(error), match=f"^{error}$"):
            make()


def test_values_are_loaded_as_they_come_and_cloned_with_all_fields():
    whole = IntRange("a", 1, 2, 3, 4, "p", "u", "l", 'in "k"')
    real = FloatRange("a", 1.0, 2.0, 3.0, 4, 5.0, "p", "u", "l", "h")
    fields = "minimum", "maximum", "step", "precision", "prefix", "units"  # which the text does not tell
    assert str(whole) == 'attr="a" label="l" help="in "k""'
    for made, field, value, fixed in (
        (whole, "value", 10**400, 50),  # which is not held to the limits
        (real, "value", -1.0, 0.5),
        (RegEx("a", "b", "l", "h"), "text", "c", ".+"),
        (Switch("a", False, "l", "h"), "enabled", True, False),
    ):
        made.load({field: value, "other": 1})
        assert getattr(made, field) is made.data[field] is value
        copy = made.clone()
        assert (type(copy), str(copy), copy.data) == (type(made), str(made), made.data)
        for name in fields:
            assert getattr(copy, name, None) == getattr(made, name, None), name
        made.load({field: [1]})
        with pytest.raises(AttributeError):
            made.load([value])
        with pytest.raises(TypeError):
            made.clone()
        assert made.data == {field: [1]}
        made.load({})
        assert made.data == {field: fixed}
    real.load({"value": 2})
    assert (type(real.value), real.clone().data) == (float, {"value": 2.0})  # which documents may write as 2
    assert (FloatRange("a").step, IntRange("a", maximum=True).maximum) == (0.05, True)  # an integer, too
    assert RegEx("a", "x") == RegEx("b", "x") == "x" != RegEx("b", "y") and RegEx("a", "1") != 1


def test_one_item_of_a_combo_box_is_selected():
    first, second, third = items = [Item("a"), Item("b", "B", selected=True), Item("c", selected=True)]
    box = ComboBox("box", iter(items), label="l", help_text="h")
    assert list(box) == items and [item.selected for item in items] == [False, True, False]
    assert (box.get_selected(), box.get_selected(text=True), box.current_index) == (second, "B", 1)
    assert box.b is second
    for data in ({"selected_attr": "c"}, {"selected_attr": "d"}, {}):
        box.load(data)
        assert box.get_selected() is third and not second.selected
    copy = box.clone()
    assert (copy.data, str(copy)) == ({"selected_attr": "c"}, str(box)) and copy.c is not third
    box.set_selected(Item("elsewhere"))
    assert box.current_index == 0 and not any(item.selected for item in items)
    assert box.data == {"selected_attr": "a"} and first.selected
    assert ComboBox("box", [Item("a"), Item("b")]).current_index == 0

    empty = ComboBox("box", [])
    told = [empty.get_selected(), empty.get_selected(text=True), empty.data, empty.current_index]
    assert told == [None, "", {}, 0]
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
    assert block.data[2] == block.data[0] == block.defaults[0] and prototype.rgb == [1, 2, 3]
    assert isinstance(task.percent, Percent)
    assert (task.percent.of, task.percent.units) == ("triangles", "%")
    angle = Angle("angle", units="turns")
    angle.load({"value": 1})
    angle.axis = "y"
    copy = angle.clone()
    assert (copy.degrees, copy.units, copy.axis, type(copy)) == (360, "turns", "y", Angle)
    angle.value = "right"
    with pytest.raises(TypeError, match="float"):
        angle.clone()  # which its own constructor refuses


def test_a_block_holds_tasks_with_values_of_their_own():
    prototypes = inputs()
    block = Block(*prototypes)
    block.as_info = block.complex = 1
    assert (block.as_info, block.complex, block.empty, len(block), block.data) == (True, True, False, 0, [])
    changed = {"state": STATE | {"limit": {"value": 1}}}
    with logged() as messages:
        block.load([changed, {"as_info": False}, None, 5, {"as_info": "kept"}])
    first, second, *others = block
    assert len(messages) == 2 and [task.number for task in block] == [1, 2, 3, 4, 5]
    assert [(task.as_info, task.state) for task in others] == [(True, STATE), (True, STATE), ("kept", STATE)]
    assert list(first.data) == ["as_info", "state"] and list(first.state) == list(STATE)
    assert (first.as_info, first.limit.value, second.as_info, second.state) == (True, 1, False, STATE)
    first.unit.load({"selected_attr": "cm"})
    first.names.text = "b"
    assert second.state == STATE and block.defaults == [{"as_info": True, "state": STATE}]
    assert [made.data for made in prototypes] == list(STATE.values())
    assert list(first) == [first.limit, first.strict, first.names, first.unit, first.scale]
    added = block.append_task()
    assert (added.number, added.as_info, added.state) == (6, True, STATE)
    Block(*prototypes).remove_task(first)
    block.remove_task(first.clone())
    assert block.length == 6
    block.remove_task(first)
    assert [(task, task.number) for task in block] == list(zip([second, *others, added], range(1, 6)))
    tasks = block._tasks
    block.reset()
    assert tasks == [] and added.number == 5
    with pytest.raises(TypeError):
        block.clone()


def test_errors_of_stored_data_wait_for_the_check():
    block = Block(*inputs())
    late = {"limit": {"value": 1}, "strict": 5, "names": {"text": "late"}}
    states = [{"gone": {}} | late, late, None, {}, {"limit": {"value": "much"}, "strict": {"enabled": True}}]
    block.load([{"state": state} for state in states])
    unknown, wrong, none, empty, uncloned = block
    assert unknown.state == none.state == empty.state == STATE
    assert wrong.state == STATE | {"limit": {"value": 1}}
    for task in empty, uncloned:
        task.assert_no_errors()
    copy = wrong.clone()
    assert (copy.state, copy.number) == (wrong.state, 0)
    for task in unknown, wrong, none, copy, copy:
        with pytest.raises(AttributeError):
            task.assert_no_errors()
    copy = uncloned.clone()
    with pytest.raises(TypeError) as caught:
        copy.assert_no_errors()
    assert (copy.state, uncloned.state["limit"]) == ({}, {"value": "much"})
    assert str(caught.value) == ""
    assert caught.value.__notes__[:2] == ["\"value\" must be an int, not 'much'", 'in the input "limit"']
    block = Block()
    for data in ([], None, {"state": {}}, ()):
        block.load(data)
        assert block.empty and block.data == [{"as_info": False, "state": {}}]
    next(iter(block)).assert_no_errors()


def test_errors_of_building_wait_for_the_check():
    first, others = Switch("a"), [(Switch(name), AttributeError) for name in ("data", "clone", "as_info")]
    others += [(Switch("a"), Error.AttributeNameRepeat), (Item("b"), Error.ParameterInputType)]
    for other, error in others:
        task = Block(first, other).append_task()
        assert (task.state, task.a) == ({}, task._inputs[0]) and task.a is not first
        for failing in (task, task.clone()):
            with pytest.raises(error):
                failing.assert_no_errors()
    block = Block(first, Switch("number", True))
    task, state = block.append_task(), {"a": {"enabled": False}, "number": {"enabled": True}}
    assert (task.number, task.clone().number.enabled, task.state) == (1, True, state)
    task.clone().assert_no_errors()
    block = Block(Switch("a"), 5)
    assert block._state == {"a": {"enabled": False}}
    with pytest.raises(AttributeError):
        block.append_task()


def test_kept_errors_hold_no_frames_and_interrupts_are_not_kept():
    class Broken(Color):
        def load(self, data):
            local = Color("local", [])
            frames.append(weakref.ref(local))
            try:
                raise OSError
            except OSError as first:
                raise data from first

        def clone(self):
            return self

    frames, task = [], Task([Broken("a", [])])
    with pytest.raises(KeyboardInterrupt):
        task.load({"a": KeyboardInterrupt()})
    task.load({"a": ValueError("broken")})
    for _ in range(3):
        with pytest.raises(ValueError, match="broken") as caught:
            task.assert_no_errors()
    depth = len(list(caught.traceback))
    del caught
    gc.collect()
    assert (depth, frames[-1]()) == (1, None)


def test_text_lists_give_load_and_change_their_texts():
    marked = TextInputList("list", [TextInput("a"), TextInput("b", True)], help_text="h")
    plain = TextMatchList("list", [TextMatch("a"), TextMatch("b")], help_text="h")
    assert (marked.values(), marked.values(enabled=False), plain.values()) == (("b",), ("a", "b"), ("a", "b"))
    assert (marked.label, len(marked), marked[1].text, plain[-1].text) == ("", 2, "b", "b")
    array = marked._array
    for made, help_text in (marked, "h"), (plain, ""):
        made.add().text = "c"
        made.pop(0)
        with pytest.raises(IndexError):
            made.pop(2)
        copy = made.clone()
        assert (copy.data, copy.help_text) == (made.data, help_text) and copy[0] is not made[0]
        for wrong, error in ({"text": 5}, TypeError), (None, AttributeError):
            with pytest.raises(error):
                made.load([{"text": "x"}, wrong])
        assert [element["text"] for element in made.data] == ["b", "c"]
        made.load(iter([{"text": "x", "enabled": True}, {}]))
        assert (made[0].text, made.data[1]["text"], len(made)) == ("x", "", 2)
    assert marked.data == [{"text": "x", "enabled": True}, {"text": "", "enabled": False}]
    assert marked._array is array and plain.data == [{"text": "x"}, {"text": ""}]
    marked.load([])
    assert marked.clone().data == []


def test_slices_have_the_limits_of_the_default():
    default = a_slice(3, 4, minimum=-5, step=5, units="cm")
    start = IntRange("first", value=7, maximum=9, prefix="own", units="own")
    own = IntSlice(start, IntRange("second", value=8, units="own"))
    slices = IntSliceList("list", default, [own], help_text="h")
    assert (own.start.minimum, own.start.maximum, own.start.step) == (-5, 100, 5)
    assert (own.start.prefix, own.start.units, own.start.value, own.stop.units) == ("own", "cm", 7, "own")
    default.start.value = default.start.minimum = 0
    added = slices.add()
    assert added.data == {"start": {"value": 3}, "stop": {"value": 4}}
    assert (added.start.attr, added.stop.attr) == ("start", "stop")
    assert (added.start.minimum, added.start.units) == (-5, "cm")
    copy = slices.clone()
    assert (copy.data, copy.help_text, copy._default) == (slices.data, "", default)
    assert copy.add().start.minimum == 0
    with pytest.raises(AttributeError):
        slices.load([{}, None])
    assert list(slices) == [own, added]
    slices.load([{"start": {"value": 9}}])
    assert slices.data == [{"start": {"value": 9}, "stop": {"value": 50}}]
    assert next(iter(slices)).start.units == "cm"
    slices.pop(-1)
    assert list(slices) == []


def test_options_and_their_clones_tell_what_differs_from_the_defaults():
    class Exporter(Options):
        def __init__(self, *arguments):
            super().__init__(*arguments)
            self.kept = self._parameters

    box = ComboBox("unit", [Item("cm"), Item("m", selected=True)])
    switch = Switch("smooth")
    contents = [FloatRange("scale"), box, RegEx("names"), Item("no_input")]
    inner = Group("Inner", contents, visibility_switch=switch)
    options = Exporter("fbx", "FBX", "h", iter([switch, Group("Outer", [IntRange("count", value=3), inner])]))
    assert list(options._parameters) == ["smooth", "count", "scale", "unit", "names"]
    assert options._defaults == {"smooth": False, "count": 3, "scale": 0.5, "unit": "m"}
    assert options.data == {}
    options.load({"unit": "cm", "gone": 1, "scale": 2.0, "smooth": True, "count": 4})
    assert options.data == {"smooth": True, "count": 4, "unit": "cm"}
    options._parameters["scale"].value = 0.75
    options.load({"unit": "gone", "count": 4})
    assert options.data == {"count": 4, "scale": 0.75}
    with pytest.raises(AttributeError):
        options.load([])
    assert options.data == {"scale": 0.75}  # the others were reset before
    copy = options.clone()
    assert (type(copy), copy.data) == (Exporter, {"scale": 0.75}) and not hasattr(copy, "kept")
    assert (copy.attr, copy.label, copy.help_text) == ("fbx", "FBX", "")
    copy.load({"smooth": True})
    assert (copy.data["smooth"], options.data) == (True, {"scale": 0.75})
    outer, copied = list(options)[1], list(copy)[1]
    assert copied is not outer and copied.label == "Outer"
    assert list(copied)[1].visibility_switch is list(outer)[1].visibility_switch


def test_options_refuse_what_cannot_be_a_tree():
    deep = wide = Switch("on")
    for _ in range(100_000):
        deep = Group(contents=(deep,))
    for refuse in deep.clone, lambda: Options("a", contents=[deep]):
        with pytest.raises(RecursionError):
            refuse()
    for _ in range(60):
        wide = Group(contents=[wide, wide])
    assert list(Options("a", contents=[wide])._parameters) == ["on"]  # each group is walked once
    with pytest.raises(TypeError):
        Options("a", contents=5)
    with pytest.raises(AttributeError, match="no items"):
        Options("a", contents=[ComboBox("a", [])])
    assert Options("a", contents=[Switch("b", True), Switch("b")])._defaults == {"b": False}
