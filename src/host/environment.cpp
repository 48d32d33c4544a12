#include "host/environment.h"

#include "files/paths.h"
#include "foundation/constants.h"
#include "foundation/not_implemented.h"
#include "foundation/process_environment.h"
#include "foundation/safe_access.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kUserHome("user_home"), kName("name"), kRoot("root"), kTarget("target"), kScope("scope");
const py::Name kGetSettingsFile("get_settings_file"), kGetSettingsDirectory("get_settings_directory");
const py::Name kGetProjectsDirectory("get_projects_directory"), kGetStatisticsFile("get_statistics_file");
const py::Name kDecodeUser("decode_user"), kEncodeUser("encode_user");

/// Few systems beside Windows have the variable.
py::Object find_user_home() {
  static const py::Name kUserProfile("USERPROFILE"), kExpandUser("expanduser");
  const py::Object home = process_environment::get(kUserProfile);
  return home.truth() ? home : py::modules::path.call(kExpandUser, py::text("~"));
}

/// The user's home as the class says now.
py::Object user_home() {
  const auto type = py::Object::borrow(reinterpret_cast<PyObject*>(py::TypeOf<Environment>::type));
  return paths::normalised(type.attr(kUserHome));
}

py::Object replaced(const py::Object& path, const py::Object& old, const py::Object& fresh) {
  static const py::Name kReplace("replace");
  return path.call(kReplace, old, fresh).call(kReplace, py::text("\\"), py::text("/"));
}

py::Object made_directory(const py::Object& parent, const py::Object& name) {
  py::Object directory = paths::join(parent, name);
  paths::make_directory(directory);
  return directory;
}

bool gives_path(const py::Object& instance, const py::Name& name, const auto&... arguments) {
  const py::Object function = safe_access::operation(instance, name);
  return function && paths::is_path(safe_access::call([&] { return function(arguments...); }));
}

}  // namespace

void Environment::init() const {
  const py::Object self = py::object_of(*this);
  process_environment::set("HERON-SETTINGS", paths::plain(self.call(kGetSettingsDirectory)));
  process_environment::set("HERON-TARGET", self.attr(kTarget));
  process_environment::set("HERON-SCOPE", self.attr(kScope));
}

py::Object Environment::root() const {
  const py::Object self = py::object_of(*this);
  return made_directory(self.attr(kUserHome), self.attr(kName));
}

py::Object Environment::target() const { not_implemented("target"); }
py::Object Environment::scope() const { not_implemented("scope"); }
void Environment::get_settings_file() const { not_implemented("get_settings_file"); }
void Environment::get_settings_directory() const { not_implemented("get_settings_directory"); }
void Environment::get_projects_directory() const { not_implemented("get_projects_directory"); }
void Environment::get_statistics_file() const { not_implemented("get_statistics_file"); }

py::Object Environment::decode_user(const py::Object& path) {
  return replaced(paths::normalised(path), py::text("~"), user_home());
}

py::Object Environment::encode_user(const py::Object& path) {
  return replaced(paths::normalised(path), user_home(), py::text("~"));
}

void LocalEnv::init() {
  const py::Object self = py::object_of(*this);
  settings = made_directory(self.attr(kRoot), self.attr(kTarget));
  projects = made_directory(settings, py::text("projects"));
  Environment::init();
}

py::Object LocalEnv::root() const {
  static const py::Name kFile("__file__");
  return made_directory(paths::directory(py::modules::core.attr(kFile)), py::object_of(*this).attr(kName));
}

py::Object LocalEnv::target() const { return to_str(py::text(constants::kStandalone)); }

py::Object LocalEnv::scope() const {
  static const py::Name kSystem("system"), kRelease("release");
  return format("{}{}", {py::modules::platform.call(kSystem), py::modules::platform.call(kRelease)});
}

py::Object LocalEnv::get_settings_file() const { return paths::join(settings, py::text("settings.json")); }
py::Object LocalEnv::get_statistics_file() const { return paths::join(settings, py::text("statistics.json")); }

