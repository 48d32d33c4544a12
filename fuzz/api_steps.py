"""Random calls of the module's operations with hostile values: api_steps.py SEED 0-1999

Each step is drawn by itself, so that others can be left out: api_steps.py SEED 7,19-20,1204
"""

import _thread
import ast
import collections
import contextlib
import copy
import faulthandler
import functools
import gc
import itertools
import logging
import os
import pickle
import random
import signal
import sys
import threading
import time
from pathlib import Path
from types import ModuleType

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests"))

import hosts  # noqa: E402

import core  # noqa: E402

LIMIT = 10  # seconds until a step is interrupted; the process ends when one runs on for three times that
SLOTS = 48  # objects that the steps share
draw, pool, here = random.Random(), {}, os.getcwd()
busy = collections.deque(maxlen=3)  # the objects that were used last, which reactions turn against

# What the module offers, by class, as its types have it: operations with arguments, fields, what can be made.
operations, fields, classes = {core: []}, {core: []}, []


def read_types(body, owner):
    for node in body:
        if isinstance(node, ast.ClassDef) and isinstance(inner := getattr(owner, node.name, None), type):
            operations[inner], fields[inner] = [], []
            read_types(node.body, inner)
            if "final" not in map(ast.unparse, node.decorator_list):
                classes.append(inner)
        elif isinstance(node, ast.AnnAssign):
            fields[owner].append((node.target.id, node.annotation))
        elif isinstance(node, ast.FunctionDef):
            decorators = " ".join(map(ast.unparse, node.decorator_list))
            arguments = [(one.arg, one.annotation) for one in node.args.posonlyargs + node.args.args]
            arguments = arguments[owner is not core and "staticmethod" not in decorators :]
            if "property" in decorators or "setter" in decorators:
                fields[owner].append((node.name, arguments[0][1] if arguments else None))
            else:
                operations[owner].append((node.name, arguments))


def offered(table, kind):
    return [entry for base in kind.__mro__ for entry in table.get(base, ())]


read_types(ast.parse((ROOT / "python/core.pyi").read_text(encoding="utf-8")).body, core)

# Values: fitting ones, and others.
TEXTS = ["", "\ud800", "a\0b", "é中", "x" * 5000, "a\nb", "{}{!r:>9}", "(?P<n", "[a", "^car"]
TEXTS += [
    "|",
    "a",
    "/car",
    "/car/body",
    "name",
    "names",
    "_private",
    "class",
    "~",
    "p.json",
    "settings.json",
    "1",
]
TEXTS += [
    "<n:[a-z]+>",
    "<n>_<n>",
    "<n:<n:a>>",
    "mesh",
    "transform",
    "#fff",
    "fbx",
    "stamp",
    "children",
    "value",
]
NUMBERS = [0, 1, 2, 3, -1, 7, True, 2**31, 2**63 - 1, 2**63, -(2**63), 10**30, -0.5, 1e308]
NUMBERS += [float("inf"), float("nan")]
ERRORS = [ValueError, TypeError, KeyError, AttributeError, RecursionError, MemoryError, StopIteration]
ERRORS += [KeyboardInterrupt, SystemExit, GeneratorExit, OSError, core.Error.ValidationError]
SPECIAL = "eq hash str repr iter len getitem contains bool call enter exit fspath index float lt add radd"
SPECIAL = [f"__{name}__" for name in (SPECIAL + " bytes next format setattr getattribute del").split()]


# What the runtime holds to, or makes room for.
HONEST = ("__init__", "__setattr__", "__getattribute__", "__len__", "__index__")


def answer(self, *arguments, **named):
    react()
    if draw.random() < 0.2:
        raise draw.choice([StopIteration, IndexError])
    return anything()


Thing = type("Thing", (), dict.fromkeys(SPECIAL[4:-3], answer))  # has every operation
Thing.__len__ = Thing.__index__ = lambda self: draw.randrange(9)


@functools.cache
def hostile(base, variant):
    """A class derived from another, some of whose methods do something else first, or lie."""

    def wrapped(name, original):
        def method(self, *arguments, **named):
            react()
            lies = draw.random() < 0.05 and name not in HONEST
            return anything() if lies else original(self, *arguments, **named)

        return method

    chosen = random.Random(f"{base.__qualname__} {variant}")
    names = [*SPECIAL, *(name for name, _ in offered(operations, base) if name != "__new__")]
    originals = {name: getattr(base, name, react if name == "__del__" else None) for name in names}
    names = [name for name in names if callable(originals[name]) and chosen.random() < 0.4]
    return type(f"Hostile{base.__name__}", (base,), {name: wrapped(name, originals[name]) for name in names})


