// Whatever comes from outside, nothing that steers a terminal, hides something or forges a line is printed or logged: every
// byte and every character that controls or formats is sent through each way out.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/child_command.h"

namespace cli_test {

namespace {

/// The general categories Cc, Cf, Zl and Zp of Unicode 14 beyond ASCII, as Python's unicodedata lists them.
const std::vector<std::pair<char32_t, char32_t>> controls = {
    {0x80, 0x9F},       {0xAD, 0xAD},       {0x600, 0x605},     {0x61C, 0x61C},     {0x6DD, 0x6DD},     {0x70F, 0x70F},
    {0x890, 0x891},     {0x8E2, 0x8E2},     {0x180E, 0x180E},   {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x2064},
    {0x2066, 0x206F},   {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFB},   {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x13438},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F}};

std::string utf8(char32_t code) {
  const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x800) return {static_cast<char>(0xC0U | (code >> 6U)), tail(0)};
  if (code < 0x10000) return {static_cast<char>(0xE0U | (code >> 12U)), tail(6), tail(0)};
  return {static_cast<char>(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)};
}

std::string every_control() {
  std::string text;
  for (const auto& [first, last] : controls) {
    for (char32_t code = first; code <= last; ++code) text += utf8(code);
  }
  return text;
}

/// The bytes from `first` to `last` except those in `without`.
std::string bytes(int first, int last, std::string_view without = "") {
  std::string text;
  for (int byte = first; byte <= last; ++byte) {
    if (without.find(static_cast<char>(byte)) == without.npos) text += static_cast<char>(byte);
  }
  return text;
}

/// ASCII controls, and bytes that are not UTF-8; short enough for a name of a file.
const std::string odd_bytes = bytes(0x01, 0x1F) + "\x7F" + bytes(0x80, 0xFF);
/// Characters that some terminals obey, that reverse the text behind them, and that end a line.
const std::string odd_characters =
    "\xC2\x9B"
    "2J\xE2\x80\xAE\xE2\x80\xA8\xE2\x80\xA9\xEF\xBB\xBF\x1B]0;title\x07\r\nFORGED\n";
const std::string odd_name = "o" + odd_characters + odd_bytes + "o";
/// In one column of a descriptor file, and in a unit.
const std::string odd_column =
    "o" + std::string("\0", 1) + bytes(0x01, 0x1F, "\t\n\v\f\r") + "\x7F" + bytes(0x80, 0xFF) + every_control();

/// In a session file.
std::string odd_text() { return "o" + bytes(0x01, 0x1F) + "\x7F" + every_control() + odd_characters + "o"; }

std::string in_shell_quotes(const std::string& text) { return "'" + text + "'"; }

/// What must not be printed, in hexadecimal; empty when there is nothing of it. Line feeds are looked at elsewhere.
std::string raw_in(std::string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if ((byte < 0x20 && byte != '\n') || byte == 0x7F) return "byte " + std::to_string(byte) + " at " + std::to_string(at);
  }
  for (const auto& [first, last] : controls) {
    for (char32_t code = first; code <= last; ++code) {
      if (text.find(utf8(code)) != text.npos) return "character " + std::to_string(code);
    }
  }
  // A byte that is not UTF-8 stands where a character should begin, or a character is cut.
  try {
    static_cast<void>(nlohmann::json(text).dump());
  } catch (const nlohmann::json::type_error& error) {
    return error.what();
  }
  return "";
}

/// Whether a text from outside has begun a line.
bool is_forged(std::string_view text) { return text.starts_with("FORGED") || text.find("\nFORGED") != text.npos; }

class PrintedBytes : public ChildCommand {
 protected:
  /// All that the command prints and logs.
  std::string printed(const std::string& arguments, const std::string& starter = "") const {
    std::filesystem::remove("log");
    const Outcome outcome = eclipse_int(arguments, starter);
    return outcome.output + outcome.error + content_of("log");
  }

