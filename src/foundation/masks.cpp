#include "foundation/masks.h"

#include <initializer_list>

#include "foundation/constants.h"

namespace heron {
namespace {

using namespace constants;
using Item = py::Ref<MaskItem>;

enum class Elements { kPlain, kTypes };

Item item(Elements elements, const char* name, const char* attr, std::initializer_list<std::string_view> texts) {
  const Item made = Item::make();
  std::vector<py::Object> list;
  for (const std::string_view text : texts) list.push_back(to_str(py::text(text)));
  made->init(py::tuple(list), py::Text(py::text(name)), py::Text(py::text(attr)), elements == Elements::kTypes);
  return made;
}

bool has_all(const py::Object& mapping, const MaskItem& item) {
  static const py::Name kExist("exist");
  for (const py::Object& type : item.elements().items()) {
    if (!mapping.call(kExist, type).truth()) return false;
  }
  return true;
}

template <class S>
py::Ref<S> filtered(const py::Object& mapping) {
  const auto set = py::Ref<S>::make();
  set->init();
  set->filter(mapping);
  return set;
}

}  // namespace

void MaskItem::init(const py::Object& texts, const py::Text& label, const py::Text& member, bool types) {
  elements().clear();
  elements().extend(texts);
  name = to_str(label);
  attr = to_str(member);
  mapped = types;
}

void MaskSet::init(const py::Object& given) {
  items().clear();
  for (const py::Object& object : py::collect(given)) {
    if (!Item::holds(object))
      py::raise_type(std::string("_Set() arguments must be Mask.Item, not ") + object.type_name());
    const Item item(object);
    items().append(item);
    if (item->attr.truth()) items().set_attr(item->attr, item);
  }
}

void MaskSet::filter(const py::Object& mapping) const {
  const std::vector<py::Object> all = items().items();
  items().clear();
  for (const py::Object& object : all) {
    const Item item(object);
    if (!item->mapped || has_all(mapping, *item)) items().append(item);
  }
}

void GhostMask::init() {
  using enum Elements;
  MaskSet::init(py::tuple({
      item(kTypes, "scene root", "SceneRoot", {kSceneRoot}),
      item(kTypes, "group", "Transform", {kTransform}),
      item(kTypes, "locator", "Locator", {kLocator}),
      item(kTypes, "group or locator", "TransformLocator", {kLocator, kTransform}),
  }));
}

void TypeMask::init() {
  using enum Elements;
  MaskSet::init(py::tuple({
      item(kTypes, "Loc. or Group", "TransformLocator", {kLocator, kTransform}),
      item(kTypes, "Locator", "Locator", {kLocator}),
      item(kTypes, "Group", "Transform", {kTransform}),
      item(kTypes, "LOD Group", "LodGroup", {kLodGroup}),
      item(kTypes, "Mesh", "Mesh", {kMesh}),
      item(kPlain, "Any", "Any", {}),  // a rule without types takes any
  }));
}

void ResultMask::init() {
  using enum Elements;
  MaskSet::init(py::tuple({
      item(kPlain, "Fail", "Fail", {kFail}),
      item(kPlain, "Fail & Info", "FailInfo", {kFail, kInfo}),
  }));
}

void Mask::init(const py::Object& type_mapping) {
  static const py::Name kGhostSet("Ghost"), kTypeSet("Type"), kResultSet("Result");
  mapping = type_mapping;
  // Attributes and no fields: in the class these names are those of the sets' own classes.
  const py::Object self = py::object_of(*this);
  self.set_attr(kGhostSet, filtered<GhostMask>(mapping));
  self.set_attr(kTypeSet, filtered<TypeMask>(mapping));
  self.set_attr(kResultSet, filtered<ResultMask>(mapping));
}

void expose_masks(const py::Scope& module) {
  using py::Parameter;
  const py::Scope scope =
      py::Class<Mask>(module, "Mask",
                      "Groups of constants for assign or filter purpose in user interface.\n\n"
                      "`Ghost`, `Type` and `Result` of an instance are the sets of these names, without the items "
                      "whose types the host does not have, as `type_mapping.exist` tells.")
          .copies()
          .init<&Mask::init>({"type_mapping"})
          .readonly<&Mask::mapping>("_mapping", "TypeMapping: The types that the host has.")
          .done();
  py::Class<MaskItem>(scope, "Item", "A choice: a list of constants, with a label for the user.")
      .copies()
      .derives(reinterpret_cast<PyObject*>(&PyList_Type))
      .init<&MaskItem::init>({Parameter::rest("elements"), Parameter::named("name", ""), Parameter::named("attr", ""),
                              Parameter::named("mapped", false)})
      .readonly<&MaskItem::name>("name", "str: The label for the user.")
      .readonly<&MaskItem::attr>("attr", "str: Under what name the item is a member of its set; empty for none.")
      .readonly<&MaskItem::mapped>("mapped", "bool: True if the elements are scene types, which the host must have.")
      .readonly<&MaskItem::name>("_name", "str: The label for the user.")
      .readonly<&MaskItem::attr>("_attr", "str: Under what name the item is a member of its set.")
      .readonly<&MaskItem::mapped>("_mapped", "bool: True if the elements are scene types.")
      .done();
  py::Class<MaskSet>(scope, "_Set", "The choices of a filter: a list of items, each also a member named by `attr`.")
      .copies()
      .derives(reinterpret_cast<PyObject*>(&PyList_Type))
      .init<&MaskSet::init>({Parameter::rest("items")})
      .done();
  py::Class<GhostMask, MaskSet>(scope, "Ghost", "The choices for the ghost rule.")
      .copies()
      .init<&GhostMask::init>({})
      .done();
  py::Class<TypeMask, MaskSet>(scope, "Type", "The choices for the types of a rule.")
      .copies()
      .init<&TypeMask::init>({})
      .done();
  py::Class<ResultMask, MaskSet>(scope, "Result", "The choices for the results to be shown.")
      .copies()
      .init<&ResultMask::init>({})
      .done();
}

}  // namespace heron