def anything(depth=0):
    kind = draw.randrange(12 if depth < 3 else 10)
    if kind == 0 and busy:
        return draw.choice(busy)
    if kind < 4 and pool:
        return draw.choice(list(pool.values()))
    if kind < 6:
        return draw.choice(TEXTS if kind == 4 else NUMBERS)
    if kind < 8:
        base = draw.choice([Thing, Thing, Thing, str, int, float, list, dict, set, tuple, Exception])
        return hostile(base, draw.randrange(4))()
    if kind < 9:
        return draw.choice([None, object, core, react, b"x", ..., *classes])
    if kind < 10:
        return draw.choice(ERRORS)()
    items = [anything(depth + 1) for _ in range(draw.randrange(4))]
    return items if kind == 10 else {draw.choice(TEXTS): item for item in items}


def value(node, depth=0):
    """A value as an annotation wants it; or any, now and then."""
    if node is None or draw.random() < 0.15:
        return anything()
    if isinstance(node, ast.BinOp):
        return value(draw.choice([node.left, node.right]), depth)
    text, inner = ast.unparse(node), node.slice if isinstance(node, ast.Subscript) else node
    inner = inner.elts[-1] if isinstance(inner, ast.Tuple) else inner
    text = {"_RuleFields": "_Project.Settings.Rule", "_Record": "_Project.Settings.Record"}.get(text, text)
    with contextlib.suppress(AttributeError):
        return instance(functools.reduce(getattr, text.split("."), core), depth + 1)
    if text == "None":
        return None
    if text.startswith(("Callable", "type[")):
        return draw.choice([react, *classes, core.Check.Base, hostile(Thing, 0)()])
    if text.startswith(("list", "Iterable", "Iterator", "Sequence", "set", "tuple")):
        items = [value(inner, depth + 1) for _ in range(draw.randrange(4))]
        return hostile(list, draw.randrange(4))(items) if draw.random() < 0.2 else items
    if text.startswith(("dict", "Mapping", "_Captures")):
        return {draw.choice(TEXTS): value(inner, depth + 1) for _ in range(draw.randrange(3))}
    if text in ("str", "_Path"):
        return draw.choice(TEXTS)
    if text in ("int", "float", "bool", "SupportsIndex"):
        return draw.choice(NUMBERS[:7] if draw.random() < 0.8 else NUMBERS)
    return anything()


def arguments_of(parameters, depth=0):
    """Arguments for a call: too few or too many at times, some of them by name."""
    count = len(parameters) if draw.random() < 0.7 else draw.randrange(len(parameters) + 2)
    values = [value(kind, depth) for _, kind in parameters[:count]]
    split = draw.randrange(len(values) + 1) if draw.random() < 0.3 else len(values)
    named = dict(zip([name for name, _ in parameters[split:count]], values[split:]))
    return values[:split] + [anything()] * (count > len(parameters)), named


def instance(kind, depth):
    """A living object of a class, or a new one."""
    living = [one for one in list(pool.values()) if isinstance(one, kind)]
    if living and (depth > 3 or draw.random() < 0.7):
        return draw.choice(living)
    return create(kind, depth) if depth < 5 else anything()


# What a step does, and what a hostile value does when it is asked for something.
def ours():
    if not (depth and busy and draw.random() < 0.6):
        living = [one for one in list(pool.values()) if offered(operations, type(one))]
        busy.append(draw.choice(living or classes))
    return draw.choice(busy) if depth else busy[-1]


def constructor(kind, depth=0):
    return arguments_of(dict(reversed(offered(operations, kind))).get("__init__", ()), depth)


def create(kind=None, depth=0):
    kind = kind or draw.choice(classes)
    arguments, named = constructor(kind, depth)
    return (hostile(kind, draw.randrange(4)) if draw.random() < 0.4 else kind)(*arguments, **named)


def build_again():
    arguments, named = constructor(type(owner := ours()))
    owner.__init__(*arguments, **named)


def call():
    owner = ours() if draw.random() < 0.9 else draw.choice(list(operations))
    kind = owner if isinstance(owner, type) else type(owner)
    name, parameters = draw.choice(operations[core] if owner is core else offered(operations, kind))
    arguments, named = arguments_of(parameters)
    return getattr(owner, name)(*arguments, **named)


