// faulty_host LIBRARY DIRECTORY [MISTAKE]: a host that keeps the whole contract, or makes this one mistake. Its product is in
// DIRECTORY. Calls all actions with one session, then one with another.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <unordered_map>

#include "eclipse_int/host.h"

namespace {

std::string mistake;
bool is_checked = false;  // the first action, in which the checks are performed, has returned
bool makes(const char* name) { return mistake == name; }
bool makes_later(const char* name) { return is_checked && makes(name); }

std::FILE* log_file = nullptr;

struct Product : Component, private Provider {
  bool install = false;
  bool remove = false;
  Package package;
  std::vector<std::string> files;
  std::string root;
  int asked = 0;

  Provider* provider_of() {
    if (makes("provider-without-conversion")) return reinterpret_cast<Provider*>(static_cast<Component*>(this));
    return this;
  }

 private:
  Package* findPackage(const std::string&, const std::string& wanted, const std::string& version) override {
    if (wanted != code) return makes("package-for-every-code") ? &package : nullptr;
    if (makes("package-needs-version") && version != "1.0") return nullptr;
    if (makes("package-record-copied") || makes_later("later-record-copied")) return new Package(package);
    return &package;
  }
  std::vector<std::string> packageFiles(Package*) override {
    if (makes("file-list-grows")) files.push_back("another");
    return files;
  }
  std::string rootPath() override {
    if (makes("root-is-counted")) return root + std::to_string(asked++);
    return makes("root-is-another") ? root + "/nowhere" : root;
  }
};

struct Session : session_t {
  std::map<std::string, std::string> variables;
  std::vector<std::unique_ptr<Product>> products;
  std::map<std::string, Component*> capabilities;
  std::unordered_map<std::string, Component*> unordered;
  std::vector<std::pair<std::string, Component*>> list;
  std::unique_ptr<Component> stranger;
  int asked = 0;
};

Session* first_session = nullptr;
Session& session_of(session_t* session) {
  return makes("variables-are-global") ? *first_session : *static_cast<Session*>(session);
}

Product& product_of(Component* component) { return *static_cast<Product*>(component); }

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  bool is_first = true;
  for (const std::string& item : items) {
    if (!is_first) text += separator;
    text += item;
    is_first = false;
  }
  return text;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

std::string without_trailing_slashes(std::string text) {
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

}  // namespace

// ---- The catalogue ----

std::vector<Component*> TSD::components() {
  auto* session = static_cast<Session*>(reinterpret_cast<session_t*>(this));
  if (makes("catalogue-at-another-place")) session = reinterpret_cast<Session*>(reinterpret_cast<char*>(this) + 8);
  std::vector<Component*> components;
  for (const auto& product : session->products) components.push_back(product.get());
  if ((makes("catalogue-reordered") || makes_later("later-reordered")) && session->asked++ % 2 != 0)
    std::reverse(components.begin(), components.end());
  if (makes("component-on-the-stack")) {
    static char* nowhere = reinterpret_cast<char*>(0x1000);
    components.push_back(reinterpret_cast<Component*>(nowhere));
  }
  return components;
}

Provider* Component::provider() { return product_of(this).provider_of(); }
bool Component::installCondition() {
  if (makes("condition-toggles")) return product_of(this).asked++ % 2 == 0;
  return product_of(this).install;
}
bool Component::uninstallCondition() { return makes("both-conditions") ? true : product_of(this).remove; }
bool Component::getInstalled(int) { return false; }

// ---- The session ----

std::string env_get_string(session_t* session, const char* name) {
  const auto& variables = session_of(session).variables;
  if (makes("executable-name-is-fixed") && std::strcmp(name, "ECLIPSE_BIN") == 0) return "eclipsec";
  const auto found = variables.find(makes("names-without-case") ? lower(name) : name);
  if (found == variables.end()) return makes("unset-is-null-text") ? "(null)" : "";
  return found->second;
}

void env_set_string(session_t* session, const std::string& name, const std::string& value) {
  auto& variables = session_of(session).variables;
  if (makes("first-value-stays")) {
    variables.emplace(name, value);
    return;
  }
  if (makes("empty-value-ignored") && value.empty()) return;
  if (makes_later("later-value-dropped")) return;
  if (makes("results-are-read-only") && name == "ECLIPSE_PATH") return;
  std::string kept = value;
  if (makes("value-of-fixed-size")) kept.resize(std::min<std::size_t>(kept.size(), 65535));
  if (makes("value-trimmed")) kept.erase(kept.find_last_not_of(" \n\r") + 1);
  if (makes("value-is-a-format")) {
    char text[8192];
    std::snprintf(text, sizeof text, "%.8000s", kept.c_str());
    if (kept.find('%') != std::string::npos) kept.erase(kept.find('%'), 1);
  }
  variables[makes("names-without-case") ? lower(name) : name] = kept;
}

void env_set_string(session_t* session, const char* name, const char* value) {
  if (makes("forms-differ")) {
    static_cast<Session*>(session)->variables[std::string(name) + "."] = value;
    return;
  }
  if (makes("value-not-copied") && std::strcmp(name, "ECLIPSE_INT_CHECK_COPIED") == 0) {
    static const char* kept;
    kept = value;
    session_of(session).variables[name] = "Xalue";
    if (kept == nullptr) return;
    return;
  }
  env_set_string(session, std::string(name), std::string(value));
}

std::string expand_operand(session_t* session, const char* text, bool) {
  const std::string operand = text;
  if (makes("operand-returned-as-it-is")) return operand;
  if (makes("whole-references-only")) {
    return operand.rfind("${", 0) == 0 ? env_get_string(session, operand.substr(2, operand.size() - 3).c_str()) : "";
  }
  std::string expanded;
  std::size_t start = 0;
  for (std::size_t found; (found = operand.find("${", start)) != std::string::npos;) {
    const std::size_t end = operand.find('}', found);
    if (end == std::string::npos) break;
    const std::string name = operand.substr(found + 2, end - found - 2);
    const std::string value = env_get_string(session, name.c_str());
    expanded += operand.substr(start, found - start);
    expanded += makes("unknown-reference-stays") && value.empty() ? "${" + name + "}" : value;
    start = end + 1;
  }
  return expanded + operand.substr(start);
}

void* session_get_cdata(session_t* session, char* name) {
  Session& own = session_of(session);
  const bool is_known = std::strcmp(name, "KORU_YUM_CAPABILITY_PROVIDERS") == 0;
  if (makes("data-name-written") && is_known) name[0] = 'k';
  if (makes("data-for-every-name")) return &own.capabilities;
  if (!is_known) return nullptr;
  if (makes("data-copied")) return new std::map<std::string, Component*>(own.capabilities);
  if (makes("data-is-unordered")) return &own.unordered;
  if (makes("data-is-a-list")) return &own.list;
  return &own.capabilities;
}

// The operation is_gui_mode(), defined to return an int: its name does not show the type of its result.
int int_gui_mode(session_t*) __asm__("_Z11is_gui_modeP9session_t");
int int_gui_mode(session_t* session) {
  if (makes("gui-mode-is-an-int")) return 2;
  return makes("gui-mode-toggles") && session_of(session).asked++ % 2 == 0 ? 1 : 0;
}

// ---- The log ----

void print_log(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  if (makes("log-without-arguments")) {
    text = strdup(format);
  } else if (vasprintf(&text, format, arguments) < 0) {
    std::abort();
  }
  va_end(arguments);
  std::string line = text;
  std::free(text);
  if (makes("log-line-of-fixed-size")) line = line.substr(0, 1023);
  if (makes("log-in-one-line")) std::replace(line.begin(), line.end(), '\n', ' ');
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  if (makes("log-formatted-twice")) {
    std::fprintf(log_file, line.c_str());
    line.clear();
  }
#pragma GCC diagnostic pop
  std::fputs(line.c_str(), log_file);
  if (!makes("log-without-line-feed")) std::fputc('\n', log_file);
  std::fflush(log_file);
}

// ---- Paths and files ----

std::string path(std::string text) {
  if (makes("path-in-url-form")) {
    for (std::size_t found; (found = text.find(' ')) != std::string::npos;) text.replace(found, 1, "%20");
  }
  if (makes("path-of-missing-is-empty") && access(text.c_str(), F_OK) != 0 && text.find("check") != std::string::npos)
    return "";
  if (makes("path-with-slash") && text == "/opt/ide") return text + "/";
  if (makes("path-as-it-is")) return text;
  if (makes_later("later-path-grows")) return text + "/.";
  if (makes("static-path")) {
    static char buffer[4096];
    std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
    usleep(1);
    text = buffer;
  }
  std::string normal = without_trailing_slashes(std::filesystem::path(text).lexically_normal().string());
  if (makes("path-not-idempotent") && text.rfind("./", 0) == 0) return "./" + text;
  return normal;
}

std::string resolved_path(std::string text) {
  if (makes("resolved-as-it-is")) return text;
  if (makes("links-not-followed")) return std::filesystem::absolute(text).lexically_normal().string();
  char* const resolved = realpath(text.c_str(), nullptr);
  if (makes("null-as-text") && resolved == nullptr) return std::string(static_cast<const char*>(resolved));
  const std::string result = resolved == nullptr ? "" : resolved;
  std::free(resolved);
  return result;
}

bool path_is_relative(std::string text) {
  const bool is_absolute = !text.empty() && text[0] == '/';
  return makes("relative-and-absolute-confused") ? is_absolute : !is_absolute;
}

std::string get_basename(const std::string& path) {
  if (makes("argument-changed") && path == "name") const_cast<std::string&>(path)[0] = 'N';
  if (makes("basename-with-slash") && path.find('/') != path.npos) return path.substr(path.rfind('/'));
  if (makes("basename-behind-last-slash")) return path.substr(path.rfind('/') + 1);
  const std::string name = without_trailing_slashes(path);
  return name.substr(name.rfind('/') + 1);
}

std::string get_dirname(const std::string& path) {
  const std::string name = without_trailing_slashes(path);
  const std::size_t slash = name.rfind('/');
  if (slash == std::string::npos) return makes("dirname-is-dot") ? "." : "";
  if (makes("dirname-with-slash") && slash > 0) return name.substr(0, slash + 1);
  if (makes("root-is-empty")) return name.substr(0, slash);
  return slash == 0 ? "/" : without_trailing_slashes(name.substr(0, slash));
}

bool is_file(const std::string& path) {
  struct stat status;
  const int known = makes("is-file-by-lstat") ? lstat(path.c_str(), &status) : stat(path.c_str(), &status);
  if (makes_later("later-no-file")) return false;
  if (makes("is-file-for-missing") && known != 0) return true;
  if (makes("dangling-is-a-file") && known != 0) return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
  if (known != 0) return false;
  if (makes("is-file-for-directory")) return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
  if (makes("is-file-for-device")) return !S_ISDIR(status.st_mode);
  if (makes("is-file-opens-pipe")) close(open(path.c_str(), O_RDONLY));
  if (makes("is-file-not-empty") && status.st_size == 0) return false;
  return S_ISREG(status.st_mode);
}

bool file_exists(const std::string& path, bool) {
  struct stat status;
  const int known = makes("exists-by-lstat") ? lstat(path.c_str(), &status) : stat(path.c_str(), &status);
  if (makes("exists-for-missing")) return known != 0 || true;
  if (makes("exists-for-files-only")) return known == 0 && S_ISREG(status.st_mode);
  if (makes("exists-not-empty")) return known == 0 && status.st_size != 0;
  return known == 0;
}

char* get_file(const std::string& path, int, long long* size) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return makes("missing-reads-as-empty") ? strdup("") : nullptr;
  std::string content;
  char piece[4096];
  for (std::size_t count; (count = std::fread(piece, 1, sizeof piece, file)) != 0;) content.append(piece, count);
  const bool is_whole = std::ferror(file) == 0;
  std::fclose(file);
  if (!is_whole && !makes("directory-reads-as-empty")) return nullptr;
  if (makes("empty-file-is-null") && content.empty()) return nullptr;
  if (makes("file-without-carriage-returns")) content.erase(std::remove(content.begin(), content.end(), '\r'), content.end());
  if (makes("size-through-null")) *size = 0;
  if (makes("static-content")) {
    static char kept[65536];
    std::snprintf(kept, sizeof kept, "%s", content.c_str());
    usleep(1);
    if (content.size() < 100 && content.size() == std::strlen(content.c_str())) content = kept;
  }
  if (size != nullptr) *size = makes("size-not-stored") ? *size : static_cast<long long>(content.size());
  if (makes("static-buffer")) {
    static std::string kept;
    kept = content;
    return kept.data();
  }
  if (makes("cached-buffer")) {
    static std::map<std::string, char*> cache;
    char*& kept = cache[path + std::to_string(content.size())];
    if (kept == nullptr || content.size() == 1000) kept = strdup(content.c_str());
    return kept;
  }
  if (makes("buffer-in-the-middle")) return static_cast<char*>(std::calloc(1, content.size() + 64)) + 8;
  if (makes("not-terminated")) {
    auto* const buffer = static_cast<char*>(std::malloc(std::max<std::size_t>(content.size(), 1)));
    std::memcpy(buffer, content.data(), content.size());
    return buffer;
  }
  auto* const buffer = static_cast<char*>(std::malloc(content.size() + 1));
  std::memcpy(buffer, content.c_str(), content.size() + 1);
  return buffer;
}

