"""What a scan costs above reading the scene, and how the work on the whole buffer grows with the scene.

The host is a dictionary, so that the engine's own cost shows. "host alone" is what its answers take, in a
plain loop: nothing that reads the scene can take less, or grow less. "upload" is the snapshot alone, and
"upload_buffer" the whole scan with it, "scan" what it takes beyond the snapshot. "validate" and "reload"
check and match again what was found, as after the scene was opened; reload finds the snapshot there.

Each figure is the median of several runs, each in a process of its own: expressions that are compiled
already and memory that was used before would else make the small scenes look cheaper than the large ones.

The budgets are for the largest scene, in turns of a small loop in Python that each process runs as well: so
they hold for any machine. How the work grows is told by `growth.py`.
"""

from __future__ import annotations

import sys
from statistics import median

from measuring import Session, Table, Target, in_fresh_process, main, seconds, yardstick
from scenes import SHAPES

BUDGETS = {"upload": 6, "scan": 8, "validate": 8, "reload": 10}  # turns of the loop for each object


def host_alone(shape, size: int) -> float:
    """Seconds of the host's own answers: the calls of an upload, made by a plain loop that keeps them."""
    host, kept = Session(shape, size).host, []

    def ask() -> None:
        waiting = list(host.roots)
        while waiting:
            path = waiting.pop()
            if host.object_exists(path):
                name, kind, parent = host.name_from_path(path), host.get_type(path), host.get_parent(path)
                children = host.get_children(path) or ()
                kept.append((path, name, kind, parent, children))
                waiting.extend(children)

    return seconds(ask)


def upload(shape, size: int) -> float:
    """Seconds of the snapshot alone."""
    session = Session(shape, size)
    return seconds(lambda: session.virtual.upload(session.host.roots))


def upload_buffer(shape, size: int) -> float:
    """Seconds of a scan; exits if it did not find all."""
    session = Session(shape, size)
    elapsed = seconds(session.scanner.upload_buffer)
    session.check()
    return elapsed


def embedded(shape, size: int) -> list:
    """What a scan embeds in the scene."""
    session = Session(shape, size)
    session.scanner.upload_buffer()
    return session.host.data


def validate(shape, size: int, data: list) -> float:
    """Seconds of the check of all that a scan found; exits if some does not match."""
    session = Session(shape, size, data=data)
    elapsed = seconds(session.buffer.validate)
    if session.buffer.incompatibles:
        sys.exit(f"{session.name}: what was just found does not match")
    return elapsed


def reload(shape, size: int, data: list) -> float:
    """Seconds of matching again what a scan found; exits if something was lost."""
    session = Session(shape, size, data=data)
    session.virtual.upload(session.host.roots)
    elapsed = seconds(session.scanner.reload_buffer)
    session.check()
    return elapsed


def timed(operation, *arguments) -> tuple[float, float]:
    """Seconds of an operation, and of a turn of the loop in the same process."""
    return operation(*arguments), yardstick()


def measure(shape, size: int, runs: int) -> dict[str, tuple[float, float]]:
    """Microseconds an object of each operation, and the same in turns of the loop: medians."""

    def each(operation, *arguments) -> tuple[float, float]:
        times = [in_fresh_process(timed, operation, shape, size, *arguments) for _ in range(runs)]
        return 1e6 * median(time / size for time, _ in times), median(
            time / size / turn for time, turn in times
        )

    snapshot, whole = each(upload), each(upload_buffer)
    data = in_fresh_process(embedded, shape, size)
    return {
        "host alone": each(host_alone),
        "upload": snapshot,
        "upload_buffer": whole,
        "scan": (max(whole[0] - snapshot[0], 0), max(whole[1] - snapshot[1], 0)),
        "validate": each(validate, data),
        "reload": each(reload, data),
    }


def report(options) -> None:
    """Prints a row for each operation in each shape."""
    columns = [*(f"{size:,}" for size in options.sizes), "turns"]
    table = Table("Scan, us per object", ["shape", "operation"], columns)
    for name in options.shapes:
        figures = [measure(SHAPES[name], size, options.runs) for size in options.sizes]
        for operation, (_, turns) in figures[-1].items():
            cells = (f"{each[operation][0]:.2f}" for each in figures)
            target = Target(turns, BUDGETS[operation]) if operation in BUDGETS else None
            table.row(name, operation, *cells, f"{turns:.1f}", target=target)


if __name__ == "__main__":
    sys.exit(main(report))
