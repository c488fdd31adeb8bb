#include "product.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

#include "cli/json_documents.h"
#include "shell/command_runner.h"

namespace fs = std::filesystem;

namespace {

const fs::path prepared = ECLIPSE_INT_INSTANCE_DIRECTORY;

std::string quoted(const std::string& text) { return "'" + text + "'"; }

fs::path scratch_directory() {
  std::string name = (fs::temp_directory_path() / "eclipse_int-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary directory");
  return name;
}

void write(const fs::path& file, const std::string& text) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << text;
}

template <typename Value>
std::vector<Value> command_values(const nlohmann::json& result, const char* key) {
  std::vector<Value> values;
  for (const auto& command : result.at("commands")) values.push_back(command.at(key).get<Value>());
  return values;
}

/// Each file with its size and time.
using Files = std::map<fs::path, std::pair<std::uintmax_t, fs::file_time_type>>;

Files files_in(const fs::path& directory) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) files[entry.path()] = {entry.file_size(), entry.last_write_time()};
  }
  return files;
}

/// A warning of lint may be the reason.
void expect_not_green_in_vain(const Child& plan, const Child& run) {
  const bool promises_success = plan.status == 0 && plan.result["lint"]["warning"] == 0;
  EXPECT_TRUE(!promises_success || run.status == 0) << "the plan promised success: " << plan.result << run.result;
}

/// What the director said of the command and, when it failed, of each feature is what it came to.
void expect_foreseen(const Child& plan, const Outcome& run) {
  const nlohmann::json& resolution = plan.result.at("resolution");
  const std::vector<int> codes = run.exit_codes();
  if (resolution.contains("notAsked")) {
    EXPECT_TRUE(codes.empty() || plan.status == 1) << resolution;
    return;
  }
  ASSERT_FALSE(codes.empty());
  EXPECT_EQ(resolution["all"]["exitCode"], codes.front());
  EXPECT_EQ(resolution["resolves"], run.status == 0);
  EXPECT_TRUE(plan.status == run.status || plan.result["lint"]["error"] > 0) << plan.result;
  if (plan.result["removal"] || resolution["each"].empty()) return;
  std::vector<std::string> succeeded;
  ASSERT_EQ(codes.size(), 1 + resolution["each"].size());
  for (std::size_t i = 1; i < codes.size(); ++i) {
    if (codes[i] == 0) succeeded.push_back(resolution["each"][i - 1]["features"][0]);
  }
  if (resolution["expected"].is_null()) return;
  EXPECT_EQ(resolution["expected"], succeeded);
}

/// The profile says what the director says.
void expect_profile_tells(const std::string& arguments) {
  Child of_profile = eclipse_int("verify" + arguments);
  Child of_director = eclipse_int("verify --director" + arguments);
  EXPECT_EQ(of_profile.status, of_director.status);
  EXPECT_EQ(std::exchange(of_profile.result["source"], ""), "profile");
  EXPECT_EQ(std::exchange(of_director.result["source"], ""), "director");
  EXPECT_EQ(of_profile.result, of_director.result);
}

}  // namespace

Child eclipse_int(const std::string& arguments, const std::string& environment) {
  const auto run = eclipse_shell::run_in_shell(environment + " " + quoted(ECLIPSE_INT_COMMAND) + " " + arguments);
  cli_test::keep_json_document(arguments, run.output);
  auto result = nlohmann::json::parse(run.output, nullptr, false);
  if (result.is_discarded()) throw std::runtime_error("no JSON: " + run.output + run.error_output);
  return {run.exit_code, std::move(result)};
}

std::vector<int> Outcome::exit_codes() const { return command_values<int>(result, "exitCode"); }

std::vector<std::string> Outcome::commands() const { return command_values<std::string>(result, "command"); }

std::string Outcome::variable(const std::string& name) const { return result.at("variables").at("after").value(name, ""); }

