"""`heron validate` and `heron checks`: what they print, how they end, what they leave in files."""

import json
import os
import subprocess
import sys
from pathlib import Path
from textwrap import dedent

import pytest
from gltf_files import document, nodes_of, project, rule, write
from junitparser import JUnitXml

import core
from heron.cli import main

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"
TREE = {"cars": {"car_a": {"car_a_body": {}, "car_a_lid": {}}, "car_b": {"car_b_body": {}}, "Odd": {}}}
RULES = [rule("ghost", "^cars$", ["transform"]), rule("car", "^<car:car_[a-z]>$"),
         rule("body", "^<car>_body$"), rule("lid", "^<car>_lid$", limits=(0, 1))]  # fmt: skip
SHAPE = {"ghost": {"car": {"body": {}, "lid": {}}}}

# A studio's checks. They look at the scene through the host, as real ones do.
STUDIO = """
    import sys

    import core
    from heron.hosts.gltf import current_scene


    class Base(core.Check.Base):
        category = "object"

        def result_message(self):
            return "\\n".join(self.result)


    class Scale(Base):
        class_id, short_name, long_name = "t.scale", "Scale", "Scale"
        description = "No object is scaled."

        def check(self, path, parameters):
            if "scale" in current_scene().node(path):
                self.could_be_fixed = True
                self.result.append("is scaled")
                raise core.Error.ValidationError

        def fix_result(self, path, parameters):
            if path.endswith("stubborn"):
                raise OSError("cannot be changed")
            del current_scene().node(path)["scale"]


    class Length(Base):
        class_id, short_name, long_name = "t.length", "Length", "Length of names"
        category = "Mesh"

        @staticmethod
        def parameters():
            return core.Parameters.Block(
                core.Parameters.IntRange("most", 1, 99, 1, 8, units=" letters", help_text="How long."),
                core.Parameters.ComboBox("case", [core.Parameters.ComboBox.Item("low", "Lower case")]),
            )

        def check(self, path, parameters):
            if len(path.rpartition("/")[2]) > parameters.most.value:
                self.result.append(f"longer than {parameters.most.value}")
                raise core.Error.ValidationError


    class Advice(Length):
        class_id = "t.advice"

        @staticmethod
        def parameters():
            block = core.Parameters.Block(core.Parameters.IntRange("most", value=8))
            block.as_info = True
            return block


    class Broken(Base):
        class_id = short_name = long_name = "t.broken"

        def check(self, path, parameters):
            print("on the way")
            raise ValueError("boom at " + path)


    class Exits(Base):
        class_id = short_name = long_name = "t.exits"

        def check(self, path, parameters):
            sys.exit(0)


    class Whole(Base):
        class_id = short_name = long_name = "t.whole"
        category = "scene"
        scene_oriented = True

        def check(self, path, parameters):
            if not path.endswith(".gltf"):
                raise ValueError(path)
"""


@pytest.fixture
def heron(tmp_path, capsys):
    """Runs a command with a home and the checks of a test; gives status, output, errors."""
    studio = tmp_path / "studio"
    studio.mkdir()
    (studio / "studio.py").write_text(dedent(STUDIO))
    scene(tmp_path, TREE)

    def run(command, *arguments):
        paths = [str(tmp_path / "scene.gltf")] if command == "validate" else []
        directories = [] if "--checks" in arguments else ["--checks", str(studio)]
        status = main([command, *paths, *arguments, *directories, "--home", str(tmp_path / "home")])
        captured = capsys.readouterr()
        return status, captured.out, captured.err

    return run


def scene(directory, tree, scaled=()):
    nodes = nodes_of(tree)
    for node in nodes:
        if node["name"] in scaled:
            node["scale"] = [2, 2, 2]
    return write(directory / "scene.gltf", document(nodes))