def assign():
    name, kind = draw.choice(offered(fields, type(owner := ours())))
    delattr(owner, name) if draw.random() < 0.1 else setattr(owner, name, value(kind))


def read():
    return getattr(owner := ours(), draw.choice(dir(type(owner))))


def ask():
    """One of the runtime's own ways to use an object."""
    one, other = ours(), anything()
    uses = [hash, str, repr, bool, len, copy.copy, copy.deepcopy, pickle.dumps, os.fspath, bytes]
    uses += [lambda one: list(itertools.islice(one, 50)), lambda one: one == other, lambda one: other in one]
    uses += [lambda one: one[other], lambda one: one + other, lambda one: other + one, lambda one: one(other)]
    uses += [lambda one: one.__enter__(), lambda one: one.__exit__(None, None, None)]
    return draw.choice(uses)(one)


def change():
    """Changes a container that somebody may be walking."""
    containers = [one for one in list(pool.values()) if isinstance(one, (list, dict, set))]
    if held := offered(fields, type(owner := ours())):
        containers = [getattr(owner, name, None) for name, _ in held] if draw.random() < 0.7 else containers
    container = draw.choice([one for one in containers if isinstance(one, (list, dict, set))])
    kind, item = draw.randrange(4), container if draw.random() < 0.1 else anything()
    if kind < 2 or isinstance(container, set):
        (container.clear if kind else container.pop)()
    elif isinstance(container, dict):
        container[draw.choice(TEXTS)] = item
    else:
        container.insert(draw.randrange(3), item)


def fail():
    if draw.random() < 0.2:
        _thread.interrupt_main()
    raise draw.choice(ERRORS)(draw.choice(TEXTS))


def collect():
    gc.collect() if draw.random() < 0.5 else gc.set_threshold(draw.choice([1, 7]))


def forget():
    pool.pop(draw.randrange(SLOTS), None)


def spoil():
    """Damages a document, or puts a foreign one in its place."""
    path = draw.choice([one for one in Path(here, "home").rglob("*") if one.is_file()])
    data = path.read_bytes()
    cut = draw.randrange(len(data) + 1)
    damaged = [data[:cut], data[:cut] + b"9" + data[cut + 1 :], data.replace(b"0", b"[1]"), b"[" * 5000]
    path.write_bytes(
        draw.choice([*damaged, b"", b"\xff", b"[]", b"{}", b"null", b'{"version": 4, "check": []}'])
    )


def in_threads():
    """Some steps here and some in another thread, which may outlive the program."""

    def work():
        for _ in range(8):
            attempt(draw.choice(ACTIONS))

    other = threading.Thread(target=work, daemon=True)
    other.start()
    work()
    if draw.random() < 0.9:
        other.join(LIMIT)


PLUGIN = """
import sys, core
fuzz = sys.modules["__main__"]
class Names(fuzz.hostile(core.Check.Base, {0})):
    class_id, long_name, category = fuzz.draw.choice(["names", "", 1]), "Names", "object"
    could_be_fixed, scene_oriented = True, fuzz.draw.random() < 0.3
    @staticmethod
    def parameters():
        fuzz.react()
        return core.Parameters.Block(core.Parameters.IntRange("word", value=0), fuzz.anything())
    def check(self, path, parameters):
        fuzz.react()
        raise core.Error.ValidationError
class Other(Names):
    class_id, parameters = "other", staticmethod(lambda: core.Parameters.Block(core.Parameters.Switch("x")))
"""


def world():
    """A host, a pattern, and what works on them; or a home, a project, checks and the `Api`."""
    tree = {"car": {"body:mesh": {}, "wheel_1:mesh": {}}, "van": {}}
    host = hosts.scene(tree, into=hostile(hosts.DictHost, draw.randrange(9))())
    host.before = react
    host.selection = draw.choice([["/car"], [], ["/car/body", "/van", "/no"]])
    rules = hosts.rule("<n:car|van>"), hosts.rule("body", "^body", 0, 1), hosts.rule("wheel", "^wheel", 0, 4)
    if draw.random() < 0.6:
        parts = vars(hosts.session(host, hosts.node(rules[0], hosts.node(rules[1]), hosts.node(rules[2]))))
    else:
        checks = ModuleType("checks")
        checks.__file__ = str(Path(here, "checks", "__init__.py"))
        Path(here, "checks").mkdir(exist_ok=True)
        Path(here, "checks", "names.py").write_text(PLUGIN.format(draw.randrange(4)), encoding="utf-8")
        options = core.Parameters.Options("fbx", "FBX", "", [core.Parameters.Switch("embed")])
        api = core.Api(host, hosts.Home(f"{here}/home"), [options], checks)
        record = api.project.get_empty().get_record_promise()
        record.rules.append(rules[1])
        record.pattern.append(core._Project.Settings.Rule.Tree.Node(rules[1]))
        record.save()
        parts = {"api": api, "host": host, "record": record, "buffer": api.scene.buffer}
        parts |= {name: getattr(api, name) for name in ("validator", "project", "export", "http", "scene")}
    pool.update(zip(draw.sample(range(SLOTS), len(parts)), parts.values()))
    if draw.random() < 0.7:
        (parts["validator"].start if "validator" in parts else parts["scanner"].upload_buffer)()


