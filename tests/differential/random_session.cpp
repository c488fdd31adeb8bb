#include "differential/random_session.h"

#include <algorithm>
#include <random>
#include <utility>

namespace differential {

namespace {

/// The operations that can be answered badly in an ordinary way.
const std::vector<std::string> operations = {"env_get_string",
                                             "expand_operand",
                                             "session_get_cdata",
                                             "is_gui_mode",
                                             "TSD::components",
                                             "Component::provider",
                                             "Component::installCondition",
                                             "Component::uninstallCondition",
                                             "Component::getInstalled",
                                             "Provider::findPackage",
                                             "Provider::packageFiles",
                                             "Provider::rootPath",
                                             "path",
                                             "resolved_path",
                                             "path_is_relative",
                                             "get_basename",
                                             "get_dirname",
                                             "is_file",
                                             "file_exists",
                                             "get_file",
                                             "join",
                                             "replaceAllSubstrings",
                                             "get_command_output"};

class Generator {
 public:
  Generator(std::uint64_t seed, std::string directory) : random_(seed), directory_(std::move(directory)) {}

  PlannedSession generate() {
    executable_ = pick({"eclipse", "eclipse", "eclipse", "Eclipse.exe"});
    const std::size_t count = below(5);
    for (std::size_t i = 0; i < count; ++i) add_plugin_component();
    if (often()) add_ide_component();
    if (seldom()) add_ide_component();
    if (seldom()) plan_.components.push_back(std::nullopt);
    add_capabilities();
    add_user_instance();
    add_variables();
    add_results();
    if (one_in(5)) plan_.failing_operation = operations[below(operations.size())];
    add_steps();
    return std::move(plan_);
  }

 private:
  using Choice = std::vector<std::string>;

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
  bool one_in(std::size_t count) { return below(count) == 0; }
  bool seldom() { return one_in(6); }
  bool often() { return !seldom(); }
  bool even() { return one_in(2); }
  /// An entry that stands there twice is taken twice as often.
  std::string pick(const Choice& choice) { return choice[below(choice.size())]; }
  std::string some_times(const std::string& text, std::size_t most) {
    std::string all;
    for (std::size_t count = below(most + 1); count > 0; --count) all += text;
    return all;
  }

  // ---- Descriptor files ----

  std::string column(const Choice& usual, const Choice& odd) { return often() ? pick(usual) : pick(odd); }

  std::string random_line() {
    if (one_in(10))
      return pick({"", "comment", "Repository\tFeature", "Repository\t", "repository\tFeature", "\t", "\t\t", "site"});
    std::string line =
        column({"site", "site", "other", "site.zip"}, {"", "site.ZIP", "site.zipx", ".zip", "sub/../site", "/absolute", "a b",
                                                       "%s%n", "x\ry", "\xff\xfe", "http://host/site", "site/", "si\\te"}) +
        "\t" + column({"F1", "F2", "F3", "F4"}, {"", "F1\r", "f1", "%d", "F 1", "F1,F2"});
    if (even()) return line + some_times("\t", 2);
    line += "\t" + column({"", "extra"}, {"extra ", "%n"});
    if (even()) return line;
    line += "\t" + column({"1", "2", "3", "-1", "undefined"},
                          {"", "0", "x", " 7", "+1", "-0", "5x", "5.9", "2147483647", "2147483648", "99999999999",
                           "-2147483648", "-99999999999", "Undefined", "undefined\r", "0x10", "+-1"});
    return line + (seldom() ? "\tmore" : "");
  }

  std::string random_descriptor() {
    if (one_in(12))
      return pick({"", "\n", "no columns", "Repository\tFeature\n", "site\t\textra\n", "site\t\textra\t1\n",
                   std::string("site\t\0F\nsite\tF5", 15)});
    const std::string line_end = often() ? "\n" : "\r\n";
    std::string text = one_in(10) ? "\xef\xbb\xbf" : "";
    if (even()) text += "Repository\tFeature\tExtra\tOrder" + line_end;
    for (std::size_t count = 1 + below(4); count > 0; --count) text += random_line() + line_end;
    if (one_in(20)) text += std::string(5000, 'l') + "\tF6" + line_end;
    if (seldom()) text.erase(text.size() - line_end.size());
    if (one_in(20)) text.insert(below(text.size() + 1), 1, '\0');
    return text;
  }

  // ---- Components ----

  /// A path as a package may list it.
  std::string as_listed(std::string file) {
    if (even()) std::replace(file.begin(), file.end(), '/', '\\');
    return file + (even() ? "" : pick({"\r\n", "\n", "\r", "\n\r\n"}));
  }

