"""What holds for every class of the module: calls, subclasses, references, collection, names."""

import contextlib
import gc
import inspect
import operator
import pickle
import re
import subprocess
import sys
import weakref
from pathlib import Path
from types import SimpleNamespace

import pytest

import core
from core import Constants, Error, Mask, _CallBacks, _NamesControl, _Naming


def classes(scope=core):
    """All classes of the module, each with those nested in it."""
    for value in vars(scope).values():
        if isinstance(value, type) and value.__module__ == "core":
            yield value
            yield from classes(value)


ALL = {each.__qualname__: each for each in classes()}


# Calls


@pytest.mark.parametrize(
    "operation, arguments, named, error",
    [
        (_NamesControl().exists, (), {}, "missing 1 required positional argument: 'name'"),
        (_NamesControl().exists, ("a",), {"name": "b"}, "got multiple values for argument 'name'"),
        (_NamesControl().exists, ("a",), {"\ud800": 1}, "got an unexpected keyword argument '\ud800'"),
        (_NamesControl().rename, ("a",), {"remove": "b"}, "got multiple values for argument 'remove'"),
        (_NamesControl().rename, (), {}, "missing 2 required positional arguments: 'remove' and 'append'"),
        (core.Scene._Buffer, (), {}, "missing 3 required positional arguments: 'operator', 'virtual', and "),
        (_NamesControl().clear, (1,), {}, "takes 0 positional arguments but 1 was given"),
        (_Naming.force_ascii, ("a", True, 1), {}, "takes from 1 to 2 positional arguments but 3 were given"),
        (_Naming.force_ascii, (None,), {}, "argument 'name' must be str, not None"),
        (_NamesControl, (), {"name": 1}, "takes no arguments"),
        (Mask.Item, ("a",), {"name": 5}, "argument 'name' must be str, not int"),
        (Mask.Item, (), {"label": "a"}, "got an unexpected keyword argument 'label'"),
    ],
)
def test_wrong_arguments_are_refused_as_python_does(operation, arguments, named, error):
    with pytest.raises(TypeError, match=f"^{re.escape(f'{operation.__name__}() {error}')}"):
        operation(*arguments, **named)


def test_arguments_go_by_position_and_by_name():
    control = _NamesControl()
    control.append("a")
    control.rename(append="b", remove="a")
    not_interned = "".join(["app", "end"])
    control.rename("b", **{not_interned: "c"})
    assert control._names == {"c"}


# Classes


@pytest.mark.parametrize("each", ALL.values(), ids=ALL)
def test_classes_are_found_by_their_names_and_documented(each):
    assert pickle.loads(pickle.dumps(each)) is each
    for name, value in vars(each).items():
        if not name.startswith("__") and (inspect.isroutine(value) or inspect.isdatadescriptor(value)):
            assert inspect.getdoc(value), name
    assert each.__doc__


def bare(each):
    """An instance of a subclass that never calls the constructor of its base."""

    class Bare(each):
        __abstractmethods__ = frozenset()

        def __new__(cls):
            return each.__new__(cls)

        def __init__(self):
            self.own = [self]

    return Bare()


CAN_BE_DERIVED = 1 << 10  # the runtime's flag of a class
BASES = {
    name: each
    for name, each in ALL.items()
    if each.__flags__ & CAN_BE_DERIVED and not issubclass(each, core._Str)
}


@pytest.mark.parametrize("each", BASES.values(), ids=BASES)
def test_instances_are_valid_without_their_constructor_and_collected_with_their_cycles(
    each, tmp_path, monkeypatch
):
    monkeypatch.setattr(core, "__file__", str(tmp_path / "core.so"))
    instance = bare(each)
    assert instance.own == [instance]
    for read in (str, repr, *map(operator.attrgetter, dir(each))):
        with contextlib.suppress(Exception):  # it may be refused, but must not bring the process down
            value = read(instance)
            if inspect.isroutine(value):
                value()
    for name, _ in inspect.getmembers(each, inspect.isdatadescriptor):
        with contextlib.suppress(Exception):
            getattr(instance, name).append(instance)
        with contextlib.suppress(Exception):
            setattr(instance, name, [instance])
    alive = weakref.ref(instance)
    del instance, value
    gc.collect()
    assert alive() is None