ACTIONS = [create, call, assign, read, ask] * 3 + [build_again, build_again, change, collect, forget, fail]
STEPS = [*ACTIONS, *ACTIONS, spoil, world]
left = depth = 0  # of the reactions in a step: how many it may still have, and how they stand in each other
overdue = False
threads = False  # one seed in four has some, and does not always do the same


def react(*arguments, **named):
    """Does something else in the middle of what is going on, or nothing."""
    global left, depth
    if overdue:
        raise KeyboardInterrupt
    steady = threads or threading.current_thread() is threading.main_thread()
    if steady and left > 0 and depth < 3 and draw.random() < 0.3:
        left, depth = left - 1, depth + 1
        try:
            action = draw.choice(ACTIONS)
            action() if draw.random() < 0.3 else attempt(action)
        finally:
            depth -= 1


def attempt(action):
    """One step; whatever it raises is fine, but for a sign that the module broke a rule of the runtime."""
    try:
        if (result := action()) is not None:
            pool[draw.randrange(SLOTS)] = result
    except BaseException as error:
        broken(error)


def broken(error):
    if isinstance(error, SystemError):
        sys.__excepthook__(type(error), error, error.__traceback__)
        sys.stderr.flush()
        os._exit(3)


def fence(event, arguments):
    """Lets nothing out of the directory of the run, and nothing into the network."""
    if event.startswith(("socket.connect", "socket.getaddrinfo", "subprocess", "os.system", "os.kill")):
        raise PermissionError(event)
    reads = ("os.listdir", "os.scandir", "os.walk", "os.fwalk", "os.putenv", "os.unsetenv")
    writes = event.startswith(("os.", "shutil.")) and event not in reads
    if writes or (event == "open" and arguments[2] & (os.O_WRONLY | os.O_RDWR)):
        paths = [os.path.abspath(os.fsdecode(one)) for one in arguments[:2] if isinstance(one, (str, bytes))]
        if not all(path.startswith(here) for path in paths):
            raise PermissionError(event)


def main(seed, ranges):
    globals().update(threads=int(seed) % 4 == 0)
    steps = STEPS + [in_threads] * threads
    step, slept, file = 0, [], os.open("../step", os.O_WRONLY | os.O_CREAT)

    def sleep(seconds):
        slept.append(seconds)
        if len(slept) > 400:
            raise KeyboardInterrupt  # of who waits for ever

    def interrupt(*_):
        globals().update(overdue=True)
        raise KeyboardInterrupt

    time.sleep = sleep
    random.seed(0)
    logging.getLogger().addHandler(logging.NullHandler())
    sys.unraisablehook = threading.excepthook = lambda one: broken(one.exc_value)
    sys.addaudithook(fence)
    alarm = getattr(signal, "setitimer", lambda which, seconds: None)  # not every system has one
    signal.signal(getattr(signal, "SIGALRM", signal.SIGTERM), interrupt)
    bounds = [tuple(map(int, part.split("-"))) for part in ranges.split(",")]
    numbers = iter([number for bound in bounds for number in range(bound[0], bound[-1] + 1)])
    while step is not None:
        with contextlib.suppress(KeyboardInterrupt):  # it may also come late, between two steps
            while (step := next(numbers, None)) is not None:
                os.lseek(file, 0, os.SEEK_SET)
                os.write(file, b"%9d" % step)
                faulthandler.dump_traceback_later(3 * LIMIT, exit=True)
                alarm(0, LIMIT)
                draw.seed(f"{seed} {step}")
                globals().update(left=40, depth=0, overdue=False)
                slept.clear()
                gc.set_threshold(700)
                attempt(draw.choice(steps))
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    alarm(0, 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
