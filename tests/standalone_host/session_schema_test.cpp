// The JSON Schema and the reader of session files say the same of every document.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "standalone_host/session_file.h"

namespace {

using Verdicts = std::vector<std::string>;

struct Sample {
  std::string document;
  bool by_schema;
  bool by_reader;
};

Sample good(const std::string& document) { return {document, true, true}; }
Sample bad(const std::string& document) { return {document, false, false}; }
/// What JSON Schema cannot say.
Sample bad_to_reader_alone(const std::string& document) { return {document, true, false}; }

std::string session(const std::string& members) { return "{\"mode\": \"install\", \"components\": []" + members + "}"; }

std::string component(const std::string& members) {
  return R"({"mode": "install", "components": [{"code": "a", "installBase": "b", "installDir": "c")" + members + "}]}";
}

std::string package(const std::string& members) { return component(", \"package\": {" + members + "}"); }

/// Each kind of value in turn where another kind is expected.
std::vector<Sample> wrong_kinds() {
  struct Wanted {
    std::string before;
    std::string after;
    std::size_t kind;
  };
  const std::vector<std::string> values = {"null", "1", "\"install\"", "true", "[]", "{}"};
  constexpr std::size_t text = 2;
  constexpr std::size_t boolean = 3;
  constexpr std::size_t list = 4;
  constexpr std::size_t object = 5;
  const std::vector<Wanted> wanted = {
      {"{\"components\": [], \"mode\": ", "}", text},
      {"{\"mode\": \"install\", \"components\": ", "}", list},
      {"{\"mode\": \"install\", \"components\": [], \"$schema\": ", "}", text},
      {"{\"mode\": \"install\", \"components\": [], \"graphical\": ", "}", boolean},
      {"{\"mode\": \"install\", \"components\": [], \"variables\": ", "}", object},
      {"{\"mode\": \"install\", \"components\": [], \"variables\": {\"A\": ", "}}", text},
      {"{\"mode\": \"install\", \"components\": [{\"installBase\": \"\", \"installDir\": \"\", \"code\": ", "}]}", text},
      {"{\"mode\": \"install\", \"components\": [{\"code\": \"\", \"installDir\": \"\", \"installBase\": ", "}]}", text},
      {"{\"mode\": \"install\", \"components\": [{\"code\": \"\", \"installBase\": \"\", \"installDir\": ", "}]}", text}};
  std::vector<Wanted> all = wanted;
  const auto of_component = [&](const std::string& before, const std::string& after, std::size_t kind) {
    const std::string whole = component(", " + before + "@" + after);
    all.push_back({whole.substr(0, whole.find('@')), whole.substr(whole.find('@') + 1), kind});
  };
  of_component("\"capabilities\": ", "", list);
  of_component("\"capabilities\": [", "]", text);
  of_component("\"install\": ", "", boolean);
  of_component("\"remove\": ", "", boolean);
  of_component("\"installed\": ", "", boolean);
  of_component("\"package\": {\"files\": ", "}", list);
  of_component("\"package\": {\"files\": [", "]}", text);
  of_component("\"package\": {\"files\": [], \"prefix\": ", "}", text);

  std::vector<Sample> samples;
  for (const Wanted& place : all) {
    for (std::size_t kind = 0; kind < values.size(); ++kind) {
      const std::string document = place.before + values[kind] + place.after;
      samples.push_back(kind == place.kind ? good(document) : bad(document));
    }
  }
  return samples;
}

std::vector<Sample> samples() {
  std::vector<Sample> samples = {
      good(session("")),
      good(session(", \"$schema\": \"x\"")),
      good(session(", \"variables\": {}")),
      good(session(", \"variables\": {\"A\": \"\", \"a b\": \"\\n\"}")),
      good(component("")),
      good(component(", \"capabilities\": [\"A\", \"B\"]")),
      good(component(", \"capabilities\": [\"\"]")),
      good(package("\"files\": []")),
      good(package("\"scan\": \".\", \"root\": \"..\", \"prefix\": \"\"")),
      bad("[]"),
      bad("{}"),
      bad("{\"mode\": \"install\"}"),
      bad("{\"components\": []}"),
      bad("{\"mode\": \"Install\", \"components\": []}"),
      bad("{\"mode\": \"\", \"components\": []}"),
      bad(session(", \"Graphical\": true")),
      bad(session(", \"variables\": {\"KORU_MODE\": \"install\"}")),
      bad(session(", \"variables\": {\"\": \"\"}")),
      bad(session(", \"variables\": {\"A\\u0000\": \"\"}")),
      bad(session(", \"variables\": {\"A\": \"\\u0000\"}")),
      bad(component(", \"Install\": true")),
      bad(component(", \"capabilities\": [\"A\", \"A\"]")),
      bad(component(", \"capabilities\": [\"\\u0000\"]")),
      bad("{\"mode\": \"install\", \"components\": [{}]}"),
      bad("{\"mode\": \"install\", \"components\": [{\"installBase\": \"\", \"installDir\": \"\"}]}"),
      bad("{\"mode\": \"install\", \"components\": [{\"code\": \"\", \"installDir\": \"\"}]}"),
      bad("{\"mode\": \"install\", \"components\": [{\"code\": \"\", \"installBase\": \"\"}]}"),
      bad("{\"mode\": \"install\", \"components\": [{\"code\": \"a\\u0000\", \"installBase\": \"\", \"installDir\": \"\"}]}"),
      bad(package("")),
      bad(package("\"root\": \".\"")),
      bad(package("\"files\": [], \"scan\": \".\"")),
      bad(package("\"files\": [], \"roots\": \".\"")),
      bad(package("\"files\": [\"a\\u0000\"]")),
      bad(package("\"files\": [], \"root\": 1")),
      bad(package("\"scan\": []")),
      bad_to_reader_alone(package("\"files\": [], \"root\": \"missing\"")),
      bad_to_reader_alone(package("\"scan\": \"missing\"")),
      bad_to_reader_alone(session(", \"graphical\": true, \"graphical\": true")),
      bad_to_reader_alone(component("}, {\"code\": \"a\", \"installBase\": \"\", \"installDir\": \"\"")),
      bad_to_reader_alone(component(", \"capabilities\": [\"A\"]}, {\"code\": \"b\", \"installBase\": \"\", \"installDir\": "
                                    "\"\", \"capabilities\": [\"A\"]"))};
  const auto kinds = wrong_kinds();
  samples.insert(samples.end(), kinds.begin(), kinds.end());
  return samples;
}

std::string verdict(bool is_valid) { return is_valid ? "valid" : "invalid"; }

std::string verdict_of_reader(const std::string& file) {
  eclipse_host::Session session;
  try {
    read_session_file(file, session);
    return "valid";
  } catch (const eclipse_base::FileError&) {
    return "invalid";
  }
}

/// The lines that a command prints; "failed" as the only one when it does not end with 0.
Verdicts lines_of(const std::string& command) {
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return {"failed"};
  Verdicts lines;
  std::array<char, 256> line;
  while (std::fgets(line.data(), line.size(), pipe) != nullptr) {
    lines.emplace_back(line.data());
    lines.back().pop_back();
  }
  return pclose(pipe) == 0 ? lines : Verdicts{"failed"};
}

TEST(SessionSchema, SaysTheSameAsTheReader) {
  const fake::TemporaryDirectory directory;
  const auto all = samples();
  std::string command = std::string("/usr/bin/python3 ") + SCHEMA_VERDICTS + " " + SESSION_SCHEMA;
  Verdicts by_schema;
  Verdicts by_reader;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string file = std::to_string(i) + ".json";
    fake::write_file(file, all[i].document);
    command += " " + file;
    by_schema.push_back(verdict(all[i].by_schema) + " " + all[i].document);
    by_reader.push_back(verdict(all[i].by_reader));
    EXPECT_EQ(verdict_of_reader(file), by_reader.back()) << all[i].document;
  }
  Verdicts lines = lines_of(command);
  ASSERT_EQ(lines.size(), all.size());
  for (std::size_t i = 0; i < all.size(); ++i) lines[i] += " " + all[i].document;
  EXPECT_EQ(lines, by_schema);
}

}  // namespace
