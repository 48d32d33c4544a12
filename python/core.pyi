"""The engine of Heron.

Names that begin with a low line are the engine's own: a front-end or a host is handed their instances,
and reads them, but seldom makes one.
"""

import logging
from abc import abstractmethod
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from contextlib import AbstractContextManager
from os import PathLike
from types import ModuleType, SimpleNamespace
from typing import (
    Any,
    ClassVar,
    Final,
    Literal,
    Protocol,
    SupportsIndex,
    TypeAlias,
    TypeVar,
    final,
    overload,
    type_check_only,
)

from typing_extensions import Self, disjoint_base

_T = TypeVar("_T")

# A value of a document: what JSON can hold, as the runtime's own types.
_JsonMap: TypeAlias = dict[str, Any]
_JsonList: TypeAlias = list[dict[str, Any]]

_Path: TypeAlias = str | PathLike[str]

# What an anchor captured: the text, and the path of the object in whose name it stood.
_Capture: TypeAlias = tuple[str, str]
_Captures: TypeAlias = dict[str, set[_Capture]]

version: Final[tuple[int, int, int]]
_TYPE_STRING: Final[type[str]]
_ENCODING: Final[str]

class _Str(str):
    """Text of the system: a str that can be told from others."""

    def __new__(cls, value: object) -> Self: ...
    @staticmethod
    def encoded(value: _T) -> _T: ...
    @staticmethod
    def decoded(value: _T) -> _T: ...

@overload
def _str(value: str) -> _Str: ...
@overload
def _str(value: _T) -> _T: ...
def _format(template: str, *args: object) -> str: ...

@final
class Constants:
    """All enumerations of the system."""

    @final
    class Check:
        """Constants of checks."""

        @final
        class Mode:
            """What a validation looks at."""

            Selection: Final = 0
            Project: Final = 1

        @final
        class Category:
            """Groups of checks, in the order in which they are shown."""

            Scene: Final[_Str]
            Object: Final[_Str]
            Mesh: Final[_Str]
            MeshNonManifold: Final[_Str]
            Mapping: Final[_Str]
            Material: Final[_Str]
            Lod: Final[_Str]
            Project: Final[_Str]

        @final
        class Result:
            """Outcomes of a check."""

            Pass: Final[_Str]
            Info: Final[_Str]
            Fail: Final[_Str]
            Error: Final[_Str]

    @final
    class Export:
        """Constants of the export."""

        @final
        class Format:
            """File formats."""

            FBX: Final[_Str]

        @final
        class Mode:
            """Where exported files go."""

            Choose: Final = 0
            Project: Final = 1
            Local: Final = 2

    @final
    class Scene:
        """Constants of the scene."""

        @final
        class Type:
            """Types of scene objects, the same in every host."""

            Ghost: Final[_Str]
            SceneRoot: Final[_Str]
            Transform: Final[_Str]
            Mesh: Final[_Str]
            Locator: Final[_Str]
            LodGroup: Final[_Str]

    @final
    class Plugin:
        """Constants of the host."""

        @final
        class Status:
            """Outcomes of an operation."""

            Success: Final = True
            Failure: Final = False

        @final
        class Target:
            """Host applications."""

            DCC_Maya: Final[_Str]
            DCC_3dsMax: Final[_Str]
            DCC_Blender: Final[_Str]
            Standalone: Final[_Str]

    @final
    class Name:
        """Constants of names."""

        @final
        class Filter:
            """Filters of a name."""

            LATIN: Final[_Str]
            EN_RU: Final[_Str]
            EMPTY: Final[_Str]
            SPACE: Final[_Str]
            GHOST: Final[_Str]

@final
class _Naming:
    @staticmethod
    def is_attribute(name: str) -> bool: ...
    @staticmethod
    def is_private(name: str) -> bool: ...
    @staticmethod
    def force_ascii(name: str, title: bool = False) -> str: ...
    @staticmethod
    def latin_filter(text: str) -> str: ...
    @staticmethod
    def en_ru_filter(text: str) -> str: ...
    @staticmethod
    def _char_filter(text: str, chars: Iterable[Sequence[int]]) -> str: ...
    @staticmethod
    def space_filter(text: str) -> str: ...
    @staticmethod
    def ghost_filter(text: str) -> str: ...
    @staticmethod
    def strip(name: str, chars: str) -> str: ...

@disjoint_base
class _NamesControl:
    @property
    def _names(self) -> set[str]: ...
    def clear(self) -> None: ...
    def exists(self, name: str) -> bool: ...
    def append(self, name: str) -> None: ...
    def remove(self, name: str) -> None: ...
    def rename(self, remove: str, append: str) -> None: ...
    def get_init(self, name: str) -> str: ...
    def _get_next(self, name: str) -> str: ...
    def _get_alike(self, name: str) -> list[str]: ...

@final
class Error:
    """The exceptions of the system."""

    @disjoint_base
    class WrongAttributeName(Exception):
        """An attribute name that is no identifier."""

        def __init__(self, name: str = "") -> None: ...
        @property
        def _text(self) -> str: ...

    @disjoint_base
    class PrivateAttributeName(Exception):
        """An attribute name that begins with two low lines."""

        def __init__(self, name: str = "") -> None: ...
        @property
        def _text(self) -> str: ...

    @disjoint_base
    class AttributeNameRepeat(Exception):
        """Two inputs have one attribute name."""

    @disjoint_base
    class ParameterInputType(Exception):
        """A parameter block holds what is no input."""

    @disjoint_base
    class AccessQueueTimeout(Exception):
        """A document stayed in use for too long."""

    @disjoint_base
    class NoFeedbackEmail(Exception):
        """There is no address to send feedback to."""

    @disjoint_base
    class ValidationError(Exception):
        """An issue found while the validation runs. A check raises it to report a finding."""

@final
class _Assert:
    @final
    class Parameters:
        @final
        class Input:
            @staticmethod
            def attribute(name: object) -> None: ...

    @final
    class Json:
        @staticmethod
        def clean(data: _T) -> _T: ...

    @final
    class Environment:
        @staticmethod
        def is_valid(instance: object) -> bool: ...

    @final
    class Check:
        @staticmethod
        def is_valid(_class: object) -> bool:
            """Whether this class can serve as a check. What it raises when asked is logged, and says no."""

@final
class Logger:
    """The one door to the log: the root logger, with no handler, level or format of its own.

    `message` may be any object; `kwargs` go to the logger. Records are handed over on threads of their own.
    """

    _root: ClassVar[logging.Logger]
    @staticmethod
    def debug(message: object, **kwargs: Any) -> None:
        """Logs at level debug."""

    @staticmethod
    def info(message: object, **kwargs: Any) -> None:
        """Logs at level info."""

    @staticmethod
    def warning(message: object, **kwargs: Any) -> None:
        """Logs at level warning."""

    @staticmethod
    def error(message: object, **kwargs: Any) -> None:
        """Logs at level error, never with exception information."""

    @staticmethod
    def exception(message: object, **kwargs: Any) -> None:
        """Logs a caught exception at level error, without the traceback."""

    @staticmethod
    def _call(function: Callable[..., object], args: Iterable[Any], kwargs: Mapping[str, Any]) -> None: ...

@disjoint_base
class _CallBacks:
    """The events of the engine: one list of functions for each. Read from `Api.callbacks`."""

    def clear(self) -> None:
        """Empties every list; the list objects stay."""

    @property
    def empty_scan_selection(self) -> _CallBacks.List:
        """A scan found nothing selected."""

    @property
    def used_scan_selection(self) -> _CallBacks.List:
        """A scan was to add what the buffer holds already."""

    @property
    def empty_scan_result(self) -> _CallBacks.List:
        """A scan found no hierarchy."""

    @property
    def lost_export_directory(self) -> _CallBacks.List:
        """An export has no directory."""

    @property
    def empty_export_selection(self) -> _CallBacks.List:
        """An export has nothing to write."""

    @property
    def export_skipped(self) -> _CallBacks.List:
        """An export task failed."""

    @property
    def export_success(self) -> _CallBacks.List:
        """An export wrote its files."""

    @property
    def projects_synchronized(self) -> _CallBacks.List:
        """The server's projects are applied."""

    @property
    def projects_response_closed(self) -> _CallBacks.List:
        """The server's answer is dealt with."""

    @property
    def projects_saved(self) -> _CallBacks.List:
        """Projects were saved."""

    @property
    def buffer_loaded(self) -> _CallBacks.List:
        """The buffer was loaded from the scene."""

    @property
    def http_no_response(self) -> _CallBacks.List:
        """The server did not answer."""

    @disjoint_base
    class List:
        """The functions registered for one event. A call calls them all; one that raises is logged."""

        @property
        def _array(self) -> list[Callable[..., object]]: ...
        def __call__(self, *args: Any, **kwargs: Any) -> None: ...
        def register(self, function: Callable[..., object]) -> None:
            """Appends a function, unless it is not callable or in the list already."""

        def delete(self, function: Callable[..., object]) -> None:
            """Removes a function if it is in the list."""

        def clear(self) -> None:
            """Removes all functions."""

@disjoint_base
class Mask:
    """Groups of constants for assign or filter purpose in user interface.

    `Ghost`, `Type` and `Result` of an instance are the sets of these names, without the items whose types
    the host does not have. `Api.masks` is typed so; of a `Mask` made elsewhere, checkers see the classes.
    """

    def __init__(self, type_mapping: TypeMapping) -> None: ...
    @property
    def _mapping(self) -> TypeMapping: ...
    @disjoint_base
    class Item(list[str]):
        """A choice: a list of constants, with a label for the user."""

        def __init__(self, *elements: str, name: str = "", attr: str = "", mapped: bool = False) -> None: ...
        @property
        def name(self) -> str:
            """The label for the user."""

        @property
        def attr(self) -> str:
            """Under what name the item is a member of its set; empty for none."""

        @property
        def mapped(self) -> bool:
            """True if the elements are scene types, which the host must have."""

        @property
        def _name(self) -> str: ...
        @property
        def _attr(self) -> str: ...
        @property
        def _mapped(self) -> bool: ...

    @disjoint_base
    class _Set(list[Mask.Item]):
        """The choices of a filter: a list of items, each also a member named by `attr`."""

        def __init__(self, *items: Mask.Item) -> None: ...

    class Ghost(_Set):
        """The choices for the ghost rule."""

        SceneRoot: Mask.Item
        Transform: Mask.Item
        Locator: Mask.Item
        TransformLocator: Mask.Item
        def __init__(self) -> None: ...

    class Type(_Set):
        """The choices for the types of a rule."""

        TransformLocator: Mask.Item
        Locator: Mask.Item
        Transform: Mask.Item
        LodGroup: Mask.Item
        Mesh: Mask.Item
        Any: Mask.Item
        def __init__(self) -> None: ...

    class Result(_Set):
        """The choices for the results to be shown."""

        Fail: Mask.Item
        FailInfo: Mask.Item
        def __init__(self) -> None: ...

@type_check_only
class _Masks(Mask):
    Ghost: Mask.Ghost  # type: ignore[assignment]
    Type: Mask.Type  # type: ignore[assignment]
    Result: Mask.Result  # type: ignore[assignment]

@final
class _File:
    """What touches the data files of the system."""

    @staticmethod
    def move_corrupted(path: _Path) -> None:
        """Moves a file into ".corrupted" beside it, under its timed name. A failure is logged."""

    @staticmethod
    def timed_filename(filename: str) -> str:
        """The name with the present time in it: "settings-1763200000.json"."""

    @final
    class Json:
        """JSON documents."""

        @staticmethod
        def read(path: _Path) -> Any:
            """The value in a file; ValueError for what is no JSON or no UTF-8."""

        @staticmethod
        def write(path: _Path, data: object) -> None:
            """Replaces the file's content, in the layout of all documents.

            UnicodeEncodeError for lone surrogates and RecursionError for more than 500 levels, before the
            file is touched.
            """

        @disjoint_base
        class AccessQueue:
            """The guard of one JSON document among all threads and processes that use it.

            A `with` statement over it waits until no one else is inside and gives the document, to be changed
            in place. It is written back if `write` is true, also after an exception.
            """

            def __init__(
                self,
                json_path: _Path,
                write: bool = False,
                access_timeout: float = 30.0,
                life_duration_threshold: float = 35.0,
            ) -> None:
                """access_timeout, life_duration_threshold: seconds; see the text of the class."""

            @property
            def _path(self) -> str: ...
            @property
            def _directory(self) -> str: ...
            @property
            def _filename(self) -> str: ...
            @property
            def _path_lock(self) -> str: ...
            @property
            def _path_id(self) -> str: ...
            @property
            def _write(self) -> bool: ...
            @property
            def _access_timeout(self) -> float: ...
            @property
            def _life_duration_threshold(self) -> float: ...
            @property
            def _data(self) -> Any: ...
            def __enter__(self) -> Any:
                """The document; an empty map where there is no file. Error.AccessQueueTimeout."""

            def __exit__(self, exc_type: object, exc_val: object, exc_tb: object) -> None:
                """Only after an `__enter__` that succeeded."""

            def _assert_access(self) -> None: ...
            def _is_free(self) -> bool: ...
            def _is_next(self) -> bool: ...
            def _release_access(self) -> None: ...
            def _get_editors_sequence(self) -> list[str]: ...
            def _delete_outdated(self, path: str) -> None: ...

    @final
    class Text:
        """Plain text files."""

        @staticmethod
        def read(path: _Path) -> str:
            """The whole content, read with the machine's own encoding and line ends."""

@disjoint_base
class Environment:
    """An abstract class that tells where one host application keeps its files.

    A front-end derives its own class from it and implements every abstract operation and accessor; each
    raises NotImplementedError here. A constructor of a derived class calls this one's at its end.
    """

    user_home: ClassVar[str]
    name: ClassVar[str]
    def __init__(self) -> None:
        """Sets "HERON-SETTINGS", "HERON-TARGET" and "HERON-SCOPE" in the environment of the process."""

    @property
    def root(self) -> str:
        """The hidden directory in the user's home, created if missing."""

    @property
    @abstractmethod
    def target(self) -> str:
        """The host, one of the texts of `Constants.Plugin.Target`."""

    @property
    @abstractmethod
    def scope(self) -> str:
        """The host's version, dotted."""

    @abstractmethod
    def get_settings_file(self) -> str:
        """The path of the settings file."""

    @abstractmethod
    def get_settings_directory(self) -> str:
        """The directory of the settings."""

    @abstractmethod
    def get_projects_directory(self) -> str:
        """The directory of the projects."""

    @abstractmethod
    def get_statistics_file(self) -> str:
        """The path of the statistics file."""

    @staticmethod
    def decode_user(path: _Path) -> str:
        """A stored path as a real one: each "~" replaced by the user's home, with forward slashes."""

    @staticmethod
    def encode_user(path: _Path) -> str:
        """A path as it is stored: the user's home replaced by "~", with forward slashes."""