def rules(directory, **checklists):
    """A project whose rules have these checklists: check ids, or ids with states of their parameters."""
    for one in RULES:
        states = checklists.get(one["name"], {})
        states = states if isinstance(states, dict) else dict.fromkeys(states)
        one["checklist"] = {
            check: {"enabled": True, "parameters": [] if state is None else [{"state": state}]}
            for check, state in states.items()
        }
    return write(directory / "rules.json", project(RULES, SHAPE))


def results(output):
    """What a report in JSON says, as {path: {check id: status left}}."""
    objects = json.loads(output)["objects"]
    return {one["path"]: {check["id"]: check["left"]["status"] for check in one["checks"]} for one in objects}


# The example


def test_the_example_shows_every_status_and_a_fix(heron, capsys, tmp_path):
    arguments = ["validate", f"{EXAMPLES}/street.gltf", "--project", f"{EXAMPLES}/street.json", "--fix"]
    assert main([*arguments, "--home", str(tmp_path)]) == 1
    output = capsys.readouterr().out
    findings = [line.strip() for line in output.splitlines() if line.startswith("  ")]
    for expected in (
        "pass   Object Name",
        "info   Triangles Of An Object        44 triangles, 40 are allowed",
        "fail   Negative Or Uneven Scale  the scale 1, 1, 1.1 differs by axis",
        "error  Object Name  error: missing ), unterminated subpattern at position 5",
        "fixed  Degenerate Triangles          part 1 (blue): 1 of 25 triangles without area",
    ):
        assert expected in findings


# What is checked


def test_a_selection_is_checked_with_all_below_it(heron, tmp_path):
    status, output, errors = heron(
        "validate", "--enable", "t.length", "--select", "/cars/car_a", "--format", "json"
    )
    assert (status, errors) == (1, "")
    assert results(output) == {
        "/cars/car_a": {"t.length": "pass"},
        "/cars/car_a/car_a_body": {"t.length": "fail"},
        "/cars/car_a/car_a_lid": {"t.length": "fail"},
    }
    assert len(results(heron("validate", "--enable", "t.length", "--format", "json")[1])) == 7


def test_without_a_choice_the_settings_choose_or_all_checks_run(heron, tmp_path):
    everything = results(
        heron("validate", "--select", "/cars/Odd", "--format", "json", "--enable", "t.whole", "t.scale")[1]
    )
    assert everything == {str(tmp_path / "scene.gltf"): {"t.whole": "pass"}, "/cars/Odd": {"t.scale": "pass"}}
    (tmp_path / "home").mkdir(exist_ok=True)
    state = {"enabled": True, "parameters": [{"state": {"most": {"value": 2}}}]}
    settings = write(
        tmp_path / "home" / "settings.json", {"version": 4, "check": {"list": {"t.length": state}}}
    )
    before = Path(settings).read_bytes()
    output = heron("validate", "--select", "/cars/Odd", "--format", "json")[1]
    assert results(output) == {"/cars/Odd": {"t.length": "fail"}}
    assert Path(settings).read_bytes() == before


def test_a_project_says_what_is_checked(heron, tmp_path):
    path = rules(tmp_path, car={"t.length": {"most": {"value": 4}}}, body=["t.scale"])
    status, output, _ = heron("validate", "--project", path, "--enable", "t.advice", "--format", "json")
    report = json.loads(output)
    assert status == 1
    assert results(output)["/cars/car_a"] == {"t.advice": "pass", "t.length": "fail"}
    assert results(output)["/cars/car_a/car_a_body"] == {"t.scale": "pass", "t.advice": "info"}
    assert [one["rule"] for one in report["objects"]] == ["car", "body", "lid", "car", "body"]
    assert [one["path"] for one in report["refused"]] == ["/cars/Odd"]
    assert (
        heron("validate", "--project", path, "--select", "/cars/car_b/car_b_body", "--format", "json")[
            1
        ].count('"path": "/cars/car_b')
        == 2
    )


def test_a_scene_without_matches_or_checks_is_no_success(heron, tmp_path):
    unchecked = heron("validate", "--project", rules(tmp_path))
    assert (unchecked[0], "nothing checked" in unchecked[1]) == (1, True)
    scene(tmp_path, {"light": {}})
    unmatched = heron("validate", "--project", rules(tmp_path, car=["t.scale"]))
    assert (unmatched[0], "nothing checked" in unmatched[1]) == (1, True)


