"""`heron project` and `heron export`: whole roads on the command line, and what bad input gets."""

import json
import os
import re
from pathlib import Path

import pytest
from commands import STREET, STREET_PROJECT
from gltf_files import document, nodes_of, project, rule, write
from hosts import full_disk

from heron.exporting import ExportScene
from heron.hosts.gltf import GltfError, GltfScene

CARS = ["car_red", "car_blue", "car_black", "post_01", "post_02"]

pytestmark = pytest.mark.usefixtures("no_waiting")


@pytest.fixture
def heron(tmp_path, monkeypatch, command):
    """Runs a command on a home in an empty directory; gives status, output, errors."""
    monkeypatch.chdir(tmp_path)
    return lambda *arguments: command(*arguments, "--home", "home")


@pytest.fixture
def street(heron):
    """The same with the project of the example in the home."""
    arguments = ("project", "new", "Street", "--from", STREET_PROJECT, "--author", "Ann", "--comment", "one")
    assert heron(*arguments)[0] == 0
    return heron


def listed(heron, what="list"):
    return json.loads(heron("project", what, "--json")[1])


def current(heron):
    """The projects by name, and whether each is the current one."""
    return {one["name"]: one["current"] for one in listed(heron)["projects"]}


# Projects


def test_a_project_is_made_saved_again_and_an_older_state_selected(street, tmp_path):
    document = listed(street, "show")
    assert [len(record["rules"]) for record in document["records"].values()] == [11]
    for record in document["records"].values():
        record["rules"] = [one for one in record["rules"] if one["name"] != "rim"]
        record["pattern"] = []
    fewer = write(tmp_path / "fewer.json", document)
    status, output, errors = street("project", "save", "Street", "--from", fewer, "--comment", "two")
    assert (status, errors, "2 records" in output) == (0, "", True)
    newest, first = listed(street, "history")["records"]
    assert (first["author"], first["comment"], newest["comment"]) == ("Ann", "one", "two")
    assert newest["timestamp"] > first["timestamp"]
    for stars, has_rim in (("* ", False), (" *", True)):
        assert "".join(line[0] for line in street("project", "history")[1].splitlines()) == stars
        assert ("  rim  " in street("project", "show", "Street")[1]) is has_rim
        assert street("scan", STREET, "--project", "Street")[0] == (0 if has_rim else 1)
        assert street("project", "select", "Street", first["timestamp"])[0] == 0


def test_the_current_project_is_the_last_made_or_selected_one(street):
    street("project", "new", "Empty", "--description", "nothing yet")
    assert current(street) == {"Empty": True, "Street": False}
    assert "nothing yet" in street("project", "show")[1]
    (
        street("project", "delete", "Street"),
        street("project", "new", "Street"),
        street("project", "select", "Empty"),
    )
    assert current(street) == {"Empty": True, "Street": False}
    for name, left in (("Empty", {"Street": True}), ("Street", {})):
        assert street("project", "delete", name)[0] == 0
        assert current(street) == left
    assert all(json.loads(path.read_text())["deleted"] for path in Path("home/projects").glob("*.json"))


WRONG_PROJECTS = [
    (["show", "Stret"], "did you mean Street?"),
    (["new", "Street"], "there is a project Street already"),
    (["new", " "], "is not a valid project name"),
    (["save", "Street", "--from", STREET], "no project format"),
    (["select", "Street", "7"], "Street has no record 7, but: "),
]


def test_what_cannot_be_done_with_a_project_is_told(street):
    before = os.listdir("home/projects")
    for arguments, reason in WRONG_PROJECTS:
        status, output, errors = street("project", *arguments)
        assert (status, output, errors[:7], reason in errors) == (2, "", "heron: ", True), errors
    assert os.listdir("home/projects") == before


def test_projects_that_cannot_be_used_are_told_and_the_others_work(street):
    directory = Path("home/projects")
    good = next(directory.glob("*.json"))
    others = {"old.json": {"name": "Old", "version": 2}, "maya.json": {"target": "maya"}, "twin.json": {}}
    for name, members in others.items():
        write(directory / name, {**json.loads(good.read_text()), "filename": name, **members})
    write(directory / "cut.json", good.read_bytes()[:99])
    status, output, errors = street("project", "list")
    assert (status, "cut.json: JSONDecodeError" in errors, "maya" in output) == (0, True, False)
    assert "project format 2, which this release cannot use" in output
    assert len(list((directory / ".corrupted").iterdir())) == 1
    twins = ", ".join(sorted([good.name, "twin.json"]))
    status, _, errors = street("project", "show", "Street")
    assert (status, f"2 projects are named Street; say which file: {twins}" in errors) == (2, True)
    assert street("scan", STREET, "--project", "twin.json")[0] == 0
    for command in (["project", "select", "Old"], ["scan", STREET, "--project", "Old"]):
        status, _, errors = street(*command)
        assert (status, "project format 2" in errors) == (2, True)
    write(directory / "torn.json", good.read_bytes()[:99])
    errors = street("scan", STREET, "--project", "Torn")[2]
    assert "no project Torn" in errors and "torn.json: cannot be used: JSONDecodeError" in errors


def test_a_project_that_cannot_be_written_is_told(street):
    street("project", "new", "Two")
    before = listed(street)
    for arguments in (["new", "Empty"], ["save", "Street", "--from", STREET_PROJECT], ["select", "Street"]):
        with full_disk(0):
            status, _, errors = street("project", *arguments)
        assert (status, "cannot be written: OSError: [Errno 27]" in errors) == (2, True), errors
    assert listed(street) == before
    assert sorted(path.suffix for path in Path("home/projects").iterdir()) == ["", ".json", ".json"]


