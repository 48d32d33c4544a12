"""The command line: what it prints, how it ends, what it leaves in the file; and the example."""

import json
import os
import subprocess
import sys

import pytest
from commands import EXAMPLES, STREET, STREET_PROJECT, run_module
from gltf_files import document, nodes_of, project, rule, write

import core
from heron.cli import main
from heron.hosts.gltf import GltfScene

# Two assets stand in the group, the third has lost its body.
TREE = {
    "group": {
        "asset_a": {"asset_a_body": {}}, "asset_b": {"asset_b_body": {}, "asset_b_lid": {}},
        "asset_c": {"asset_c_lid": {}}},
    "light": {},
}  # fmt: skip
ASSET = [rule("asset", "^<name:asset_[a-z]>$"), rule("body", "^<name>_body$"),
         rule("lid", "^<name>_lid$", limits=(0, 1))]  # fmt: skip
GHOST = rule("ghost", "^group$", ["transform"])
BELOW_GROUP = project([GHOST, *ASSET], {"ghost": {"asset": {"body": {}, "lid": {}}}})
AT_TOP = project(ASSET, {"asset": {"body": {}, "lid": {}}})
ANY = [rule("any", ".+", limits=(1, 9)), rule("deep", ".+", limits=(0, 9))]
ANY_TOP = project(ANY, {"any": {}})
SCENE_GHOST = project([rule("ghost", "", ["sceneRoot"]), *ANY], {"ghost": {"any": {}}})

pytestmark = pytest.mark.usefixtures("no_waiting")


@pytest.fixture
def scan(tmp_path, command):
    """Runs a scan of a scene and a project given by their content; gives status, output, errors."""

    def run(scene, rules, *arguments):
        scene_path = tmp_path / "scene.gltf"
        if scene is not None:
            write(scene_path, document(nodes_of(scene)) if isinstance(scene, dict) else scene)
        rules_path = write(tmp_path / "rules.json", rules)
        return command("scan", scene_path, "--project", rules_path, "--home", tmp_path, *arguments)

    return run


def names(output):
    """The names of the hierarchies in JSON output."""
    return [bucket["name"] for bucket in json.loads(output)]


# The example


def test_the_example_is_what_its_script_writes(tmp_path):
    subprocess.run([sys.executable, str(EXAMPLES / "make_street.py"), str(tmp_path)], check=True)
    for name in ("street.gltf", "street.json"):
        assert (tmp_path / name).read_bytes() == (EXAMPLES / name).read_bytes()


def test_the_example_shows_right_and_wrong_objects(command, tmp_path):
    status, output, _ = command("scan", STREET, "--project", STREET_PROJECT, "--home", tmp_path)
    found, _, refused = output.partition("\nrefused\n")
    roots = [line.split()[0] for line in found.splitlines() if line and not line.startswith(" ")]
    assert (status, roots) == (0, ["car_red", "car_blue", "car_black", "post_01", "post_02"])
    for reason in (
        'below /cars/car_green: only 3 fit "wheel", which needs 4; no rule takes "car_red_wheel_rear_right"',
        '/cars/car_blue copy\n    fits none of the top rules: "car", "post"',
        'below /posts/post_03: "bulb" is missing',
    ):
        assert reason in refused


# Where a scan looks


@pytest.mark.parametrize(
    ("rules", "arguments", "status", "found"),
    [
        (BELOW_GROUP, [], 0, ["asset_a", "asset_b"]),
        (BELOW_GROUP, ["--select", "/group/asset_b/asset_b_lid"], 0, ["asset_b"]),
        (BELOW_GROUP, ["--select", "/group/asset_c"], 1, []),
        (BELOW_GROUP, ["--select", "/group"], 1, []),
        (ANY_TOP, [], 0, ["light"]),
        (project([rule("ghost", ""), *ANY], {"ghost": {"any": {}}}), [], 0, ["light"]),
        (SCENE_GHOST, [], 0, ["light"]),
        (SCENE_GHOST, ["--select", "/light", "/group/asset_a"], 0, ["light"]),
        (project([], {}), [], 1, []),
    ],
)  # fmt: skip
def test_a_scan_looks_everywhere_or_at_the_selected_objects(scan, rules, arguments, status, found):
    code, output, errors = scan(TREE, rules, "--json", *arguments)
    assert (code, names(output), errors) == (status, found, "")


