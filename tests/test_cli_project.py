"""`heron project` and `heron export`: whole roads on the command line, and what bad input gets."""

import json
import os
from pathlib import Path

import pytest
from gltf_files import document, nodes_of, project, rule, write

from heron.cli import main
from heron.exporting import ExportScene
from heron.hosts.gltf import GltfError, GltfScene

STREET = Path(__file__).resolve().parent.parent / "examples" / "street"
SCENE, PROJECT = (str(STREET.with_suffix(suffix)) for suffix in (".gltf", ".json"))
CARS = ["car_red", "car_blue", "car_black", "post_01", "post_02"]


@pytest.fixture
def heron(tmp_path, monkeypatch, capsys):
    """Runs a command on a home in an empty directory; gives status, output, errors."""
    monkeypatch.chdir(tmp_path)

    def run(*arguments, home="home"):
        status = main([*map(str, arguments), "--home", home])
        captured = capsys.readouterr()
        return status, captured.out, captured.err

    return run


@pytest.fixture
def street(heron):
    """The same with the project of the example in the home."""
    assert heron("project", "new", "Street", "--from", PROJECT, "--author", "Ann", "--comment", "one")[0] == 0
    return heron


def listed(heron, what="list", *arguments):
    return json.loads(heron("project", what, *arguments, "--json")[1])


def of_triangles(tree, **members):
    """A scene in which every leaf is the same triangle."""
    data = {"accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}]}  # fmt: skip
    return document(nodes_of(tree), **data, **members)


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
    assert (newest["selected"], first["selected"]) == (True, False)
    assert "  rim  " not in street("project", "show", "Street")[1]
    assert street("scan", SCENE, "--project", "Street")[0] == 1
    assert street("project", "select", "Street", first["timestamp"])[0] == 0
    assert "  rim  " in street("project", "show")[1]
    assert street("scan", SCENE, "--project", "Street")[0] == 0
    starred = street("project", "history")[1].splitlines()
    assert [line[0] for line in starred] == [" ", "*"]


def test_the_current_project_is_the_last_made_or_selected_one(street):
    assert street("project", "new", "Empty", "--description", "nothing yet")[0] == 0
    assert [one["current"] for one in listed(street)["projects"]] == [True, False]
    assert "nothing yet" in street("project", "show")[1]
    assert street("project", "select", "Street")[0] == 0
    assert [(one["name"], one["current"]) for one in listed(street)["projects"]] == [
        ("Empty", False), ("Street", True)]  # fmt: skip
    assert street("project", "delete", "Street")[0] == 0
    assert [(one["name"], one["current"]) for one in listed(street)["projects"]] == [("Empty", True)]
    assert street("project", "delete", "Empty")[0] == 0
    assert listed(street)["projects"] == []
    files = [json.loads(path.read_text()) for path in Path("home/projects").glob("*.json")]
    assert [file["deleted"] for file in files] == [True, True]


def test_a_deleted_project_that_is_not_the_current_one_leaves_that_as_it_is(street):
    street("project", "new", "Empty")
    assert street("project", "delete", "Street")[0] == 0
    assert [(one["name"], one["current"]) for one in listed(street)["projects"]] == [("Empty", True)]


@pytest.mark.parametrize(
    ("arguments", "reason"),
    [
        (["show", "Stret"], "no project Stret in "),
        (["show", "Stret"], "did you mean Street?"),
        (["delete", "Stret"], "no project Stret"),
        (["new", "Street"], "there is a project Street already"),
        (["new", " "], "is no name for a project"),
        (["new", "a\nb"], "is no name for a project"),
        (["new", "Other", "--from", "none.json"], "none.json: No such file"),
        (["save", "Street", "--from", SCENE], "no project format"),
        (["select", "Street", "7"], "Street has no record 7, but: "),
    ],
)
def test_what_cannot_be_done_with_a_project_is_told(street, arguments, reason):
    before = os.listdir("home/projects")
    status, output, errors = street("project", *arguments)
    assert (status, output, errors.count("\n")) == (2, "", 1)
    assert errors.startswith("heron: ")
    assert reason in errors
    assert os.listdir("home/projects") == before


def test_projects_that_cannot_be_used_are_told_and_the_others_work(street):
    directory = Path("home/projects")
    good = next(directory.glob("*.json"))
    other = json.loads(good.read_text())
    write(directory / "cut.json", good.read_bytes()[:99])
    write(directory / "old.json", {**other, "filename": "old.json", "name": "Old", "version": 2})
    write(directory / "maya.json", {**other, "filename": "maya.json", "target": "maya"})
    write(directory / "twin.json", {**other, "filename": "twin.json"})
    status, output, errors = street("project", "list")
    assert (status, "Read Corrupted Project" in errors) == (0, True)
    assert "project format 2, which this release cannot use" in output
    assert "maya" not in output
    assert len(list((directory / ".corrupted").iterdir())) == 1
    status, _, errors = street("project", "show", "Street")
    assert status == 2
    assert (
        f"2 projects are named Street; say which file: {', '.join(sorted([good.name, 'twin.json']))}"
        in errors
    )
    assert street("scan", SCENE, "--project", "twin.json")[0] == 0
    for command in (["project", "select", "Old"], ["scan", SCENE, "--project", "Old"]):
        status, _, errors = street(*command)
        assert (status, "project format 2" in errors) == (2, True)


def test_a_project_that_cannot_be_written_is_told(street):
    resource = pytest.importorskip("resource")
    before = listed(street)
    limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (0, limits[1]))  # as if the disk were full
    try:
        status, _, errors = street("project", "new", "Empty")
        again = street("project", "save", "Street", "--from", PROJECT)
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, limits)
    assert (status, "cannot be written: OSError: [Errno 27]" in errors) == (2, True)
    assert (again[0], "cannot be written" in again[2]) == (2, True)
    assert listed(street) == before
    assert [path.suffix for path in Path("home/projects").iterdir()] == [".json"]


