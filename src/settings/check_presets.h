#pragma once

#include "settings/check_config.h"

namespace heron {

/// A named snapshot of which checks are on, and with which parameters.
class CheckPreset {
 public:
  static py::Object load(const py::Object& type, const py::Object& presets, const py::Object& data);

  void init(const py::Object& presets, const py::Object& name, const py::Object& config, const py::Object& stamp,
            const py::Object& changed);

  const py::Object& stamp() const { return stamp_; }  ///< Its identity.
  const py::Object& name() const { return name_; }    ///< Always text.
  const py::Object& config() const { return config_; }
  const py::Object& presets() const { return presets_; }  ///< The collection in which it stands.
  const py::Object& changed() const { return changed_; }  ///< When, in seconds since the epoch.
  void set_name(const py::Object& value);                 ///< Ignored unless it is a text, and not empty.
  void set_config(const py::Object& value);               ///< Ignored unless it is a configuration.
  Py_ssize_t size() const { return config_.length(); }
  py::Dict data() const;  ///< The JSON form.
  bool equals(const py::Object& other) const;

  bool applied = false;  ///< The checklist agrees with it; never stored.

  template <class V>
  void members(V& visit) {
    visit(presets_);
    visit(name_);
    visit(config_);
    visit(stamp_);
    visit(changed_);
    visit(applied);
  }

 private:
  py::Object presets_ = py::Object::none();
  py::Object name_ = py::text("");
  py::Object config_ = py::Object::none();
  py::Object stamp_ = py::text("");
  py::Object changed_ = py::Object::none();
};

/// The presets of a user, sorted by name.
class CheckPresets {
 public:
  void init(const py::Object& data) { load(data); }

  py::Object iterate() const { return py::iterator(array.items()); }
  Py_ssize_t size() const { return array.size(); }
  py::List names() const;
  py::List data() const;  ///< The JSON form.

  void load(const py::Object& data) const;
  void add(const py::Object& name, const py::Object& config) const;
  void pop(const py::Object& preset) const;
  void sort() const;
  void sync_applied(const py::Object& config) const;  ///< Marks the presets with an equal configuration.

  py::List array;

  template <class V>
  void members(V& visit) {
    visit(array);
  }

 private:
  using Preset = py::Ref<CheckPreset>;
  std::vector<Preset> presets() const;  ///< A copy, safe to walk; TypeError if somebody put anything else in.
};

/// Connects the presets with a checklist, from which they are made and to which they are applied.
class PresetEditor {
 public:
  void init(const py::Object& list, const py::Object& collection);

  py::Object names() const;
  bool config_loaded() const;  ///< The checklist has a configuration. Otherwise the next three do nothing.
  void create(const py::Object& name) const;
  void upload(const py::Object& preset) const;
  void apply(const py::Object& preset) const;
  void erase(const py::Object& preset) const;
  void sync_applied() const;

  py::Object check_list = py::Object::none();
  py::Object presets = py::Object::none();

  template <class V>
  void members(V& visit) {
    visit(check_list);
    visit(presets);
  }

 private:
  py::Object config() const;  ///< The configuration of the checklist.
};

/// Puts `Presets`, with its `Set` and `Editor`, into `_Settings.Check`.
void expose_check_presets(const py::Scope& check);

}  // namespace heron
