"""`heron validate` and `heron checks`: what they print, how they end, what they leave in files."""

import json
import os
import sys
from pathlib import Path
from textwrap import dedent

import pytest
from commands import run_module
from gltf_files import document, nodes_of, project, rule, write
from junitparser import JUnitXml

import core
from heron.home import Home
from heron.hosts.gltf import GltfScene
from heron.session import Session
from heron.validation import Validator, enable_for_selection

pytestmark = pytest.mark.usefixtures("no_waiting")

TREE = {"cars": {"car_a": {"car_a_body": {}, "car_a_lid": {}}, "car_b": {"car_b_body": {}}, "Odd": {}}}
RULES = [rule("ghost", "^cars$", ["transform"]), rule("car", "^<car:car_[a-z]>$"),
         rule("body", "^<car>_body$"), rule("lid", "^<car>_lid$", limits=(0, 1))]  # fmt: skip
SHAPE = {"ghost": {"car": {"body": {}, "lid": {}}}}

# A studio's checks. They look at the scene through the host, as real ones do.
STUDIO = """
    import core
    from heron.hosts.gltf import current_scene


    class Base(core.Check.Base):
        category = "object"

        def result_message(self):
            return "\\n".join(self.result)


    class Scale(Base):
        class_id, short_name, long_name = "t.scale", "Scale", "Scale"

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

        @staticmethod
        def parameters():
            return core.Parameters.Block(
                core.Parameters.IntRange("most", 1, 99, 1, 8, units=" letters", help_text="How long."),
                core.Parameters.ComboBox("case", [core.Parameters.ComboBox.Item("low", "Lower case")]),
            )

        def check(self, path, parameters):
            if len(path.rpartition("/")[2]) > parameters.most.value:
                raise core.Error.ValidationError


    class Advice(Length):
        class_id = "t.advice"

        @staticmethod
        def parameters():
            block = Length.parameters()
            block.as_info = True
            return block


    class Broken(Base):
        class_id = short_name = long_name = "t.broken"

        def check(self, path, parameters):
            print("on the way")
            raise ValueError("boom at " + path)


    class Whole(Broken):
        class_id, category, scene_oriented = "t.whole", "scene", True
"""

MID = "from core import Check, Parameters\nclass Mid(Check.Base):\n    pass\n"


@pytest.fixture
def heron(command, tmp_path, monkeypatch):
    """Runs a command where a scene, a home and the checks of a test are; gives status, output, errors."""
    monkeypatch.chdir(tmp_path)
    Path("studio").mkdir()
    Path("studio/studio.py").write_text(dedent(STUDIO))
    scene(TREE)

    def run(name, *arguments):
        paths = ["scene.gltf"] if name == "validate" else []
        directories = [] if "--checks" in arguments else ["--checks", "studio"]
        return command(name, *paths, *arguments, *directories, "--home", "home")

    return run


@pytest.fixture
def validate(heron):
    """Validates; gives what the report in JSON says, as {path: {check id: status left}}."""

    def run(*arguments):
        return results(heron("validate", *arguments, "--format", "json")[1])

    return run


def scene(tree, scaled=()):
    nodes = nodes_of(tree)
    for node in nodes:
        if node["name"] in scaled:
            node["scale"] = [2, 2, 2]
    return write(Path("scene.gltf"), document(nodes))


def rules(**checklists):
    """A project whose rules have these checklists: check ids with states of their parameters."""
    for one in RULES:
        one["checklist"] = {
            check: {"enabled": True, "parameters": [{"state": state}]}
            for check, state in checklists.get(one["name"], {}).items()
        }
    return write(Path("rules.json"), project(RULES, SHAPE))


def results(output):
    """What a report in JSON says, as {path: {check id: status left}}."""
    objects = json.loads(output)["objects"]
    return {one["path"]: {check["id"]: check["left"]["status"] for check in one["checks"]} for one in objects}


# What is checked


def test_without_a_choice_the_settings_choose_or_all_checks_run(validate):
    everything = validate("--select", "/cars/Odd")
    assert everything.keys() == {"scene.gltf", "/cars/Odd"}
    assert "t.whole" in everything["scene.gltf"]
    assert {"t.scale", "t.length", "t.broken"} < everything["/cars/Odd"].keys()
    state = {"enabled": True, "parameters": [{"state": {"most": {"value": 2}}}]}
    settings = Path(write(Path("home/settings.json"), {"version": 4, "check": {"list": {"t.length": state}}}))
    before = settings.read_bytes()
    assert validate("--select", "/cars/Odd") == {"/cars/Odd": {"t.length": "fail"}}
    assert settings.read_bytes() == before