def test_a_name_in_the_home_serves_wherever_a_project_is_asked_for(street):
    for command in ("scan", "validate"):
        by_name = street(command, SCENE, "--project", "Street")
        by_file = street(command, SCENE, "--project", PROJECT)
        assert by_name[0] == by_file[0]
        for line, same in zip(by_name[1].splitlines(), by_file[1].splitlines(), strict=True):
            assert line == same or " ms" in line
    used = json.loads(Path("home/statistics.json").read_text())["validate"]
    assert [one["project"] for one in used] == [
        next(Path("home/projects").glob("*.json")).name,
        "street.json",
    ]
    status, _, errors = street("scan", SCENE, "--project", "Stret")
    assert (status, "did you mean Street?" in errors) == (2, True)


# Export


def exported(output):
    """The files that an export lists."""
    written = output.partition("written\n")[2].partition("\n\n")[0]
    return [line.strip() for line in written.splitlines()]


def test_each_hierarchy_is_written_to_a_file_of_its_own(street):
    status, output, errors = street("export", SCENE, "--project", "Street", "--to", "new/out")
    assert (status, errors) == (0, "")
    assert exported(output) == [os.path.join("new/out", f"{name}.glb") for name in CARS]
    assert sorted(os.listdir("new/out")) == sorted(f"{name}.glb" for name in CARS)
    assert "5 hierarchies written to 5 files, 0 skipped, 4 objects refused" in output
    assert '"body" is missing' in output
    assert GltfScene("new/out/car_blue.glb").roots() == ["/car_blue"]


def test_versions_formats_and_options_decide_on_the_files(street):
    def export(*arguments):
        selected = ("--select", "/cars/car_red", "/cars/car_blue")
        status, output, errors = street(
            "export", SCENE, "--project", PROJECT, "--to", "out", *selected, *arguments
        )
        assert (status, errors) == (0, "")
        return [os.path.basename(path) for path in exported(output)]

    assert export("--versions") == ["car_red.v01.glb", "car_blue.v01.glb"]
    assert export("--versions") == ["car_red.v02.glb", "car_blue.v02.glb"]
    assert export("--format", "gltf") == ["car_red.gltf", "car_red.bin", "car_blue.gltf", "car_blue.bin"]
    options = ("--option", "layout=embedded", "--option", "keep_extras=no")
    assert export("--format", "gltf", "--versions", *options) == ["car_red.v01.gltf", "car_blue.v01.gltf"]


