#pragma once

#include "runtime/object.h"

/// The names by which inputs are used, and the keys of their JSON forms.
namespace heron::names {

inline const py::Name kAttr("attr"), kData("data"), kLoad("load"), kClone("clone");
inline const py::Name kValue("value"), kText("text"), kEnabled("enabled"), kSelectedAttr("selected_attr");
inline const py::Name kMinimum("minimum"), kMaximum("maximum"), kStep("step"), kPrefix("prefix"), kUnits("units");
inline const py::Name kStart("start"), kStop("stop");
inline const py::Name kAsInfo("as_info"), kState("state"), kDeepCopy("deepcopy");

}  // namespace heron::names
