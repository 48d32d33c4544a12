"""The scanner: from a selection to buckets, and what hosts can do to it on the way."""

import gc
import logging
import re
import weakref

import hosts
import pytest
from hosts import HOOKS, QUERIES, logged, node, record, rule, scene, session
from memory import stays_flat

import core

Scanner = core.Scene._Scanner
Outcome = core.Scene._Scanner.Run.Outcome
Joint = core.Scene._Buffer.DataJoint
CARS = {"car": {"car_body": None, "car_wheel_2": None, "car_wheel_1": None}, "bus": {"bus_body": None}}


def cars(host=None):
    """Two cars, of which one has no wheels and another one's body is in its way."""
    parts = node(rule("body", "^<n>_body$")), node(rule("wheel", r"^<n>_wheel_\d+$", 0, 4))
    engine = session(host or scene(CARS), node(rule("root", "^<n:[a-z]+>$"), *parts))
    engine.host.selection = ["/car", "/bus"]
    return engine


def paths(engine):
    return [[joint.path for joint in bucket.get_joints()] for bucket in engine.buffer.get()]


def test_a_scan_fills_the_buffer():
    engine = cars()
    host, seen = engine.host, {}
    host.postscript_scan_append = lambda joint: seen.update({joint.path: len(joint.data["children"])})
    assert engine.scanner.upload_buffer() is core.Constants.Plugin.Status.Success
    car = ["/car", "/car/car_body", "/car/car_wheel_1", "/car/car_wheel_2"]  # sorted by name
    assert paths(engine) == [car, ["/bus", "/bus/bus_body"]]
    # The host hears of joints as they were found, and when they are complete.
    found = [("/car/car_body", 0), ("/car/car_wheel_2", 0), ("/car/car_wheel_1", 0), ("/car", 3)]
    assert list(seen.items()) == [*found, ("/bus/bus_body", 0), ("/bus", 1)]
    assert host.selected == [["/car", "/bus"]] and host.removed == engine.events == []


def test_appending():
    engine = cars()
    host = engine.host
    host.selection = ["/bus/bus_body"]
    assert engine.scanner.upload_buffer()
    host.selection = ["/car", "/bus"]
    calls = host.calls.copy()
    assert not engine.scanner.upload_buffer(append=True)
    assert engine.events == ["used_scan_selection"] and len(paths(engine)) == len(host.data) == 1
    assert host.calls - calls == {"get_selection": 1}
    assert engine.scanner.last_run.outcome == Outcome.AlreadyLoaded
    host.selection = ["/car/car_body", "/bus/bus_body"]  # only roots are compared
    assert engine.scanner.upload_buffer(append=True)
    assert [bucket.name for bucket in engine.buffer.get()] == ["bus", "car", "bus"] and host.removed == []
    host.selection, host.selected, loaded = [], [], ["/bus", "/car", "/bus"]
    for append, selected in ((True, []), (False, [loaded])):  # what is loaded is shown
        del engine.events[:]
        assert engine.scanner.upload_buffer(append) is core.Constants.Plugin.Status.Failure
        assert engine.events == ["empty_scan_selection"] and host.selected == selected
        assert engine.scanner.last_run.outcome == Outcome.NothingSelected
    host.put("/Bus")
    for append, left in ((True, 3), (False, 0)):
        host.selection = ["/Bus"]
        del engine.events[:]
        assert not engine.scanner.upload_buffer(append)
        assert engine.events == ["empty_scan_result"] and host.selection == ["/Bus"]
        assert engine.scanner.last_run.outcome == Outcome.NothingFound
        assert len(paths(engine)) == len(host.data) == left


def test_joints_of_a_list_of_scopes_with_the_captures_as_they_stand():
    engine = cars()
    engine.virtual.upload(["/car", "/bus"])
    root, state = engine.hierarchy.pattern.get()[0], engine.hierarchy.search.logic.state
    state.set({"<n:[a-z]+>": [("car", "/car")]})
    found = engine.scanner._load(["/car/car_body", "/car/car_wheel_1"], pattern=root.children)
    assert [joint.type for joint in found] == ["body", "wheel"]
    assert engine.scanner._load(["/bus/bus_body"], pattern=root.children) == []  # it captured otherwise
    assert engine.scanner._load(["/car/car_body"], pattern=[]) == []
    assert state.expressions == {"<n:[a-z]+>": {("car", "/car")}}


