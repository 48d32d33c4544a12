#include "checks/check_classes.h"

#include <algorithm>

#include "checks/check_base.h"
#include "checks/check_contract.h"
#include "checks/plugin_module.h"
#include "foundation/constants.h"
#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kSortIndex("sort_index"), kEnabled("enabled"), kPath("path"), kJoin("join");

/// A module's place without the extension, by which it is known, and the file that it is written in.
py::Object path_of(const py::Object& importer, const py::Object& name) {
  return py::modules::path.call(kJoin, importer.attr(kPath), name);
}
py::Object source_of(const py::Object& path) { return format("{}.py", {path}); }

/// Loads a module. Where that fails there is a warning, and the error is what comes back, none otherwise. A module that
/// ends the program when it is imported, as a script left among the plug-ins does, has failed like any other.
template <class F>
py::Object failure_of(const py::Object& importer, const py::Object& name, F&& load) {
  try {
    load();
    return {};
  } catch (const py::Error& error) {
    if (!error.is_failure() && !error.matches(PyExc_SystemExit)) throw;
    logger::warning(format("Import Failed: {} - {}", {name, py::text(error.value().type_name())}));
    failure::log(format("module {}", {name}), error, source_of(path_of(importer, name)));
    return kept(error);
  }
}

/// A class at least two steps below the base of all checks: the base itself and what a plug-in derives from it
/// directly, to derive its checks from, are no checks.
bool is_candidate(const py::Object& value) {
  constexpr Py_ssize_t kShortest = 4;  // the class, its parent, the base, object
  static const py::Name kMro("__mro__");
  if (PyType_Check(value.get()) == 0) return false;
  auto* type = reinterpret_cast<PyTypeObject*>(value.get());
  return PyType_IsSubtype(type, py::TypeOf<CheckBase>::type) != 0 && value.attr(kMro).length() >= kShortest;
}

/// The candidates among the members of a module, imported ones too, by the members' names.
py::List candidates(const py::Object& module) {
  static const py::Name kGetMembers("getmembers");
  const py::List classes;
  for (const py::Object& member : py::collect(py::modules::inspect.call(kGetMembers, module))) {
    const py::Object value = py::Object::borrow(PyTuple_GetItem(member.get(), 1));
    if (is_candidate(value)) classes.append(value);
  }
  return classes;
}

/// The place of a category among the known ones, behind all of them for another.
std::size_t rank(const py::Object& category) {
  const py::Utf8 name(category);
  const auto found = std::ranges::find(constants::kCategories, name.view(), &constants::Category::text);
  return static_cast<std::size_t>(found - constants::kCategories.begin());
}

}  // namespace

void CheckClasses::init(const py::Object& places) {
  directories = places;
  reload();
}

py::Object CheckClasses::get(const py::Object& class_id) const {
  return table.find(to_str(class_id)).value_or(py::Object::none());
}

void CheckClasses::reload() {
  static const py::Name kInvalidate("invalidate_caches");
  py::modules::importlib.call(kInvalidate);  // a module may have been written a moment ago
  errors.clear();
  denied.clear();
  denials.clear();
  denial_errors.clear();
  entries.clear();
  array.clear();
  table.clear();
  const py::List found;
  const py::Set ids;
  for (const py::Object& place : py::collect(directories)) {
    if (!place.attr(kEnabled).truth()) continue;
    directory = place;
    for (const py::Object& type : search(place, py::Object::none(), py::text("")).items()) {
      const py::Object class_id = check_class_id(type);
      if (ids.contains(class_id)) continue;
      found.append(type);
      ids.add(class_id);
    }
  }
  array.extend(sort(found));
  for (const py::Object& type : array.items()) table.set(check_class_id(type), type);
}

py::List CheckClasses::search(const py::Object& place, const py::Object& container, const py::Object&) const {
  const py::List found = container.is_none() ? py::List() : py::List(container);
  std::vector<py::Object> above;
  walk(place, found, above);
  return found;
}

void CheckClasses::walk(const py::Object& place, const py::List& found, std::vector<py::Object>& above) const {
  static const py::Name kIterModules("iter_modules"), kRealPath("realpath");
  const py::Depth depth(" while directories of checks are searched");
  const py::Object real = py::modules::path.call(kRealPath, place);
  // A link to a directory above would be followed for ever.
  if (std::ranges::any_of(above, [&](const py::Object& other) { return other.equals(real); })) return;
  above.push_back(real);
  const py::List places;
  places.append(place);
  for (const py::Object& entry : py::collect(py::modules::pkgutil.call(kIterModules, places))) {
    const std::vector<py::Object> parts = py::collect(entry);
    const py::Object &importer = parts.at(0), &name = parts.at(1), &is_package = parts.at(2);
    if (is_package.truth()) {
      walk(path_of(importer, name), found, above);
    } else {
      take(importer, name, found);
    }
  }
  above.pop_back();
}

void CheckClasses::take(const py::Object& importer, const py::Object& name, const py::List& found) const {
  PluginModule plugin;
  py::List classes;
  // Names of a module may be made when they are asked for, so that reading them can fail as importing it can.
  const py::Object error = failure_of(importer, name, [&] {
    plugin = PluginModule::run(importer, name);
    classes = candidates(plugin.module);
  });
  if (error) errors.set(path_of(importer, name), error);
  if (!classes.empty()) entries.append(plugin.entry);
  for (const py::Object& type : classes.items()) judge(type, found);
}

