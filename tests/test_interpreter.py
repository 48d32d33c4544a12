"""The interpreter around the module: its end, its collector, others beside it."""

import os
import subprocess
import sys

import pytest

HOST = """
import atexit, core, os, sys, tempfile, threading, time
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


@pytest.mark.parametrize(
    "work", ["core.Structure.NamedBuffer('', [Late()])", "core.Scene._Buffer.DataJoint(Late()).stamp = 1"]
)
def test_threads_left_at_the_end_go_without_a_word(work):
    """Each runtime ends them where they next ask for its lock, here in a finaliser below a destructor."""
    assert run("class Late:\n def __del__(self): time.sleep(0)", STAY.format(work)) == ""


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