def grouped(types):
    wanted = node(rule("ghost", "^grp", 5, 5, types), node(rule("part", "^p", 1, 9)))
    groups = {"grp_a": {"p1": {}, "p2": {}, "x": {}}, "grp_b:locator": {"p5": {}}, "other": {"p3": {}}}
    host = scene({**groups, "p4": {}})
    host.put("/grp_a/p1/deep", "/grp_a/p1")
    del host.children["/grp_a/p1"]  # known by its parent only
    return session(host, wanted)


@pytest.mark.parametrize(
    ("types", "selection", "found"),
    [
        ([], ["/p4", "/grp_a"], [["|", "/p4"]]),
        (["sceneRoot"], ["/grp_a/p1"], []),
        (["transform"], ["/grp_a/p1", "/grp_a/p2"], [["|", "/grp_a/p1", "/grp_a/p2"]]),
        (["transform"], ["/grp_a/p1/deep"], [["|", "/grp_a/p1"]]),
        (["transform"], ["/grp_a/x", "/grp_a/p2"], [["|", "/grp_a/p2"]]),
        (["transform"], ["/grp_a"], []),  # a top-level object is no root here
        (["transform"], ["/grp_b/p5", "/other/p3"], []),  # of another type, of another name
        (["transform", "locator"], ["/grp_b/p5", "/grp_a/p1"], [["|", "/grp_b/p5"], ["|", "/grp_a/p1"]]),
        # Both in one group, which the first object leaves twice.
        (["transform"], ["/grp_a/p1", "/grp_a/p1/deep"], [["|", "/grp_a/p1", "/grp_a/p1"]]),
    ],
)
def test_ghosts(types, selection, found):
    engine = grouped(types)
    engine.host.selection = selection
    assert engine.scanner.upload_buffer() is bool(found)
    assert paths(engine) == found and engine.events == ([] if found else ["empty_scan_result"])
    for bucket, group in zip(engine.buffer.get(), found):
        ghost = bucket.joint
        fields = (ghost.stamp, ghost.type, ghost.icon, ghost.color, bucket.name)
        assert fields == ("", "ghost", "Ghost", "none", group[1].split("/")[-1])
    assert engine.host.appended == [path for group in found for path in [*group[1:], "|"]]


def test_what_is_listed_again_is_one_bucket():
    wanted = node(rule("ghost", "g", types=["transform"]), node(rule("a")))
    engine = session(scene({"g": {"a": {"b": {}, "c": {}}}}), wanted)
    del engine.host.children["/g/a"]
    engine.host.selection = ["/g/a/b", "/g/a/c"]
    engine.virtual.upload(["/g"])
    assert engine.scanner._find_scope_roots(["/g"]) == ["/g/a", "/g/a"]
    assert engine.scanner.upload_buffer() and paths(engine) == [["|", "/g/a"]]
    # The way up from objects below each other is gone once.
    way = [f"/g/a{'/x' * depth}" for depth in range(60)]
    for path in way[1:]:
        engine.host.put(path, path[:-2])
    engine.host.selection = way
    engine.host.calls.clear()
    assert engine.scanner._find_scope_roots(["/g"]) == ["/g/a"] * 60
    assert engine.host.calls["get_parent"] == 60
    engine = session(scene({"a": None}), *(node(rule(name, "^a$")) for name in "xyz"))
    engine.host.selection, engine.host.get_selection_roots = ["/a"], lambda: ["/a"] * 6
    assert engine.scanner.upload_buffer()
    assert [bucket.joint.type for bucket in engine.buffer.get()] == ["x", "y", "z"]  # one for each rule
    assert Scanner._choose_name([]) == "" and Scanner._choose_name([Joint(name="x"), Joint()]) == "x"