@disjoint_base
class _LocalEnv(Environment):
    """The environment of the standalone case, with everything beside the library's file."""

    def __init__(self) -> None:
        """Creates what directories are missing."""

    @property
    def _settings(self) -> str: ...
    @property
    def _projects(self) -> str: ...
    @property
    def root(self) -> str: ...
    @property
    def target(self) -> str: ...
    @property
    def scope(self) -> str: ...
    def get_settings_file(self) -> str: ...
    def get_settings_directory(self) -> str: ...
    def get_projects_directory(self) -> str: ...
    def get_statistics_file(self) -> str: ...

@final
class _Software:
    """The host application."""

    @staticmethod
    def detect() -> str:
        """The host's name: "Blender", "Maya", "3dsMax" or "Unknown"."""

@disjoint_base
class TypeMapping:
    """Translates the object types of one host into those of `Constants.Scene.Type`."""

    def __init__(self, table: Mapping[str, str]) -> None:
        """table: a map of the host's type names to the system's."""

    @property
    def _table(self) -> dict[str, _Str]: ...
    @property
    def _types(self) -> set[_Str]: ...
    def get(self, name: str) -> _Str | None:
        """The system type of a host type, or None if it has none."""

    def exist(self, name: str) -> bool:
        """Can the host produce this system type?"""

@final
class Scene:
    """Classes that communicate with the scene open in the host."""

    @disjoint_base
    class _QueryOp:
        """An abstract class to get hierarchy info from the scene."""

        @abstractmethod
        def object_exists(self, path: str) -> bool:
            """Does an object with this path exist now?"""

        @abstractmethod
        def get_type(self, path: str) -> str | None:
            """The object's type, one of the texts of `Constants.Scene.Type`; None for one of no such type."""

        @abstractmethod
        def get_parent(self, path: str) -> str | None:
            """The parent's path; None or an empty text at the top of the scene."""

        @abstractmethod
        def get_children(self, path: str) -> list[str] | None:
            """The paths of the direct children in the order of matching; None or an empty list for a leaf."""

    class Operator(_QueryOp):
        """An abstract class to communicate with the scene.

        A host integration derives its own class from it, sets `TYPE_MAPPING`, and implements every abstract
        operation; each raises NotImplementedError here. A path is a text that is unique for each object; "|"
        and "/" separate its pieces. All operations are called on the thread that owns the host's scene. A
        constructor of a derived class calls this one's.
        """

        TYPE_MAPPING: ClassVar[Mapping[str, str]]
        def __init__(self) -> None: ...
        @property
        def type_mapping(self) -> TypeMapping:
            """The host's `TypeMapping`, made of `TYPE_MAPPING`."""

        @property
        def _type_mapping(self) -> TypeMapping: ...
        def map_type(self, name: str) -> _Str | None:
            """The system's type for a host type, or None. For `get_type`."""

        @abstractmethod
        def object_exists(self, path: str) -> bool:
            """Does an object with this path exist now?"""

        @abstractmethod
        def get_type(self, path: str) -> str | None:
            """The object's type; see `map_type`."""

        @abstractmethod
        def get_parent(self, path: str) -> str | None:
            """The parent's path; None or an empty text at the top of the scene."""

        @abstractmethod
        def get_children(self, path: str) -> list[str] | None:
            """The paths of the direct children, in order; None or nothing for a leaf."""

        @abstractmethod
        def get_selection(self) -> list[str]:
            """The paths of the selected objects."""

        @abstractmethod
        def get_selection_roots(self) -> list[str]:
            """The top-most ancestors of the selected objects, each once."""

        @abstractmethod
        def select(self, *paths: str) -> object:
            """Selects exactly these objects; without paths, none."""

        @staticmethod
        @abstractmethod
        def selection_manager() -> AbstractContextManager[object, bool | None]:
            """A new scope object, after which the selection is what it was before."""

        @abstractmethod
        def register_scene_opened_callback(self, function: Callable[[], object]) -> object:
            """Has the host call `function` whenever a scene was opened."""

        @abstractmethod
        def register_shutdown_callback(self, function: Callable[[], object]) -> object:
            """Has the host call `function` when it closes."""

        @abstractmethod
        def delete_callbacks(self) -> object:
            """Removes everything registered above."""

        @abstractmethod
        def export(
            self,
            roots: list[str],
            file_path: str,
            type: str,
            args: Any,
            automatic_uv: bool = False,
            triangulate: bool = False,
            reset_xforms: bool = False,
        ) -> object:
            """Writes the hierarchies below `roots` into one file; raises if it cannot."""

        @abstractmethod
        def get_current_file(self) -> str:
            """The path of the open scene file; empty if it was never saved."""

        @abstractmethod
        def directory_dialog(self, starting: str = "~", caption: str = "") -> str | None:
            """Lets the user choose a directory; None or an empty text on cancel."""

        @abstractmethod
        def file_dialog(self, starting: str = "~", caption: str = "", file_filter: str = "") -> str | None:
            """Lets the user choose a file; None or an empty text on cancel."""

        @abstractmethod
        def query_filedata(self) -> _JsonList:
            """What the last `embed_filedata` stored; an empty list if the scene has none."""

        @abstractmethod
        def embed_filedata(self, data: _JsonList) -> object:
            """Stores a list of plain maps in the open scene."""

        @abstractmethod
        def erase_filedata(self) -> object:
            """Removes the stored data, if there is any."""

        @abstractmethod
        def postscript_scan_append(self, joint: Scene._Buffer.DataJoint) -> object:
            """Called for each joint that a scan built, children first."""

        @abstractmethod
        def postscript_scan_remove(self, joint: Scene._Buffer.DataJoint) -> object:
            """Called for each joint that leaves the buffer when it is cleared."""

        @staticmethod
        def name_from_path(path: str) -> str:
            """The short name of an object: what stands behind the last "|" or "/" of its path."""

    @disjoint_base
    class _Virtual(_QueryOp):
        """A snapshot of a part of the scene, which answers the queries of the matching without the host."""

        def __init__(self, operator: Scene.Operator) -> None: ...
        @property
        def _operator(self) -> Scene.Operator: ...
        @property
        def _exists(self) -> dict[str, bool]: ...
        @property
        def _name(self) -> dict[str, str]: ...
        @property
        def _type(self) -> dict[str, str | None]: ...
        @property
        def _parent(self) -> dict[str, str | None]: ...
        @property
        def _children(self) -> dict[str, list[str]]: ...
        def offload(self) -> None:
            """Forgets everything."""

        def upload(self, roots: Iterable[str], clear: bool = True) -> None:
            """Copies the objects at these paths and all below them; `clear` forgets what is there before."""

        def object_exists(self, path: str | None) -> bool: ...
        def get_type(self, path: str | None) -> str | None: ...
        def get_parent(self, path: str | None) -> str | None: ...
        def get_children(self, path: str | None) -> list[str]: ...
        def get_locations(self, roots: Iterable[str]) -> list[Scene._Virtual._Location]:
            """A new list of those of these objects that exist."""

        @disjoint_base
        class _Location:
            """A short description of the scene object."""

            name: str
            path: str
            type: str | None
            children: list[str]
            def __init__(
                self, name: str, path: str, type: str | None, children: list[str] | None
            ) -> None: ...
            def __eq__(self, other: object, /) -> bool: ...
            def __hash__(self) -> int: ...

    @disjoint_base
    class _Buffer:
        """The hierarchies found in the scene, kept in the scene file."""

        def __init__(
            self, operator: Scene.Operator, virtual: Scene._Virtual, hierarchy: _Hierarchy
        ) -> None: ...
        @property
        def _data(self) -> list[Scene._Buffer.DataBucket]: ...
        @property
        def _incompatibles(self) -> list[str]: ...
        @property
        def _operator(self) -> Scene.Operator: ...
        @property
        def _virtual(self) -> Scene._Virtual: ...
        @property
        def _hierarchy(self) -> _Hierarchy: ...
        def __contains__(self, key: object, /) -> bool: ...
        @property
        def incompatibles(self) -> list[str]:
            """The paths of the roots that failed the last `validate`, as the list itself."""

        def get(self) -> list[Scene._Buffer.DataBucket]:
            """A new list of the buckets."""

        def set(self, data: Iterable[Scene._Buffer.DataBucket]) -> None:
            """Replaces the buckets; the old ones leave as by `clear`."""

        def add(self, data: Iterable[Scene._Buffer.DataBucket]) -> None:
            """Appends buckets. Nothing persists."""

        def remove(self, item: Scene._Buffer.DataBucket) -> None:
            """Removes the first equal bucket; ValueError if there is none. Nothing persists."""

        def exists(self) -> bool:
            """Is there a bucket?"""

        def get_checked(self) -> list[Scene._Buffer.DataBucket]:
            """A new list of the buckets that are checked."""

        @staticmethod
        def get_roots(joint: Scene._Buffer.DataJoint) -> list[str]:
            """The paths that a root joint stands for: its own, or a ghost's children's."""

        def get_path_groups(self) -> list[list[str]]:
            """The roots of each bucket."""

        def load(self) -> None:
            """Replaces the buckets by those embedded in the scene."""

        def update(self) -> None:
            """Embeds the buckets in the scene, in place of what is there."""

        def erase(self) -> None:
            """Drops the buckets, the data embedded in the scene, the snapshot and the incompatible paths."""

        @staticmethod
        def encode(data: Iterable[Scene._Buffer.DataBucket]) -> _JsonList:
            """The data of these buckets, as they are embedded."""

        def decode(self, data: Iterable[Mapping[str, Any]]) -> list[Scene._Buffer.DataBucket]:
            """New buckets from embedded data."""

        def _decode(self, data: Mapping[str, Any]) -> Scene._Buffer.DataJoint: ...
        def rename(self, source: str, target: str) -> None:
            """Replaces a part of the buckets' names. Nothing persists."""

        def repath(self, source: str, target: str) -> None:
            """Replaces a part of the joints' paths. Nothing persists."""

        def clear(self, selected: bool = False) -> None:
            """Erases everything, or drops the checked buckets and embeds the rest."""

        def _clear(self, array: Iterable[Scene._Buffer.DataBucket]) -> None: ...
        def sort(self, root: list[Scene._Buffer.DataJoint] | None = None) -> None:
            """Sorts the children of all joints by name, or a list of joints and all below."""

        def validate(self) -> None:
            """Matches each bucket's roots with the pattern anew; those that fail are in `incompatibles`."""

        def is_valid(self) -> bool:
            """Are there buckets, do they look like the scene, and did the last `validate` find nothing?"""

        def ghosts_match(self) -> bool:
            """Does `ghost_match` hold for all buckets?"""

        def ghost_match(self, bucket: Scene._Buffer.DataBucket) -> bool:
            """May the roots of a ghost's bucket still stand under the pattern's ghost?"""

        def is_match(self, _array: Iterable[Scene._Buffer.DataJoint] | None = None) -> bool:
            """Do all objects exist, with as many children as their joints?"""

        @disjoint_base
        class DataJoint:
            """One item of a scanned hierarchy.

            stamp: the matched rule's. name, path: of the object. type: the matched rule's name; "ghost" for a
            joint that stands for no object but holds a group of roots. icon, color: for display.
            """

            stamp: str
            name: str
            path: str
            type: str
            icon: str
            color: str
            children: list[Scene._Buffer.DataJoint]
            def __init__(
                self,
                stamp: str = "",
                name: str = "",
                path: str = "|",
                type: str = "",
                children: list[Scene._Buffer.DataJoint] | None = None,
                icon: str = "",
                color: str = "none",
            ) -> None: ...
            def is_ghost(self) -> bool:
                """Does the joint stand for no object, but hold a group of roots?"""

            @property
            def data(self) -> _JsonMap:
                """The joint as it is embedded in the scene, a new map."""

            def __eq__(self, other: object, /) -> bool: ...
            def __hash__(self) -> int: ...

        @disjoint_base
        class DataBucket:
            """A scanned hierarchy, with what controls its export and display.

            joint: the root. name: for display and export. checked: takes part in validation and export.
            opened: shown expanded.
            """

            joint: Scene._Buffer.DataJoint
            checked: bool
            opened: bool
            name: str
            def __init__(
                self,
                joint: Scene._Buffer.DataJoint,
                name: str | None = None,
                checked: bool = True,
                opened: bool = True,
            ) -> None: ...
            @property
            def _name(self) -> str: ...
            @property
            def data(self) -> _JsonMap:
                """The bucket as it is embedded in the scene, a new map."""

            def get_joints(
                self, joint: Scene._Buffer.DataJoint | None = None
            ) -> list[Scene._Buffer.DataJoint]:
                """All joints of the bucket, or only those below a joint, parents first."""

            def __eq__(self, other: object, /) -> bool: ...
            def __hash__(self) -> int: ...

    @disjoint_base
    class _Scanner:
        """Finds the hierarchies below the host's selection that match the pattern."""

        def __init__(
            self,
            api: Api,
            operator: Scene.Operator,
            virtual: Scene._Virtual,
            hierarchy: _Hierarchy,
            buffer: Scene._Buffer,
            callbacks: _CallBacks,
        ) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _op(self) -> Scene.Operator: ...
        @property
        def _virtual(self) -> Scene._Virtual: ...
        @property
        def _hierarchy(self) -> _Hierarchy: ...
        @property
        def _buffer(self) -> Scene._Buffer: ...
        @property
        def _callbacks(self) -> _CallBacks: ...
        def upload_buffer(self, append: bool = False) -> bool:
            """Scans below the selection. append: add to the buffer instead of replacing its content.

            True if something was found; it is then embedded in the scene. False fires `used_scan_selection`,
            `empty_scan_selection` or `empty_scan_result`, or logs the exception that ended the scan.
            """

        def reload_buffer(self) -> None:
            """Matches each bucket's roots again and embeds the outcome; what matches no more leaves."""

        def _reload_bucket(self, bucket: Scene._Buffer.DataBucket) -> None: ...
        def _find_scope_roots(self, scene_roots: list[str]) -> list[str]: ...
        def _find_scope_root(
            self, path: str, ghost: _Hierarchy.Pattern.Scope, scene_roots: Iterable[str]
        ) -> str | None: ...
        def _scan(self, roots: Iterable[str]) -> list[Scene._Buffer.DataBucket]: ...
        def _filter(self, buckets: Iterable[Scene._Buffer.DataBucket]) -> list[Scene._Buffer.DataBucket]: ...
        def _load(
            self, roots: Iterable[str], pattern: list[_Hierarchy.Pattern.Scope] | None = None
        ) -> list[Scene._Buffer.DataJoint]: ...
        @staticmethod
        def _choose_name(data: Iterable[Scene._Buffer.DataJoint]) -> str: ...