def test_use_is_recorded(heron, tmp_path):
    heron("validate", "--project", rules(tmp_path, car=["t.scale"]))
    heron("validate", "--enable", "t.scale", "--select", "/cars/Odd")
    records = json.loads((tmp_path / "home" / "statistics.json").read_text())
    assert [one["project"] for one in records["validate"]] == ["rules.json", None]
    assert [one["name"] for one in records["checks"]] == ["Scale"] * 3
    assert not (tmp_path / "home" / "settings.json").exists()


# What is wrong, and what becomes of it


def test_the_status_tells_findings_from_information(heron):
    assert heron("validate", "--enable", "t.scale")[0] == 0
    assert heron("validate", "--enable", "t.advice")[0] == 0
    assert heron("validate", "--enable", "t.length")[0] == 1
    assert heron("validate", "--enable", "t.broken")[0] == 1


def test_an_error_tells_what_went_wrong_and_where(heron):
    output = heron(
        "validate", "--enable", "t.broken", "t.length", "--select", "/cars/car_a", "--format", "json"
    )[1]
    messages = [
        check["left"]["message"]
        for one in json.loads(output)["objects"]
        for check in one["checks"]
        if check["id"] == "t.broken"
    ]
    assert messages == [f"ValueError: boom at {path}" for path in results(output)]


def test_stale_parameters_are_an_error_of_the_check(heron, tmp_path):
    path = rules(tmp_path, car={"t.length": {"gone": {"value": 1}}})
    status, output, _ = heron("validate", "--project", path)
    assert (status, "error  Length of names  AttributeError" in output) == (1, True)


def test_fixes_reach_the_file_with_save_alone(heron, tmp_path):
    path = scene(tmp_path, TREE, ["car_a", "car_b"])
    before = Path(path).read_bytes()
    status, output, _ = heron("validate", "--enable", "t.scale", "--fix")
    assert (status, Path(path).read_bytes()) == (1, before)
    assert "2 fixed, left: 7 pass" in output
    assert "--save would keep the fixes" in output
    status, output, _ = heron("validate", "--enable", "t.scale", "--fix", "--save", "--format", "json")
    assert (status, json.loads(output)["fixed"], json.loads(output)["saved"]) == (0, 2, True)
    assert heron("validate", "--enable", "t.scale")[0] == 0
    saved = Path(path).read_bytes()
    assert heron("validate", "--enable", "t.length", "--fix", "--save")[0] == 1
    assert Path(path).read_bytes() == saved


def test_a_fix_that_fails_leaves_the_finding_and_its_reason(heron, tmp_path):
    scene(tmp_path, {"stubborn": {}, "easy": {}}, ["stubborn", "easy"])
    status, output, _ = heron("validate", "--enable", "t.scale", "--fix", "--save")
    assert status == 1
    assert "fixed  Scale  is scaled" in output
    finding = output[output.index("fail") :].split("\n")
    assert [line.strip() for line in finding[:3]] == [
        "fail   Scale  is scaled", "OSError: cannot be changed", "the fix did not help"]  # fmt: skip


# Where it goes


def test_a_report_goes_to_a_file_and_a_summary_to_the_terminal(heron, tmp_path):
    for name in ("text", "json", "junit", "html"):
        target = tmp_path / f"report.{name}"
        status, output, _ = heron(
            "validate", "--enable", "t.length", "--format", name, "--output", str(target)
        )
        assert (status, output.splitlines()[0].split(" in ")[0]) == (1, "7 objects, 7 checks")
        assert "car_a_body" in target.read_text()
    assert JUnitXml.fromfile(str(tmp_path / "report.junit")).failures == 3
    assert sorted(path.name for path in tmp_path.glob("report*")) == [
        "report.html", "report.json", "report.junit", "report.text"]  # fmt: skip