def test_a_reload_keeps_what_the_user_chose_and_drops_what_is_gone():
    engine = cars()
    assert engine.scanner.upload_buffer()
    host, (car, bus) = engine.host, engine.buffer.get()
    car.name, car.checked, car.opened = "mine", False, False
    host.put("/bus/bus_wheel_1", "/bus")
    del host.objects["/car/car_wheel_1"]
    del host.appended[:]
    engine.buffer.validate()
    assert engine.scanner.reload_buffer() is None
    assert engine.buffer.get() == [car, bus] and (car.name, car.checked, car.opened) == ("mine", False, False)
    vehicles = [["/car", "/car/car_body", "/car/car_wheel_2"], ["/bus", "/bus/bus_body", "/bus/bus_wheel_1"]]
    assert paths(engine) == vehicles
    assert len(host.appended) == 6 and host.removed == [] and host.data == [car.data, bus.data]
    for path in vehicles[0]:
        del host.objects[path]
    engine.scanner.reload_buffer()
    assert paths(engine) == vehicles[1:] and host.removed == [] and host.data == [bus.data]


# Hosts and expressions that fail.


@pytest.mark.parametrize("operation", ["get_selection_roots", *QUERIES, *HOOKS])
def test_errors_inside_the_scan_are_logged_and_interrupts_pass(operation):
    engine = cars()
    assert engine.scanner.upload_buffer()
    host, selected = engine.host, list(engine.host.selected)
    host.failures[operation] = error = LookupError("no")
    with logged(logging.INFO) as messages:
        assert engine.scanner.upload_buffer() is False
    (place,) = (message for message in messages if message is not error)
    assert len(messages) == 2 and place.startswith(f"scan: LookupError in {hosts.__file__}, line ")
    run = engine.scanner.last_run
    assert (run.outcome, run.error) == (Outcome.Failed, error)
    assert host.selected == selected and engine.events == []
    for interrupt in (KeyboardInterrupt, SystemExit, GeneratorExit):
        host.failures = {}
        assert engine.scanner.upload_buffer() and paths(engine)[-1][0] == "/bus"
        run = engine.scanner.last_run
        assert (run.outcome, run.error) == (Outcome.Found, None)
        host.failures[operation] = interrupt()
        with pytest.raises(interrupt):
            engine.scanner.upload_buffer()
        assert gc.isenabled()


def test_errors_around_a_scan_and_in_a_reload_pass():
    for operation in ("get_selection", "select", "embed_filedata"):
        engine = cars()
        engine.host.failures[operation] = LookupError("no")
        with pytest.raises(LookupError):
            engine.scanner.upload_buffer()
        assert len(engine.buffer.get()) == (2 if operation == "embed_filedata" else 0)
        assert engine.scanner.last_run.error is engine.host.failures[operation]
    for operation in ("object_exists", "postscript_scan_append", "erase_filedata"):
        engine.host.failures = {operation: LookupError("no")}
        with pytest.raises(LookupError):
            engine.scanner.reload_buffer()
    assert len(engine.buffer.get()) == 2


# Hooks that do what they should not.


def state_of(engine):
    return engine.hierarchy.search.logic.state


def test_hooks_may_use_the_hierarchy():
    engine, plain = cars(), cars()
    assert plain.scanner.upload_buffer()
    host, found, loading = engine.host, [], []

    def hook(joint):
        found.append((engine.hierarchy.is_valid(["/car"]), engine.hierarchy.mask(["/bus"])))
        engine.buffer.validate()
        engine.virtual.upload(["/car", "/bus"])  # in a scan the buffer is empty, and so was the snapshot
        if not loading:
            loading.append(joint)  # which calls the hook again
            engine.scanner.reload_buffer()
            engine.scanner._load(["/car"])
            loading.clear()

    host.postscript_scan_append = hook
    for operation in (engine.scanner.upload_buffer, engine.scanner.reload_buffer):
        assert operation() in (True, None) and paths(engine) == paths(plain)
    assert {*map(repr, found)} == {repr((True, ["/bus"]))} and not engine.buffer.incompatibles

    host.postscript_scan_append = lambda joint: engine.scanner.reload_buffer()
    with pytest.raises(RecursionError):
        engine.scanner.reload_buffer()