  /// That a text from outside is printed, and is printable.
  void expect_printable(const std::string& arguments, const std::string& escape = "\\x1B") const {
    const std::string text = printed(arguments);
    EXPECT_EQ(raw_in(text), "") << arguments << "\n" << text;
    EXPECT_FALSE(is_forged(text)) << arguments << "\n" << text;
    EXPECT_NE(text.find(escape), std::string::npos) << arguments << "\n" << text;
  }

  /// A document of ASCII characters, which any terminal shows as they are.
  void expect_ascii_document(const std::string& arguments, const std::string& escape = "") const {
    const std::string text = eclipse_int(arguments).output;
    const auto is_shown = [](char byte) { return byte == '\n' || (0x20 <= byte && byte < 0x7F); };
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), is_shown)) << arguments << "\n" << text;
    EXPECT_TRUE(nlohmann::json::accept(text)) << arguments << "\n" << text;
    const bool is_escaped = text.find("\\u001b") != text.npos || text.find("\\\\x1B") != text.npos;
    EXPECT_TRUE(escape.empty() ? is_escaped : text.find(escape) != text.npos) << arguments << "\n" << text;
  }

  static void write_descriptor(const std::string& name) {
    fake::write_file("tools/etc/eclipse/" + name, "Repository\tFeature\tExtra\tOrder\nsite\tone\nsite\ttwo\nsite" + odd_column +
                                                      "\tt" + odd_column + "\t" + odd_column + "\t" + odd_column + "\n");
  }

  /// As the director prints it: every byte.
  static void write_output() {
    fake::write_file("output", bytes(0x00, 0xFF) + odd_name + odd_column + odd_text() + "\n" + odd_characters + "\nthe end\n");
  }
};

TEST_F(PrintedBytes, OfADirectorAreVisible) {
  write_session("install", {{"eclipse_integration_failed_title", odd_text()}});
  write_output();
  const std::string log =
      "mkdir -p \"$here/configuration\"; (echo '!SESSION s'; for i in 1 2; do echo '!ENTRY p 4 0 t'; "
      "printf '!MESSAGE '; cat output; done; echo '!STACK 0'; cat output) "
      "> \"$here/configuration/\"" +
      in_shell_quotes(odd_name.substr(1) + ".log") + "; ";
  for (const bool has_log : {false, true}) {
    for (int i = 1; i <= 9; ++i) {
      script(i, (has_log ? log : "echo Installation failed.; ") + "cat output; cat output >&2; exit 13");
    }
    for (const std::string arguments : {"run session.json --log log", "run session.json --verify --log log",
                                        "call perform_integration session.json", "verify session.json"}) {
      std::filesystem::remove_all("eclipse/configuration");
      std::filesystem::remove("eclipse/calls");
      expect_printable(arguments);
    }
    for (const std::string arguments : {"run session.json --json", "call perform_integration session.json --json"}) {
      std::filesystem::remove("eclipse/calls");
      expect_ascii_document(arguments);
    }
    std::filesystem::remove("eclipse/calls");
    const Outcome outcome = eclipse_int("run session.json --json --log log");
    const std::string log_file = content_of("log");
    EXPECT_EQ(static_cast<std::size_t>(std::count(log_file.begin(), log_file.end(), '\n')),
              nlohmann::json::parse(outcome.output).at("log").size())
        << "each record is one line: " << log_file;
  }
}

TEST_F(PrintedBytes, OfAnOutputThatComesInPiecesAreVisible) {
  write_session("install");
  write_output();
  script(1, "i=1; while [ $i -le 1500 ]; do dd if=output bs=1 count=1 skip=$i 2> /dev/null; i=$((i + 13)); done");
  expect_printable("run session.json --log log", "\\x");
}

