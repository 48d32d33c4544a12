"""The interpreter around the module: its end, its collector, others beside it."""

import os
import subprocess
import sys

import pytest

HOST = """
import atexit, core, os, sys, tempfile, threading, time

class Host(core.Scene.Operator):
    def object_exists(self, path): return True
    def get_type(self, path): return time.sleep(0)
    def get_parent(self, path): return None
    def get_children(self, path): return [path + "|a"] * 2 if len(path) < 12 else []
"""
STAY = """
def stay():
    while True: {}

for _ in range(4): threading.Thread(target=stay, daemon=True).start()
time.sleep(0.2)
"""


def run(program, *lines, prelude=HOST):
    """What a program in an interpreter of its own prints; it has to end by itself, and well."""
    return subprocess.run(
        [sys.executable, "-c", "\n".join([prelude, program, *lines])],
        env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path), "PYTHONMALLOC": "debug"},
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        check=True,
        timeout=120,
        text=True,
    ).stdout


class TestThreadsLeftAtTheEnd:
    """Each runtime ends them where they next ask for its lock, some by unwinding their frames."""

    @pytest.mark.parametrize(
        "prepare, work",
        [
            ("event = core._CallBacks.List(); event.register(lambda: time.sleep(0))", "event()"),
            ("", "core.Scene._Virtual(Host()).upload(['a'], True)"),
            (
                "path = os.path.join(tempfile.mkdtemp(), 'a')",
                "core._File.Json.write(path, {'a': [1] * 9999})",
            ),
            # In a finaliser, below a destructor of the engine.
            ("class Late:\n def __del__(self): time.sleep(0)", "core.Structure.NamedBuffer('', [Late()])"),
            (
                "class Late:\n def __del__(self): time.sleep(0)",
                "joint = core.Scene._Buffer.DataJoint(Late()); joint.stamp = 1",
            ),
        ],
    )
    def test_end_without_a_word(self, prepare, work):
        assert run(prepare, STAY.format(work)) == ""


RECORDS = """
event = core._CallBacks.List()
event.register(lambda: 1 / 0)

class Late:
    def __del__(self, event=event, error=core.Logger.error, write=os.write):
        event(), error("in a finaliser")
        write(1, b"done\\n")
"""


@pytest.mark.parametrize(
    "when", ["late = Late()", "sys.modules['late'] = Late()", "atexit.register(Late().__del__)"]
)
def test_records_at_the_end_are_written_and_hold_nothing_up(when):
    printed = run(RECORDS, when)
    for record in ("division by zero", "in a finaliser", "done"):
        assert printed.count(record) == 1 + (when[:6] == "atexit")


def test_the_collector_may_come_while_objects_are_made():
    run("""
import gc
gc.set_threshold(3, 1, 1)
for base in (core.Scene._Virtual, core.Structure.NamedBuffer, core.Error.WrongAttributeName):
    derived = type("Derived", (base,), {"own": 1})
    for each in (base, derived): kept = [each.__new__(each) for _ in range(2000)]
    for one in kept: one.other = [one]
""")


INTERPRETERS = """
import sys, tempfile
try: import _interpreters as interpreters
except ImportError: import _xxsubinterpreters as interpreters
code = '''
try: import core
except ImportError as error: assert "subinterpreter" in str(error), error
else: raise SystemExit("imported")
'''
def use():
    import core
    with tempfile.TemporaryDirectory() as directory:
        core._File.Json.write(directory + "/a", [1])
        assert core._File.Json.read(directory + "/a") == [1]
    core.Logger.info("a")

if FIRST: use()
for _ in range(2):
    other = interpreters.create()
    failed = interpreters.run_string(other, code)
    assert not failed, failed
    interpreters.destroy(other)
    use()
"""


@pytest.mark.parametrize("first", [True, False])
def test_other_interpreters_are_refused_and_leave_no_trace(first):
    assert run(f"FIRST = {first}", INTERPRETERS, prelude="") == ""


def test_a_second_import_gives_the_same_classes():
    run("""
first = core
del sys.modules["core"]
import core
assert core is not first and core.Api is first.Api and core.__doc__ == first.__doc__
""")


# Memory that is free is filled by the runtime here, so that whoever still uses it crashes.


@pytest.mark.parametrize("operation", ["get", "exist"])
def test_what_stands_in_a_field_is_held_while_it_is_used(operation):
    run(f"""
class Key(str):
    def __hash__(self):
        types.__init__({{}})
        return 1

types = core.TypeMapping({{"a": "mesh"}})
types.{operation}(Key())
""")