# What a pattern reads of a rule: a project's has it, a pattern's own has it, and so may a stand-in.
@type_check_only
class _RuleFields(Protocol):
    @property
    def stamp(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def icon(self) -> str: ...
    @property
    def color(self) -> str: ...
    @property
    def regex(self) -> str: ...
    @property
    def types(self) -> list[str] | None: ...
    @property
    def range(self) -> _Project.Settings.Rule.Range: ...

@type_check_only
class _Record(Protocol):
    @property
    def rules(self) -> Iterable[_Project.Settings.Rule]: ...
    @property
    def pattern(self) -> _Project.Settings.Rule.Tree._Node: ...

@disjoint_base
class _Hierarchy:
    """Compare algorithm of a single hierarchy with the specific pattern."""

    def __init__(self, query_operator: Scene._QueryOp, check_classes: Any) -> None: ...
    @property
    def _query_op(self) -> Scene._QueryOp: ...
    @property
    def _pattern(self) -> _Hierarchy.Pattern: ...
    @property
    def _search(self) -> _Hierarchy.Search: ...
    @property
    def pattern(self) -> _Hierarchy.Pattern:
        """What is compared with."""

    @property
    def search(self) -> _Hierarchy.Search:
        """The search, with the captures of the last run."""

    def root_scopes(self, roots: Iterable[str]) -> list[list[str]]:
        """Groups paths into candidate hierarchies."""

    def ghost_scope_match(self, roots: Iterable[str]) -> bool:
        """May all these objects stand under the ghost? True without a ghost."""

    def is_ghost_root(self, ghost: _Hierarchy.Pattern.Scope, path: str) -> bool:
        """May the object be a root under this ghost scope?"""

    def mask(self, roots: Iterable[str]) -> list[str]:
        """The paths among `roots` that the pattern's top layer claims, in the order of its scopes."""

    def is_valid(self, roots: Iterable[str]) -> bool:
        """Do these objects, with all below them, fit the pattern?"""

    def find_anchors(self) -> None:
        """Collects the pattern's definitions into a new table without captures."""

    def _hierarchy_runner(
        self,
        function: Callable[[_Hierarchy.Pattern.Rule], object],
        pattern: Iterable[_Hierarchy.Pattern.Scope],
    ) -> None: ...
    def match(self, roots: Iterable[str], pattern: list[_Hierarchy.Pattern.Scope]) -> bool:
        """Do these objects, with all below them, fit this list of scopes? With the captures as they stand."""

    @staticmethod
    def _is_optional(pattern: Iterable[_Hierarchy.Pattern.Scope]) -> bool: ...
    @staticmethod
    def _is_deadlock(response: _Hierarchy.Search.Response) -> bool: ...
    @disjoint_base
    class Pattern:
        """A class to describe hierarchy pattern."""

        check_classes: Any
        def __init__(self, check_classes: Any) -> None: ...
        @property
        def _rules(self) -> dict[str, _Hierarchy.Pattern.Rule]: ...
        @property
        def _hierarchy(self) -> list[_Hierarchy.Pattern.Scope]: ...
        def get(self) -> list[_Hierarchy.Pattern.Scope]:
            """The scopes that are compared with the scene, as the stored list."""

        def get_ghost(self) -> _Hierarchy.Pattern.Scope | None:
            """The scope at the top whose rule is named "ghost", the first one."""

        def has_ghost(self) -> bool:
            """Is there a ghost?"""

        def set(self, project_settings_record: _Record | SimpleNamespace) -> None:
            """Rebuilds the pattern from a record's `rules` and `pattern`, and sorts it for the search."""

        def _set_rules(self, rules: Iterable[_RuleFields | SimpleNamespace]) -> None: ...
        def _set_hierarchy(
            self,
            pattern: _Project.Settings.Rule.Tree._Node | SimpleNamespace,
            root: list[_Hierarchy.Pattern.Scope] | None = None,
        ) -> None: ...
        def get_checklist(self, stamp: str) -> Any:
            """The checklist of the rule with this stamp, or None."""

        def is_verifiable(self, stamp: str) -> bool:
            """Has the rule with this stamp a check that is enabled?"""

        @disjoint_base
        class Rule:
            """A class to describe an item of the hierarchy pattern.

            A copy of a project's rule: later edits of that do not show here.
            """

            stamp: str
            name: str
            icon: str
            color: str
            regex: str
            types: list[str] | None
            range: _Project.Settings.Rule.Range
            checklist: Any
            def __init__(self, config: _RuleFields | SimpleNamespace, checklist: Any) -> None: ...
            def get_range(self) -> _Hierarchy.Pattern.Rule._Interval:
                """How many objects of a layer may match: all these integers."""

            def is_optional(self) -> bool:
                """May a layer go without an object for this rule?"""

            def __eq__(self, other: object, /) -> bool: ...
            def __hash__(self) -> int: ...
            @disjoint_base
            class _Interval:
                """All integers from a minimum to a maximum, equal to a set of the same."""

                def __len__(self) -> int: ...
                def __contains__(self, key: object, /) -> bool: ...
                def __iter__(self) -> Iterator[int]: ...
                def __eq__(self, other: object, /) -> bool: ...
                __hash__: ClassVar[None]  # type: ignore[assignment]

        @disjoint_base
        class Scope:
            """Connection between a pattern item and its children."""

            rule: _Hierarchy.Pattern.Rule
            children: list[_Hierarchy.Pattern.Scope]
            def __init__(
                self, rule: _Hierarchy.Pattern.Rule, children: list[_Hierarchy.Pattern.Scope]
            ) -> None: ...

        @final
        class _Sorter:
            @staticmethod
            def sort(pattern: list[_Hierarchy.Pattern.Scope]) -> None: ...
            @staticmethod
            def sort_scopes(pattern: list[_Hierarchy.Pattern.Scope]) -> None: ...
            @staticmethod
            def create_order(pattern: list[_Hierarchy.Pattern.Scope]) -> _Hierarchy.Pattern._Sorter.Order: ...
            @staticmethod
            def change_order(order: _Hierarchy.Pattern._Sorter.Order) -> _Hierarchy.Pattern._Sorter.Order: ...
            @staticmethod
            def has_dependency(definition: Iterable[str], usage: Iterable[str]) -> bool: ...
            @staticmethod
            def shuffle_scopes(
                pattern: list[_Hierarchy.Pattern.Scope], order: _Hierarchy.Pattern._Sorter.Order
            ) -> None: ...
            @disjoint_base
            class Order:
                array: list[_Hierarchy.Pattern._Sorter.Order.Unit]
                def append(self, unit: _Hierarchy.Pattern._Sorter.Order.Unit) -> None: ...
                def insert(self, index: int, unit: _Hierarchy.Pattern._Sorter.Order.Unit) -> None: ...
                def reverse(self) -> None: ...
                def __iter__(self) -> Iterator[_Hierarchy.Pattern._Sorter.Order.Unit]: ...
                @disjoint_base
                class Unit:
                    index: SupportsIndex
                    definition: list[str]
                    usage: list[str]
                    def __init__(self, index: SupportsIndex) -> None: ...
                    def add_definition(self, text: str) -> None: ...
                    def add_usage(self, text: str) -> None: ...

    @disjoint_base
    class Anchor:
        """An extended logic for regular expression.

        An anchor is the shortest run between "<" and the next ">" of a line. A definition `<name:value>` says
        by the expression `value` what may stand at its place in an object's name, and what stood there is
        captured. A usage `<name>` stands for the closest capture that is visible from the asking object.
        """

        @property
        def state(self) -> _Hierarchy.Anchor._State:
            """Everything captured so far."""

        @property
        def _state(self) -> _Hierarchy.Anchor._State: ...
        @staticmethod
        def find(text: str) -> list[str]:
            """The definitions in a text, with brackets, in order; repeats stay."""

        @staticmethod
        def findall(text: str, unpacked: bool = False) -> list[str]:
            """All anchors of a text in order. unpacked: without their brackets."""

        @staticmethod
        def has_definition(text: str) -> bool:
            """Is this anchor, with or without brackets, a definition: exactly one colon?"""

        @staticmethod
        def unpack_anchor(expression: str) -> tuple[str, str]:
            """A definition as the pair of its usage `<name>` and its value."""

        @staticmethod
        def same_scope(scope: str, path: str) -> bool:
            """Is a capture made at `scope` visible from `path`?"""

        @staticmethod
        def merge_begins(anchor: str, expr_part: str, expr_source: str) -> str:
            """A value without its final "$", if more of `expr_source` follows the anchor."""

        @staticmethod
        def merge_ends(anchor: str, expr_part: str, expr_source: str) -> str:
            """A value without its leading "^", if something of `expr_source` precedes the anchor."""

        @staticmethod
        def get_scope_sorted(path: str, array: Iterable[_Capture]) -> list[_Capture]:
            """The pairs, those whose path shares the longest start with `path` first."""

        @staticmethod
        def count_shared_symbols(source: str, target: str) -> int:
            """The number of characters that two texts have in common at their start."""

        def replace_anchors(self, expression: str, path: str) -> str:
            """The expression with every usage replaced by the closest capture visible from `path`."""

        def apply_anchors(self, expression: str) -> str:
            """The expression with definitions, and usages that are left, replaced by their values."""

        def match(self, expression: str, name: str, path: str) -> bool:
            """Does the expression match the start of the name of the object at `path`? If so, it captures."""

        def extract_anchors(self, expression: str, name: str, path: str) -> None:
            """Captures, for each definition, what is left of the name without the parts around it."""

        def has_anchor(self, expression: str) -> bool:
            """Does a definition of the table stand in the expression?"""

        def has_sub_anchor(self, expression: str) -> bool:
            """Does a usage of a definition of the table stand in the expression?"""

        @disjoint_base
        class _State:
            """The memory of a match: the table of definition anchors with everything captured for them."""

            @property
            def expressions(self) -> _Captures: ...
            @expressions.setter
            def expressions(self, structure: Mapping[str, Iterable[_Capture]], /) -> None: ...
            @property
            def _hash(self) -> int: ...
            def get_hash(self) -> int: ...
            def __hash__(self) -> int: ...
            def __eq__(self, other: object, /) -> bool: ...
            def __add__(self, other: _Hierarchy.Anchor._State, /) -> _Hierarchy.Anchor._State: ...
            def __radd__(self, other: _Hierarchy.Anchor._State, /) -> _Hierarchy.Anchor._State: ...
            def apply(self, clone: _Hierarchy.Anchor._State) -> None: ...
            def clone(self) -> _Hierarchy.Anchor._State: ...
            def set(self, expressions: Mapping[str, Iterable[_Capture]]) -> None: ...
            def set_expressions(self, structure: Mapping[str, Iterable[_Capture]]) -> None: ...
            def make_hash(self) -> None: ...

    @disjoint_base
    class Search:
        """Compare algorithm of a single hierarchy layer with the pattern layer."""

        def __init__(self, query_operator: Scene._QueryOp) -> None: ...
        @property
        def logic(self) -> _Hierarchy.Anchor:
            """The anchors of this search; its captures outlive a layer."""

        @property
        def _operator(self) -> Scene._QueryOp: ...
        @property
        def _state(self) -> _Hierarchy.Anchor._State: ...
        @property
        def _locations(self) -> list[Scene._Virtual._Location]: ...
        @property
        def _scopes(self) -> list[_Hierarchy.Pattern.Scope]: ...
        @property
        def _exact(self) -> bool: ...
        @property
        def _guess(self) -> dict[_Hierarchy.Pattern.Rule, list[Scene._Virtual._Location]]: ...
        def layer(
            self, roots: Iterable[str], scopes: list[_Hierarchy.Pattern.Scope], exact: bool = True
        ) -> _Hierarchy.Search.Result:
            """Compares sibling objects with sibling scopes. exact: every object must be taken."""

        def load_variables(
            self, roots: Iterable[str], scopes: list[_Hierarchy.Pattern.Scope], exact: bool
        ) -> None: ...
        def backup_state(self) -> None: ...
        def reset_state(self) -> None: ...
        def make_guess(self) -> None: ...
        def scope_match(
            self, location: Scene._Virtual._Location, scope: _Hierarchy.Pattern.Scope
        ) -> bool: ...
        def wrong_guess(self) -> bool: ...
        def create_response(self, empty: bool = False) -> _Hierarchy.Search.Result: ...
        @disjoint_base
        class Result:
            """What a layer's search found."""

            def __init__(self, array: list[_Hierarchy.Search.Response] | None = None) -> None: ...
            @property
            def _array(self) -> list[_Hierarchy.Search.Response]: ...
            def is_empty(self) -> bool:
                """Is there no response?"""

            def __iter__(self) -> Iterator[_Hierarchy.Search.Response]: ...

        @disjoint_base
        class Response:
            """One object matched by one scope."""

            location: Scene._Virtual._Location
            scope: _Hierarchy.Pattern.Scope
            def __init__(
                self, location: Scene._Virtual._Location, scope: _Hierarchy.Pattern.Scope
            ) -> None: ...

@final
class Parameters:
    """Inputs of checks and exporters, from which front-ends build forms.

    An input tests its values when it is made; later they are kept as they come, and only its data tell them.
    """

    @disjoint_base
    class _Input:
        """One setting of a check or an exporter: the base of all kinds of inputs.

        A kind derived from this gives `data`, `load` and `clone`. `clone` of the kinds here makes an instance
        of the very class, also of a derived one, whose constructor it does not call: attributes which that
        has added are carried over as they are.
        """

        def __init__(self, attr_name: str, label: str = "", help_text: str = "") -> None: ...
        @property
        def attr(self) -> str:
            """The name by which the setting is reached and stored."""

        @property
        def label(self) -> str:
            """The label of the widget."""

        @property
        def help_text(self) -> str:
            """The help of the widget."""

        @property
        def _attr(self) -> str: ...
        @property
        def _label(self) -> str: ...
        @property
        def _help_text(self) -> str: ...
        @property
        def data(self) -> Any:
            """The value in its JSON form; NotImplementedError in the base."""

        def load(self, data: Any) -> None:
            """Takes the value from a JSON form; NotImplementedError in the base."""

        def clone(self) -> Self:
            """A new input with the same fields and value; NotImplementedError in the base."""

    @disjoint_base
    class IntRange(_Input):
        """An integer within limits, which are hints for the widget: no value is held to them."""

        minimum: int
        maximum: int
        step: int
        value: int
        def __init__(
            self,
            attr_name: str,
            minimum: int = 0,
            maximum: int = 100,
            step: int = 1,
            value: int = 50,
            prefix: str = "",
            units: str = "",
            label: str = "",
            help_text: str = "",
        ) -> None: ...
        @property
        def prefix(self) -> str:
            """What the widget shows before the number."""

        @property
        def units(self) -> str:
            """What the widget shows after the number."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "value"."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes "value" as it comes; 50, whatever was declared, where there is none."""

        def clone(self) -> Self:
            """A new range with the same fields and value, checked anew."""

    @disjoint_base
    class FloatRange(_Input):
        """A floating-point number within limits, which are hints for the widget: no value is held to them."""

        minimum: float
        maximum: float
        step: float
        precision: int
        value: float
        def __init__(
            self,
            attr_name: str,
            minimum: float = 0.0,
            maximum: float = 1.0,
            step: float = 0.05,
            precision: int = 2,
            value: float = 0.5,
            prefix: str = "",
            units: str = "",
            label: str = "",
            help_text: str = "",
        ) -> None:
            """The numbers are real floats: TypeError for an integer, except as the precision."""

        @property
        def prefix(self) -> str:
            """What the widget shows before the number."""

        @property
        def units(self) -> str:
            """What the widget shows after the number."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "value"."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes "value" as it comes; 0.5, whatever was declared, where there is none."""

        def clone(self) -> Self:
            """A new range with the same fields and value, checked anew."""

    @disjoint_base
    class RegEx(_Input):
        """A regular expression, as text: what it means is up to the check that applies it.

        It equals another with the same text, and that text.
        """

        text: str
        def __init__(
            self, attr_name: str, text: str = ".+", label: str = "", help_text: str = ""
        ) -> None: ...
        def __eq__(self, other: object, /) -> bool: ...
        __hash__: ClassVar[None]  # type: ignore[assignment]
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "text"."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes "text" as it comes; ".+", whatever was declared, where there is none."""

        def clone(self) -> Self:
            """A new expression with the same fields and text, checked anew."""

    @disjoint_base
    class Switch(_Input):
        """On or off."""

        enabled: bool
        def __init__(
            self, attr_name: str, enabled: bool = False, label: str = "", help_text: str = ""
        ) -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "enabled"."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes "enabled" as it comes; False, whatever was declared, where there is none."""

        def clone(self) -> Self:
            """A new switch with the same fields and value, checked anew."""

    @disjoint_base
    class ComboBox(_Input):
        """A choice of one of several items, each of which is a member under its own name, too."""

        def __init__(
            self,
            attr_name: str,
            items: Iterable[Parameters.ComboBox.Item],
            label: str = "",
            help_text: str = "",
        ) -> None:
            """The first item that is selected stays so, the first of all if none is."""

        def __iter__(self) -> Iterator[Parameters.ComboBox.Item]: ...
        @type_check_only
        def __getattr__(self, name: str) -> Any:
            """The item of this attribute name."""

        @property
        def current_index(self) -> int:
            """The position of the first selected item, from 0; 0 if none is."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "selected_attr"; an empty one without items."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Selects the item that "selected_attr" names; if there is none, nothing changes."""

        def clone(self) -> Self:
            """A new combo box of clones of the items."""

        def set_selected(self, item: Parameters.ComboBox.Item) -> None:
            """Selects an item, which need not be one of these, and no other of these."""

        @overload
        def get_selected(self, text: Literal[True]) -> str: ...
        @overload
        def get_selected(self, text: Literal[False] = False) -> Parameters.ComboBox.Item | None:
            """The selected item, or its text; None, or the empty text, without items."""

        @property
        def _array(self) -> list[Parameters.ComboBox.Item]: ...
        def _build(self, items: Iterable[Parameters.ComboBox.Item]) -> None: ...
        def _ensure_selection(self) -> Parameters.ComboBox.Item | None: ...
        def _select_first(self) -> Parameters.ComboBox.Item | None: ...
        @disjoint_base
        class Item:
            """One choice of a combo box."""

            def __init__(self, attr_name: str, text: str = "", selected: bool = False) -> None: ...
            @property
            def attr(self) -> str:
                """The identifier of the item."""

            @property
            def text(self) -> str:
                """What is shown."""

            @property
            def selected(self) -> bool:
                """Whether the item is the selected one."""

            @property
            def _attr(self) -> str: ...
            @property
            def _text(self) -> str: ...
            @property
            def _selected(self) -> bool: ...
            def clone(self) -> Self:
                """A new item with the same fields."""

    @disjoint_base
    class TextInput:
        """A text with a check mark, an element of `TextInputList`."""

        text: str
        enabled: bool
        def __init__(self, text: str = "", enabled: bool = False) -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "text" and "enabled"."""

        def clone(self) -> Self:
            """A new element with the same values, checked anew."""

    @disjoint_base
    class TextInputList(_Input):
        """A list of texts, each with a check mark. It has no label."""

        def __init__(
            self, attr_name: str, items: Iterable[Parameters.TextInput] = (), help_text: str = ""
        ) -> None: ...
        def __iter__(self) -> Iterator[Parameters.TextInput]: ...
        def __len__(self) -> int: ...
        @overload
        def __getitem__(self, index: SupportsIndex, /) -> Parameters.TextInput: ...
        @overload
        def __getitem__(self, index: slice, /) -> list[Parameters.TextInput]: ...
        def values(self, enabled: bool = True) -> tuple[str, ...]:
            """The marked texts, or all, in order."""

        @property
        def data(self) -> _JsonList:
            """The JSON form, a new list of the data of each element."""

        def load(self, data: Iterable[Mapping[str, Any]]) -> None:
            """Replaces the elements by those of a JSON form.

            Where they are missing, "text" is empty and "enabled" is False. What is wrong leaves the list as
            it was: TypeError for the kind of a value, AttributeError for an item that is no map.
            """

        def add(self) -> Parameters.TextInput:
            """Adds an empty element without a mark; returns it."""

        def pop(self, index: SupportsIndex) -> None:
            """Removes the element at an index. IndexError if there is none."""

        def clone(self) -> Self:
            """A new list of clones of the elements, with the same help."""

        def _build(self, items: Iterable[Parameters.TextInput]) -> None: ...
        @property
        def _array(self) -> list[Parameters.TextInput]: ...

    @disjoint_base
    class TextMatch:
        """A text, an element of `TextMatchList`."""

        text: str
        def __init__(self, text: str = "") -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "text"."""

        def clone(self) -> Self:
            """A new element with the same text, checked anew."""

    @disjoint_base
    class TextMatchList(_Input):
        """A list of texts. It has no label."""

        def __init__(
            self, attr_name: str, items: Iterable[Parameters.TextMatch] = (), help_text: str = ""
        ) -> None: ...
        def __iter__(self) -> Iterator[Parameters.TextMatch]: ...
        def __len__(self) -> int: ...
        @overload
        def __getitem__(self, index: SupportsIndex, /) -> Parameters.TextMatch: ...
        @overload
        def __getitem__(self, index: slice, /) -> list[Parameters.TextMatch]: ...
        def values(self) -> tuple[str, ...]:
            """The texts in order."""

        @property
        def data(self) -> _JsonList:
            """The JSON form, a new list of the data of each element."""

        def load(self, data: Iterable[Mapping[str, Any]]) -> None:
            """Replaces the elements by those of a JSON form; "text" is empty where it is missing.

            What is wrong leaves the list as it was: TypeError for a text that is none, AttributeError for an
            item that is no map.
            """

        def add(self) -> Parameters.TextMatch:
            """Adds an empty element; returns it."""

        def pop(self, index: SupportsIndex) -> None:
            """Removes the element at an index. IndexError if there is none."""

        def clone(self) -> Self:
            """A new list of clones of the elements. Its help is empty."""

        def _build(self, items: Iterable[Parameters.TextMatch]) -> None: ...
        @property
        def _array(self) -> list[Parameters.TextMatch]: ...

    @disjoint_base
    class IntSlice:
        """Two integers, from and to, an element of `IntSliceList`."""

        start: Parameters.IntRange
        stop: Parameters.IntRange
        def __init__(self, start: Parameters.IntRange, stop: Parameters.IntRange) -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "start" and "stop"."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Loads "start" and "stop" into the ranges, an empty map where one is missing."""

        def clone(self) -> Self:
            """A new slice of clones of the ranges."""

    @disjoint_base
    class IntSliceList(_Input):
        """A list of slices that all have the limits, prefixes and units of one. It has no label."""

        def __init__(
            self,
            attr_name: str,
            default: Parameters.IntSlice,
            items: Iterable[Parameters.IntSlice] = (),
            help_text: str = "",
        ) -> None:
            """New elements are made like the default, as it is now.

            The limits of the items are set to those of the default, and its prefixes and units unless they
            are empty.
            """

        def __iter__(self) -> Iterator[Parameters.IntSlice]: ...
        @property
        def data(self) -> _JsonList:
            """The JSON form, a new list of the data of each element."""

        def load(self, data: Iterable[Mapping[str, Any]]) -> None:
            """Replaces the elements by those of a JSON form; 50 is the value of a range that is missing.

            AttributeError for an item that is no map: the list is left as it was.
            """

        def add(self) -> Parameters.IntSlice:
            """Adds a slice like the default; returns it."""

        def pop(self, index: SupportsIndex) -> None:
            """Removes the element at an index. IndexError if there is none."""

        def clone(self) -> Self:
            """A new list of clones of the elements with the same default. Its help is empty."""

        @staticmethod
        def _apply_spec(
            int_range: Parameters.IntRange, state: Parameters.IntSliceList._InputSpec
        ) -> None: ...
        def _build(self, items: Iterable[Parameters.IntSlice]) -> None: ...
        @property
        def _array(self) -> list[Parameters.IntSlice]: ...
        @property
        def _default(self) -> Parameters.IntSlice: ...
        @property
        def _spec_start(self) -> Parameters.IntSliceList._InputSpec: ...
        @property
        def _spec_stop(self) -> Parameters.IntSliceList._InputSpec: ...
        @property
        def _default_start(self) -> int: ...
        @property
        def _default_stop(self) -> int: ...
        @disjoint_base
        class _InputSpec:
            prefix: str
            units: str
            minimum: int
            maximum: int
            step: int
            def __init__(self, int_range: Parameters.IntRange) -> None: ...

    @disjoint_base
    class Block:
        """What a user can set on a check: the prototypes of its inputs, and tasks with values of their own.

        The length is the number of tasks, and a loop gives them in order.
        """

        complex: bool
        """A mark for the front-end, which decides what it means."""
        as_info: bool
        """Whether new tasks report a failed check as information only."""
        def __init__(self, *inputs: Parameters._Input) -> None:
            """The inputs are not tested here: what is wrong with them shows in each task."""

        def __len__(self) -> int: ...
        def __iter__(self) -> Iterator[Parameters.Block.Task]: ...
        @property
        def defaults(self) -> _JsonList:
            """The JSON form of one task with the default values, a new list."""

        @property
        def data(self) -> _JsonList:
            """The JSON form, a new list of the data of each task."""

        @property
        def empty(self) -> bool:
            """Whether the block was made without inputs."""

        @property
        def length(self) -> int:
            """The number of tasks."""

        def load(self, data: object) -> None:
            """Replaces the tasks by those of a JSON form; one default task if that is no list, or empty.

            Where an entry lacks "as_info" or "state", the default stands in. An entry that is no mapping
            gives a default task, and a warning is logged. An error in a state is kept by its task.
            """

        def append_task(self) -> Parameters.Block.Task:
            """Adds a task with the default values; returns it."""

        def remove_task(self, task: Parameters.Block.Task) -> None:
            """Removes a task and numbers the others anew; nothing for a task of another block."""

        def update_numerator(self) -> None:
            """Numbers the tasks in order, from 1."""

        def reset(self) -> None:
            """Removes all tasks, the last first."""

        def clone(self) -> Self:
            """TypeError, unless a derived class takes `as_info` and `complex` by name. Clone its tasks."""

        @staticmethod
        def _get_state(inputs: Iterable[object]) -> _JsonMap: ...
        @property
        def _empty(self) -> bool: ...
        @property
        def _complex(self) -> bool: ...
        @property
        def _as_info(self) -> bool: ...
        @property
        def _inputs(self) -> tuple[Parameters._Input, ...]: ...
        @property
        def _state(self) -> _JsonMap: ...
        @property
        def _tasks(self) -> list[Parameters.Block.Task]: ...
        @disjoint_base
        class Task:
            """One set of values for the inputs of a block: a check runs once for each task.

            Each input is a member under its attribute name; a loop gives them in order.
            """

            as_info: bool
            """Whether a failed check is reported as information only."""
            number: int
            """The position in the block, from 1; 0 outside of one."""
            def __init__(self, inputs: Iterable[Parameters._Input], as_info: bool = False) -> None:
                """The task gets clones of the inputs; AttributeError for an object without `clone`.

                Whatever else is wrong with the inputs is kept until `assert_no_errors`.
                """

            def __iter__(self) -> Iterator[Parameters._Input]: ...
            @type_check_only
            def __getattr__(self, name: str) -> Any:
                """The input of this attribute name."""

            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict of "as_info" and "state"."""

            @property
            def state(self) -> _JsonMap:
                """A new dict of the data of each input by its attribute name."""

            def load(self, state: Mapping[str, Any]) -> None:
                """Takes the data of inputs by their attribute names, in order.

                The first failure ends it, an unknown name is one; it is kept until `assert_no_errors`, and
                what was loaded before it stays.
                """

            def clone(self) -> Parameters.Block.Task:
                """A new task with the same values, `as_info` and errors from loading."""

            def assert_no_errors(self) -> None:
                """Raises the first error from building, or else the first from loading, if there is one."""

            def _build(self) -> None: ...
            @property
            def _inputs(self) -> list[Parameters._Input]: ...
            @property
            def _build_exceptions(self) -> list[Exception]: ...
            @property
            def _load_exceptions(self) -> list[Exception]: ...
            @property
            def _table(self) -> dict[str, Parameters._Input]: ...

    @disjoint_base
    class Group:
        """Inputs, and further groups, which a front-end shows together. A loop gives them in order."""

        label: str
        def __init__(
            self,
            label: str = "",
            contents: Iterable[Parameters._Input | Parameters.Group] = (),
            visibility_switch: Parameters.Switch | None = None,
        ) -> None: ...
        def __iter__(self) -> Iterator[Parameters._Input | Parameters.Group]: ...
        @property
        def visibility_switch(self) -> Parameters.Switch | None:
            """What the front-end shows or hides the group by."""

        def clone(self) -> Self:
            """A new group of clones of the contents, with the same visibility switch.

            A derived class gets an instance of its own, without a call of its constructor and without
            attributes that it has added.
            """

        @property
        def _contents(self) -> Sequence[Parameters._Input | Parameters.Group]: ...
        @property
        def _visibility_switch(self) -> Parameters.Switch | None: ...

    @disjoint_base
    class Options:
        """The options of an exporter: a tree of inputs in groups, which hold the current values themselves.

        The state maps the attribute name of each `Switch`, `IntRange`, `FloatRange` and `ComboBox` to its
        bare value; other inputs have no part in it. A loop gives the top of the tree.
        """

        def __init__(
            self,
            attr_name: str = "",
            label: str = "",
            help_text: str = "",
            contents: Iterable[Parameters._Input | Parameters.Group] = (),
        ) -> None:
            """Of two inputs of one name the later counts."""

        def __iter__(self) -> Iterator[Parameters._Input | Parameters.Group]: ...
        @property
        def attr(self) -> str:
            """The identifier of the options."""

        @property
        def label(self) -> str:
            """What the front-end shows above the options."""

        @property
        def help_text(self) -> str:
            """The help of the options."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of the values that are no defaults."""

        def reset(self) -> None:
            """Puts all values back to the defaults, except those of floats."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes values by the names of their inputs, all others are reset.

            Unknown names are passed over, and those of floats, whose values stay.
            """

        def clone(self) -> Self:
            """New options of clones of the contents, with the same defaults. Their help is empty.

            A derived class gets an instance of its own, without a call of its constructor and without
            attributes that it has added: they may be inputs of this tree.
            """

        @staticmethod
        def is_group(node: object) -> bool:
            """Is it a `Group`?"""

        @staticmethod
        def is_input(node: object) -> bool:
            """Is it an input of any kind?"""

        @staticmethod
        def is_switch(node: object) -> bool:
            """Is it a `Switch`?"""

        @staticmethod
        def is_integer(node: object) -> bool:
            """Is it an `IntRange`?"""

        @staticmethod
        def is_float(node: object) -> bool:
            """Is it a `FloatRange`?"""

        @staticmethod
        def is_combobox(node: object) -> bool:
            """Is it a `ComboBox`?"""

        def _find_parameters(
            self, parent: Iterable[Parameters._Input | Parameters.Group] | None = None
        ) -> dict[str, Parameters._Input]: ...
        def _get_state(self) -> _JsonMap: ...
        def _apply(self, data: Mapping[str, Any]) -> None: ...
        @property
        def _attr(self) -> str: ...
        @property
        def _label(self) -> str: ...
        @property
        def _help_text(self) -> str: ...
        @property
        def _contents(self) -> Sequence[Parameters._Input | Parameters.Group]: ...
        @property
        def _parameters(self) -> dict[str, Parameters._Input]: ...
        @property
        def _defaults(self) -> _JsonMap: ...

@disjoint_base
class _Settings:
    """The settings of a user: one document on disk, read once, and written by `write` only.

    environment: names the file, and the host's `target` and `scope`.
    """

    version: ClassVar[int]
    check: _Settings.Check.State
    export: _Settings.Export
    workspace: _Settings.Workspace
    server: _Settings.Server
    urls: _Settings.URLs
    def __init__(self, environment: object) -> None: ...
    @property
    def _path(self) -> str: ...
    @property
    def data(self) -> _JsonMap:
        """The JSON form, a new dict."""

    def write(self) -> None:
        """Replaces the document on disk by `data`. A failure is logged, and the file stays as it was."""

    def _read(self) -> _JsonMap: ...
    @overload
    @staticmethod
    def approved_name(text: str, none: Literal[False] = False, method: str = "EN_RU") -> str: ...
    @overload
    @staticmethod
    def approved_name(text: str, none: bool = False, method: str = "EN_RU") -> str | None:
        """What a filter of `Constants.Name.Filter` leaves; the text itself, or None, without a filter."""

    @staticmethod
    def is_approved(text: str, method: str = "EN_RU") -> bool:
        """Whether a filter of `Constants.Name.Filter` leaves it as it is; for `EMPTY`, if there is one."""

    @disjoint_base
    class Check:
        """The stored state of one check; values are kept as they come."""

        class_id: str
        enabled: bool
        opened: bool
        parameters: _JsonList
        def __init__(self, class_id: str, enabled: bool, opened: bool, parameters: _JsonList) -> None: ...
        @classmethod
        def empty(cls, class_id: str) -> Self:
            """A new state of this check: disabled, folded, without parameters."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form; the id is not part of it."""

        @disjoint_base
        class Config:
            """The stored states of checks, by their ids. The length counts all; enabled ones are written."""

            def __init__(self, table: Mapping[str, Mapping[str, Any]]) -> None: ...
            @classmethod
            def empty(cls) -> Self:
                """A new configuration without checks."""

            @property
            def _table(self) -> dict[str, _Settings.Check]: ...
            @property
            def is_empty(self) -> bool:
                """Whether no check is enabled."""

            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict of the enabled checks."""

            def __eq__(self, other: object, /) -> bool: ...
            __hash__: ClassVar[None]  # type: ignore[assignment]
            def __iter__(self) -> Iterator[_Settings.Check]: ...
            def __len__(self) -> int: ...
            def _load(self, table: Mapping[str, Mapping[str, Any]]) -> None: ...
            def mask(self, *class_ids: str) -> None:
                """Removes every check whose id is not among the arguments."""

            def clone(self) -> _Settings.Check.Config:
                """A new configuration of the enabled checks."""

            def apply(self, config: _Settings.Check.Config) -> None:
                """Replaces all states by the enabled ones of another configuration."""

            @overload
            def get(self, class_id: str, force: Literal[True]) -> _Settings.Check: ...
            @overload
            def get(self, class_id: str, force: bool = False) -> _Settings.Check | None:
                """The state of a check; with `force` an unknown one gets an empty state, which is added."""

        @disjoint_base
        class Directory(_Str):
            """A directory in which check classes are looked for: its absolute, normalised path, as a text."""

            enabled: bool
            def __init__(self, name: str, path: str, enable: bool = True, locked: bool = False) -> None: ...
            @property
            def name(self) -> str:
                """The name for display."""

            @property
            def locked(self) -> bool:
                """Whether the front-end may not change the directory."""

            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict."""

            @property
            def _name(self) -> str: ...
            @property
            def _enabled(self) -> bool: ...
            @property
            def _locked(self) -> bool: ...
            def __reduce__(self) -> tuple[Any, ...]: ...

            @disjoint_base
            class List(list[_Settings.Check.Directory]):
                """The directories in which check classes are looked for: those that exist, each once."""

                def __init__(self, data: Iterable[Mapping[str, Any]]) -> None: ...
                @property
                def _embedded(self) -> _Settings.Check.Directory | None: ...
                @property
                def data(self) -> _JsonList:
                    """The JSON form, a new list, without the embedded directory."""

                def __add__(self, other: object, /) -> _Settings.Check.Directory.List: ...  # type: ignore[override]
                def __radd__(self, value: object, /) -> Any: ...
                def embed(self, module: object) -> None:
                    """Adds the directory of a module, if it is one, as "Default", locked and never stored."""

                def register(self, name: str, path: str, enable: bool = True) -> None:
                    """Adds a new directory. TypeError unless `enable` is a boolean."""

                def insert(self, index: int, directory: object) -> None:  # type: ignore[override]
                    """Puts a directory before this position, if it is approved."""

                def append(self, directory: object) -> None:
                    """Adds a directory at the end, if it is approved."""

                def extend(self, directories: Iterable[object]) -> None:
                    """Adds the approved ones of these; all are judged before the first is added."""

                def _is_approved(self, directory: object) -> bool: ...

        @disjoint_base
        class Presets:
            """The presets of a user, sorted by name."""

            def __init__(self, data: Iterable[Mapping[str, Any]] | None = None) -> None: ...
            @property
            def _array(self) -> list[_Settings.Check.Presets.Set]: ...
            def __iter__(self) -> Iterator[_Settings.Check.Presets.Set]: ...
            def __len__(self) -> int: ...
            @property
            def names(self) -> list[str]:
                """A new list of the names, in order."""

            @property
            def data(self) -> _JsonList:
                """The JSON form, a new list."""

            def _load(self, data: Iterable[Mapping[str, Any]] | None) -> None: ...
            def add(self, name: str, config: _Settings.Check.Config) -> None:
                """Adds a new preset of this name and configuration."""

            def pop(self, preset: object) -> None:
                """Removes the preset with the stamp of this one; an unknown one is ignored."""

            def sort(self) -> None:
                """Puts the presets into the order of their names."""

            def sync_applied(self, config: _Settings.Check.Config | None) -> None:
                """Sets `applied` of each preset: whether it equals this configuration."""

            @disjoint_base
            class Set:
                """A preset: a named snapshot of which checks are on, and with which parameters."""

                applied: bool
                name: str
                config: _Settings.Check.Config
                def __init__(
                    self,
                    presets: _Settings.Check.Presets,
                    name: str,
                    config: _Settings.Check.Config,
                    stamp: str | None = None,
                    changed: float | None = None,
                ) -> None: ...
                @classmethod
                def load(cls, presets: _Settings.Check.Presets, data: Mapping[str, Any]) -> Self:
                    """A new preset from its JSON form, of which every key may be missing."""

                @property
                def stamp(self) -> str:
                    """The preset's identity, 16 hexadecimal digits."""

                @property
                def data(self) -> _JsonMap:
                    """The JSON form, a new dict, the name without spaces at its ends."""

                @property
                def _presets(self) -> _Settings.Check.Presets: ...
                @property
                def _name(self) -> str: ...
                @property
                def _config(self) -> _Settings.Check.Config: ...
                @property
                def _stamp(self) -> str: ...
                @property
                def _changed(self) -> float: ...
                def __eq__(self, other: object, /) -> bool: ...
                __hash__: ClassVar[None]  # type: ignore[assignment]
                def __len__(self) -> int: ...

            @disjoint_base
            class Editor:
                """Connects the presets with a checklist, from which they are made and to which they go."""

                def __init__(self, check_list: Any, presets: _Settings.Check.Presets) -> None: ...
                @property
                def _check_list(self) -> Any: ...
                @property
                def _presets(self) -> _Settings.Check.Presets: ...
                @property
                def names(self) -> list[str]:
                    """The names of the presets, in order."""

                def _config_loaded(self) -> bool: ...
                def create(self, name: str) -> None:
                    """Adds a preset of the checklist's present configuration."""

                def upload(self, preset: _Settings.Check.Presets.Set) -> None:
                    """Replaces what a preset holds by the checklist's present configuration."""

                def apply(self, preset: _Settings.Check.Presets.Set) -> None:
                    """Brings the checklist to what a preset holds."""

                def erase(self, preset: _Settings.Check.Presets.Set) -> None:
                    """Removes a preset."""

                def sync_applied(self) -> None:
                    """Marks the presets that match the checklist."""

        @disjoint_base
        class State:
            """What a user has set up for checks."""

            directories: _Settings.Check.Directory.List
            mode: int
            config: _Settings.Check.Config
            presets: _Settings.Check.Presets
            def __init__(self, data: Mapping[str, Any]) -> None: ...
            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict."""

    @disjoint_base
    class Export:
        """Where exported files went last."""

        mode: int
        directory: str
        def __init__(self, data: Mapping[str, Any]) -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict."""

    @disjoint_base
    class Workspace:
        """What the user works on."""

        project: str
        check_updates: bool
        def __init__(self, data: Mapping[str, Any]) -> None: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict."""

    @disjoint_base
    class Server:
        """The server that a team shares. Its address is kept in the process's variable HERON-SERVER."""

        enabled: bool
        host: str
        port: int
        erase_sent: bool
        def __init__(self, data: Mapping[str, Any]) -> None: ...
        @property
        def _host(self) -> str: ...
        @property
        def _port(self) -> int: ...
        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict."""

        def _set_environment(self) -> None: ...

    @disjoint_base
    class URLs:
        """The addresses of the pages of the public web site."""

        def __init__(self, target: str, scope: str) -> None: ...
        @property
        def _target(self) -> str: ...
        @property
        def _scope(self) -> str: ...
        @property
        def _host(self) -> str: ...
        @property
        def _port(self) -> int: ...
        @property
        def host(self) -> str:
            """The host of the site, which the build decides."""

        @property
        def port(self) -> int:
            """Its port."""

        @property
        def path(self) -> _Settings.URLs.Path:
            """A new `Path`: the paths of the pages."""

        @property
        def home(self) -> str:
            """The site itself."""

        @property
        def latest(self) -> str:
            """Where the latest version is told."""

        @property
        def documentation(self) -> str:
            """The documentation."""

        @property
        def documentation_editor(self) -> str:
            """The documentation of the project editor."""

        @property
        def feedback(self) -> str:
            """Where feedback goes."""

        @disjoint_base
        class Path:
            """The paths of the pages of the public web site."""

            def __init__(self, target: str, scope: str) -> None: ...
            @property
            def _target(self) -> str: ...
            @property
            def _scope(self) -> str: ...
            @property
            def latest(self) -> str:
                """Where the latest version is told."""

            @property
            def documentation(self) -> str:
                """The documentation."""

            @property
            def feedback(self) -> str:
                """Where feedback goes."""

            @staticmethod
            def format_scope(scope: str) -> str:
                """The first two numbers of a version, or all of it if it has fewer."""

@disjoint_base
class _Statistics:
    """The local store of the records of use: in memory, and in a file that several processes may share.

    environment: gives the file. What is of the wrong kind in it is left out with a warning; before a write
    drops it, the file is moved aside.
    """

    version: ClassVar[int]
    def __init__(self, environment: object) -> None: ...
    @property
    def _mutex_edit(self) -> Any: ...
    @property
    def _path(self) -> str: ...
    @property
    def _data(self) -> _JsonMap: ...
    def add(self, record: _Statistics.Type._Record) -> None:
        """Keeps `record.data` in the category `record.key`, in memory."""

    def write(self, clear: bool = False) -> None:
        """Merges the records in memory into the file, by category and time; with `clear`, empties the file.

        A failure is logged, and the records stay. A file found corrupted is moved aside, and a new one
        written.
        """

    def create_http_request(self, username: str) -> _Statistics.HttpRequest:
        """A request with a deep copy of the records, without those that cannot be written."""

    def accept_http_response(self, response: object, clear: bool = True) -> None:
        """Takes the server's answer. If it took the records, `clear` drops them, from the file too."""

    def _ensure_attributes(self) -> None: ...
    def _read(self) -> _JsonMap: ...
    def _extend(self, json_data: _JsonMap) -> None: ...
    def _clear(self) -> None: ...
    @staticmethod
    def _timed_table(json_data: _JsonMap) -> dict[str, dict[float, _JsonMap]]: ...
    @staticmethod
    def _timed_bucket(records: dict[str, dict[float, _JsonMap]], category: str) -> dict[float, _JsonMap]: ...
    @staticmethod
    def _flat_records(timed_table: dict[str, dict[float, _JsonMap]]) -> dict[str, _JsonList]: ...

    @final
    class Type:
        """The records: `key` is the category in which one is kept, `data` what is kept of it."""

        @disjoint_base
        class _Record:
            """Something that happened; a category of its own has each kind below."""

            key: ClassVar[str]
            @property
            def data(self) -> _JsonMap:
                """A new dict of "timestamp": the time of reading it, in seconds."""

        @disjoint_base
        class Validate(_Record):
            """A validation: when it began, how many seconds it took, and of which project."""

            key: ClassVar[str]
            def __init__(self, timestamp: float, speed: float, project: str | None = None) -> None: ...
            @property
            def data(self) -> _JsonMap:
                """A new dict of "project", "timestamp" and "speed"."""

        @disjoint_base
        class Checks(_Record):
            """A run of a check on an object: when it began, how many seconds it took, its outcome."""

            key: ClassVar[str]
            def __init__(self, timestamp: float, speed: float, name: str, result: str) -> None: ...
            @property
            def _name(self) -> str: ...
            @property
            def _result(self) -> str: ...
            @property
            def data(self) -> _JsonMap:
                """A new dict of "name", "result", "timestamp" and "speed"."""

        class Exported(_Record):
            """An export."""

            key: ClassVar[str]

        class FeedbackSent(_Record):
            """A feedback message that was sent."""

            key: ClassVar[str]

    @disjoint_base
    class HttpRequest:
        """The records of a user, on their way to the server. The text form is the body, JSON on one line."""

        headers: ClassVar[dict[str, str]]
        def __init__(self, username: str, contents: _JsonMap) -> None: ...
        @property
        def username(self) -> str:
            """Who sends it."""

        @property
        def contents(self) -> _JsonMap:
            """The records, by category."""

        @property
        def _contents(self) -> _JsonMap: ...
        def __bytes__(self) -> bytes:
            """The body in UTF-8."""

    @disjoint_base
    class HttpResponse:
        """What the server said to the records."""

        def __init__(self, response: object) -> None: ...
        @property
        def accepted(self) -> bool:
            """Whether the server took the records."""

        @property
        def _accepted(self) -> bool: ...
        @staticmethod
        def _check(response: object) -> bool:
            """Whether the `status` is 200. A failure to read it is logged, and says no."""

@disjoint_base
class UpdateTracker:
    """Asks the server whether it has a newer version.

    api: gives the server's URLs. local_version: the numbers of the running version.
    """

    def __init__(self, api: object, local_version: Iterable[SupportsIndex]) -> None: ...
    @property
    def _urls(self) -> Any: ...
    @property
    def _local_version(self) -> str: ...
    @property
    def _remote_version(self) -> str | None: ...
    @property
    def _accepted(self) -> bool: ...
    @property
    def accepted(self) -> bool:
        """Whether the tracker was built."""

    @property
    def version(self) -> str | None:
        """The version that the server told last, or None."""

    def exist(self) -> bool:
        """Whether the server has a newer version. A failure to ask is logged, and says no.

        Blocks on the network, with no time-out but the platform's: for a thread of its own.
        """

    def _handle_version(self, value: Iterable[SupportsIndex]) -> str: ...
    def _get_version_response(self) -> str | None: ...
    @staticmethod
    def _is_version(string: object) -> bool: ...
    @staticmethod
    def _clean_version(string: str) -> str: ...
    @staticmethod
    def _is_above_version(lower: str, upper: str) -> bool: ...

@final
class Structure:
    """Containers that the engine shares with plug-ins."""

    @disjoint_base
    class NamedBuffer(list[Any]):
        """A list with a name, in which a check puts what it finds."""

        name: str
        def __init__(self, name: str = "", items: Iterable[Any] = ()) -> None: ...
        def clear(self) -> None:
            """Removes all elements, one at a time from the end."""

        @property
        def length(self) -> int:
            """The number of elements."""

        @property
        def is_empty(self) -> bool:
            """Whether there is no element."""

        def has_issues(self) -> bool:
            """Whether there is an element."""

@final
class Check:
    """Checks: what plug-ins derive from, and their runs."""

    @disjoint_base
    class Base:
        """An abstract class of checks: looks at one scene object and reports what is wrong with it.

        A plug-in derives its checks at least two steps below: a class derived from this one alone is not
        taken for a check. It overrides the attributes and `check`, and what else it needs. An instance serves
        one object: `check` may keep there what the other operations need.
        """

        # The unique key; names in full and for lists; help; and where the check stands in lists.
        class_id: str
        long_name: str
        short_name: str
        description: str
        category: str
        sort_index: int
        # Whether the check looks at the scene as a whole, and what it can do about its last findings.
        scene_oriented: bool
        could_be_fixed: bool
        could_be_selected: bool
        # For the check's own use; emptied before each run.
        result: Structure.NamedBuffer
        @staticmethod
        def parameters() -> Parameters.Block:
            """A new block of the inputs that the user can set; one without inputs here."""

        def check(self, path: str, parameters: Any) -> object:
            """Examines an object with one task of the parameters; Error.ValidationError reports a finding.

            Any other error means that the check itself failed. NotImplementedError unless it is overridden.
            """

        def fix_result(self, path: str, parameters: Any) -> object:
            """Tries to repair what the last `check` found. Does nothing here."""

        def select_result(self) -> object:
            """Selects the findings in the host. Does nothing here."""

        def result_message(self) -> str:
            """Text for the user about the last run; the empty text here."""

    @disjoint_base
    class _Classes:
        """The check classes found in directories of plug-ins, in the order in which they are shown.

        directories: paths with an `enabled`. Of classes with one `class_id` the first one found is taken.
        """

        _group_order: ClassVar[tuple[str, ...]]
        def __init__(self, directories: Iterable[Any]) -> None: ...
        @property
        def _directories(self) -> Iterable[Any]: ...
        @property
        def _directory(self) -> Any: ...
        @property
        def _denied(self) -> list[type]: ...
        @property
        def _array(self) -> list[type[Check.Base]]: ...
        @property
        def _table(self) -> dict[str, type[Check.Base]]: ...
        def __iter__(self) -> Iterator[type[Check.Base]]: ...
        def get(self, class_id: str) -> type[Check.Base] | None:
            """The class with this id, or None."""

        def get_denied(self) -> list[type]:
            """The classes that do not hold to what a check must be, as the stored list; may repeat some."""

        def reload(self) -> None:
            """Searches the directories again. Checklists that were built before keep their classes."""

        def _search(
            self, directory: str, container: list[type[Check.Base]] | None = None, scope: str = ""
        ) -> list[type[Check.Base]]: ...
        def _load_module(self, importer: Any, name: str, scope: str) -> ModuleType | None: ...
        def _sort(self, array: list[type[Check.Base]]) -> list[type[Check.Base]]: ...

    @disjoint_base
    class _List:
        """What is to be checked: a `Control` for each known check class, in their order.

        classes: the check classes; those that are found later do not show. presets: what `preset` edits; None
        yet if it is anything else. config: the stored configuration to `load`.
        """

        def __init__(
            self,
            classes: Iterable[type[Check.Base]],
            presets: _Settings.Check.Presets | None = None,
            config: _Settings.Check.Config | None = None,
        ) -> None: ...
        @property
        def _controls(self) -> list[Check._List.Control]: ...
        @property
        def _categories(self) -> list[Check._List.Category]: ...
        @property
        def _config(self) -> _Settings.Check.Config | None: ...
        @property
        def _preset_editor(self) -> _Settings.Check.Presets.Editor: ...
        def __iter__(self) -> Iterator[Check._List.Control]: ...
        @property
        def categories(self) -> Iterator[Check._List.Category]:
            """A loop over the categories, in order."""

        @property
        def config(self) -> _Settings.Check.Config | None:
            """The configuration that `load` was given."""

        @property
        def preset(self) -> _Settings.Check.Presets.Editor:
            """The editor of the presets for this checklist."""

        def iterator(self, enabled: bool = False) -> Iterator[Check._List.Control]:
            """A loop over the controls, or over those that are enabled when it comes to them."""

        def is_empty(self) -> bool:
            """Whether no control is enabled."""

        def get(self, enabled: bool = True, scene_oriented: bool = False) -> list[Check._List.Control]:
            """The enabled controls, or all, that look at the scene as a whole, or else at single objects."""

        def load(self, config: object) -> None:
            """Binds the controls to the records of a configuration, which keeps no others.

            Does nothing unless it is a `_Settings.Check.Config`.
            """

        def save(self) -> None:
            """Writes each control into its record. Nothing goes to disk."""

        def clear(self) -> None:
            """Disables all controls and lets go of their records."""

        def _build_categories(self) -> list[Check._List.Category]: ...

        @disjoint_base
        class Control:
            """A check class that can be switched on, with parameters of its own."""

            name: str
            check: type[Check.Base]
            parameters: Parameters.Block
            enabled: bool
            opened: bool
            def __init__(self, _class: type[Check.Base]) -> None: ...
            @property
            def _state(self) -> _Settings.Check | None: ...
            @property
            def description(self) -> str:
                """What the check looks for, for the user."""

            def load(self, state: _Settings.Check) -> None:
                """Takes over a stored record, and keeps it for `save`."""

            def save(self) -> None:
                """Writes into the record; a disabled check leaves the defaults there, folded."""

            def clear(self) -> None:
                """Lets go of the record and of the parameters' tasks, and is disabled."""

        @disjoint_base
        class Category:
            """The controls that are shown as one group; `name` is in lower case."""

            name: str
            def __init__(self, name: str) -> None: ...
            @property
            def _array(self) -> list[Check._List.Control]: ...
            def __iter__(self) -> Iterator[Check._List.Control]: ...
            def add(self, control: Check._List.Control) -> None:
                """Appends a control."""

    @disjoint_base
    class _Queue:
        """The tasks of a validation run, in order."""

        @property
        def _tasks(self) -> list[Check._Queue.Task]: ...
        def __iter__(self) -> Iterator[Check._Queue.Task]: ...
        def __len__(self) -> int: ...
        def add(self, task: Check._Queue.Task) -> None:
            """Appends a task."""

        def clear(self) -> None:
            """Removes all tasks, one at a time from the end."""

        def is_empty(self) -> bool:
            """Whether there is no task."""

        def fix_all(self) -> None:
            """Has each result that can be fixed do so, once."""

        def fix_exists(self) -> bool:
            """Whether some result can be fixed."""

        @disjoint_base
        class Task:
            """An object to examine, or the scene, with the checks to run on it and their results."""

            _level_order: ClassVar[tuple[str, ...]]
            _order_indices: ClassVar[dict[str, int]]
            name: str
            path: str
            icon: Any
            check_controls: Sequence[Check._List.Control]
            results: Check._Queue.Task.Result.List
            def __init__(
                self,
                path: str,
                check_controls: Sequence[Check._List.Control],
                name: str | None = None,
                icon: Any = None,
            ) -> None:
                """The name is the path where there is none."""

            @property
            def empty(self) -> bool:
                """Whether there is no result."""

            @property
            def status(self) -> str:
                """The most severe status of the results; pass without any."""

            @disjoint_base
            class Result:
                """The outcome of a check on an object, with the check itself, which can fix or explain it.

                The check runs at once, with a copy of the task; if its class fails to make one, that is an
                error. What the check raises, now or later, is logged and goes no further, unless it is an
                interrupt or an exit. statistics: gets a record of each run. operator: its selection is kept
                over a fix. single: false adds the task's number to the name.
                """

                def __init__(
                    self,
                    path: str,
                    check_class: type[Check.Base],
                    parameter_task: Any,
                    statistics: Any,
                    operator: Any,
                    single: bool = True,
                ) -> None: ...
                @property
                def _op(self) -> Any: ...
                @property
                def _statistics(self) -> Any: ...
                @property
                def _check(self) -> Check.Base: ...
                @property
                def _path(self) -> str: ...
                @property
                def _param(self) -> Any: ...
                @property
                def _status(self) -> str: ...
                @property
                def name(self) -> str:
                    """The check's `long_name`."""

                @property
                def status(self) -> str:
                    """The last outcome, one of `Constants.Check.Result`."""

                @property
                def could_be_fixed(self) -> bool:
                    """Whether `fix_result` can help."""

                @property
                def could_be_selected(self) -> bool:
                    """Whether `select_result` can help."""

                @property
                def scene_oriented(self) -> bool:
                    """Whether the check looks at the scene as a whole."""

                def check(self) -> None:
                    """Runs the check again.

                    It passes if the check returns, fails if it raises Error.ValidationError (or is only
                    information, if its parameters say so), and is an error if it raises anything else or its
                    parameters are wrong.
                    """

                def fix_result(self) -> None:
                    """Has the check repair what it found, and runs it again; the selection stays."""

                def select_result(self) -> None:
                    """Has the check select what it found."""

                def result_message(self) -> str:
                    """What the check says of its last run; empty if that is no text."""

                @disjoint_base
                class List:
                    """The results of one task, in order."""

                    @property
                    def _array(self) -> list[Check._Queue.Task.Result]: ...
                    def __iter__(self) -> Iterator[Check._Queue.Task.Result]: ...
                    def __len__(self) -> int: ...
                    def add(self, result: Check._Queue.Task.Result) -> None:
                        """Appends a result."""

@final
class _Export:
    """What an export consists of."""

    @disjoint_base
    class Flags:
        """The switches of an export, all off at first; values are kept as they come."""

        automatic_uv: bool
        """Make texture coordinates where there are none."""
        triangulate: bool
        """Make triangles of all faces."""
        reset_xforms: bool
        """Apply the transforms of the objects to their geometry."""
        version_control: bool
        """Number the files instead of replacing them."""

        @property
        def data(self) -> dict[str, bool]:
            """The JSON form, a new dict of the four switches."""

        def load(self, data: Mapping[str, Any]) -> None:
            """Takes the switches from a JSON form; off where it lacks one."""

    @disjoint_base
    class Queue:
        """What is to be exported: a task for each file, in order."""

        @property
        def _tasks(self) -> list[_Export.Queue.Task]: ...
        def __iter__(self) -> Iterator[_Export.Queue.Task]: ...
        def __len__(self) -> int: ...
        def add(self, task: _Export.Queue.Task) -> None:
            """Appends a task."""

        def clear(self) -> None:
            """Removes all tasks, the last first."""

        def is_empty(self) -> bool:
            """Whether there is no task."""

        @disjoint_base
        class Task:
            """What goes into one exported file, and whether that was written."""

            name: str
            roots: list[str]
            """The paths of the objects."""

            def __init__(self, name: str) -> None: ...
            @property
            def _confirmed(self) -> bool: ...
            def confirm(self) -> None:
                """Marks the task as exported."""

            def is_confirmed(self) -> bool:
                """Whether the task was exported."""

            def is_empty(self) -> bool:
                """Whether the task has no objects."""

            def add(self, *paths: str) -> None:
                """Appends objects."""

    @disjoint_base
    class Options:
        """The exporters on offer, one of them selected: the first one at first.

        Each exporter is a member under its attribute name, too. Arguments of other classes are ignored.
        """

        def __init__(self, *options: object) -> None: ...
        @type_check_only
        def __getattr__(self, name: str) -> Any:
            """The exporter of this attribute name."""

        def __iter__(self) -> Iterator[Parameters.Options]: ...
        @property
        def _options(self) -> list[Parameters.Options]: ...
        @property
        def _selected(self) -> Parameters.Options | None: ...
        @property
        def selected(self) -> Parameters.Options | None:
            """The selected exporter's options."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict of "selected" and "formats"."""

        def select(self, option: object) -> None:
            """Selects an exporter by its options, their attribute name or their label.

            An unknown one changes nothing if there is a selected one.
            """

        def _select_any(self) -> None: ...
        def load(self, data: Mapping[str, Any]) -> None:
            """Takes the options and the selection of a JSON form."""

        def clone(self) -> _Export.Options:
            """New options of the same exporters, values and selection."""

@final
class _Project:
    """Projects, and what they hold."""

    @disjoint_base
    class Settings:
        """One project: a named document with the history of its records. A loop gives them, newest first.

        The document's own "filename" wins over the given one. Equal projects have equal data, whenever they
        were edited.
        """

        version: int
        """Of the format: that of this release in the class, that of the document in an instance."""
        edit_timestamp: float
        """When it was last edited, in seconds since the epoch."""
        deleted: bool
        """Is it deleted, though its file stays until the server knows?"""
        name: str
        description: str

        def __init__(
            self, related_collection: object, directory: _Path, filename: str, file_data: Mapping[str, Any]
        ) -> None: ...
        @classmethod
        def init(cls, parent: object, json_path: _Path) -> Self:
            """The project of a file; one without a version, and a record in the log, if it cannot be read."""

        @staticmethod
        def predefined_rules() -> list[_Project.Settings.Rule]:
            """The rules that a new project offers."""

        @staticmethod
        def _open(path: _Path) -> _JsonMap: ...
        def __iter__(self) -> Iterator[_Project.Settings.Record]: ...
        def __eq__(self, other: object, /) -> bool: ...
        __hash__: ClassVar[None]  # type: ignore[assignment]
        @property
        def _collection(self) -> Any: ...
        @property
        def _directory(self) -> str: ...
        @property
        def _filename(self) -> str: ...
        @property
        def _name(self) -> str: ...
        @property
        def _description(self) -> str: ...
        @property
        def _target(self) -> str: ...
        @property
        def _history(self) -> _Project.Settings.Record.History: ...
        @property
        def _write_timestamp(self) -> float: ...
        @property
        def directory(self) -> str:
            """The directory of the file."""

        @property
        def filename(self) -> str:
            """The name of the file; empty until `path` was read."""

        @property
        def target(self) -> str:
            """The host application, one of `Constants.Plugin.Target`."""

        @property
        def history(self) -> _Project.Settings.Record.History:
            """The saved records."""

        @property
        def path(self) -> str:
            """The path of the file. Gives the project a file name if it has a name but none yet."""

        @property
        def compatible(self) -> bool:
            """Whether the document is of the format of this release."""

        @property
        def data(self) -> _JsonMap:
            """The JSON form, a new dict, without the time of the last edit."""

        def apply(self, file_data: Mapping[str, Any]) -> None:
            """Takes all content from a document; nothing of one whose records cannot be used."""

        def _ensure_filename(self) -> None: ...
        def delete(self) -> None:
            """Marks the project as deleted; `mark_edited` and `write` follow."""

        def get_record_promise(self) -> _Project.Settings.Record:
            """A copy of the present state, from which the next record begins."""

        def clone(self) -> _Project.Settings:
            """A new project of the same content, as if it was never edited."""

        def clear_name(self) -> None:
            """Empties the name."""

        def clear_filename(self) -> None:
            """Has `path` make a file name anew."""

        def save(self) -> None:
            """Marks the project as edited and has the collection write it."""

        def mark_edited(self) -> None:
            """Notes the present time as that of the last edit."""

        def reload(self) -> None:
            """Takes all content from the file, if it exists."""

        def write(self) -> None:
            """Writes the file. A failure is logged, and the file stays as it was."""

        def is_outdated(self) -> bool:
            """Whether the file is larger than when this object last read or wrote it."""

        @disjoint_base
        class Rule:
            """What one kind of object in a scene hierarchy looks like.

            Built from the JSON form, a map of which every key may be missing.
            """

            check_config: _Settings.Check.Config
            color: str
            icon: str
            stamp: str
            name: str
            regex: str
            types: list[str] | None
            def __init__(self, data: Mapping[str, Any]) -> None: ...
            @property
            def range(self) -> _Project.Settings.Rule.Range:
                """How many objects may match at one place."""

            @property
            def _stamp(self) -> str: ...
            @property
            def _name(self) -> str: ...
            @property
            def _regex(self) -> str: ...
            @property
            def _types(self) -> list[str] | None: ...
            @property
            def _range(self) -> _Project.Settings.Rule.Range: ...
            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict."""

            def is_ghost(self) -> bool:
                """Whether the rule is named "ghost": it stands for the level above a hierarchy's roots."""

            @disjoint_base
            class Range:
                """How many objects may match a rule at one place, both bounds included."""

                minimum: int
                maximum: int
                def __init__(self, minimum: int, maximum: int) -> None: ...
                @property
                def data(self) -> list[int]:
                    """The JSON form, a new list of `minimum` and `maximum`."""

                def __copy__(self) -> _Project.Settings.Rule.Range: ...
                def __eq__(self, other: object, /) -> bool: ...
                __hash__: ClassVar[None]  # type: ignore[assignment]

            @disjoint_base
            class List:
                """The rules of a record, in order."""

                def __init__(self, array: Iterable[Mapping[str, Any]]) -> None: ...
                @property
                def _array(self) -> list[_Project.Settings.Rule]: ...
                @property
                def _control(self) -> _NamesControl: ...
                def __iter__(self) -> Iterator[_Project.Settings.Rule]: ...
                @staticmethod
                def predefined() -> list[_Project.Settings.Rule]:
                    """A new list of the rules that every project offers, with new stamps."""

                @property
                def data(self) -> _JsonList:
                    """The JSON form, a new list."""

                @property
                def names(self) -> list[str]:
                    """A new list of the names, in order."""

                def is_empty(self) -> bool:
                    """Whether there is no rule."""

                def has_ghost(self) -> bool:
                    """Whether there is a ghost rule."""

                def has_unique_name(self, rule: _Project.Settings.Rule) -> bool:
                    """Whether no other rule of the list has this rule's name."""

                def sync_names(self) -> None:
                    """Registers the names anew. Equal names stay equal."""

                def rename(self, rule: _Project.Settings.Rule, name: str) -> None:
                    """Gives a rule a name, whether it is free or not: see `has_unique_name`."""

                def reorder(self, rules: Iterable[object]) -> None:
                    """Puts the list into the order of these rules; those that are not given come last."""

                def get(self, stamp: str) -> _Project.Settings.Rule | None:
                    """The first rule of this stamp."""

                def append(self, rule: _Project.Settings.Rule) -> bool:
                    """Adds a rule, its name with a number if that is taken; refuses a second ghost."""

                def remove(self, rule: object) -> bool:
                    """Removes this very rule; refuses one that is not in the list."""

            @final
            class Tree:
                """Which rule may stand under which."""

                @disjoint_base
                class _Node:
                    """What may have nodes below it. The text form is an outline of them."""

                    children: list[_Project.Settings.Rule.Tree.Node]
                    def append(self, node: _Project.Settings.Rule.Tree.Node) -> None:
                        """Adds a node at the end, unless this very node is there."""

                    def remove(self, node: object) -> None:
                        """Removes this very node if it is there."""

                    def clear(self) -> None:
                        """Dismantles everything below. The lists stay, and are empty."""

                    @staticmethod
                    def create_node(rule: _Project.Settings.Rule) -> _Project.Settings.Rule.Tree.Node:
                        """A new node of a rule, with none below."""

                @disjoint_base
                class Node(_Node):
                    """A place of a rule in the tree."""

                    rule: _Project.Settings.Rule
                    def __init__(
                        self,
                        rule: _Project.Settings.Rule,
                        children: list[_Project.Settings.Rule.Tree.Node] | None = None,
                    ) -> None: ...

                class Root(_Node):
                    """The top of a rule tree, which stands for no rule."""

                    @property
                    def data(self) -> _JsonList:
                        """The JSON form, a new list of nodes: "stamp" of the rule, and "children"."""

                    def is_empty(self) -> bool:
                        """Whether there is no node."""

                    def is_root(self, rule: object) -> bool:
                        """Whether this very rule stands directly below the root."""

                    def load(
                        self, data: Iterable[Mapping[str, Any]], rules: _Project.Settings.Rule.List
                    ) -> None:
                        """Builds the tree from its JSON form; nodes without a rule are left out."""

        @disjoint_base
        class Record:
            """One saved state of a project: its rules, their tree and how it is exported.

            A record of timestamp 0 is a promise, a working copy that becomes a record when it is saved. Equal
            records have equal data, whenever they were saved.
            """

            timestamp: int
            """Seconds since the epoch at which it was saved; 0 for a promise."""
            author: str
            comment: str
            export: _Project.Settings.Record.Export
            rules: _Project.Settings.Rule.List
            pattern: _Project.Settings.Rule.Tree.Root
            """The tree of the rules."""

            def __init__(
                self,
                history: _Project.Settings.Record.History,
                data: Mapping[str, Any],
                timestamp: float | str = 0,
            ) -> None: ...
            @classmethod
            def emtpy(cls, history: _Project.Settings.Record.History) -> Self:
                """A new promise without rules."""

            def _apply(self, data: Mapping[str, Any]) -> None: ...
            def __eq__(self, other: object, /) -> bool: ...
            __hash__: ClassVar[None]  # type: ignore[assignment]
            @property
            def _history(self) -> _Project.Settings.Record.History: ...
            @property
            def _init_data(self) -> _JsonMap: ...
            @property
            def data(self) -> _JsonMap:
                """The JSON form, a new dict. The time is not part of it."""

            def select(self) -> None:
                """Makes it the state that the project applies; not for a promise."""

            def is_selected(self) -> bool:
                """Whether it is the state that the project applies."""

            def is_promise(self) -> bool:
                """Whether it was never saved."""

            def is_changed(self) -> bool:
                """Whether it differs from what it was at first."""

            def reset(self) -> None:
                """Drops all edits. The rules and their tree are new objects then."""

            def clone(self) -> _Project.Settings.Record:
                """A new record of the same content and time, which counts as unchanged."""

            def save(self) -> None:
                """Puts a clone into the history, which saves the project; the record itself is reset."""

            def clear_author(self) -> None:
                """Empties the author."""

            def clear_comment(self) -> None:
                """Empties the comment."""

            def clear_timestamp(self) -> None:
                """Makes it a promise."""

            @disjoint_base
            class Export:
                """How a record is exported, from its JSON form; every key may be missing."""

                directory: str
                """Where files go, as the user gave it: "~" is not expanded."""
                flags: _Export.Flags

                def __init__(self, data: Mapping[str, Any]) -> None: ...
                @property
                def _options(self) -> _JsonMap: ...
                @property
                def data(self) -> _JsonMap:
                    """The JSON form, a new dict."""

                def get_options(self) -> _JsonMap:
                    """A deep copy of the exporters' options."""

                def set_options(self, options: object) -> None:
                    """Takes the data of an `_Export.Options`; anything else changes nothing."""

            @disjoint_base
            class History:
                """The saved records of one project, and which is selected. A loop gives the newest first."""

                pointer: int
                """The time of the selected record, 0 for none. Writing an unknown time changes nothing."""

                def __init__(self, project_settings: object) -> None: ...
                def __iter__(self) -> Iterator[_Project.Settings.Record]: ...
                @property
                def _project_settings(self) -> Any: ...
                @property
                def _pointer(self) -> int: ...
                @property
                def _records(self) -> dict[int, _Project.Settings.Record]: ...
                @property
                def _edit_toggle(self) -> _Project.Settings.Record.History.EditToggle: ...
                @property
                def _mutex_save(self) -> Any: ...
                @property
                def edit_toggle(self) -> _Project.Settings.Record.History.EditToggle:
                    """The records as an editor shows them."""

                @property
                def data(self) -> _JsonMap:
                    """The JSON form, a new dict of each record's data by its time as text."""

                def clear(self) -> None:
                    """Drops all records; the pointer stays."""

                def bake(self) -> None:
                    """Drops all records but the selected one."""

                def load(self, file_data: Mapping[str, Any]) -> None:
                    """Takes the records and the selection of a project's document, all of it or nothing."""

                def _get_pointer(self, file_data: Mapping[str, Any]) -> int: ...
                def get_record(self) -> _Project.Settings.Record:
                    """A clone of the selected record, or of the newest one; a promise without one."""

                def select_record(self, record: object) -> None:
                    """Selects this very record; nothing happens if it is not here."""

                def save_record(self, record: object) -> None:
                    """Adds a record under the present second, selects it, and saves the project.

                    Dropped without a word while another save runs.
                    """

                @staticmethod
                def _is_timestamp(string: object) -> bool: ...

                @disjoint_base
                class EditToggle:
                    """The records among which an editor switches, newest first after a promise."""

                    def __init__(self, history: _Project.Settings.Record.History) -> None: ...
                    def __iter__(self) -> Iterator[_Project.Settings.Record]: ...
                    @property
                    def _history(self) -> _Project.Settings.Record.History: ...
                    @property
                    def _current(self) -> _Project.Settings.Record | None: ...
                    @property
                    def _records(self) -> list[_Project.Settings.Record]: ...
                    @property
                    def current(self) -> _Project.Settings.Record:
                        """The record under edit; without one a new promise each time."""

                    def switch(self, index: int) -> _Project.Settings.Record | None:
                        """Drops the edits of a saved record, then takes the one at `index` under edit."""

                    def clear(self) -> None:
                        """Has no records and none under edit."""

                    def update(self) -> None:
                        """Takes the records of the history anew; the newest is under edit."""

                    def set_promise(self, record: object) -> None:
                        """Takes the records anew and puts a promise before them, under edit."""

    @disjoint_base
    class Header:
        """What a list of projects shows of one."""

        def __init__(self, settings: _Project.Settings) -> None: ...
        @property
        def _name(self) -> str: ...
        @property
        def _filename(self) -> str: ...
        @property
        def name(self) -> str:
            """The name of the project."""

        @property
        def filename(self) -> str:
            """The name of its file, by which it is loaded."""

        @property
        def edit_timestamp(self) -> float:
            """When it was last edited, in seconds since the epoch."""

        @property
        def compatible(self) -> bool:
            """Whether it is of the format of this release."""

    @disjoint_base
    class Collection:
        """All projects of one target application, as the projects directory has them.

        Files that cannot be used are passed over, with a record in the log, and stay, as do those whose
        name does not mean itself as a regular expression. Any thread may use it.
        """

        target: str
        directory: str
        def __init__(self, api: object, target: str) -> None: ...
        def __iter__(self) -> Iterator[_Project.Settings]: ...
        @property
        def _api(self) -> Any: ...
        @property
        def _table(self) -> dict[str, _Project.Settings]: ...
        @property
        def _mutex_edit(self) -> Any: ...
        @property
        def names(self) -> list[str]:
            """A new sorted list of the names of all projects that are not deleted."""

        @property
        def headers(self) -> list[_Project.Header]:
            """A new list of all projects that are not deleted, sorted by name and time of the last edit."""

        def get(self, filename: str) -> _Project.Settings:
            """The project of this file name, read again if its file has grown; a new one if there is none."""

        def save_project(self, settings: _Project.Settings) -> None:
            """Writes a project, makes it part of the collection, and reports `projects_saved`."""

        def is_approved(self, settings: object) -> bool:
            """Whether it is a project of this target that has a version, be it of another format."""

        def get_file(self, name: str) -> str | None:
            """The path of the first project of this name, deleted ones included."""

        def get_empty(self) -> _Project.Settings:
            """A new project of this target, not part of the collection."""

        def create_http_request(self) -> _Project.Collection.HttpRequest:
            """A request of all projects, deleted ones included."""

        def accept_http_response(self, projects: Iterable[Mapping[str, Any]]) -> None:
            """Puts the server's projects in the place of these: newer ones are written, others are erased.

            A response that was not accepted changes nothing. A file that cannot be taken up here stays.
            """

        def _load(self) -> None: ...
        def _load_file(self, json_path: str) -> None: ...
        def _save_project(self, settings: _Project.Settings) -> None: ...
        def _erase_project(self, path: str) -> None: ...

        @disjoint_base
        class HttpRequest:
            """The projects of one target, on their way to the server. The text form is the body, JSON."""

            headers: ClassVar[dict[str, str]]
            def __init__(self, target: str, projects: _JsonList) -> None: ...
            def __iter__(self) -> Iterator[_JsonMap]: ...
            def __bytes__(self) -> bytes:
                """The body in UTF-8."""

            @property
            def _target(self) -> str: ...
            @property
            def _projects(self) -> _JsonList: ...
            @property
            def target(self) -> str:
                """The host application whose projects they are."""

            @property
            def projects(self) -> _JsonList:
                """The documents of the projects."""

        @disjoint_base
        class HttpResponse:
            """What the server said to the projects: all that it has of the target.

            Equal responses have equal `projects`, whether they were accepted or not.
            """

            headers: ClassVar[dict[str, str]]
            def __init__(self, response: object) -> None: ...
            def __iter__(self) -> Iterator[_JsonMap]: ...
            def __eq__(self, other: object, /) -> bool: ...
            __hash__: ClassVar[None]  # type: ignore[assignment]
            @property
            def _accepted(self) -> bool: ...
            @property
            def _projects(self) -> Any: ...
            @property
            def accepted(self) -> bool:
                """Whether there was JSON in the response."""

            @property
            def projects(self) -> Any:
                """The decoded body; empty where it was not accepted."""

            def _decode(self, response: object) -> Any: ...
            def _content(self, response: object) -> Any: ...

@disjoint_base
class Api:
    """A common class to have access to all program components.

    operator: the host. environment: where the host keeps its files. export_options: the exporters, each a
    `Parameters.Options`. checks: the root module of an embedded set of checks. A front-end builds one and
    calls `shutdown` at the end. Exceptions of the host pass.
    """

    def __init__(
        self,
        operator: Scene.Operator,
        environment: object,
        export_options: Iterable[Parameters.Options] | None = None,
        checks: ModuleType | None = None,
    ) -> None: ...
    env: Environment
    """Where the host keeps its files."""
    settings: _Settings
    """The settings of the user."""
    statistics: _Statistics
    """The records of use."""
    validator: Api._Validator
    """Runs the checks."""
    export: Api._Export
    """Writes hierarchies out of the scene."""
    project: Api._Project
    """Knows the projects, and which of them is current."""
    scene: Api._Scene
    """Finds and keeps the hierarchies of the scene."""
    http: Api._Http
    """Makes and reads what is exchanged with the shared server."""

    @property
    def _op(self) -> Scene.Operator: ...
    @property
    def callbacks(self) -> _CallBacks:
        """The front-end's functions by event."""

    @property
    def version(self) -> tuple[int, int, int]:
        """The version of the library: major, minor, patch."""

    @property
    def constants(self) -> type[Constants]:
        """The enumerations."""

    @property
    def masks(self) -> _Masks:
        """A new `Mask` of the types that the host can produce now."""

    @property
    def logger(self) -> type[Logger]:
        """The log."""

    def shutdown(self) -> None:
        """Removes what is registered in the host, and the front-end's functions. Writes nothing."""

    @disjoint_base
    class _Validator:
        """Api component to handle validation process.

        Runs the enabled checks of the workspace over the selection, or those of the rules over the matched
        hierarchies, as the mode of the settings says, and keeps the results until the next run.
        """

        checklist: Api._Validator._CheckList
        """The two checklists, `workspace` and `editor`."""

        def __init__(
            self,
            api: Api,
            operator: Scene.Operator,
            classes: Iterable[type[Check.Base]],
            hierarchy: _Hierarchy,
            buffer: Scene._Buffer,
        ) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _op(self) -> Scene.Operator: ...
        @property
        def _hierarchy(self) -> _Hierarchy: ...
        @property
        def _buffer(self) -> Scene._Buffer: ...
        @property
        def _queue(self) -> Check._Queue: ...
        @property
        def queue(self) -> Check._Queue:
            """The tasks of the last run with their results."""

        def start(self) -> None:
            """Plans the checks and runs them all; the results are in `queue`.

            The selection of the host stays as it is; a record of this run and one of each run of a check
            go to the statistics, which are written. With nothing to check nothing is recorded. A check that
            fails stops nothing: its result says so. Exceptions of the host pass; RuntimeError within a
            validation.
            """

        def _plan_checks(self, mode: int) -> None:
            """Empties the queue and fills it as `mode`, one of `Constants.Check.Mode`, says."""

        def _plan_selection_checks(self) -> None:
            """Appends a task for the scene and one for each selected object, with the workspace's checks."""

        def _plan_project_checks(self) -> None:
            """Appends a task for the scene and one for each matched object, with the checks of its rule."""

        @disjoint_base
        class _CheckList:
            """The checklists that a front-end edits.

            api: gives the settings. classes: the known check classes.
            """

            workspace: Check._List
            """The checks of the selection mode, bound to the user's settings."""
            editor: Check._List
            """The checks that the editor of rules shows, bound to no settings."""

            def __init__(self, api: Api, classes: Iterable[type[Check.Base]]) -> None: ...

    @disjoint_base
    class _Export:
        """Api component to handle export process.

        Writes hierarchies out of the scene through the host, each into a file of its own.
        options: the exporters, each a `Parameters.Options`.
        """

        options: _Export.Options
        """The exporters with their options, one selected."""
        flags: _Export.Flags
        """The switches of the export."""

        def __init__(
            self,
            api: Api,
            operator: Scene.Operator,
            buffer: Scene._Buffer,
            options: Iterable[Parameters.Options] | None = None,
        ) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _op(self) -> Scene.Operator: ...
        @property
        def _buffer(self) -> Scene._Buffer: ...
        @property
        def _queue(self) -> _Export.Queue: ...
        def start(self) -> None:
            """Exports the matched hierarchies, or what is selected, as the mode of the checks says.

            The settings say where to: the user chooses, the directory of the project, or that of the open
            scene. Without one that exists `lost_export_directory` is called, and nothing else happens. See
            `project`.
            """

        def project(self, directory: str) -> None:
            """Exports the checked hierarchies of the buffer.

            A hierarchy of which a root is gone is left out. With nothing to export `empty_export_selection`
            is called and no more happens. Each hierarchy goes through the host into a file of its own. A
            failure is logged and keeps none of the others from being written. In the end `export_success`
            is called, or `export_skipped` with the names of those that were not written, and the statistics
            have one record more. The selection of the host stays as it is.
            """

        def selected(self, directory: str) -> None:
            """Exports the roots of the selection, in the same way as `project`."""

        def _get_directory(self) -> str | None:
            """The directory that the settings lead to; a false value if there is none, or the user cancels.

            A chosen one is where the next choice begins; the settings are not written.
            """

        def _perform(self, planner: Callable[[], object], directory: str) -> None:
            """Empties the queue, has `planner` fill it, and exports it."""

        def _plan_project_queue(self) -> None:
            """Appends a task for each checked hierarchy that is still there."""

        def _plan_selection_queue(self) -> None:
            """Appends a task for each root of the selection."""

        def _resolve_queue(self, directory: str) -> None:
            """Exports the tasks of the queue."""

        @staticmethod
        def _create_path(directory: str, filename: str, type: str, version_control: bool = False) -> str:
            """The path of an exported file.

            Args:
                directory: Where it goes.
                filename: Its name without extension.
                type: The format, which in lower case is the extension.
                version_control: Number the file, one above the files whose names begin like `filename`,
                    taken as a regular expression, and have the format's extension.

            Raises:
                re.error: `filename` is no regular expression.
                OSError: The directory cannot be listed.
            """

    @disjoint_base
    class _Project:
        """Api component to manage projects.

        Knows which project is current, and puts what it says into the engine: the pattern, and the options
        and flags of the export. A project of another format, or an unknown one, is no error: another one
        stands in for it.
        """

        collection: _Project.Collection
        """All projects of the host."""

        def __init__(self, api: Api, hierarchy: _Hierarchy) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _hierarchy(self) -> _Hierarchy: ...
        @property
        def _pointer(self) -> Api._Project._LoadPointer: ...
        def get_current(self) -> _Project.Settings:
            """The current project.

            It is the one that the settings name; without a usable one the first usable project, which is
            loaded and becomes the current one in the settings; without any a new, empty one.
            """

        def get_clone(self) -> _Project.Settings:
            """A copy of the current project without name and file, to be edited as a new one."""

        def delete_current(self) -> None:
            """Marks the current project as deleted, and loads the first of the others.

            Its file stays, so that the server hears of it. Without another project the engine keeps the
            pattern.
            """

        def get_empty(self) -> _Project.Settings:
            """A new project without a file."""

        def get_headers(self) -> list[_Project.Header]:
            """A new list of a header for each project."""

        def is_active(self) -> bool:
            """Whether validations follow the project, not the selection."""

        def is_exists(self, filename: str) -> bool:
            """Whether there is a project with this file name."""

        def load(self, filename: str) -> None:
            """Loads a project; the first one if there is none of this file name.

            The same state of the same project is not loaded twice in a row.
            """

        def _load(self, project_settings: _Project.Settings) -> None:
            """Puts a project into the engine, unless it is of another format or there already.

            The settings are written when it is another project than before.
            """

        @disjoint_base
        class _LoadPointer:
            """Which state of which project was loaded last."""

            filename: str | None
            """The file name of the project; None at first."""
            timestamp: float | None
            """When it was last edited; None at first."""

            def same(self, settings: _Project.Settings) -> bool:
                """Whether it is this project, as it was last edited."""

            def other(self, settings: _Project.Settings) -> bool:
                """Whether it is another project."""

            def edited(self, settings: _Project.Settings) -> bool:
                """Whether it was edited at another time."""

            def set(self, settings: _Project.Settings) -> None:
                """Remembers this project as it was last edited."""

    @disjoint_base
    class _Scene:
        """Api component to communicate with the scene.

        Loads the current project, then what is embedded in the open scene, and that again each time the host
        has opened a scene: no scan is needed, and what the file holds is believed. Exceptions of the host
        pass.
        """

        hierarchy: _Hierarchy
        """The matcher."""
        buffer: Scene._Buffer
        """The matched hierarchies."""
        scanner: Scene._Scanner
        """Looks for hierarchies below the selection."""

        def __init__(
            self,
            api: Api,
            operator: Scene.Operator,
            virtual: Scene._Virtual,
            hierarchy: _Hierarchy,
            buffer: Scene._Buffer,
        ) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _op(self) -> Scene.Operator: ...
        def directory_dialog(self, start: str = "~") -> str | None:
            """Lets the user choose a directory, beginning at `start`.

            Both `start` and the result may hold "~" for the user's home, as paths in the settings and in
            projects do.

            Returns:
                The directory, or None if the user cancels.
            """

        def _load_states(self) -> None:
            """Loads the current project, if there is one."""

        def _link_buffer(self) -> None:
            """Loads the buffer, and has the host load it whenever a scene is opened."""

        def _load_buffer(self) -> None:
            """Loads the buffer from the open scene, then calls `buffer_loaded`."""

    @disjoint_base
    class _Http:
        """Api component to communicate with the shared server.

        It opens no connection: a front-end asks for a request, sends it as suits its host, and hands the
        response back, on the thread that owns the scene. A response is anything with `getheader(name,
        default)` and `read()`.
        """

        def __init__(self, api: Api) -> None: ...
        @property
        def _api(self) -> Api: ...
        @property
        def _last_projects(self) -> _Project.Collection.HttpResponse | None: ...
        def projects_request(self) -> _Project.Collection.HttpRequest:
            """The request that brings all projects to the server."""

        def projects_response(self, response: object) -> None:
            """Applies the server's answer to `projects_request`.

            The projects of an accepted answer replace the local ones, the current one is loaded again, and
            `projects_synchronized` is called, unless its body is that of the last answer, whatever became of
            that one. `projects_response_closed` is called last in any case. An answer that cannot be read is
            logged and changes nothing; one that can, but lists no projects, raises what comes of that.
            """

        def statistics_request(self) -> _Statistics.HttpRequest:
            """The request that brings the statistics to the server.

            They go under the user's name in the environment of the process, "USERNAME".
            """

        def statistics_response(self, response: object) -> None:
            """Takes the server's answer to `statistics_request`.

            What it has got is erased here if the settings say so.
            """

        def no_response(self) -> None:
            """Calls `http_no_response`: for a front-end that got no answer."""