Product::Product(const std::string& directory_name) : scratch_(scratch_directory()), directory_(scratch_ / directory_name) {
  fs::create_directories(directory_);
  fs::copy(prepared / "instance", directory_ / "ide", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

Product::~Product() { fs::remove_all(scratch_); }

nlohmann::json& Product::component(const std::string& code, const std::vector<std::string>& sites,
                                   const std::string& descriptor) {
  const fs::path own = directory_ / code;
  for (const std::string& site : sites) {
    fs::create_directories(own / "sites");
    fs::copy(prepared / "sites" / site, own / "sites" / site, fs::copy_options::recursive);
  }
  write(own / "etc/eclipse/features.txt", descriptor);
  components_.push_back({{"code", code},
                         {"installBase", "."},
                         {"installDir", code},
                         {"capabilities", {code + "_ECLIPSE_PLUGIN"}},
                         {"install", true},
                         {"remove", true},
                         {"package", {{"scan", code}}}});
  return components_.back();
}

nlohmann::json& Product::ide_component() {
  components_.push_back({{"code", "ide"},
                         {"installBase", "."},
                         {"installDir", "ide"},
                         {"capabilities", {"ECLIPSE_IDE"}},
                         {"install", true},
                         {"package", {{"files", {"readme.txt", "eclipse\r\n"}}}}});
  return components_.back();
}

void Product::make_site(const std::string& code, const std::string& site, const std::string& name, const std::string& version,
                        const std::string& bundle) {
  const auto made =
      eclipse_shell::run_in_shell("ECLIPSE=" + quoted(executable().string()) + " " + quoted(DIRECTOR_SCRIPTS "/make-site") +
                                  " " + quoted((directory_ / code / "sites" / site).string()) + " org.example." + name + " " +
                                  version + (bundle.empty() ? "" : " " + quoted(bundle)) + " 2>&1");
  if (made.exit_code != 0) throw std::runtime_error("no site: " + made.output);
}

std::string Product::write_session(const std::string& mode, const std::map<std::string, std::string>& variables) const {
  nlohmann::json session = {{"mode", mode},
                            {"variables",
                             {{"ECLIPSE_INTEGRATION_CHOICE", "user"},
                              {"ECLIPSE_BIN", "eclipse"},
                              {"USER_DEFINED_ECLIPSE_PATH", executable().string()},
                              {"eclipse_integration_failed_title", "These features are missing:"}}},
                            {"components", components_}};
  for (const auto& [name, value] : variables) session["variables"][name] = value;
  const fs::path file = directory_ / "session.json";
  write(file, session.dump(2));
  return quoted(file.string());
}

Outcome Product::run(const std::string& mode, const std::map<std::string, std::string>& variables) {
  const std::string arguments = " --json " + write_session(mode, variables);
  if (!FORESEES_RUNS) {
    const Child plan = eclipse_int("plan" + arguments);
    const Child run = eclipse_int("run" + arguments);
    expect_not_green_in_vain(plan, run);
    return {run.status, run.result, plan.result};
  }
  const Files before = files_in(directory_ / "ide");
  const Child plan = eclipse_int("plan --resolve" + arguments);
  EXPECT_EQ(files_in(directory_ / "ide"), before) << "the question left something in the instance";
  const Child run = eclipse_int("run" + arguments);
  expect_not_green_in_vain(plan, run);
  Outcome outcome{run.status, run.result, plan.result};
  expect_foreseen(plan, outcome);
  if (plan.result["command"].is_object() && plan.result["command"]["runsAsIntended"]) expect_profile_tells(arguments);
  return outcome;
}

std::vector<std::string> Product::installed() const {
  const auto run = eclipse_shell::run_in_shell(quoted(executable().string()) +
                                               " -nosplash -application org.eclipse.equinox.p2.director -listInstalledRoots");
  EXPECT_EQ(run.exit_code, 0) << run.output << run.error_output;
  std::vector<std::string> roots;
  std::istringstream lines(run.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("org.example.")) roots.push_back(line);
  }
  std::sort(roots.begin(), roots.end());
  return roots;
}

std::vector<std::string> features(const std::vector<std::string>& names) {
  std::vector<std::string> units;
  for (const std::string& name : names) units.push_back("org.example." + name + ".feature.group/1.0.0");
  return units;
}