@pytest.mark.parametrize(
    "cycle",
    [
        lambda: (event := _CallBacks.List()).register(event) or event,
        lambda: (item := Mask.Item()).append(item) or item,
        lambda: (error := Error.ValidationError([])).args[0].append(error) or error,
        lambda: setattr(host := SimpleNamespace(exist=bool), "mask", Mask(host)) or host.mask,
    ],
)
def test_cycles_are_collected_when_nobody_else_holds_them(cycle):
    made = cycle()
    alive = weakref.ref(made)
    gc.collect()
    assert alive() is made
    del made
    gc.collect()
    assert alive() is None


OWN = type("Own", (_NamesControl,), {})


@pytest.mark.parametrize(
    "make, length", [(_CallBacks.List, 200_000), (Error.ValidationError, 200_000), (OWN, 5_000)]
)
def test_long_chains_are_dropped_without_an_overflow(make, length):
    def link(before):
        one = make()
        one.register(before) if make is _CallBacks.List else setattr(one, "before", before)
        return one

    first = chain = link(print)
    alive = weakref.ref(first)
    del first
    for _ in range(length):
        chain = link(chain)
    assert alive() is not None
    del chain
    assert alive() is None


def test_sealed_classes_take_no_further_attributes_and_members_cannot_be_deleted():
    for name in ("other", "export_success"):
        with pytest.raises(AttributeError):
            setattr(_CallBacks(), name, 1)
    bucket = core.Scene._Buffer.DataBucket(core.Scene._Buffer.DataJoint())
    for name in ("name", "checked"):
        with pytest.raises(AttributeError, match=f"^cannot delete attribute '{name}'$"):
            delattr(bucket, name)


def test_namespaces_are_never_instantiated():
    for namespace in (Constants, Constants.Scene.Type, _Naming, core.Logger, core._Assert, Error):
        with pytest.raises(TypeError):
            namespace()


@pytest.mark.parametrize("options", ["--time 0", "--seeds 0 3 --steps 300"])
def test_hostile_values_do_not_end_a_process(options):
    """The attacks that once did, and a little of what `make fuzz-api` does at length."""
    program = Path(__file__).parent.parent / "fuzz" / "api.py"
    run = subprocess.run([sys.executable, program, *options.split()], capture_output=True, text=True)
    assert run.returncode == 0, run.stdout


# What Python's own protocols want of a class


class Mixin:
    def __init__(self, **named):
        super().__init__(**named)
        self.mixed = True


def step(base):
    class Step(base):
        def __init__(self, *arguments):
            super().__init__(*arguments)

    return Step


@pytest.mark.parametrize(
    "base, arguments",
    [
        (core.Check.Base, ()),
        (core.Scene.Operator, ()),
        (type("Home", (core.Environment,), {"get_settings_directory": str, "target": "", "scope": ""}), ()),
        (core.TypeMapping, ({},)),
        (core.Parameters.Block, (core.Parameters.Switch("on"),)),
        (core.Parameters.IntRange, ("size", 1)),
        (core.Structure.NamedBuffer, ("found", [1, 2])),
        (core._Project.Settings.Record, (None, {})),
    ],
)
def test_other_base_classes_are_initialised_in_pythons_order(base, arguments):
    own = type("Own", (step(base), Mixin), {})(*arguments)
    assert own.mixed
    assert vars(own).keys() - {"mixed"} == vars(step(base)(*arguments)).keys()
    if isinstance(own, list):
        assert own == [1, 2]
    if base.__init__ is object.__init__:
        for refuses in (base, step(base), type(own)):
            with pytest.raises(TypeError):
                refuses("an argument that nobody takes")
