"""Calls the module's operations at random with hostile values, in child processes, and tells what ended one.

A child takes the steps of one seed (api_steps.py) or one known attack (api_seeds.py). Whatever else than a
return of 0 is a finding: a death by a signal, a report of a sanitizer, a SystemError, a step without end. It
is brought down to few steps, which is tried for some minutes, and written as JSON.
"""

import argparse
import itertools
import json
import os
import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
FOUND = HERE.parent / "build/fuzz"
LIMIT = 300  # seconds for a child, and for the search of fewer steps
# The runtime itself is not sanitized: what it reads of freed memory must not look like an object.
SANITIZER = (
    ":detect_leaks=0:log_path=stderr:allocator_may_return_null=1:max_free_fill_size=65536:free_fill_byte=221"
)
SIGNS = ("AddressSanitizer", "runtime error:", "SystemError", "Fatal Python error", "Timeout (")


def run(program, *arguments):
    """Runs a child away from the user's files: what went wrong, if so, what it wrote, its last step."""
    with tempfile.TemporaryDirectory(prefix="fuzz-api-", ignore_cleanup_errors=True) as directory:
        work, step = Path(directory, "work"), Path(directory, "step")
        work.mkdir()
        environment = {"PYTHONMALLOC": "debug", **os.environ, "PYTHONHASHSEED": "0"}
        environment |= dict.fromkeys(("HOME", "USERPROFILE", "TMPDIR", "TEMP"), str(work))
        if paths := os.environ.get("PYTHONPATH"):
            environment["PYTHONPATH"] = os.pathsep.join(map(os.path.abspath, paths.split(os.pathsep)))
        environment["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + SANITIZER
        environment["UBSAN_OPTIONS"] = "print_stacktrace=1:halt_on_error=1"
        command = [sys.executable, "-X", "faulthandler", str(HERE / program), *arguments]
        with open(Path(directory, "errors"), "w+b") as errors:
            child = subprocess.Popen(command, cwd=work, env=environment, stdout=errors, stderr=errors)
            try:
                status = child.wait(LIMIT)
            except subprocess.TimeoutExpired:
                child.kill()
                status = f"none in time, {child.wait()}"
            errors.seek(0)
            text = errors.read().decode("utf-8", "backslashreplace")
        sign = next((sign for sign in SIGNS if sign in text), "")
        return status and f"status {status} {sign}", text, int(step.read_text()) if step.exists() else 0


def ranges(steps):
    """The numbers of steps as a child takes them: those that follow each other as first and last."""
    place = itertools.count()
    runs = [[*run] for _, run in itertools.groupby(steps, lambda step: step - next(place))]
    return ",".join(f"{run[0]}-{run[-1]}" for run in runs)


def shrunk(seed, steps, what):
    """Fewer steps that end in the same way: leaves out ever smaller parts that do not matter."""
    size, end = len(steps) // 2, time.monotonic() + LIMIT
    while size:
        start = 0
        while start < len(steps) and time.monotonic() < end:
            fewer = steps[:start] + steps[start + size :]
            if fewer and run("api_steps.py", seed, ranges(fewer))[0] == what:
                steps = fewer
            else:
                start += size
        size //= 2
    return steps


def keep(name, what, text, *command):
    """Writes a finding, and tells of it."""
    FOUND.mkdir(parents=True, exist_ok=True)
    path = FOUND / f"api-{name}.json"
    finding = {"what": what, "command": command, "python": sys.version, "text": text.splitlines()[-120:]}
    path.write_text(json.dumps(finding, indent=1), encoding="utf-8")
    print(f"{name}: {what}\n{text[-3000:]}\nagain by {Path(__file__).name} --replay {path}", flush=True)


def attacks():
    """Runs the known attacks; the number of those that succeed."""
    names = subprocess.run(
        [sys.executable, HERE / "api_seeds.py"], capture_output=True, text=True, check=True
    )
    tried = {name: run("api_seeds.py", name) for name in names.stdout.split()}
    failed = {name: result for name, result in tried.items() if result[0]}
    for name, (what, text, _) in failed.items():
        keep(name, what, text, "api_seeds.py", name)
    return len(failed)


def fuzz(seeds, count, end):
    """Runs one seed after the other; the number of findings."""
    failed = tried = 0
    for seed in map(str, itertools.takewhile(lambda _: time.monotonic() < end, seeds)):
        what, text, last = run("api_steps.py", seed, f"0-{count - 1}")
        tried += 1
        if what:
            failed += 1
            keep(seed, what, text, "api_steps.py", seed, f"0-{last}")
            steps = ranges(shrunk(seed, list(range(last + 1)), what))
            keep(seed, what, run("api_steps.py", seed, steps)[1] or text, "api_steps.py", seed, steps)
    print(f"{tried} seeds of {count} steps, {failed} findings")
    return failed


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--time", type=float, default=600.0, help="seconds; no new seed is begun after them")
    parser.add_argument("--seeds", type=int, nargs=2, help="from the first to below the second, not any")
    parser.add_argument("--steps", type=int, default=2000)
    parser.add_argument("--replay", type=Path, help="runs a finding again, and nothing else")
    options = parser.parse_args()
    if options.replay:
        what, text, _ = run(*json.loads(options.replay.read_text(encoding="utf-8"))["command"])
        print(text, what)
        return bool(what)
    end, any_seed = time.monotonic() + options.time, random.SystemRandom()
    seeds = range(*options.seeds) if options.seeds else iter(lambda: any_seed.randrange(10**9), None)
    known = 0 if options.seeds else attacks()
    return bool(known + fuzz(seeds, options.steps, end))


if __name__ == "__main__":
    sys.exit(main())