  void add_descriptor(const std::string& directory, std::vector<std::string>& listed) {
    const std::string file =
        pick({"", "", "share/", "g", "/"}) + "etc/eclipse/" + pick({"p.txt", "q", "sub/r", "s\rt", "p.txt"});
    listed.push_back(as_listed(file));
    if (one_in(10)) return;  // listed, but not there
    const PlannedFile::Kind kind = one_in(15)   ? PlannedFile::Kind::directory
                                   : one_in(15) ? PlannedFile::Kind::dangling_link
                                                : PlannedFile::Kind::file;
    plan_.files.push_back({directory + "/" + file, random_descriptor(), kind});
  }

  PlannedComponent random_component(const std::string& code) {
    return {
        .code = one_in(12) ? "" : code, .install = even(), .remove = even(), .installed = even(), .has_provider = !one_in(15)};
  }

  void add_plugin_component() {
    const std::string directory = "c" + std::to_string(plan_.components.size());
    PlannedComponent component = random_component(pick({"a", "ab", "b", "org.example.c"}) + directory);
    component.installBase = pick({".", ".", "./", "x/..", directory_, directory_ + "/", ""});
    component.installDir = pick({"", "", "", "/", "./"}) + directory + pick({"", "", "/"});
    if (often()) {
      component.package.emplace();
      component.package->prefix = pick({component.installDir, "/opt/x", ""});
      for (std::size_t count = below(4); count > 0; --count) add_descriptor(directory, component.package->files);
      for (std::size_t count = below(3); count > 0; --count) {
        component.package->files.push_back(
            pick({"", "bin\\tool", "etc/eclipse", "etc/Eclipse/x", "etc\\eclipse\\", "\n", "etc/eclipse-x/y", executable_}));
      }
    }
    plan_.components.push_back(component);
  }

  void add_ide_component() {
    const std::string directory = "ide" + std::to_string(plan_.components.size());
    PlannedComponent component = random_component(directory);
    component.package.emplace();
    component.package->root = column({".", directory_}, {"nowhere", "", directory + "/" + executable_});
    component.package->prefix = column({directory, "./" + directory + "/", directory_ + "/" + directory}, {"", "/"});
    for (std::size_t count = 1 + below(4); count > 0; --count) {
      const std::string file =
          pick({"", "", "bin/", "/"}) + pick({executable_, executable_, "my" + executable_, executable_ + ".ini"});
      component.package->files.push_back(as_listed(file));
      if (often()) {
        const auto kind = one_in(10) ? PlannedFile::Kind::directory : PlannedFile::Kind::file;
        plan_.files.push_back({directory + "/" + file, "", kind});
      }
    }
    if (seldom()) add_descriptor(directory, component.package->files);
    ides_.push_back(plan_.components.size());
    plan_.components.push_back(component);
  }

  void add_capabilities() {
    if (one_in(12)) return plan_.capabilities.reset();
    for (const std::size_t place : ides_) {
      if (often()) (*plan_.capabilities)[pick({"", "A", "Z"}) + "ECLIPSE_IDE" + pick({"", "_2"})] = place;
    }
    const std::size_t count = plan_.components.size();
    for (std::size_t i = 0; i < count; ++i) {
      const std::string name =
          pick({"", "MY_"}) + pick({"ECLIPSE_PLUGIN", "ECLIPSE_PLUGIN", "ECLIPSE_IDE", "JAVA", "eclipse_ide"});
      if (even()) (*plan_.capabilities)[name + pick({"", "_1", "_2"})] = i;
    }
    for (auto& [name, place] : *plan_.capabilities) {
      if (one_in(12)) place.reset();
    }
  }

  // ---- The user's instance ----

  std::string random_configuration() {
    return pick({"", "osgi=1\n", "#\neclipse.buildId="}) +
           pick({"", "eclipse.buildId=", "eclipse.buildId=", "eclipse.buildId=", "eclipse.buildId=", "Eclipse.buildId="}) +
           pick({"4.5", "4.5.2.v2016", "4.10", "4.4", "10.0", "", std::string("4\0.5", 4), "\xc3\xa4"}) +
           pick({"\n", "\n", "\r\n", "", "\nosgi=2\neclipse.buildId=9\n"});
  }

