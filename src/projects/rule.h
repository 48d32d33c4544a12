#pragma once

#include "foundation/text.h"
#include "projects/rule_range.h"
#include "settings/check_config.h"

namespace heron {

/// What one kind of object in a scene hierarchy looks like. The project's own form of a rule: the matching reads it.
class ProjectRule {
 public:
  void init(const py::Object& data);

  const py::Object& stamp() const { return stamp_; }  ///< Its identity for life; what refers to a rule uses this.
  const py::Object& name() const { return name_; }
  const py::Object& regex() const { return regex_; }
  const py::Object& types() const { return types_; }  ///< Empty means any; none where the data had none.
  const py::Ref<RuleRange>& range() const { return range_; }
  bool is_ghost() const;  ///< Stands for the level above the roots of a hierarchy; only the name says so.
  py::Dict data() const;  ///< The JSON form.

  // Whatever is not text is ignored by the first three.
  void set_stamp(const py::Object& value);
  void set_name(const py::Object& value);
  void set_regex(const py::Object& value);
  void set_types(const py::Object& value);

  py::Ref<CheckConfig> check_config = py::Ref<CheckConfig>::make();
  py::Object color = py::text("#000000");
  py::Object icon = py::text("");

  template <class V>
  void members(V& visit) {
    visit(stamp_);
    visit(name_);
    visit(regex_);
    visit(types_);
    visit(range_);
    visit(check_config);
    visit(color);
    visit(icon);
  }

 private:
  py::Object stamp_ = py::Object::none();
  py::Object name_ = to_str(py::text("name"));
  py::Object regex_ = to_str(py::text(""));
  py::Object types_ = py::Object::none();
  py::Ref<RuleRange> range_ = py::Ref<RuleRange>::make();
};

/// Puts `Rule` into `_Project.Settings`, and its `Range`. Returns its scope, for what else nests in it.
py::Scope expose_rule(const py::Scope& settings);

}  // namespace heron
