"""A document of some nodes of another one, with all that they refer to and nothing else."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import core

from ..files import Json
from .filedata import EXTRAS_KEY
from .gltf_branches import Branches
from .gltf_cuts import Cuts
from .gltf_draft import Draft, deep_copy
from .gltf_references import EXTENSION_LISTS, REFERENCES, Slot, is_known, slots

_BONE_MEMBERS = ("name", "children", "matrix", "translation", "rotation", "scale", "extras")
_QUANTIZATION = "KHR_mesh_quantization"
_GENERATOR = "Heron " + ".".join(map(str, core.version))

StoreImage = Callable[[Json, str], "bytes | None"]
"""Settles where the data of an image go: takes a copy of its object, and what it is called in an error, and
returns the data if they are to lie in a buffer view."""


class Extract:
    """The document of an export.

    Attributes:
        document: It has at most one buffer, without a "uri".
        data: The content of the buffer.
    """

    def __init__(self, draft: Draft, branches: Branches, keep_extras: bool, store_image: StoreImage):
        """Copies the nodes of `branches` out of a draft.

        Of an extension that is not known here nobody can tell which numbers in it refer to something. One
        without whole numbers is taken along; others are left out, with a warning in the log.

        Args:
            draft: The document.
            branches: Its nodes.
            keep_extras: Whether "extras" are taken along; the data of this program never are.
            store_image: Settles where the data of images go.

        Raises:
            GltfError: Something that is needed does not exist, cannot be read, or depends on an unknown
                extension that the document declares as required.
        """
        self._draft = draft
        self._members = draft.members
        self._branches = branches
        self._nodes = set(branches.nodes)
        self._keep_extras = keep_extras
        self._store_image = store_image
        self._cuts = Cuts(draft.geometry.buffers)
        self._required = self._names("extensionsRequired")
        self._used_extensions: dict[str, None] = {}
        self._left_out: dict[str, None] = {}
        self._copies: dict[str, dict[int, Json]] = {kind: {} for kind in REFERENCES}
        self._slots: list[Slot] = []
        self._waiting: list[tuple[str, int]] = []
        self._collect()
        self.document, self.data = self._build()
        if self._left_out:
            core.Logger.warning(
                f"{draft.file.path}: exported without {', '.join(self._left_out)}: "
                "nobody knows what their numbers refer to"
            )

    def _collect(self) -> None:
        for index in self._branches.nodes:
            self._need("nodes", index, "the scene")
        self._work()
        for index in range(len(self._members.items("animations"))):
            animation = self._moving_part(index)
            if animation is not None:
                self._add("animations", index, animation)
        self._work()

    def _work(self) -> None:
        while self._waiting:
            kind, index = self._waiting.pop()
            where = _called(kind, index)
            source = self._source(kind, index, where)
            if kind == "nodes" and index in self._branches.bones:
                source = {key: source[key] for key in _BONE_MEMBERS if key in source}
            self._add(kind, index, self._copy(source, where))

    def _need(self, kind: str, index: Any, where: str) -> None:
        """Has an item copied, unless it is already or will be."""
        if type(index) is not int:
            raise self._members.error(f'{where} refers to "{kind}" by something that is not an integer')
        if index not in self._copies[kind]:
            self._copies[kind][index] = self._source(kind, index, where)
            self._waiting.append((kind, index))

    def _add(self, kind: str, index: int, copy: Json) -> None:
        """Takes in a copy of an item, with all that it refers to."""
        where = _called(kind, index)
        self._copies[kind][index] = copy
        if kind == "nodes":
            self._settle_children(copy)
        elif kind == "skins":
            self._settle_skeleton(copy, where)
        elif kind == "accessors":
            self._take_data(index, copy)
        elif kind == "images":
            self._settle_image(copy, where)
        for slot in slots(self._members, kind, copy, where):
            if slot.target == "bufferViews":
                self._members.size(slot.owner, slot.key, where)
                self._cuts.take_all(slot.owner, where)
            else:
                self._need(slot.target, slot.owner[slot.key], where)
                self._slots.append(slot)

    def _settle_children(self, copy: Json) -> None:
        children = [child for child in copy.pop("children", ()) if child in self._nodes]
        if children:
            copy["children"] = children

    def _settle_skeleton(self, copy: Json, where: str) -> None:
        """Drops the "skeleton" of a skin if it is not here: it is a mere hint."""
        if "skeleton" in copy and self._members.size(copy, "skeleton", where) not in self._nodes:
            del copy["skeleton"]

    def _take_data(self, index: int, copy: Json) -> None:
        for part, view, start, end in self._draft.geometry.accessors.extents(index, "the scene"):
            if start < end:
                record = copy
                for key in part:
                    record = record[key]
                self._cuts.take(record, view, start, end)
            elif part:
                copy.pop("sparse", None)
            else:
                del copy["bufferView"]

    def _settle_image(self, copy: Json, where: str) -> None:
        data = self._store_image(copy, where)
        if data is not None:
            copy.pop("uri", None)
            self._cuts.add(copy, data)

    def _moving_part(self, index: int) -> Json | None:
        """A copy of an animation with the channels of the nodes that are here, None if there are none."""
        where = f"animation {index}"
        source = self._members.item("animations", index, where)
        channels = [
            number
            for number, channel in enumerate(self._members.objects(source, "channels", where))
            if _target(channel) in self._nodes
        ]
        if not channels:
            return None
        copy = self._copy(source, where)
        samplers = self._members.objects(copy, "samplers", where)
        copy["channels"] = [copy["channels"][number] for number in channels]
        numbers: dict[int, int] = {}
        for channel in copy["channels"]:
            sampler = self._members.size(channel, "sampler", f"a channel of {where}")
            if sampler >= len(samplers):
                raise self._members.error(f"{where} has no sampler {sampler}")
            channel["sampler"] = numbers.setdefault(sampler, len(numbers))
        copy["samplers"] = [samplers[sampler] for sampler in numbers]
        return copy

    def _source(self, kind: str, index: int, where: str) -> Json:
        if kind not in EXTENSION_LISTS:
            return self._members.item(kind, index, where)
        items = self._extension_list(kind)
        if not 0 <= index < len(items) or not isinstance(items[index], dict):
            raise self._members.error(f"{where} names number {index} of the {kind}; there are {len(items)}")
        item: Json = items[index]
        return item

    def _extension_list(self, kind: str) -> list[Any]:
        name = EXTENSION_LISTS[kind]
        owner: Json = (
            self._members.member(self._draft.file.document, "extensions", dict, "the document") or {}
        )
        record: Json = self._members.member(owner, name, dict, "the document") or {}
        return self._members.member(record, kind, list, name) or []

    # Copies, without what does not go along

    def _copy(self, source: Json, where: str) -> Json:
        copy = deep_copy(self._draft.file.path, source)
        stack: list[Any] = [copy]
        while stack:
            value = stack.pop()
            if isinstance(value, list):
                stack += value
            elif isinstance(value, dict):
                if not self._keep_extras:
                    value.pop("extras", None)
                if "extensions" in value:
                    self._settle_extensions(value, where)
                stack += (item for key, item in value.items() if key != "extras")
        return copy

    def _settle_extensions(self, owner: Json, where: str) -> None:
        extensions: Json = self._members.member(owner, "extensions", dict, where)
        for name in list(extensions):
            if is_known(name) or not _holds_numbers(extensions[name]):
                self._used_extensions[name] = None
            elif name in self._required:
                raise self._members.error(
                    f"{where} needs the extension {name}, which is unknown here and cannot be exported"
                )
            else:
                del extensions[name]
                self._left_out[name] = None
        if not extensions:
            del owner["extensions"]

    # The new document

    def _build(self) -> tuple[Json, bytes]:
        numbers = {
            kind: {old: new for new, old in enumerate(sorted(copies))}
            for kind, copies in self._copies.items()
        }
        for slot in self._slots:
            slot.owner[slot.key] = numbers[slot.target][slot.owner[slot.key]]
        views, data = self._cuts.pack(
            lambda index: self._copy(self._source("bufferViews", index, ""), f"buffer view {index}")
        )
        lists = {
            kind: [copies[index] for index in numbers[kind]]
            for kind, copies in self._copies.items()
            if copies
        }
        document = self._head()
        extensions = document.pop("extensions", {})
        for kind, name in EXTENSION_LISTS.items():
            if kind in lists:
                extensions[name] = {kind: lists.pop(kind)}
        tops = [numbers["nodes"][top] for top in self._branches.tops if top not in self._branches.heads]
        document |= {"scene": 0, "scenes": [{"nodes": tops}], **lists}
        if views:
            document |= {"bufferViews": views, "buffers": [{"byteLength": len(data)}]}
        if extensions:
            document["extensions"] = extensions
        self._declare_extensions(document)
        return document, data

    def _head(self) -> Json:
        """The members of the document that are no lists, with the extensions that need none."""
        source = self._draft.file.document
        kept: Json = {key: source[key] for key in ("asset", "extras", "extensions") if key in source}
        if isinstance(kept.get("extensions"), dict):
            lists = set(EXTENSION_LISTS.values())
            kept["extensions"] = {key: value for key, value in kept["extensions"].items() if key not in lists}
        head = self._copy(kept, "the document")
        head["asset"]["generator"] = _GENERATOR
        if isinstance(head.get("extras"), dict):
            head["extras"].pop(EXTRAS_KEY, None)
            if not head["extras"]:
                del head["extras"]
        return head

    def _declare_extensions(self, document: Json) -> None:
        declared = dict.fromkeys([*self._names("extensionsUsed"), *self._required])
        if "meshes" in document and _QUANTIZATION in declared:
            self._used_extensions[_QUANTIZATION] = None
        missing = [
            name for name in self._required if name not in self._used_extensions and not is_known(name)
        ]
        # One that stands nowhere tells how all else is to be read.
        everywhere = _extension_names(self._draft.file.document) if missing else set()
        self._used_extensions |= dict.fromkeys(name for name in missing if name not in everywhere)
        used = [
            name
            for name in dict.fromkeys([*declared, *self._used_extensions])
            if name in self._used_extensions
        ]
        required = [name for name in self._required if name in self._used_extensions]
        if used:
            document["extensionsUsed"] = used
        if required:
            document["extensionsRequired"] = required

    def _names(self, key: str) -> list[str]:
        names: list[Any] = self._members.member(self._draft.file.document, key, list, "the document") or []
        if not all(isinstance(name, str) for name in names):
            raise self._members.error(f'"{key}" of the document is not a list of strings')
        return names


def _target(channel: Json) -> int | None:
    """The number of the node that a channel of an animation moves."""
    target = channel.get("target")
    node = target.get("node") if isinstance(target, dict) else None
    return node if type(node) is int else None


def _called(kind: str, index: int) -> str:
    return f"{'mesh' if kind == 'meshes' else kind.removesuffix('s')} {index}"


def _holds_numbers(root: Any) -> bool:
    """Whether there is a whole number in it, which may refer to something."""
    stack = [root]
    while stack:
        value = stack.pop()
        if type(value) is int:
            return True
        if isinstance(value, dict):
            stack += value.values()
        elif isinstance(value, list):
            stack += value
    return False


def _extension_names(root: Any) -> set[str]:
    """The names of all extensions that stand anywhere in a document."""
    names: set[str] = set()
    stack = [root]
    while stack:
        value = stack.pop()
        if isinstance(value, dict):
            extensions = value.get("extensions")
            names.update(extensions if isinstance(extensions, dict) else ())
            stack += (item for key, item in value.items() if key != "extras")
        elif isinstance(value, list):
            stack += value
    return names
