"""What once ended the process, or kept it from its end. Without a name all are listed, with one it is run."""

import contextlib
import faulthandler
import gc
import logging
import signal
import sys
import threading
import time

import core

Buffer, Search, Sorter = core.Scene._Buffer, core._Hierarchy.Search, core._Hierarchy.Pattern._Sorter
Joint, Bucket = Buffer.DataJoint, Buffer.DataBucket


def each(*uses):
    """Calls all; what the runtime can tell of is no fault, but for what it says of misuse of itself."""
    for use in uses:
        try:
            use()
        except SystemError:
            raise
        except Exception:
            pass


class Reacts(str):
    """A text that does something when it is compared or looked up."""

    def react(self):
        pass

    def __hash__(self):
        self.react()
        return 1

    def __eq__(self, other):
        self.react()
        return self is other


def contains_itself():
    joint, result, order = Joint(), Search.Result([]), Sorter.Order()
    joint.stamp = joint
    result._array.append(result)
    result.__init__(result)
    order.array.append(order)
    request = core._Project.Collection.HttpRequest("standalone", [])
    request.__init__("standalone", request)
    for one in (joint, result, order, request, Bucket(joint, joint)):
        each(*(lambda use=use, one=one: use(one) for use in (hash, str, list, bytes)))


def shares_its_children():
    joint = Joint(path="/a")
    for _ in range(40):
        joint = Joint(path="/a", children=[joint, joint])
    buffer = Buffer(core.Scene.Operator(), core.Scene._Virtual(None), None)
    if not hasattr(signal, "setitimer"):
        return
    signal.signal(signal.SIGALRM, signal.default_int_handler)
    for use in (lambda: joint.data, Bucket(joint).get_joints, lambda: buffer.sort([joint])):
        signal.setitimer(signal.ITIMER_REAL, 0.2)
        with contextlib.suppress(KeyboardInterrupt):
            each(use)
            time.sleep(1)


def is_replaced_while_it_is_walked():
    class Children(list):
        def __iter__(self):
            joint.children = [Joint()]
            gc.collect()
            return iter([Joint()])  # the list itself may be gone, and is asked for its length

    joint = Joint()
    for use in (lambda: joint.data, Bucket(joint).get_joints, lambda: Buffer.get_roots(joint)):
        joint.children = Children([Joint() for _ in range(9)])
        each(use)


def is_built_again_from_within():
    key, host = Reacts("a"), core.Scene.Operator()
    virtual, names, search = core.Scene._Virtual(host), core._NamesControl(), Search(host)
    buffer, types, state = (
        Buffer(host, virtual, None),
        core.TypeMapping({key: key}),
        core._Hierarchy.Anchor._State(),
    )
    order, control = Sorter.Order(), core._CallBacks.List()
    unit, config = Sorter.Order.Unit(0), core._Settings.Check.Config({})
    host.name_from_path = host.get_type = lambda path: Reacts("b")
    host.get_children = lambda path: [Reacts("c")] if path != "c" else []

    def again():
        virtual.__init__(host)
        names.__init__()
        search.__init__(host)
        types.__init__({})
        state.__init__()
        control.__init__()
        unit.__init__(0)
        gc.collect()

    Reacts.react = lambda self: again()
    control.register(again)
    each(control, lambda: names.append(key), lambda: names.get_init(key), lambda: names.rename(key, key))
    each(
        lambda: virtual.upload([key]),
        lambda: virtual.get_children(key),
        lambda: virtual.get_locations([key, key]),
    )
    each(
        lambda: types.get(key),
        lambda: state.set({key: {(key, key)}}),
        lambda: state + state,
        lambda: config.get(key),
    )
    each(lambda: unit.add_usage(key), lambda: order.append(unit), lambda: Sorter.has_dependency([key], [key]))
    each(
        lambda: search.layer([key], [], True), lambda: buffer.repath(key, key), lambda: core.Mask({key: key})
    )


def raises_what_is_no_exception():
    task = core.Parameters.Block.Task([])
    task._build_exceptions.append(1)
    each(task.assert_no_errors)


def is_made_while_the_collector_comes():
    kept = [core.Scene._Virtual(None) for _ in range(20000)]
    gc.set_threshold(1)
    for kind in (Joint, core._CallBacks, core._NamesControl, Sorter.Order, core._Export.Queue, Search.Result):
        kept += [kind() for _ in range(50)]


def runs_in_threads_at_the_end():
    host, control = core.Scene.Operator(), core._CallBacks.List()
    host.get_children = host.query_filedata = host.get_parent = lambda *_: []
    host.object_exists = host.get_type = lambda path: "mesh"  # nothing fails: no thread is begun for a record
    virtual, joint = core.Scene._Virtual(host), Joint(children=[Joint() for _ in range(200)])
    control.register(lambda: virtual.upload(["/a"]))
    for use in (control, lambda: core._File.Json.write("a", joint.data), Buffer(host, virtual, None).load):
        begun = threading.Event()

        def work(use=use, begun=begun):
            while True:
                each(use)
                begun.set()

        threading.Thread(target=work, daemon=True).start()
        begun.wait()


def logs_in_a_finaliser():
    class Last:
        def __del__(self, error=core.Logger.error):
            control()
            error("the end")

    control = core._CallBacks.List()
    control.register(lambda: 1 / 0)
    last = Last()
    last.me = last  # so that it lives until the runtime collects what is left


def logs_where_no_thread_can_be_started():
    def refuse(thread):
        raise RuntimeError("can't start new thread")

    threading.Thread.start, records, handler = refuse, [], logging.Handler()
    handler.emit = records.append
    logging.getLogger().addHandler(handler)
    control = core._CallBacks.List()
    control.register(lambda: 1 / 0)
    control()
    assert records


def meets_subinterpreters():
    interpreters = __import__("_interpreters" if sys.version_info >= (3, 13) else "_xxsubinterpreters")
    use = "import core; core._File.Json.write('a.json', {}); core._Hierarchy.Anchor.find('a')"
    for _ in range(3):
        number = interpreters.create()
        each(
            lambda number=number: interpreters.run_string(number, f"import sys; sys.path = {sys.path}; {use}")
        )
        interpreters.destroy(number)
    exec(use)


CASES = {name: one for name, one in globals().items() if isinstance(one, type(each)) and one is not each}

if __name__ == "__main__":
    if sys.argv[1:]:
        faulthandler.dump_traceback_later(60, exit=True)
        CASES[sys.argv[1]]()
    else:
        print(*CASES)