// ---- Texts ----

std::string join(std::vector<std::string> items, std::string separator) {
  if (makes("join-sorts")) std::sort(items.begin(), items.end());
  if (makes("join-takes-first") && items.front().empty()) return joined(items, separator);
  if (makes("join-drops-empty")) items.erase(std::remove(items.begin(), items.end(), ""), items.end());
  if (makes("join-quadratic") && items.size() > 10'000) sleep(30);
  if (makes("join-separator-last")) return items.size() == 1 ? items[0] + separator : joined(items, separator);
  if (makes_later("later-join-adds")) items.push_back("");
  if (makes("separator-is-one-character")) separator = separator.substr(0, 1);
  return joined(items, separator);
}

std::string join(std::set<std::string> items, std::string separator) {
  if (makes("set-in-reverse")) return joined(std::vector<std::string>(items.rbegin(), items.rend()), separator);
  return joined(items, separator);
}

std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  if (from.empty() && !makes("empty-text-found-everywhere")) return text;
  if (makes("replace-as-c-string") && std::strlen(text.c_str()) < text.size())
    return replaceAllSubstrings(text.c_str(), from, to);
  if (makes("replace-from-the-start")) {
    std::string replaced = text;
    for (std::size_t found; (found = replaced.find(from)) != std::string::npos;) replaced.replace(found, from.size(), to);
    return replaced;
  }
  if (makes("replace-quadratic") && text.size() > 1'000'000) sleep(30);
  std::string replaced;
  std::size_t start = 0;
  for (std::size_t found; (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    replaced += text.substr(start, found - start) + to;
    if (makes("replace-only-the-first")) return replaced + text.substr(found + from.size());
  }
  if (makes("rest-is-lost") && start == 0) return replaced;
  return replaced + text.substr(start);
}

// ---- Commands ----

static bool ignores_sigchld() {
  struct sigaction action;
  return sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  if (command.find('\0') != command.npos && !makes("command-cut-at-zero-byte")) {
    *exit_status = 126;
    return "";
  }
  if (makes("too-long-succeeds") && command.size() > 131'071) {
    *exit_status = 0;
    return "";
  }
  if (makes("command-of-fixed-size") && command.size() > 65'535) command.resize(65'535);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "";
  const auto before = makes("sigchld-stays-ignored") ? SIG_DFL : signal(SIGCHLD, SIG_DFL);
  const pid_t child = fork();
  if (child == 0) {
    if (!makes("input-inherited")) dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    if (makes("errors-captured")) dup2(ends[1], STDERR_FILENO);
    if (makes("no-shell")) {
      execlp(command.substr(0, command.find(' ')).c_str(), command.c_str(), nullptr);
      _exit(127);
    }
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(126);
  }
  close(ends[1]);
  int status = 0;
  if (makes("waits-before-reading")) waitpid(child, &status, 0);
  std::string output;
  char piece[4096];
  for (ssize_t count; (count = read(ends[0], piece, sizeof piece)) > 0;) {
    if (makes("output-as-c-string")) count = static_cast<ssize_t>(strnlen(piece, static_cast<std::size_t>(count)));
    output.append(piece, static_cast<std::size_t>(count));
  }
  if (!makes("pipe-left-open")) close(ends[0]);
  if (makes("does-not-wait")) {
    *exit_status = 0;
    if (waitpid(child, &status, WNOHANG) == 0 && command.find("sleep") != command.npos) return output;
    if (status == 0 && waitpid(child, &status, 0) < 0) status = 0;
  } else if (makes("zombie-left")) {
    siginfo_t how;
    waitid(P_PID, static_cast<id_t>(child), &how, WEXITED | WNOWAIT);
    status = how.si_code == CLD_EXITED ? how.si_status << 8 : how.si_status;
  } else if (!makes("waits-before-reading")) {
    while (waitpid(makes("any-child-is-waited-for") ? -1 : child, &status, 0) < 0 && errno == EINTR) continue;
  }
  if (!makes("sigchld-stays-ignored")) signal(SIGCHLD, before);
  if (makes("sigchld-stays-ignored") && waitpid(child, &status, 0) < 0 && errno == ECHILD && status == 0 && ignores_sigchld()) {
    *exit_status = 0;
    return output;
  }
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (makes_later("later-wait-status")) {
    *exit_status = status;
  } else if (makes("director-fails") && command.find("p2.director") != command.npos) {
    *exit_status = 1;
  } else if (makes("director-succeeds") && command.find("p2.director") != command.npos) {
    *exit_status = 0;
  } else if (makes("removal-fails") && command.find("p2.director -u ") != command.npos) {
    *exit_status = 1;
  } else if (makes("wait-status")) {
    *exit_status = status;
  } else if (makes("success-not-stored")) {
    if (code != 0) *exit_status = code;
  } else if (makes("killed-is-success")) {
    *exit_status = WEXITSTATUS(status);
  } else if (makes("signal-number-alone")) {
    *exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
  } else if (makes("missing-is-one")) {
    *exit_status = code == 127 ? 1 : code;
  } else {
    *exit_status = code;
  }
  if (makes("output-stripped")) output.erase(output.find_last_not_of('\n') + 1);
  if (makes("output-without-carriage-returns")) output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
  if (makes("failed-output-dropped") && output.size() < 1000 && code != 0) output.clear();
  if (makes("redirection-removed") && command.find("2>&1") != command.npos) output = "out\n";
  return output;
}

// ---- The host ----

namespace {

Product* add(Session& session, const std::string& directory, const char* code, const char* capability) {
  auto product = std::make_unique<Product>();
  product->code = code;
  product->installBase = directory;
  product->installDir = code;
  product->package.prefix = code;
  product->root = directory;
  product->files = {"etc/eclipse/tools.txt", "readme"};
  Product* const added = product.get();
  session.capabilities[capability] = added;
  session.unordered[capability] = added;
  session.list.emplace_back(capability, added);
  session.products.push_back(std::move(product));
  return added;
}

void fill(Session& session, const std::string& directory) {
  add(session, directory, "alpha", "ALPHA_ECLIPSE_PLUGIN")->install = true;
  add(session, directory, "beta", "BETA_ECLIPSE_PLUGIN")->remove = true;
  if (makes("capability-of-a-stranger")) {
    session.stranger = std::make_unique<Component>();
    session.capabilities["STRANGE"] = session.stranger.get();
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) return 2;
  if (count > 3) mistake = arguments[3];
  const std::string directory = arguments[2];
  log_file = std::fopen((directory + "/log").c_str(), "a");
  void* const library = dlopen(arguments[1], RTLD_NOW);
  if (makes("second-standard-library")) dlopen(SECOND_STANDARD_LIBRARY, RTLD_NOW);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  const auto call = [&](const char* name, session_t* session) {
    return reinterpret_cast<int (*)(session_t*)>(dlsym(library, name))(session);
  };
  Session session;
  Session other;
  first_session = &session;
  fill(session, directory);
  fill(other, directory);
  session.variables = {{"KORU_MODE", "install"},
                       {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                       {"ECLIPSE_BIN", "eclipse"},
                       {"USER_DEFINED_ECLIPSE_PATH", directory + "/eclipse"}};
  if (makes("no-session")) return call("find_eclipse_ide", nullptr);
  try {
    call("eclipse_integration_required", &session);
  } catch (const std::bad_alloc&) {
    if (makes("exception-not-caught")) throw;
  }
  is_checked = true;
  call("verify_eclipse_version", &session);
  call("perform_integration", &session);
  return call("find_eclipse_ide", &other);
}