  void add_user_instance() {
    const std::string name = pick({executable_, executable_, "ECLIPSE", "other"});
    if (often()) plan_.files.push_back({"user/" + name});
    if (often()) {
      const auto kind = one_in(15) ? PlannedFile::Kind::directory : PlannedFile::Kind::file;
      plan_.files.push_back({"user/configuration/config.ini", random_configuration(), kind});
    }
    user_path_ = column({"user/" + name, directory_ + "/user/" + name},
                        {"", "user\\" + name, "user/" + name + "\r\n", "user", "missing/eclipse", "\n", name, "user//" + name});
  }

  // ---- Variables, commands and steps ----

  std::string random_choice() { return pick({"internal", "internal", "user", "user", "none", "", "Internal"}); }
  std::string random_mode() { return pick({"install", "modify", "uninstall", "", "Install"}); }
  std::string random_cache() { return pick({user_path_, "", "elsewhere/eclipse"}); }

  void add_variables() {
    plan_.variables = {{"ECLIPSE_INTEGRATION_CHOICE", random_choice()},
                       {"KORU_MODE", random_mode()},
                       {"ECLIPSE_BIN", !one_in(10) ? executable_ : pick({"", "eclipse", "bin/eclipse", "e"})},
                       {"USER_DEFINED_ECLIPSE_PATH", user_path_},
                       {"CASHED_ECLIPSE_PATH", random_cache()},
                       {"ECLIPSE_MIN_SUPPORTED_VERSION", pick({"4.5", "4.5", "4.7", "4.5\r", "", "\x7f"})},
                       {"ECLIPSE_VERSION", pick({"", "4.3"})},
                       {"QN_SCRIPTS_COMPLETE_DESC", pick({"", "done", "%s"})},
                       {"eclipse_integration_failed_title", pick({"", "Failed:"})},
                       {"ECLIPSE_PATH", pick({"", "old"})}};
    plan_.graphical = even();
  }

  void add_results() {
    plan_.results.clear();
    for (std::size_t count = 1 + below(5); count > 0; --count) {
      const std::string output =
          pick({"", "ok\n", "first\nsecond\n", "\n\n", "100%s%n", "<p>", std::string("a\0b", 3), "\r\n"});
      const int code = even() ? 0 : static_cast<int>(below(3) == 0 ? below(256) : 13) - static_cast<int>(below(2));
      plan_.results.push_back({output, "", code, 0});
    }
    if (even()) plan_.results.front().exit_code = 13;
  }

  Step random_change() {
    switch (below(4)) {
      case 0:
        return set_variable("ECLIPSE_INTEGRATION_CHOICE", random_choice());
      case 1:
        return set_variable("KORU_MODE", random_mode());
      case 2:
        return set_variable("USER_DEFINED_ECLIPSE_PATH", even() ? user_path_ : "");
      default:
        return set_variable("CASHED_ECLIPSE_PATH", random_cache());
    }
  }

  Step random_function() {
    const int mode = static_cast<int>(below(4));
    const bool filter = even();
    switch (below(10)) {
      case 0:
        return match_codes(pick({"", "a", "ab", "org.example.", "ac0"}));
      case 1:
        return match_contents(pick({"", "etc/eclipse/p", "/opt/xetc", "\n", executable_, "\\"}));
      case 2:
        return list_ide_components();
      case 3:
        return find_executable(pick({executable_, "", "bin/" + executable_, "i"}));
      case 4:
        return list_integration_files(mode, filter);
      case 5:
        return list_plugins(mode, filter);
      case 6:
        return list_eclipses(mode, filter);
      case 7:
        return read_descriptor(pick({"c0", "c1/", "", "."}), pick({"etc/eclipse/p.txt", "etc/eclipse", "missing", ""}));
      case 8:
        return integrate_into(even() ? user_path_ : directory_);
      default:
        return unintegrate_from(even() ? user_path_ : directory_);
    }
  }

  void add_steps() {
    for (const exports::Action& action : exports::actions) plan_.steps.push_back(call_action(action));
    for (std::size_t count = below(5); count > 0; --count) plan_.steps.push_back(random_change());
    for (std::size_t count = below(5); count > 0; --count) plan_.steps.push_back(random_function());
    if (even()) plan_.steps.push_back(call_action(exports::actions[6]));
    if (even()) plan_.steps.push_back(call_action(exports::actions[7]));
    for (std::size_t i = plan_.steps.size(); i > 1; --i) std::swap(plan_.steps[i - 1], plan_.steps[below(i)]);
  }

  std::mt19937_64 random_;
  const std::string directory_;
  std::string executable_;
  std::string user_path_;
  std::vector<std::size_t> ides_;
  PlannedSession plan_;
};

}  // namespace

PlannedSession random_session(std::uint64_t seed, const std::string& directory) {
  return Generator(seed, directory).generate();
}

}  // namespace differential