bool is_environment(const py::Object& instance) {
  for (const auto* name : {&kGetSettingsFile, &kGetSettingsDirectory, &kGetProjectsDirectory, &kGetStatisticsFile}) {
    if (!gives_path(instance, *name)) return false;
  }
  for (const auto* name : {&kDecodeUser, &kEncodeUser}) {
    if (!gives_path(instance, *name, py::text("~"))) return false;
  }
  return true;
}

void expose_environment(const py::Scope& module, const py::Scope& assertions) {
  py::Class<Environment>(
      module, "Environment",
      "An abstract class that tells where one host application keeps its files.\n\n"
      "A front-end derives its own class from it and implements every operation and accessor whose text does not say "
      "more; each raises NotImplementedError here. The constructor of a derived class calls this one's at its end: it "
      "asks for the settings directory, the target and the scope, and puts them into the environment of the process as "
      "\"HERON-SETTINGS\", \"HERON-TARGET\" and \"HERON-SCOPE\".\n\n"
      "user_home: the value of \"USERPROFILE\" when the library was loaded, or else the user's home directory. name: "
      "the name of the hidden directory in it. `root` takes both from the instance, so that a derived class can have "
      "its own; `decode_user` and `encode_user`, which have no instance, take the home from `Environment` itself.")
      .copies()
      .init<&Environment::init>({})
      .attribute("user_home", find_user_home())
      .attribute("name", py::text(".heron"))
      .accessor<&Environment::root>(
          "root", "str: The hidden directory in the user's home, which is created if missing; the home must exist.")
      .accessor<&Environment::target>("target", "str: The host, one of the texts of `Constants.Plugin.Target`.")
      .accessor<&Environment::scope>("scope", "str: The host's version, dotted.")
      .operation<&Environment::get_settings_file>("get_settings_file", "The path of the settings file.")
      .operation<&Environment::get_settings_directory>("get_settings_directory", "The directory of the settings.")
      .operation<&Environment::get_projects_directory>("get_projects_directory", "The directory of the projects.")
      .operation<&Environment::get_statistics_file>("get_statistics_file", "The path of the statistics file.")
      .static_operation<&Environment::decode_user>(
          "decode_user", {"path"},
          "A stored path as a real one: normalised, each \"~\" replaced by the user's home, with forward slashes.")
      .static_operation<&Environment::encode_user>(
          "encode_user", {"path"},
          "A path as it is stored: normalised, the user's home replaced by \"~\", with forward slashes.")
      .done();

  py::Class<LocalEnv, Environment>(
      module, "_LocalEnv",
      "The environment of the standalone case, with everything beside the library's file.\n\n"
      "The constructor creates what directories are missing; the parent of the first must exist.")
      .copies()
      .init<&LocalEnv::init>({})
      .accessor<&LocalEnv::root>("root", "str: The hidden directory beside the library's file, created if missing.")
      .accessor<&LocalEnv::target>("target", "str: `Constants.Plugin.Target.Standalone`.")
      .accessor<&LocalEnv::scope>("scope", "str: The operating system's name and its release, as one word.")
      .operation<&LocalEnv::get_settings_file>("get_settings_file", "\"settings.json\" in the settings directory.")
      .operation<&LocalEnv::get_settings_directory>("get_settings_directory", "The target's directory in `root`.")
      .operation<&LocalEnv::get_projects_directory>("get_projects_directory", "\"projects\" in the settings directory.")
      .operation<&LocalEnv::get_statistics_file>("get_statistics_file",
                                                 "\"statistics.json\" in the settings directory.")
      .readonly<&LocalEnv::settings>("_settings", "str: The settings directory.")
      .readonly<&LocalEnv::projects>("_projects", "str: The projects directory.")
      .done();

  const py::Scope test = py::make_namespace(assertions, "Environment", "Tests of environments.");
  py::function<&is_environment>(
      test, "is_valid", {"instance"},
      "Whether an object can serve as the `Environment`: its four paths are texts or path objects, and so is "
      "\"~\" decoded and encoded. What it raises is logged, and counts as no.");
}

}  // namespace heron