def test_a_project_says_what_is_checked(heron, validate):
    path = rules(car={"t.length": {"most": {"value": 4}}}, body={"t.scale": {}})
    status, output, _ = heron("validate", "--project", path, "--enable", "t.advice", "--format", "json")
    report = json.loads(output)
    assert status == 1
    assert results(output)["/cars/car_a"] == {"t.advice": "pass", "t.length": "fail"}
    assert results(output)["/cars/car_a/car_a_body"] == {"t.scale": "pass", "t.advice": "info"}
    assert [one["rule"] for one in report["objects"]] == ["car", "body", "lid", "car", "body"]
    assert [one["path"] for one in report["refused"]] == ["/cars/Odd"]
    selected = validate("--project", path, "--select", "/cars/car_b/car_b_body")
    assert list(selected) == ["/cars/car_b", "/cars/car_b/car_b_body"]


def test_a_scene_without_matches_or_checks_is_no_success(heron):
    for tree, checks in ((TREE, {}), ({"light": {}}, {"car": {"t.scale": {}}})):
        scene(tree)
        status, output, _ = heron("validate", "--project", rules(**checks))
        assert (status, "nothing checked" in output) == (1, True)


# What is wrong, and what becomes of it


def test_the_status_tells_findings_from_information(heron):
    for check, status in {"t.scale": 0, "t.advice": 0, "t.length": 1, "t.broken": 1}.items():
        assert heron("validate", "--enable", check)[0] == status


def test_an_error_tells_what_went_wrong_and_what_checks_print_stays_out_of_the_report(heron):
    _, output, errors = heron(
        "validate", "--enable", "t.broken", "--select", "/cars/car_a", "--format", "json"
    )
    messages = {one["path"]: one["checks"][0]["left"]["message"] for one in json.loads(output)["objects"]}
    line = STUDIO.split("boom")[0].count("\n") + 1
    where = f"ValueError in {Path('studio/studio.py').resolve()}, line {line}"
    assert messages == {path: f"{where}: boom at {path}" for path in results(output)}
    assert errors == "on the way\n" * len(messages)


def test_fixes_reach_the_file_with_save_alone(heron):
    def run(check, *arguments):
        """Status, report, and whether the file has changed."""
        before = Path("scene.gltf").read_bytes()
        status, output, _ = heron("validate", "--enable", check, *arguments)
        return status, output, Path("scene.gltf").read_bytes() != before

    assert run("t.length", "--fix", "--save")[::2] == (1, False)
    scene(TREE, ["car_a", "car_b"])
    status, output, changed = run("t.scale", "--fix")
    assert (status, changed, "2 fixed, left: 7 pass" in output) == (1, False, True)
    assert "--save would keep the fixes" in output
    status, output, changed = run("t.scale", "--fix", "--save", "--format", "json")
    report = json.loads(output)
    assert (status, report["fixed"], report["saved"], changed) == (0, 2, True, True)
    assert run("t.scale")[0] == 0


def test_a_fix_that_fails_leaves_the_finding_and_its_reason(heron):
    scene({"stubborn": {}, "easy": {}}, ["stubborn", "easy"])
    status, output, _ = heron("validate", "--enable", "t.scale", "--fix", "--save")
    assert (status, "fixed  Scale  is scaled" in output) == (1, True)
    finding = [line.strip() for line in output[output.index("fail   Scale") :].split("\n")]
    where = f"OSError in {Path('studio/studio.py').resolve()}, line 24"
    assert finding[1:3] == [f"{where}: cannot be changed", "the fix did not help"]


# Where it goes


def test_a_report_goes_to_a_file_and_a_summary_to_the_terminal(heron):
    for kind in ("text", "json", "junit", "html"):
        report = f"report.{kind}"
        status, output, _ = heron("validate", "--enable", "t.length", "--format", kind, "--output", report)
        assert (status, output.splitlines()[0].split(" in ")[0]) == (1, "7 objects, 7 checks")
        assert "car_a_body" in Path(report).read_text()
    assert JUnitXml.fromfile("report.junit").failures == 3
    assert len(list(Path().glob("report*"))) == 4


def test_a_run_that_is_cancelled_tells_what_was_checked(heron):
    scene = GltfScene("scene.gltf")
    session = Session(scene, None, Home("home"), ["studio"])
    enable_for_selection(session, ["t.scale", "t.length"])
    scene.select("/cars", *scene.get_children("/cars"))
    validator = Validator(session, lambda done, total: validator.cancel())
    for _ in "ab":
        (outcome,) = validator.run(core.Constants.Check.Mode.Selection)
        assert (outcome.path, len(outcome.checks)) == ("/cars", 2)


# Bad input


