// The matching by itself: what its users reach only by luck, against plain writings of the same.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "matching/capture_index.h"
#include "matching/layer_shelf.h"
#include "matching/native_matcher.h"
#include "matching/rule_book.h"
#include "matching/snapshot.h"

using namespace heron;

#define CHECK(condition) \
  if (!(condition)) failed = std::fprintf(stderr, "line %d: %s does not hold\n", __LINE__, #condition)

namespace {

int failed = 0;

std::mt19937 numbers;  // the same in every run

std::size_t draw(std::size_t below) { return numbers() % below; }

std::string draw_text(const std::string& characters, std::size_t longest) {
  std::string text(draw(longest + 1), ' ');
  for (char& c : text) c = characters[draw(characters.size())];
  return text;
}

void test_snapshot() {
  auto first = std::make_unique<Snapshot>();
  const ObjectId a = first->mention("/a"), b = first->mention("/a/b");
  CHECK(first->mention("/a") == a && first->find("/a/b") == b && !first->find("/"));
  first->set_exists(a, true);
  first->describe(a, "name", "mesh");
  first->set_children(a, {b});
  const Snapshot copy(*first);
  first = nullptr;
  CHECK(copy.is_found(a) && copy.view(a).path == "/a" && copy.view(a).name == "name" && copy.view(a).type == "mesh");
}

void test_layer_shelf() {
  for (int round = 0; round < 2000; ++round) {
    std::vector<ObjectId> objects(1 + draw(9));
    std::iota(objects.begin(), objects.end(), ObjectId{0});
    LayerShelf shelf(objects);
    std::set<ObjectId> gone, taken;
    for (int step = 0; step < 20; ++step) {
      const auto at = static_cast<LayerShelf::Position>(draw(objects.size()));
      const std::size_t operation = draw(5), scope = draw(2), limit = draw(4);
      if (operation == 0) {
        shelf.begin_guess();
        taken.clear();
      } else if (operation == 1) {
        shelf.take(at);
        taken.insert(at);
      } else if (operation == 2) {
        shelf.remove(at);
        gone.insert(at);
      }
      std::vector<ObjectId> left, found, expected;
      std::copy_if(objects.begin(), objects.end(), std::back_inserter(left),
                   [&](ObjectId object) { return !gone.contains(object) && !taken.contains(object); });
      std::copy_if(left.begin(), left.end(), std::back_inserter(expected),
                   [&](ObjectId object) { return object % 3 != scope; });
      expected.resize(std::min(expected.size(), limit + 1));
      shelf.walk(scope, [&](LayerShelf::Position position) {
        if (position % 3 == scope) return LayerShelf::Wish::kDismiss;
        found.push_back(shelf.object(position));
        return found.size() > limit ? LayerShelf::Wish::kStop : LayerShelf::Wish::kStay;
      });
      CHECK(found == expected && shelf.free() == left && shelf.all_taken() == left.empty());
    }
  }
}

/// The parents of a path, each with a separator after it.
std::string parents(std::string path) {
  std::replace_if(path.begin(), path.end(), [](char c) { return c == '|' || c == '\\'; }, '/');
  path.erase(std::unique(path.begin(), path.end(), [](char a, char b) { return a == '/' && b == '/'; }), path.end());
  if (path.ends_with('/')) path.pop_back();
  path.erase(path.rfind('/') + 1);
  return path.starts_with('/') ? path.substr(1) : path;
}

/// How much of a path a scope does not share, the scope, and the text: the closest are the smallest.
using Rank = std::tuple<std::size_t, std::string, std::string>;

std::set<Rank> visible(const CaptureLink* link, const std::string& path) {
  std::set<Rank> found;
  for (; link != nullptr; link = link->before.get()) {
    const auto& [text, scope] = link->capture;
    std::size_t shared = 0;
    while (shared < std::min(path.size(), scope.size()) && path[shared] == scope[shared]) ++shared;
    if (!text.empty() && parents(path).starts_with(parents(scope))) found.emplace(path.size() - shared, scope, text);
  }
  return found;
}

void test_capture_index() {
  for (int round = 0; round < 3000; ++round) {
    CaptureIndex index;
    std::vector<CaptureChain> chains = {nullptr};
    for (int step = 0; step < 15; ++step) {
      const CaptureChain before = chains[draw(chains.size())];  // states go back and forth
      index.follow(before);
      const Capture capture{draw_text("xy", 1), draw_text("/|\\ab~", 6)};
      const auto link = std::make_shared<const CaptureLink>(before, 0, capture);
      if (index.extend(link)) chains.push_back(link);
      const std::string path = draw_text("/|\\ab~", 7);
      const auto plain = visible((chains.back() == link ? link : before).get(), path);
      const Capture* found = index.closest(0, path);
      CHECK((found == nullptr) == plain.empty());
      CHECK(found == nullptr || plain.empty() ||
            (Capture{std::get<2>(*plain.begin()), std::get<1>(*plain.begin())} == *found));
    }
  }
  AnchorState state;
  for (int number = 0; number < 1'000'000; ++number) state.add(0, {});
  state = {};  // dropped without recursion
}

/// Stands for the runtime.
struct Counter : NameMatcher {
  bool match(std::string_view, std::string_view) override { return ++asked > 0; }
  std::string remove_all(std::string_view, std::string_view) override { return "a"; }
  int asked = 0;
};

void test_native_matcher() {
  Counter runtime;
  NativeMatcher matcher(runtime);
  const std::string name = std::string(5000, 'a') + "c";
  for (const char* expression : {"^(a+)+$", "^(?:a|aa)+$", "^(a|a)*b$", "^(a+?){2,}b",
                                 "^(?:(?:.+x)+y)+$"}) {  // in time that grows with the name
    CHECK(!matcher.match(expression, name) && matcher.remove_all(std::string("^!|") + expression, name) == name);
  }
  for (int number = 0; number < 5000; ++number) {  // more than are remembered, each twice
    const std::string part = "part" + std::to_string(number % 2500);
    CHECK(matcher.match("^" + part + "_\\d$", part + "_7") && !matcher.match("^" + part + "_\\d$", part + "0_7"));
  }
  CHECK(runtime.asked == 0 && matcher.match("(?=a)", "a") && runtime.asked == 1);
}

void test_rule_book() {
  Counter runtime;
  Snapshot snapshot;
  const ObjectId object = snapshot.mention("/ab");
  snapshot.describe(object, "ab", "mesh");
  const auto definitions = std::make_shared<Definitions>();
  definitions->add("<n:a>");
  AnchorState state{definitions, nullptr};
  AnchorLogic logic(state, runtime);
  RuleBook rules(logic, snapshot);
  RulePlan rule;
  rule.regex = "^<n:a>b";
  CHECK(rules.matches(rule, object) && rules.matches(rule, object) && runtime.asked == 1);
  CHECK(rules.is_fixed(rule) && rules.captures(rule) && state.tables()[0] == std::vector<Capture>({{"a", "/ab"}}));
  state = AnchorState();
  CHECK(rules.matches(rule, object) && !rules.captures(rule) && runtime.asked == 2);  // what was known is forgotten
}

}  // namespace

int main() {
  for (const auto test : {test_snapshot, test_layer_shelf, test_capture_index, test_native_matcher, test_rule_book})
    test();
  return failed == 0 ? 0 : 1;
}
