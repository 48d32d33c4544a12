#pragma once

#include "runtime/class.h"
#include "settings/check_config.h"

namespace heron {

/// One entry of a checklist: a check class that can be switched on, with parameters of its own.
class CheckControl {
 public:
  void init(const py::Object& type);
  py::Object description() const;
  bool is_enabled() const { return enabled.truth(); }
  bool is_scene_oriented() const;

  void load(const py::Object& stored);
  void save() const;
  void clear();

  py::Object name, check, parameters;
  py::Object enabled = py::to_python(false);
  py::Object opened = py::to_python(false);
  py::Object state;  ///< The stored record that `save` writes into, or none.

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&name, &check, &parameters, &enabled, &opened, &state}) visit(*field);
  }

 private:
  bool has_lost_inputs() const;  ///< The block could not be built: what it would write is not what the user has set.
};

/// The entries of a checklist that are shown as one group.
class CheckCategory {
 public:
  void init(const py::Object& label) { name = label; }
  void add(const py::Object& control) const { array.append(control); }
  py::Object iterate() const { return py::iterator(array.items()); }

  py::Object name;
  py::List array;

  template <class V>
  void members(V& visit) {
    visit(name);
    visit(array);
  }
};

/// What is to be checked: an entry for each known check class, bound to a stored configuration.
class Checklist {
 public:
  void init(const py::Object& classes, const py::Object& presets, const py::Object& settings);
  py::Object iterate() const { return iterator(false); }
  py::Object iterator(bool enabled) const;  ///< Lazy: sees what is enabled when it gets there.
  py::Object iterate_categories() const;
  const py::Object& get_config() const { return config; }
  const py::Object& get_preset_editor() const { return preset_editor; }
  bool is_empty() const;                                  ///< No entry is enabled.
  py::List get(bool enabled, bool scene_oriented) const;  ///< The entries of one kind; never both kinds.

  void load(const py::Object& settings);
  void save() const;
  void clear() const;
  py::List build_categories() const;

  py::List controls, categories;
  py::Object config, preset_editor;

  template <class V>
  void members(V& visit) {
    visit(controls);
    visit(categories);
    visit(config);
    visit(preset_editor);
  }

 private:
  std::vector<py::Ref<CheckControl>> entries() const;
};

void expose_checklist(const py::Scope& check);

}  // namespace heron