@pytest.mark.parametrize(
    ("arguments", "reason"),
    [
        (["--enable", "t.scael"], "no check t.scael; did you mean t.scale"),
        (["--checks", "missing"], "missing: no such directory"),
        (["--select", "/cars/car_c"], "no object /cars/car_c; did you mean /cars/car_"),
        (["--project", "missing.json"], "missing.json: No such file"),
        (["--project", "rules.json"], 'rule "body": no check t.scales; did you mean t.scale'),
        (["--output", "missing/report.html"], "missing/report.html: no such directory"),
        (["--project", "rules.json", "--output", "rules.json"], "rules.json: the report would"),
        (["--enable", "t.exits"], "exits.py, line "),
    ],
)
def test_bad_input_is_told_on_standard_error_and_changes_no_file(heron, arguments, reason):
    exits = "class Exits(Mid):\n    class_id = 't.exits'\n    check = lambda *arguments: sys.exit(0)\n"
    Path("studio/exits.py").write_text(f"import sys\n{MID}{exits}")
    files = [Path("scene.gltf"), Path(rules(body={"t.scales": {}}))]
    before = [file.read_bytes() for file in files]
    status, output, errors = heron("validate", *arguments)
    assert (status, output, errors.count("\n"), errors[:7]) == (2, "", 1, "heron: ")
    assert reason in errors
    assert [file.read_bytes() for file in files] == before


def test_a_home_that_cannot_be_used_is_told(command, tmp_path):
    (tmp_path / ".heron").touch()
    write(tmp_path / "statistics.json", [])
    for home, reason in {
        ".heron/home": "Not a directory",
        "": "statistics.json: the JSON is not an object",
    }.items():
        status, _, errors = command("checks", "--home", tmp_path / home)
        assert (status, reason in errors) == (2, True)
    (tmp_path / Path(core.__file__).name).symlink_to(core.__file__)  # beside which there is no room
    result = run_module("checks", PYTHONPATH=os.pathsep.join([str(tmp_path), *sys.path]))
    assert (result.returncode, result.stderr.count(b"\n")) == (2, 1)
    assert b"name a directory with --home DIR" in result.stderr


def test_a_scene_that_cannot_be_written_still_gets_its_report(heron, monkeypatch):
    scene(TREE, ["Odd"])
    monkeypatch.setattr(os, "replace", lambda *paths: (_ for _ in ()).throw(OSError("disk full")))
    status, output, errors = heron("validate", "--enable", "t.scale", "--fix", "--save")
    assert (status, "1 fixed" in output, "cannot be written: disk full" in errors) == (2, True, True)


# The checks


def test_checks_lists_what_can_be_enabled(heron):
    status, output, errors = heron("checks", "--format", "json")
    catalogue = json.loads(output)
    known = {check["id"]: check for check in catalogue["checks"]}
    assert (status, errors, known["t.whole"]["scene_oriented"]) == (0, "", True)
    most, case = known["t.length"]["parameters"]
    assert (most["name"], most["kind"], most["help"]) == ("most", "IntRange", "How long.")
    assert (most["default"], most["limits"]["units"]) == ({"value": 8}, " letters")
    assert case["choices"] == {"low": "Lower case"}
    assert 'case: one of low (Lower case); default "low"' in heron("checks")[1]


FAULTS = {
    "category = None": '"category" is None, not a text',
    "parameters = 5": '"parameters" is of type int, not an operation',
    "sort_index = '1'": '"sort_index" is of type str, not a whole number',
    "__init__ = lambda self, scene: None": "making an instance raises TypeError",
}


def test_classes_that_cannot_be_used_are_told_with_the_reason(heron):
    bad = [f"class Bad{n}(Mid):\n    class_id = 't.bad{n}'\n    {line}\n" for n, line in enumerate(FAULTS)]
    Path("studio/bad.py").write_text(MID + "".join(bad))
    status, output, _ = heron("checks", "--format", "json")
    denied = json.loads(output)["denied"]
    assert (status, [one["name"] for one in denied]) == (1, [f"bad.Bad{number}" for number in range(4)])
    assert all(one["reason"].startswith(reason) for one, reason in zip(denied, FAULTS.values()))
    assert "sort_index" in heron("checks")[1]
    reason = 't.bad0 cannot be used: "category" is None, not a text'
    assert reason in heron("validate", "--enable", "t.bad0")[2]


def test_a_module_that_cannot_be_imported_costs_a_warning(heron):
    place = Path("studio/lost.py").resolve()
    for module, error in (("sys; sys.exit(0)", "SystemExit"), ("nowhere", "ModuleNotFoundError")):
        Path("studio/lost.py").write_text(f"import {module}")
        status, output, _ = heron("checks")
        assert (status, output.count(f"lost cannot be imported: {error} in {place}, line 1")) == (1, 1)
    status, _, errors = heron("validate", "--enable", "t.scale")
    assert (status, errors.count(f"ModuleNotFoundError in {place}, line 1: No module named")) == (0, 1)