@pytest.mark.parametrize(
    "misbehave",
    [
        lambda engine: state_of(engine).set_expressions({}),
        lambda engine: state_of(engine).set_expressions({f"<{i}:x>": "" for i in range(99)}),
        lambda engine: state_of(engine).expressions.clear(),
        lambda engine: engine.hierarchy.find_anchors(),
        lambda engine: engine.hierarchy.search.layer(["/r"], engine.hierarchy.pattern.get()),
        lambda engine: engine.hierarchy.search.logic.match("^<n:[a-z]+>", "z", "/z"),
        lambda engine: engine.virtual.upload(["/r"]),
        lambda engine: engine.virtual.offload(),
        lambda engine: engine.hierarchy.pattern.set(record()),
        lambda engine: engine.hierarchy.__init__(engine.virtual, None),
        lambda engine: engine.hierarchy.search.__init__(None),
        lambda engine: engine.scanner.reload_buffer(),
        lambda engine: engine.hierarchy.mask(["/r"]),
        lambda engine: engine.buffer.clear(),
        lambda engine: engine.host.objects.clear(),
        lambda engine: re.purge() or gc.collect(),
    ],
)
def test_hooks_may_do_anything(misbehave):
    leaf = node(rule("leaf", r"^<k:c\d>$"))
    wanted = node(rule("r", "^<n:r>$"), node(rule("part", r"^<m:p\d>$", 1, 9), leaf))
    engine = session(scene({"r": {"p1": {"c1": None}, "p2": {"c2": None}}}), wanted)
    host, busy = engine.host, []
    objects = dict(host.objects)

    def before(operation, *_):
        if operation == "postscript_scan_append" and not busy:
            busy.append(1)  # what a hook sets off sets off nothing more
            try:
                misbehave(engine)
            finally:
                busy.clear()

    host.selection, host.before = ["/r"], before
    with logged() as messages:
        engine.scanner.upload_buffer()
    assert all(type(message) in (RuntimeError, KeyError) for message in messages)
    # What the hook left in the objects does no harm to the next scan.
    engine.hierarchy.__init__(engine.virtual, None)
    engine.hierarchy.pattern.set(record(wanted))
    host.before, host.objects, host.selection = (lambda *_: None), objects, ["/r"]
    assert engine.scanner.upload_buffer() and sorted(paths(engine)[0]) == sorted(objects)


# Memory.


def test_a_session_is_collected_as_a_whole():
    engine = cars()
    assert engine.scanner.upload_buffer()
    engine.buffer.validate()
    engine.scanner.reload_buffer()
    engine.hierarchy.search.layer(["/car"], engine.hierarchy.pattern.get())
    assert state_of(engine).expressions and engine.hierarchy.search._guess  # everything keeps something
    engine.host.engine = engine  # as a host does that keeps its front-end
    engine.host.again = engine.scanner.upload_buffer
    parts = ("host", "virtual", "hierarchy", "buffer", "scanner")
    kept = [weakref.ref(getattr(engine, part)) for part in parts]
    kept += [weakref.ref(engine.buffer.get()[0].joint), weakref.ref(engine.hierarchy.pattern.get()[0].rule)]
    del engine
    gc.collect()
    assert [reference() for reference in kept] == [None] * len(kept)


def test_memory_stays_flat_over_many_scans():
    names = [f"c{'ab'[i % 2] * (i + 1)}" for i in range(40)]
    engine = cars(scene({name: {f"{name}_body": None} for name in names}))
    host = engine.host
    host.selection = [f"/{name}" for name in names]

    def scan():
        assert engine.scanner.upload_buffer()
        for kept in (host.appended, host.removed, host.selected):
            kept.clear()

    assert stays_flat(scan)
