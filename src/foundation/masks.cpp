#include "foundation/masks.h"

#include <initializer_list>

#include "foundation/text.h"

namespace heron {
namespace {

/// One choice: a list of constants with a label.
class MaskItem {
 public:
  void init(const py::Object& elements, const py::Object& name_, const py::Object& attr_, bool mapped_) {
    py::List(py::object_of(*this)).extend(elements);
    name = to_str(name_);
    attr = to_str(attr_);
    mapped = mapped_;
  }

  py::Object get_name() const { return name; }
  py::Object get_attr() const { return attr; }
  bool is_mapped() const { return mapped; }

  py::Object name = py::text(""), attr = py::text("");
  bool mapped = false;

  template <class V>
  void members(V& visit) {
    visit(name);
    visit(attr);
  }
};

/// A list of choices, each also a member under its name.
class MaskSet {
 public:
  void init(const py::Object& items) { fill(py::collect(items)); }

 protected:
  void fill(const std::vector<py::Object>& items) {
    const py::Object self = py::object_of(*this);
    const py::List list(self);
    for (const py::Object& item : items) {
      static const py::Name kAttr("attr");
      const py::Object attr = item.attr(kAttr);
      list.append(item);
      if (attr.truth()) py::checked(PyObject_SetAttr(self.get(), attr.get(), item.get()));
    }
  }
};

struct Choice {
  std::initializer_list<const char*> elements;
  const char* name;
  const char* attr;
  bool mapped;
};

py::Object make_item(const Choice& choice) {
  std::vector<py::Object> elements;
  for (const char* element : choice.elements) elements.push_back(to_str(py::text(element)));
  auto item = py::Ref<MaskItem>::make();
  item->init(py::tuple(elements), py::text(choice.name), py::text(choice.attr), choice.mapped);
  return item;
}

class GhostMask : public MaskSet {
 public:
  void init() {
    fill({make_item({{"sceneRoot"}, "scene root", "SceneRoot", true}),
          make_item({{"transform"}, "group", "Transform", true}),
          make_item({{"locator"}, "locator", "Locator", true}),
          make_item({{"locator", "transform"}, "group or locator", "TransformLocator", true})});
  }
};

class TypeMask : public MaskSet {
 public:
  void init() {
    fill({make_item({{"locator", "transform"}, "Loc. or Group", "TransformLocator", true}),
          make_item({{"locator"}, "Locator", "Locator", true}),
          make_item({{"transform"}, "Group", "Transform", true}),
          make_item({{"lodGroup"}, "LOD Group", "LodGroup", true}),
          make_item({{"mesh"}, "Mesh", "Mesh", true}),
          make_item({{}, "Any", "Any", false})});
  }
};

class ResultMask : public MaskSet {
 public:
  void init() {
    fill({make_item({{"fail"}, "Fail", "Fail", false}),
          make_item({{"fail", "info"}, "Fail & Info", "FailInfo", false})});
  }
};

/// Takes the choices out of the list that the host cannot produce. They stay members of the set.
void remove_unknown(const py::List& set, const py::Object& mapping) {
  static const py::Name kMapped("mapped"), kExist("exist");
  for (Py_ssize_t i = set.size() - 1; i >= 0; --i) {
    const py::Object item = set.at(i);
    if (!item.attr(kMapped).truth()) continue;
    for (const py::Object& element : py::collect(item)) {
      if (!mapping.call(kExist, element).truth()) {
        set.remove_at(i);
        break;
      }
    }
  }
}

template <class S>
py::Object make_set(const py::Object& mapping) {
  const py::Object set = py::Object::borrow(reinterpret_cast<PyObject*>(py::TypeOf<S>::type))();
  remove_unknown(py::List(set), mapping);
  return set;
}

}  // namespace

void Mask::init(const py::Object& type_mapping) {
  mapping = type_mapping;
  ghost = make_set<GhostMask>(type_mapping);
  type = make_set<TypeMask>(type_mapping);
  result = make_set<ResultMask>(type_mapping);
}

void expose_masks(const py::Scope& module) {
  PyObject* list = reinterpret_cast<PyObject*>(&PyList_Type);
  const py::Scope mask =
      py::Class<Mask>(module, "Mask",
                      "Groups of constants for assign or filter purpose in user interface.\n\n"
                      "type_mapping: tells by `exist` which types the host can produce.")
          .init<&Mask::init>({"type_mapping"})
          .readonly<&Mask::mapping>("_mapping", "Tells which types the host can produce.")
          .done();

  py::Class<MaskItem>(mask, "Item", "One choice: a list of constants with a label.")
      .derives(list)
      .init<&MaskItem::init>({py::Parameter::rest("elements"), py::Parameter::named("name", ""),
                              py::Parameter::named("attr", ""), py::Parameter::named("mapped", false)})
      .accessor<&MaskItem::get_name>("name", "The label for the user.")
      .accessor<&MaskItem::get_attr>("attr", "The name of the member in the set.")
      .accessor<&MaskItem::is_mapped>("mapped", "Are the elements scene types, which the host must produce?")
      .readonly<&MaskItem::name>("_name", "The label for the user.")
      .readonly<&MaskItem::attr>("_attr", "The name of the member in the set.")
      .readonly<&MaskItem::mapped>("_mapped", "Are the elements scene types?")
      .done();

  py::Class<MaskSet>(mask, "_Set", "A list of choices, each also a member under its `attr`.")
      .derives(list)
      .init<&MaskSet::init>({py::Parameter::rest("items")})
      .done();
  py::Class<GhostMask, MaskSet>(mask, "Ghost", "The choices for the ghost rule.").init<&GhostMask::init>({}).done();
  py::Class<TypeMask, MaskSet>(mask, "Type", "The choices for a rule's types.").init<&TypeMask::init>({}).done();
  py::Class<ResultMask, MaskSet>(mask, "Result", "The choices for showing results.")
      .init<&ResultMask::init>({})
      .done();
}

}  // namespace heron