def test_what_checks_print_stays_out_of_the_report(heron):
    _, output, errors = heron("validate", "--enable", "t.broken", "--select", "/cars/Odd", "--format", "json")
    assert (results(output), errors) == ({"/cars/Odd": {"t.broken": "error"}}, "on the way\n")


def test_a_progress_bar_shows_on_a_terminal_alone(heron, tmp_path):
    import pty

    command = [
        sys.executable,
        "-m",
        "heron",
        "validate",
        str(tmp_path / "scene.gltf"),
        "--format",
        "json",
        "--enable",
        "t.scale",
        "--checks",
        str(tmp_path / "studio"),
        "--home",
        str(tmp_path / "home"),
    ]
    screen, terminal = pty.openpty()
    environment = {**os.environ, "PYTHONPATH": os.pathsep.join(sys.path), "TERM": "xterm"}
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=terminal, env=environment)
    os.close(terminal)
    assert (result.returncode, len(results(result.stdout))) == (0, 7)
    assert b"7/7" in os.read(screen, 100_000)
    os.close(screen)


# Bad input


@pytest.mark.parametrize(
    ("arguments", "reason"),
    [
        (["--enable", "t.scael"], "no check t.scael; did you mean t.scale"),
        (["--enable", "zzz"], "no check zzz; `heron checks` lists"),
        (["--checks", "missing"], "missing: no such directory"),
        (["--select", "/cars/car_c"], "no object /cars/car_c; did you mean /cars/car_"),
        (["--project", "missing.json"], "missing.json: No such file"),
        (["--output", "missing/report.html"], "missing/report.html: no such directory"),
        (["--output", "."], "a directory"),
        (["--enable", "t.exits"], "studio.py, line "),
    ],
)
def test_bad_input_is_told_on_standard_error(heron, tmp_path, monkeypatch, arguments, reason):
    monkeypatch.chdir(tmp_path)
    status, output, errors = heron("validate", *arguments)
    assert (status, output) == (2, "")
    assert errors.startswith("heron: ")
    assert reason in errors
    assert errors.count("\n") == 1


def test_a_report_never_replaces_its_scene(heron, tmp_path):
    path = tmp_path / "scene.gltf"
    before = path.read_bytes()
    assert heron("validate", "--output", str(path))[0] == 2
    assert path.read_bytes() == before


def test_a_project_that_asks_for_an_unknown_check_is_refused(heron, tmp_path):
    status, output, errors = heron("validate", "--project", rules(tmp_path, body=["t.scales"]))
    assert (status, output) == (2, "")
    assert 'rule "body": no check t.scales; did you mean t.scale' in errors


def test_a_home_that_cannot_be_used_is_told(tmp_path, capsys):
    (tmp_path / "file").touch()
    assert main(["checks", "--home", str(tmp_path / "file" / "home")]) == 2
    assert "Not a directory" in capsys.readouterr().err
    write(tmp_path / "statistics.json", [])
    assert main(["checks", "--home", str(tmp_path)]) == 2
    assert "statistics.json: the JSON is not an object" in capsys.readouterr().err


def test_a_place_without_room_for_a_home_hints_at_the_option(tmp_path):
    (tmp_path / Path(core.__file__).name).symlink_to(core.__file__)
    (tmp_path / ".heron").touch()
    path = os.pathsep.join([str(tmp_path), *sys.path])
    result = subprocess.run(
        [sys.executable, "-m", "heron", "checks"],
        stderr=subprocess.PIPE,
        env={**os.environ, "PYTHONPATH": path},
    )
    assert (result.returncode, result.stderr.count(b"\n")) == (2, 1)
    assert b"name a directory with --home DIR" in result.stderr


def test_a_scene_that_cannot_be_written_still_gets_its_report(heron, tmp_path, monkeypatch):
    scene(tmp_path, TREE, ["Odd"])
    monkeypatch.setattr(os, "replace", lambda *paths: (_ for _ in ()).throw(OSError("disk full")))
    status, output, errors = heron("validate", "--enable", "t.scale", "--fix", "--save")
    assert (status, "1 fixed" in output, "cannot be written: disk full" in errors) == (2, True, True)