def test_what_the_project_says_of_the_export_holds_unless_the_user_says_otherwise(street, tmp_path):
    document = json.loads(Path(PROJECT).read_text())
    for record in document["records"].values():
        record["export"]["options"] = {"selected": "gltf", "formats": {"gltf": {"layout": "embedded"}}}
        record["export"]["flags"]["version_control"] = True
    rules = write(tmp_path / "rules.json", document)
    arguments = ("export", SCENE, "--project", rules, "--to", "out", "--select", "/cars/car_red")
    assert exported(street(*arguments)[1]) == [os.path.join("out", "car_red.v01.gltf")]
    assert exported(street(*arguments, "--no-versions", "--format", "glb")[1]) == [
        os.path.join("out", "car_red.glb")
    ]


def test_what_cannot_be_written_is_skipped_with_the_reason_and_the_others_are_written(heron, tmp_path):
    scene = write(tmp_path / "scene.gltf", of_triangles({"group": {"car[": {}, "car": {}, "post": {}}}))
    rules = [rule("ghost", "^group$", ["transform"]), rule("any", ".+")]
    rules = write(tmp_path / "rules.json", project(rules, {"ghost": {"any": {}}}))
    (tmp_path / "out" / "car.glb").mkdir(parents=True)
    status, output, _ = heron("export", scene, "--project", rules, "--to", "out")
    assert status == 1
    assert [os.path.basename(path) for path in exported(output)] == ["car[.glb", "post.glb"]
    name, reason = output.partition("skipped\n")[2].splitlines()[:2]
    assert (name.strip(), "car.glb: cannot be written" in reason) == ("car", True)
    assert sorted(os.listdir("out")) == ["car.glb", "car[.glb", "post.glb"]
    status, output, _ = heron("export", scene, "--project", rules, "--to", "out", "--versions")
    assert (status, "no name for its file: unterminated character set" in output) == (1, True)
    assert [os.path.basename(path) for path in exported(output)] == ["car.v01.glb", "post.v01.glb"]


def test_one_hierarchy_is_never_written_over_another(tmp_path):
    scene = ExportScene(SCENE)
    file = str(tmp_path / "x.glb")
    scene.export(["/cars/car_red"], file, "glb", {})
    with pytest.raises(GltfError, match="/cars/car_red has the same name and was written there"):
        scene.export(["/cars/car_blue"], file, "glb", {})
    assert GltfScene(file).roots() == ["/car_red"]


def test_nothing_to_export_is_said(heron, tmp_path):
    scene = write(tmp_path / "scene.gltf", of_triangles({"other": {}}))
    rules = write(tmp_path / "rules.json", project([rule("car", "^car$")], {"car": {}}))
    status, output, _ = heron("export", scene, "--project", rules, "--to", "out")
    assert (status, "0 hierarchies written to 0 files, 0 skipped, 1 object refused" in output) == (1, True)


@pytest.mark.parametrize(
    ("arguments", "reason"),
    [
        (["--option", "layout"], "an export option is NAME=VALUE, not layout"),
        (
            ["--option", "layout=embedded"],
            "no option layout for glb, but: embed_images, keep_extras, up_axis",
        ),
        (["--option", "up_axis=x"], "up_axis is one of y, z, not x"),
        (["--option", "keep_extras=maybe"], "keep_extras is one of true, false, not maybe"),
        (["--select", "/cars/car_rad"], "did you mean /cars/car_red"),
        (["--to", PROJECT], "street.json: cannot be made: File exists"),
    ],
)
def test_a_wrong_export_is_told(heron, arguments, reason):
    status, output, errors = heron("export", SCENE, "--project", PROJECT, "--to", "out", *arguments)
    assert (status, output) == (2, "")
    assert reason in errors
    assert not os.path.exists("out") or not os.listdir("out")


# The whole road


def test_a_scene_is_scanned_validated_fixed_and_exported_from_one_home(street, tmp_path):
    scene = str(tmp_path / "street.gltf")
    Path(scene).write_bytes(Path(SCENE).read_bytes())
    assert street("scan", scene, "--project", "Street", "--save")[0] == 0
    before = street("validate", scene, "--project", "Street")[1]
    fixed = street("validate", scene, "--project", "Street", "--fix", "--save")[1]
    assert "fixed" in fixed
    assert street("validate", scene, "--project", "Street")[1].count("  fail") < before.count("  fail")
    assert exported(street("export", scene, "--project", "Street", "--to", "out", "--versions")[1])
    used = json.loads(Path("home/statistics.json").read_text())
    assert (len(used["validate"]), len(used["exported"])) == (3, 1)
    assert GltfScene(scene).query_filedata()