TEST_F(PrintedBytes, OfUnitsAndTheirRequirersAreVisible) {
  write_session("install");
  const std::string id = "o" + bytes(0x01, 0x1F, "\t\n\v\f\r") + odd_column.substr(40);
  fake::write_file("units", "one/1.0.0\n" + id + "/1" + id + "\n");
  script(1, "cat units");
  script(2, "cat units");
  script(4, "cat units");
  expect_printable("verify session.json", "two is not installed");
  expect_ascii_document("verify session.json --json");
  expect_printable("run session.json --verify --log log");
  // A number for a character is all that XML admits of most of them.
  std::string number;
  for (const char* const code : {"x85", "x9B", "x202E", "x2028", "xAD", "9", "10", "13"})
    number.append("&#").append(code) += ';';
  fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile><units><unit id='one' version='1'/><unit id='two' version='2" + number + "'/><unit id='r" +
                       number +
                       "FORGED' version='1'><requires><required namespace='osgi.bundle' name='one'/></requires></unit></units>"
                       "</profile>");
  std::filesystem::remove("eclipse/calls");
  script(1, "");
  expect_printable("verify session.json", "required by r\\u0085\\u009B\\u202E\\u2028");
  write_session("uninstall", {}, "\"remove\": true");
  fake::write_file("tools/etc/eclipse/tools.txt", "Repository\tFeature\nsite\tone\nsite\ttwo/9\n");
  expect_printable("lint session.json", "\\u202E");
  expect_printable("run session.json --verify", "\\u202E");
}

TEST_F(PrintedBytes, OfUpdateSitesAreVisible) {
  write_session("install");
  std::string odd = "o";
  for (const char* const code : {"x1B", "x7", "x85", "x9B", "x202E", "x2028", "xAD", "13", "10"}) {
    odd.append("&#").append(code) += ';';
  }
  odd += "FORGED";
  fake::write_file("tools/site/content.xml", "<repository><units><unit id='" + odd + ".feature.group' version='1" + odd +
                                                 "'><properties><property name='" + "org.eclipse.equinox.p2.name' value='" +
                                                 odd + "'/></properties></unit></units></repository>");
  expect_printable("list tools/site");
  expect_printable("list --all tools/site");
  expect_ascii_document("list --json tools/site");
  fake::write_file("composite/compositeContent.xml", "<repository><children size='2'><child location='" + odd +
                                                         "'/><child location='http:" + odd + "'/></children></repository>");
  expect_printable("list composite");
  expect_ascii_document("list --json composite");
  const std::string name = in_shell_quotes(odd_name);
  std::filesystem::copy("composite", odd_name, std::filesystem::copy_options::recursive);
  for (const std::string& arguments : {"list " + name, "list x" + name, "new " + name, "new x" + name, "help " + name}) {
    expect_printable(arguments);
  }
  std::filesystem::create_directory("component");
  std::filesystem::rename(odd_name, "component/" + odd_name);
  expect_printable("new component");
}

TEST_F(PrintedBytes, OfDescriptorFilesAndTheirNamesAreVisible) {
  std::filesystem::remove("tools/etc/eclipse/tools.txt");
  write_descriptor(odd_name);
  write_session("install", {{"ECLIPSE_MIN_SUPPORTED_VERSION", odd_text()}});
  for (const std::string arguments :
       {"run session.json --log log", "plan session.json", "plan session.json --retries", "verify session.json",
        "lint session.json", "lint tools", "lint tools --format github", "lint tools --format brief"}) {
    expect_printable(arguments);
  }
  expect_printable("lint tools/etc/eclipse/" + in_shell_quotes(odd_name));
  for (const std::string arguments :
       {"plan session.json --json", "run session.json --json", "lint session.json --format json"}) {
    expect_ascii_document(arguments);
  }
  expect_ascii_document("lint session.json --format sarif", "%1B");
}