# The checks


def test_checks_lists_what_can_be_enabled(heron):
    status, output, errors = heron("checks", "--format", "json")
    catalogue = json.loads(output)
    known = {check["id"]: check for check in catalogue["checks"]}
    assert (status, errors, catalogue["denied"], catalogue["warnings"]) == (0, "", [], [])
    assert known["t.whole"]["scene_oriented"] is True
    assert known["t.length"]["category"] == "mesh"
    assert known["t.length"]["parameters"][0] == {
        "name": "most",
        "kind": "IntRange",
        "label": "",
        "help": "How long.",
        "default": {"value": 8},
        "limits": {"minimum": 1, "maximum": 99, "step": 1, "prefix": "", "units": " letters"},
        "choices": {},
    }
    assert known["t.length"]["parameters"][1]["choices"] == {"low": "Lower case"}
    output = heron("checks")[1]
    assert "most: whole number from 1 to 99 in steps of 1, letters; default 8" in output
    assert 'case: one of low (Lower case); default "low"' in output


FAULTS = {
    "parameters = None": '"parameters" is None, not an operation',
    "parameters = staticmethod(lambda: 5)": "parameters() gives of type int",
    "parameters = staticmethod(lambda: 1 / 0)": "parameters() raises ZeroDivisionError: division by zero",
    "class_id = 5": '"class_id" is of type int, not a text',
    "category = None": '"category" is None, not a text',
    "sort_index = '1'": '"sort_index" is of type str, not a whole number',
    "could_be_fixed = 1": '"could_be_fixed" is of type int, not True or False',
    "__init__ = lambda self, scene: None": "making an instance raises TypeError",
    "fix_result = 'none'": '"fix_result" is of type str, not an operation',
}


def test_classes_that_cannot_be_used_are_told_with_the_reason(heron, tmp_path):
    source = "from core import Check\nclass Mid(Check.Base):\n    pass\n"
    for number, line in enumerate(FAULTS):
        source += f"class Bad{number}(Mid):\n    class_id = 't.bad{number}'\n    {line}\n"
    (tmp_path / "studio" / "bad.py").write_text(source)
    status, output, _ = heron("checks", "--format", "json")
    denied = {one["name"]: one["reason"] for one in json.loads(output)["denied"]}
    assert (status, len(denied)) == (1, len(FAULTS))
    for number, reason in enumerate(FAULTS.values()):
        assert denied[f"bad.Bad{number}"].startswith(reason)
    assert "could_be_fixed" in heron("checks")[1]
    assert (
        't.bad4 cannot be used: "category" is None, not a text' in heron("validate", "--enable", "t.bad4")[2]
    )


def test_a_class_that_breaks_every_checklist_is_named(heron, tmp_path):
    source = """
        import core


        class Mid(core.Check.Base):
            pass


        class Breaks(Mid):
            @staticmethod
            def parameters():
                return core.Parameters.Block("no input")
    """
    (tmp_path / "studio" / "breaks.py").write_text(dedent(source))
    status, output, errors = heron("checks")
    assert (status, output) == (2, "")
    assert "the parameters of the check class breaks.Breaks cannot be used" in errors


def test_a_module_that_cannot_be_imported_costs_a_warning(heron, tmp_path):
    (tmp_path / "studio" / "lost.py").write_text("import nowhere_to_be_found\n")
    status, output, _ = heron("checks")
    assert (status, output.count("Import Failed: lost - ModuleNotFoundError")) == (1, 1)
    status, _, errors = heron("validate", "--enable", "t.scale")
    assert (status, errors.count("warning: Import Failed: lost")) == (0, 1)
    (tmp_path / "studio" / "lost.py").write_text("import sys\nsys.exit(0)\n")
    assert "Import Failed: lost - SystemExit" in heron("checks")[1]