def test_nothing_to_scan_is_said(scan):
    for tree in ({}, {"light": {}}):
        status, output, errors = scan(tree, BELOW_GROUP)
        assert (status, errors, output.startswith("nothing to scan")) == (1, "", True)
        assert "0 hierarchies with 0 objects found, 0 objects refused" in output


# Why an object was refused


REASONS = [
    ({"asset_a": {"asset_a_body": {"deep": {}}}},
     'below /group/asset_a: "body" is missing; "asset_a_body" must have nothing below it'),
    ({"asset_a": {"asset_a_body": {}, "x": {}, "y": {}}}, 'no rule takes "x"; no rule takes "y"'),
]  # fmt: skip


def test_a_refused_object_tells_what_does_not_fit(scan):
    for tree, reason in REASONS:
        status, output, _ = scan({"group": tree}, BELOW_GROUP)
        assert (status, reason in output) == (1, True), output


def test_a_faulty_expression_that_the_scan_never_reached_is_told(scan):
    rules = [rule("asset", "^asset$"), rule("body", "^body$"), rule("lid", "(")]
    status, output, _ = scan({"asset": {"lid": {}}}, project(rules, {"asset": {"body": {}, "lid": {}}}))
    assert (status, "a rule has a faulty expression: missing )" in output) == (1, True)


# Bad input


def broken(**changes):
    """The rules with one rule changed."""
    return project([{**ASSET[0], **changes}], {"asset": {}})


def nested(levels):
    """A pattern of one rule below itself."""
    tree = {}
    for _ in range(levels):
        tree = {"any": tree}
    return project([rule("any", "^a$")], tree)


BAD_PROJECTS = {
    "not JSON": (b"{", "not JSON"),
    "no format": ({"records": {"1": {}}}, "no project format"),
    "no records": ({"version": 3}, '"records"'),
    "record at no time": ({**AT_TOP, "records": {"inf": {}}}, "cannot be used: cannot convert"),
    "expression no text": (broken(regex=None), 'no text "regex"'),
    "types no list": (broken(types={}), '"types"'),
    "range of one": (broken(range=[1]), '"range"'),
    "checklist no object": (broken(checklist=[]), '"checklist"'),
    "node without rule": (project(ASSET, {"asset": {"lost": {}}}), 'a node without a rule: "lost"'),
    "deep pattern": (nested(201), "levels deep"),
}  # fmt: skip


@pytest.mark.parametrize(("content", "reason"), BAD_PROJECTS.values(), ids=BAD_PROJECTS)
def test_a_broken_project_is_told_on_standard_error(scan, content, reason):
    status, output, errors = scan(TREE, content)
    assert (status, output, errors.count("\n"), errors[:7]) == (2, "", 1, "heron: ")
    assert reason in errors


def test_bad_files_are_told_on_standard_error(scan, command, tmp_path):
    for scene, reason in ((None, "scene.gltf: No such file"), (b"x", "scene.gltf: not JSON")):
        status, output, errors = scan(scene, BELOW_GROUP)
        assert (status, output, reason in errors) == (2, "", True)
    assert command("scan", STREET, "--project", tmp_path)[0] == 2


def test_an_unknown_object_is_told_with_the_nearest(scan):
    for path, near in {
        "group/asset_a": "/group/asset_a",
        "/grup/none": "/group",
        "/group/asset_a/asset_a_bod": "/group/asset_a/asset_a_body",
    }.items():
        status, output, errors = scan(TREE, BELOW_GROUP, "--select", "/group/asset_b", path)
        assert (status, output) == (2, "")
        assert f"no object {path}; did you mean {near}" in errors
    assert "did you mean" not in scan(TREE, BELOW_GROUP, "--select", "/zzz")[2]


# What is kept


