#include "cli/child_command.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <regex>
#include <sstream>

#include "cli/json_documents.h"

namespace cli_test {

namespace {

constexpr const char* director = R"(#!/bin/sh
here=$(dirname "$0")
echo "$*" >> "$here/calls"
start=$(wc -l < "$here/calls")
if [ -f "$here/$start.sh" ]; then . "$here/$start.sh"; fi
case $* in *' -listInstalledRoots' | *' -verifyOnly'*) echo 'Operation completed in 8 ms.' ;; esac
if [ -f "$here/leaves-states" ]; then
  for newest in "$here"/p2/org.eclipse.equinox.p2.engine/profileRegistry/*.profile/*.profile; do :; done
  time=${newest##*/}
  cp "$newest" "${newest%/*}/$((${time%.profile} + 1)).profile"
fi
)";

/// With what differs from run to run replaced.
std::string settled(std::string text, const std::string& directory) {
  for (std::size_t at; (at = text.find(directory)) != std::string::npos;) text.replace(at, directory.size(), "DIRECTORY");
  return std::regex_replace(text, std::regex("[0-9]+\\.[0-9] s"), "N s");
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* stream) {
  *stream << "status " << outcome.status << "\n-- output\n" << outcome.output << "-- error\n" << outcome.error << "--";
}

std::string content_of(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

std::string members(const std::map<std::string, std::string>& texts) { return nlohmann::json(texts).dump(); }

ChildCommand::ChildCommand() {
  fake::write_file("eclipse/eclipse", director);
  std::filesystem::permissions("eclipse/eclipse", std::filesystem::perms(0755));
  fake::write_file("tools/etc/eclipse/tools.txt", "Repository\tFeature\nsite\tone\nsite\ttwo\n");
}

Outcome ChildCommand::eclipse_int(const std::string& arguments, const std::string& starter) const {
  const std::string command = starter + " " + std::string(ECLIPSE_INT_COMMAND) + " " + arguments;
  const int status = std::system(("( " + command + "\n) > .output 2> .error").c_str());
  if (arguments.find('>') == std::string::npos) keep_json_document(arguments, content_of(".output"));
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), settled(content_of(".output"), directory.path()),
          settled(content_of(".error"), directory.path())};
}

std::string ChildCommand::memory_limit(int megabytes) const {
  std::string limit = "ulimit -v " + std::to_string(megabytes * 1000) + "; ";
  return eclipse_int("--version > /dev/null", limit).status == 0 ? limit : "";
}

void ChildCommand::write_session(const std::string& mode, const std::map<std::string, std::string>& variables,
                                 const std::string& state) const {
  std::map<std::string, std::string> all = variables;
  all.merge(std::map<std::string, std::string>{{"ECLIPSE_INTEGRATION_CHOICE", "user"},
                                               {"ECLIPSE_BIN", "eclipse"},
                                               {"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"},
                                               {"eclipse_integration_failed_title", "These failed:"}});
  fake::write_file("session.json",
                   "{\"mode\": \"" + mode + "\", \"variables\": " + members(all) +
                       ", \"components\": [{\"code\": \"tools\", \"installBase\": \".\", \"installDir\": \"tools\", "
                       "\"capabilities\": [\"TOOLS_ECLIPSE_PLUGIN\"], \"package\": {\"scan\": \"tools\"}, " +
                       state + "}]}");
}

void ChildCommand::write_offer() {
  fake::write_file("tools/site/content.xml",
                   "<repository><units><unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'/></units></repository>");
}

void ChildCommand::script(int start, const std::string& commands) const {
  fake::write_file("eclipse/" + std::to_string(start) + ".sh", commands + "\n");
}

void ChildCommand::let_director_leave_states() { fake::write_file("eclipse/leaves-states", ""); }

std::string ChildCommand::director_calls() const { return settled(content_of("eclipse/calls"), directory.path()); }

std::string install_arguments(const std::string& features) {
  return "-nosplash -application org.eclipse.equinox.p2.director -repository file://DIRECTORY/tools/site -i " + features;
}

std::string removal_arguments(const std::string& features) {
  return "-nosplash -application org.eclipse.equinox.p2.director -u " + features;
}

}  // namespace cli_test