void CheckClasses::judge(const py::Object& type, const py::List& found) const {
  const auto refusal = check_refusal(type);
  if (!refusal) return found.append(type);
  denied.append(type);
  denials.append(py::tuple({type, refusal->reason}));
  if (refusal->error) denial_errors.set(type, refusal->error);
}

py::Object CheckClasses::load_module(const py::Object& importer, const py::Object& name, const py::Object&) const {
  PluginModule plugin;
  const py::Object error = failure_of(importer, name, [&] { plugin = PluginModule::run(importer, name); });
  if (error) return py::Object::none();
  entries.append(plugin.entry);
  return plugin.module;
}

py::Dict CheckClasses::get_failures() const {
  py::Dict failures;
  for (const auto& [path, error] : errors.items()) failures.set(path, failure::told(error, source_of(path)));
  return failures;
}

py::List CheckClasses::sort(const py::List& classes) {
  const std::vector<py::Object> found = classes.items();
  const py::List rows;  // in the order of (rank, category, index, position)
  for (std::size_t i = 0; i < found.size(); ++i) {
    const py::Object category = check_category(found[i]);
    rows.append(
        py::tuple({py::to_python(rank(category)), category, found[i].attr(kSortIndex), py::to_python(i), found[i]}));
  }
  py::checked(PyList_Sort(rows.get()));
  classes.clear();
  for (const py::Object& row : rows.items()) classes.append(py::Object::borrow(PyTuple_GetItem(row.get(), 4)));
  return classes;
}

py::Object CheckClasses::group_order() {
  std::vector<py::Object> order;
  order.reserve(constants::kCategories.size());
  for (const auto& [name, text] : constants::kCategories) order.push_back(to_str(py::text(text)));
  return py::tuple(order);
}

void expose_check_classes(const py::Scope& check) {
  py::Class<CheckClasses>(
      check, "_Classes",
      "The check classes found in directories of plug-ins, in the order in which they are shown.\n\n"
      "Args:\n"
      "    directories: Paths with an `enabled`.\n\n"
      "Of classes with the same `class_id` the first one found is taken. A loop gives the classes.")
      .no_copies("it stands for directories of plug-ins")
      .init<&CheckClasses::init>({"directories"})
      .iterate<&CheckClasses::iterate>()
      .operation<&CheckClasses::get>("get", {"class_id"}, "The class with this id, or None.")
      .operation<&CheckClasses::get_denied>(
          "get_denied", "The classes that do not hold to what a check must be, as the stored list; it may repeat some.")
      .operation<&CheckClasses::get_denials>(
          "get_denials",
          "A new list of pairs of a denied class, and why it was: the first thing that is wrong with it. Where that is "
          "an "
          "exception, the reason tells its class, its words and the line of the plug-in that it came from.")
      .accessor<&CheckClasses::get_denial_errors>(
          "denial_errors", "dict[type, BaseException]: What classes were denied for that they raised; a new dict.")
      .accessor<&CheckClasses::get_errors>(
          "errors",
          "dict[str, BaseException]: Why modules could not be imported, by their paths without the extension; a new "
          "dict.")
      .accessor<&CheckClasses::get_failures>(
          "failures", "dict[str, str]: The same in words, each with the line that it came from; a new dict.")
      .operation<&CheckClasses::reload>(
          "reload",
          "Searches the directories again. Checklists that were built before keep their classes, whose modules then "
          "are no longer in `sys.modules`.")
      .operation<&CheckClasses::search>(
          "_search", {"directory", {"container", nullptr}, {"scope", ""}},
          "Appends the check classes of a directory and the packages in it to `container`, or to a new list, and "
          "returns that. `scope` makes no difference.\n\n"
          "Every module is run anew, under a name of its own such as \"_plugin_7.placement\", by which it stands in "
          "`sys.modules` until the next `reload` or the end of this object. One that cannot be imported costs a "
          "warning.")
      .operation<&CheckClasses::load_module>(
          "_load_module", {"importer", "name", "scope"},
          "Runs a module, as `_search` does, and returns it; None, after a warning, if it fails or ends the program.")
      .operation<&CheckClasses::sort>(
          "_sort", {"array"},
          "Puts a list of classes in order of category, then `sort_index`, and returns it: known categories as "
          "`_group_order` has them, then the others by name. Equal classes keep their order.")
      .attribute("_group_order", CheckClasses::group_order())
      .readonly<&CheckClasses::directories>("_directories", "Iterable[Any]: Where the checks are searched.")
      .readonly<&CheckClasses::directory>("_directory", "Any: The directory that is searched, or was last.")
      .readonly<&CheckClasses::denied>("_denied", "list[type]: The classes that cannot serve as checks.")
      .readonly<&CheckClasses::array>("_array", "list[type[Check.Base]]: The classes in order.")
      .readonly<&CheckClasses::table>("_table", "dict[str, type[Check.Base]]: The classes by id.")
      .done();
}

}  // namespace heron
