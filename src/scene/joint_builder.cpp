#include "scene/joint_builder.h"

#include "foundation/constants.h"
#include "foundation/text.h"
#include "scene/joint.h"

namespace heron {

py::List JointBuilder::build(const MatchTree& tree) {
  const py::Depth depth(" while a host hears of joints");  // it may have joints built again
  // A hierarchy may be deeper than the stack, so the layers that are under way stand on one of our own.
  struct Level {
    MatchTree::Layer left;
    py::List joints;
  };
  if (tree.layers.empty()) return {};
  std::vector<Level> levels;
  levels.push_back({tree.layers.front(), {}});
  while (true) {
    Level& level = levels.back();
    if (level.left.begin < level.left.end) {
      const MatchTree::Node& node = tree.nodes[level.left.begin];
      if (node.below == MatchTree::kNothing) {
        level.joints.append(joint(node.pairing, py::Object()));
        ++level.left.begin;
      } else {
        levels.push_back({tree.layers[node.below], {}});
      }
      continue;
    }
    const py::List built = level.joints;
    levels.pop_back();
    if (levels.empty()) return built;
    Level& parent = levels.back();
    parent.joints.append(joint(tree.nodes[parent.left.begin++].pairing, built));
  }
}

py::List JointBuilder::under_ghost(const py::List& joints) const {
  static const auto* type = new py::Object(to_str(py::text(constants::kGhost)));
  py::List ghosts;
  if (joints.empty()) return ghosts;
  static const py::Name kName("name");
  auto ghost = py::Ref<DataJoint>::make();
  ghost->init(py::text(""), joints.at(0).attr(kName), py::text("|"), *type, joints, py::text("Ghost"),
              py::text("none"));
  ghosts.append(ghost);
  host_.scan_appended(ghost);
  return ghosts;
}

const JointBuilder::Face& JointBuilder::face(const ScopePlan& scope) {
  const std::size_t number = scope.rule->number;
  if (faces_.size() <= number) faces_.resize(number + 1);
  Face& face = faces_[number];
  if (!face.stamp) {
    const py::Object& rule = run_.pattern().rule(scope);
    face = {to_str(rule.attr(fields::kStamp)), to_str(rule.attr(fields::kName)), rule.attr(fields::kIcon),
            rule.attr(fields::kColor)};
  }
  return face;
}

py::Object JointBuilder::joint(const Pairing& pairing, const py::Object& children) {
  const Face& common = face(*pairing.scope);
  auto joint = py::Ref<DataJoint>::make();
  joint->init(common.stamp, run_.name(pairing.object), run_.path(pairing.object), common.type, children, common.icon,
              common.color);
  host_.scan_appended(joint);
  return joint;
}

}  // namespace heron