TEST_F(PrintedBytes, OfASessionAreVisible) {
  const std::string eclipse = directory.path() + "/" + odd_text() + "/eclipse";
  for (const std::string mode : {"install", "uninstall"}) {
    write_session(mode, {{"USER_DEFINED_ECLIPSE_PATH", eclipse}, {"ECLIPSE_BIN", "e" + odd_text()}, {odd_text(), odd_text()}},
                  "\"install\": true, \"remove\": true");
    for (const std::string arguments :
         {"run session.json --log log", "run session.json --verify", "plan session.json",
          "call verify_eclipse_version session.json", "verify session.json", "lint session.json"}) {
      expect_printable(arguments);
    }
    for (const std::string arguments : {"run session.json --json", "plan session.json --json"})
      expect_ascii_document(arguments);
  }
  const std::string odd = nlohmann::json(odd_text()).dump();
  for (const std::string& session :
       {"{\"mode\": " + odd + "}", "{\"mode\": \"install\", " + odd + ": 1, \"components\": []}",
        "{\"mode\": \"install\", \"components\": [{\"code\": " + odd + ", \"installBase\": " + odd + ", \"installDir\": " +
            odd + ", \"capabilities\": [" + odd + "], \"install\": true, \"package\": {\"root\": " + odd + "}}]}",
        "{\"mode\": \"install\", \"variables\": {\"ECLIPSE_INTEGRATION_CHOICE\": " + odd +
            "}, \"components\": [{\"code\": " + odd + ", \"installBase\": " + odd + ", \"installDir\": " + odd +
            ", \"capabilities\": [" + odd + "], \"install\": true, \"package\": {\"files\": [" + odd + "]}}]}"}) {
    fake::write_file("session.json", session);
    for (const std::string arguments : {"run session.json --log log", "plan session.json", "lint session.json"}) {
      expect_printable(arguments);
    }
  }
  // Bytes that are no text in JSON.
  fake::write_file("session.json", "{\"mode\": \"install\", \"components\": " + odd_name + "}");
  for (const std::string arguments : {"run session.json", "plan session.json", "lint session.json"}) {
    EXPECT_EQ(raw_in(printed(arguments)), "") << printed(arguments);
  }
}

TEST_F(PrintedBytes, OfArgumentsAreVisible) {
  write_session("install");
  const std::string odd = in_shell_quotes(odd_name);
  for (const std::string arguments : {"",
                                      "run",
                                      "call perform_integration",
                                      "plan",
                                      "verify",
                                      "lint",
                                      "explain",
                                      "run session.json --set",
                                      "run session.json --variables",
                                      "run session.json --plugin",
                                      "run session.json --log dir/",
                                      "run session.json --write-variables dir/",
                                      "plan session.json --",
                                      "lint session.json --select",
                                      "lint session.json --disable",
                                      "lint --format",
                                      "lint --severity",
                                      "lint session.json --suppressions",
                                      "explain orders",
                                      "run session.json --set KORU_MODE=",
                                      "verify session.json --set KORU_MODE=",
                                      "lint session.json --set KORU_MODE="}) {
    const bool joins = arguments.ends_with('=') || arguments.ends_with('/') || arguments.ends_with("--");
    const std::string text = printed(arguments + (joins ? "" : " ") + odd);
    EXPECT_EQ(raw_in(text), "") << arguments << "\n" << text;
    EXPECT_FALSE(is_forged(text)) << arguments << "\n" << text;
    EXPECT_NE(text.find("\\x1B"), std::string::npos) << arguments << "\n" << text;
  }
}

TEST_F(PrintedBytes, OfNamesOfFilesAreVisible) {
  write_session("install");
  const std::string odd = in_shell_quotes(odd_name);
  std::filesystem::create_directory(odd_name + "d");
  std::filesystem::copy_file("session.json", odd_name);
  fake::write_file("d/" + odd_name, "[{\"rule\": \"order-not-a-number\", \"reason\": \"r\"}]");
  fake::write_file("v/" + odd_name, "{\"KORU_MODE\": " + nlohmann::json(odd_text()).dump() + "}");
  fake::write_file("f", "");
  for (const std::string& arguments :
       {"run " + odd + " --json > document; cat document > /dev/null; echo '\\x1B'", "run " + odd, "plan " + odd,
        "lint session.json --suppressions d/" + odd, "run session.json --variables v/" + odd, "run session.json --log f/" + odd,
        "run session.json --log " + odd + "d", "run session.json --write-variables " + odd + "d",
        "run " + odd + " --log " + odd, "run session.json --plugin " + odd}) {
    expect_printable(arguments);
  }
}

}  // namespace

}  // namespace cli_test