def test_json_is_what_the_file_keeps_and_append_adds_to_it(scan, tmp_path):
    path = tmp_path / "scene.gltf"
    first = scan(TREE, BELOW_GROUP, "--json", "--save", "--select", "/group/asset_b")[1]
    assert json.loads(first) == GltfScene(str(path)).query_filedata()
    content = path.read_bytes()
    status, second, _ = scan(None, BELOW_GROUP, "--json", "--append")
    assert (status, names(second)) == (0, ["asset_b", "asset_a"])
    assert json.loads(second)[0] == json.loads(first)[0]
    assert path.read_bytes() == content
    status, output, _ = scan(None, BELOW_GROUP, "--append", "--save")
    assert "2 hierarchies with 5 objects found (1 of them from earlier scans)" in output
    assert GltfScene(str(path)).query_filedata() == json.loads(second)
    assert "2 hierarchies with 5 objects found, " in scan(None, BELOW_GROUP)[1]  # what it held is left aside
    content = path.read_bytes()
    status, _, errors = scan(None, BELOW_GROUP, "--append", "--select", "/group/asset_a")
    assert (status, "leave out --append" in errors) == (2, True)
    assert scan(None, BELOW_GROUP, "--append", "--save")[0] == 1
    assert scan(None, AT_TOP, "--save")[0] == 1
    assert path.read_bytes() == content


def test_the_deepest_pattern_finds_shows_and_keeps_its_hierarchy(scan):
    nodes = [{"name": "a", "children": [index + 1]} for index in range(199)] + [{"name": "a"}]
    scene = json.dumps(document(nodes)).encode()
    assert names(scan(scene, nested(200), "--json", "--save")[1]) == ["a"]
    status, output, _ = scan(None, nested(200), "--append")
    assert (status, "1 hierarchy with 200 objects found (1 of them from earlier" in output) == (1, True)


# How it looks


def test_help_and_version(capsys):
    version = run_module("--version")
    assert version.stdout.decode().strip() == "heron " + ".".join(map(str, core.version))
    for command in ("scan", "validate", "export", "checks", "sync", "serve"):
        with pytest.raises(SystemExit, match="0"):
            main([command, "--help"])
        assert "exit status" in capsys.readouterr().out


def test_the_log_shows_on_request(tmp_path):
    for verbose in ((), ("--verbose",)):
        result = run_module(*verbose, "project", "list", "--home", tmp_path / f"home{len(verbose)}")
        assert (b"Incompatible Settings Version" in result.stderr) is bool(verbose)


@pytest.mark.parametrize("arguments", [[], ["--json"]])
def test_a_reader_may_close_the_pipe(tmp_path, arguments):
    reader, writer = os.pipe()
    os.close(reader)
    paths = ("scan", STREET, "--project", STREET_PROJECT, "--home", tmp_path)
    result = run_module(*paths, *arguments, stdout=writer)
    os.close(writer)
    assert (result.returncode, result.stderr) == (0, b"")


@pytest.mark.parametrize("encoding", ["utf-8", "ascii"])
def test_piped_output_is_plain_whatever_the_names(tmp_path, encoding):
    odd = ["\ud800", "\x1b[31mred", "a\nb", "[bold]x[/bold]", "дом", "名" * 60]
    scene = write(tmp_path / "scene.gltf", document([{"name": name, "mesh": 0} for name in odd]))
    rules = write(tmp_path / "rules.json", ANY_TOP)

    def run(*arguments):
        paths = ("scan", scene, "--project", rules, "--home", tmp_path)
        return run_module(*paths, *arguments, PYTHONIOENCODING=encoding, COLUMNS="40")

    result = run()
    assert (result.returncode, result.stderr) == (0, b"")
    lines = [line.split() for line in result.stdout.decode(encoding).splitlines() if line]
    shown = ["\\ud800", "\\x1b[31mred", "a\\nb", "[bold]x[_bold]", "дом", "名" * 60]
    shown = [name.encode(encoding, "backslashreplace").decode(encoding) for name in shown]
    assert lines[:-1] == [[name, "any", "mesh", f"/{name}"] for name in shown]
    assert names(run("--json").stdout) == [name.replace("/", "_") for name in odd]
    assert b"no object /\\x1b" in run("--select", "/\x1b").stderr