# Export


def exported(output):
    """The names of the files that an export lists."""
    written = output.partition("written\n")[2].partition("\n\n")[0]
    return [os.path.basename(line) for line in written.splitlines()]


def test_each_hierarchy_is_written_to_a_file_of_its_own(street):
    status, output, errors = street("export", STREET, "--project", "Street", "--to", "new/out")
    assert (status, errors) == (0, "")
    assert exported(output) == [f"{name}.glb" for name in CARS]
    assert sorted(os.listdir("new/out")) == sorted(exported(output))
    assert "5 hierarchies written to 5 files, 0 skipped, 4 objects refused" in output
    assert '"body" is missing' in output
    assert GltfScene("new/out/car_blue.glb").roots() == ["/car_blue"]


def test_versions_formats_and_options_decide_on_the_files(heron):
    def export(*arguments):
        selected = ("--select", "/cars/car_red", "/cars/car_blue")
        output = heron("export", STREET, "--project", STREET_PROJECT, "--to", "out", *selected, *arguments)[1]
        return exported(output)

    assert export("--versions") == ["car_red.v01.glb", "car_blue.v01.glb"]
    assert export("--versions") == ["car_red.v02.glb", "car_blue.v02.glb"]
    assert export("--format", "gltf") == ["car_red.gltf", "car_red.bin", "car_blue.gltf", "car_blue.bin"]
    options = ("--option", "layout=embedded", "--option", "keep_extras=no")
    assert export("--format", "gltf", "--versions", *options) == ["car_red.v01.gltf", "car_blue.v01.gltf"]


def test_what_the_project_says_of_the_export_holds_unless_the_user_says_otherwise(heron, tmp_path):
    document = json.loads(Path(STREET_PROJECT).read_text())
    for record in document["records"].values():
        record["export"]["options"] = {"selected": "gltf", "formats": {"gltf": {"layout": "embedded"}}}
        record["export"]["flags"]["version_control"] = True
    rules = write(tmp_path / "rules.json", document)
    arguments = ("export", STREET, "--project", rules, "--to", "out", "--select", "/cars/car_red")
    assert exported(heron(*arguments)[1]) == ["car_red.v01.gltf"]
    assert exported(heron(*arguments, "--no-versions", "--format", "glb")[1]) == ["car_red.glb"]


def test_what_cannot_be_written_is_skipped_with_the_reason_and_the_others_are_written(heron, tmp_path):
    data = {"accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}]}  # fmt: skip
    tree = {"group": {"car[": {}, "car": {}, "post": {}}}
    scene = write(tmp_path / "scene.gltf", document(nodes_of(tree), **data))
    rules = [rule("ghost", "^group$", ["transform"]), rule("any", ".+")]
    rules = write(tmp_path / "rules.json", project(rules, {"ghost": {"any": {}}}))
    (tmp_path / "out" / "car.glb").mkdir(parents=True)
    arguments = ("export", scene, "--project", rules, "--to", "out")
    status, output, _ = heron(*arguments)
    assert (status, exported(output)) == (1, ["car[.glb", "post.glb"])
    name, reason = output.partition("skipped\n")[2].splitlines()[:2]
    assert (name.strip(), "car.glb: cannot be written" in reason) == ("car", True)
    assert sorted(os.listdir("out")) == ["car.glb", "car[.glb", "post.glb"]
    status, output, _ = heron(*arguments, "--versions")
    assert (status, exported(output)) == (1, ["car.v01.glb", "post.v01.glb"])
    assert "no name for its file: unterminated character set" in output


def test_one_hierarchy_is_never_written_over_another(tmp_path):
    scene = ExportScene(STREET)
    file = str(tmp_path / "x.glb")
    scene.export(["/cars/car_red"], file, "glb", {})
    with pytest.raises(GltfError, match="/cars/car_red has the same name and was written there"):
        scene.export(["/cars/car_blue"], file, "glb", {})
    assert GltfScene(file).roots() == ["/car_red"]


def test_a_scan_that_fails_is_told_with_the_reason(heron, tmp_path):
    rules = write(tmp_path / "rules.json", project([rule("car", "(")], {"car": {}}))
    for command in (("export", "--to", "out"), ("scan",), ("validate",)):
        status, output, errors = heron(command[0], STREET, "--project", rules, *command[1:])
        assert (status, output) == (2, "")
        assert f"the scan failed: {re.error.__name__}: missing )" in errors
    assert not os.path.exists("out")


WRONG_EXPORTS = [
    (["--option", "layout=embedded"], "no option layout for glb, but: embed_images, keep_extras, up_axis"),
    (["--to", STREET_PROJECT], "street.json: cannot be made: File exists"),
]


def test_a_wrong_export_is_told(heron):
    for arguments, reason in WRONG_EXPORTS:
        status, output, errors = heron(
            "export", STREET, "--project", STREET_PROJECT, "--to", "out", *arguments
        )
        assert (status, output, reason in errors) == (2, "", True), errors
    assert not os.path.exists("out")


# The home


def test_commands_take_a_project_of_the_home_and_record_their_use(street):
    def run(command, *arguments, project="Street"):
        return street(command, STREET, "--project", project, *arguments)[1:]

    assert "did you mean Street?" in run("scan", project="Stret")[1]
    (kept,) = Path("home/projects").glob("*.json")
    assert "would replace what it is about" in run("validate", "--output", kept)[1]
    assert "objects" in run("validate")[0] and exported(run("export", "--to", "out")[0])
    used = json.loads(Path("home/statistics.json").read_text())
    assert ([one["project"] for one in used["validate"]], len(used["exported"])) == ([kept.name], 1)
