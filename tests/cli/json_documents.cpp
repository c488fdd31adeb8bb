#include "cli/json_documents.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

namespace cli_test {

namespace {

bool ask_for_json(const std::string& arguments) {
  return std::regex_search(arguments, std::regex("(^| )--(json|format[ =]json)( |$)"));
}

}  // namespace

void keep_json_document(const std::string& arguments, const std::string& output) {
  if (output.empty() || !ask_for_json(arguments)) return;
  EXPECT_TRUE(nlohmann::json::accept(output)) << "eclipse-int " << arguments << " printed no JSON:\n" << output;
  std::filesystem::create_directories(JSON_DOCUMENTS);
  std::ofstream(kept_json_document(arguments, output), std::ios::binary) << output;
}

std::string kept_json_document(const std::string& arguments, const std::string& output) {
  const std::string subcommand = arguments.substr(0, arguments.find(' '));
  return std::string(JSON_DOCUMENTS) + "/" + subcommand + "." + std::to_string(std::hash<std::string>()(output)) + ".json";
}

}  // namespace cli_test
