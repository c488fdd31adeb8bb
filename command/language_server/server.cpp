#include "language_server/server.h"

#include <algorithm>
#include <exception>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/limits.h"
#include "base/printable.h"
#include "language_server/completion.h"
#include "language_server/hover.h"

using namespace eclipse_base;

namespace eclipse_language_server {

namespace {

/// While somebody types, nothing is checked.
constexpr std::chrono::milliseconds pause_after_change(100);

// As the protocol numbers them.
constexpr int incremental_changes = 2;
constexpr int log_of_errors = 1;
constexpr int log_of_warnings = 2;

/// Of the encodings that the editor offers, the one that needs no conversion.
PositionEncoding encoding_for(const Json& offered) {
  if (!offered.is_array()) return PositionEncoding::utf16;
  for (const PositionEncoding encoding : {PositionEncoding::utf8, PositionEncoding::utf16, PositionEncoding::utf32}) {
    if (std::find(offered.begin(), offered.end(), name_of(encoding)) != offered.end()) return encoding;
  }
  return PositionEncoding::utf16;
}

bool has(const Json& list, std::string_view text) {
  return list.is_array() && std::find(list.begin(), list.end(), text) != list.end();
}

/// The rules whose results are in a line: those at the position if there are any, or else all.
std::vector<std::string> rules_at(const Json& results, const Position& position) {
  std::vector<std::string> there;
  std::vector<std::string> in_line;
  for (const Json& result : results) {
    const auto rule = result.find("rule");
    const Range range = range_in(result, "/diagnostic/range");
    if (rule == result.end() || position.line < range.start.line || position.line > range.end.line) continue;
    in_line.push_back(rule->get<std::string>());
    const bool is_there = position.character >= range.start.character && position.character <= range.end.character;
    if (is_there) there.push_back(in_line.back());
  }
  return there.empty() ? in_line : there;
}

constexpr const char* quick_fix = "quickfix";
constexpr const char* fix_all = "source.fixAll";

/// Whether an editor asks for a kind of actions, by its name or by that of a kind which includes it.
bool asks_for(const Json& only, std::string_view kind) {
  if (!only.is_array()) return false;
  return std::any_of(only.begin(), only.end(), [&](const Json& each) {
    const std::string name = each.is_string() ? each.get<std::string>() : ".";
    return name.empty() || kind == name || kind.starts_with(name + ".");
  });
}

/// In whole lines: a fix is wanted wherever in its line the cursor is.
bool touches(const Range& one, const Range& other) {
  return one.start.line <= other.end.line && other.start.line <= one.end.line;
}

}  // namespace

Server::Server(Linter linter, std::string version, std::chrono::milliseconds time_limit)
    : linter_(std::move(linter)), version_(std::move(version)), time_limit_(time_limit) {}

void Server::receive(const IncomingMessage& message) {
  try {
    if (message.exceeds_limit) {
      const std::string limit = std::to_string(largest::message / largest::mebibyte);
      throw RequestError(ErrorCode::invalid_request, "the message is larger than " + limit + " MiB");
    }
    if (const auto call = call_in(message.content)) perform(*call);
  } catch (const RequestError& error) {
    send(error_response(nullptr, error));
  }
}

void Server::perform(const Call& call) {
  try {
    if (call.id) {
      perform_request(call);
    } else {
      perform_notification(call);
    }
  } catch (const RequestError& error) {
    if (call.id) return send(error_response(*call.id, error));
    log("error", call.method + ": " + error.what());
  } catch (const std::exception& error) {
    if (call.id) return send(error_response(*call.id, {ErrorCode::internal_error, error.what()}));
    log("error", call.method + ": " + error.what());
  }
}

void Server::perform_request(const Call& call) {
  const Json& id = *call.id;
  if (call.method == "initialize") {
    if (state_ != State::uninitialized) throw RequestError(ErrorCode::invalid_request, "the server is initialized already");
    return send(response(id, initialize(call.params)));
  }
  if (state_ == State::uninitialized) throw RequestError(ErrorCode::server_not_initialized, "\"initialize\" must come first");
  if (state_ == State::shut_down) throw RequestError(ErrorCode::invalid_request, "the server was shut down");
  if (call.method == "shutdown") {
    state_ = State::shut_down;
    return send(response(id, nullptr));
  }
  if (call.method == "textDocument/hover") return hover(id, call.params);
  if (call.method == "textDocument/codeAction") return offer_actions(id, call.params);
  if (call.method == "textDocument/completion") return complete(id, call.params);
  throw RequestError(ErrorCode::method_not_found, "there is no method " + in_quotes(call.method));
}

void Server::perform_notification(const Call& call) {
  if (call.method == "exit") has_ended_ = true;
  if (state_ != State::running) return;
  if (call.method == "textDocument/didOpen") return open(call.params);
  if (call.method == "textDocument/didChange") return change(call.params);
  if (call.method == "textDocument/didSave") return save(call.params);
  if (call.method == "textDocument/didClose") return close(call.params);
  if (call.method == "workspace/didChangeWatchedFiles") return check_all_again("");
  if (call.method == "$/cancelRequest") return cancel(call.params);
}

Json Server::initialize(const Json& params) {
  if (!params.is_object()) throw RequestError(ErrorCode::invalid_params, "\"params\" must be an object");
  encoding_ = encoding_for(optional_part(params, "/capabilities/general/positionEncodings"));
  wants_markdown_ = has(optional_part(params, "/capabilities/textDocument/hover/contentFormat"), "markdown");
  wants_document_changes_ = optional_part(params, "/capabilities/workspace/workspaceEdit/documentChanges") == true;
  state_ = State::running;
  const Json synchronization = {{"openClose", true}, {"change", incremental_changes}, {"save", true}};
  const Json capabilities = {{"positionEncoding", name_of(encoding_)},
                             {"textDocumentSync", synchronization},
                             {"hoverProvider", true},
                             {"codeActionProvider", {{"codeActionKinds", {quick_fix, fix_all}}}},
                             {"completionProvider", {{"triggerCharacters", {"\t", "/", "."}}}}};
  return {{"capabilities", capabilities}, {"serverInfo", {{"name", "eclipse-int"}, {"version", version_}}}};
}

// ---- Documents ----

void Server::open(const Json& params) {
  const std::string uri = text_in(params, "/textDocument/uri");
  OpenDocument opened{Document(uri, text_in(params, "/textDocument/text")), optional_part(params, "/textDocument/version")};
  open_.insert_or_assign(uri, std::move(opened));
  check_all_again(uri);
}

void Server::change(const Json& params) {
  const std::string uri = text_in(params, "/textDocument/uri");
  OpenDocument* const changed = find(uri);
  if (changed == nullptr) throw RequestError(ErrorCode::invalid_params, "this document is not open: " + in_quotes(uri));
  changed->is_checked = false;
  changed->version = optional_part(params, "/textDocument/version");
  check_all_again(uri);
  for (const Json& each : part(params, "/contentChanges")) {
    const std::string text = text_in(each, "/text");
    if (optional_part(each, "/range").is_null()) {
      changed->document.replace_all(text);
    } else {
      changed->document.replace(range_in(each, "/range"), text, encoding_);
    }
  }
}

void Server::save(const Json& params) {
  const std::string uri = text_in(params, "/textDocument/uri");
  if (OpenDocument* const saved = find(uri)) {
    saved->document.read_encoding();
    saved->is_checked = false;
  }
  check_all_again(uri);
}

void Server::close(const Json& params) {
  const std::string uri = text_in(params, "/textDocument/uri");
  const auto closed = open_.find(uri);
  if (closed == open_.end()) return;
  open_.erase(closed);
  publish(uri, nullptr, Json::array());
  answer_deferred(uri);
  check_all_again("");
}

Server::OpenDocument* Server::find(const std::string& uri) {
  const auto found = open_.find(uri);
  return found == open_.end() ? nullptr : &found->second;
}

std::vector<const Document*> Server::documents() const {
  std::vector<const Document*> documents;
  for (const auto& [uri, open] : open_) documents.push_back(&open.document);
  return documents;
}

// ---- Checks ----

/// A text may matter for all documents: those of one component and the session with it are checked together.
void Server::check_all_again(const std::string& first) {
  check_.reset();
  waiting_.clear();
  for (const auto& [uri, open] : open_) {
    if (uri == first) {
      waiting_.push_front(uri);
    } else {
      waiting_.push_back(uri);
    }
  }
  check_time_ = Clock::now() + pause_after_change;
}

void Server::start_check() {
  const std::string uri = waiting_.front();
  waiting_.pop_front();
  OpenDocument* const open = find(uri);
  if (open == nullptr) return;
  const Document& document = open->document;
  if (!document.is_session() && !document.is_descriptor() && !document.is_configuration()) {
    open->is_checked = true;
    if (!std::exchange(open->results, Json::array()).empty()) publish(uri, open->version, open->results);
    return answer_deferred(uri);
  }
  const auto work = [&] { return text_of(check(linter_, documents(), document, encoding_)); };
  try {
    check_.emplace(Check{uri, std::make_unique<BackgroundJob>(work, Clock::now() + time_limit_)});
  } catch (const std::system_error& error) {
    log("error", error.what());
    open->is_checked = true;
    answer_deferred(uri);
  }
}

void Server::end_check(bool is_late) {
  const Check ended = *std::exchange(check_, std::nullopt);
  OpenDocument* const open = find(ended.uri);
  if (open == nullptr) return;
  open->is_checked = true;
  if (!is_late && ended.job->has_succeeded()) {
    open->results = Json::parse(ended.job->result());
  } else {
    open->results = Json::array();
    log("error", printable(ended.uri) + ": " + explanation_of(*ended.job, is_late, "the check", "no findings are shown"));
  }
  publish(ended.uri, open->version, open->results);
  answer_deferred(ended.uri);
}

std::string Server::explanation_of(const BackgroundJob& job, bool is_late, const std::string& work,
                                   const std::string& consequence) const {
  if (!is_late && !job.result().empty()) return printable(job.result());
  std::ostringstream text;
  text << work;
  if (is_late) {
    text << " took longer than " << std::chrono::duration<double>(time_limit_).count() << " s and was stopped";
  } else {
    text << " crashed";
  }
  text << ", so " << consequence << "; " << (is_late ? "--time-limit allows more" : "please report this, with the file");
  return text.str();
}

void Server::publish(const std::string& uri, const Json& version, const Json& results) {
  Json diagnostics = Json::array();
  for (const Json& result : results) diagnostics.push_back(result.at("diagnostic"));
  Json params = {{"uri", uri}, {"diagnostics", std::move(diagnostics)}};
  if (version.is_number_integer()) params["version"] = version;
  send(notification("textDocument/publishDiagnostics", params));
}

// ---- Requests ----

void Server::defer(const Json& id, const std::string& uri, Answer answer) {
  deferred_.push_back({id, uri, std::move(answer)});
  const OpenDocument* const open = find(uri);
  if (open == nullptr || open->is_checked) answer_deferred(uri);
}

/// The requests for a document that is closed get null.
void Server::answer_deferred(const std::string& uri) {
  const OpenDocument* const open = find(uri);
  const auto is_for_it = [&](const Deferred& each) { return each.uri == uri; };
  for (const Deferred& each : deferred_) {
    if (is_for_it(each)) send(response(each.id, open == nullptr ? Json() : each.answer(*open)));
  }
  std::erase_if(deferred_, is_for_it);
}

void Server::hover(const Json& id, const Json& params) {
  const Position position = position_in(params, "/position");
  defer(id, text_in(params, "/textDocument/uri"), [this, position](const OpenDocument& open) -> Json {
    std::string text = description_of(rules_at(open.results, position));
    if (text.empty() && open.document.is_descriptor()) text = description_of_column(open.document, position, encoding_);
    if (text.empty()) return nullptr;
    return {{"contents", {{"kind", wants_markdown_ ? "markdown" : "plaintext"}, {"value", text}}}};
  });
}

/// What corrects the whole document is offered only to an editor that asks for it.
void Server::offer_actions(const Json& id, const Json& params) {
  const Range range = range_in(params, "/range");
  const Json only = optional_part(params, "/context/only");
  const std::string uri = text_in(params, "/textDocument/uri");
  const bool with_quick_fixes = only.is_null() || asks_for(only, quick_fix);
  const auto answer_with = [=, this](const Json& version, const Json& edits) {
    defer(id, uri, [=, this](const OpenDocument& open) {
      Json actions = with_quick_fixes ? quick_fixes_in(open, range) : Json::array();
      if (!edits.empty() && open.version == version) {
        actions.push_back({{"title", "apply all safe fixes"}, {"kind", fix_all}, {"edit", edit_of(open, edits)}});
      }
      return actions;
    });
  };
  const OpenDocument* const open = find(uri);
  if (open == nullptr || !open->document.is_descriptor() || !asks_for(only, fix_all)) return answer_with(nullptr, nullptr);
  const auto work = [&] { return text_of(safe_corrections(linter_, documents(), open->document, encoding_)); };
  start_request("textDocument/codeAction " + uri,
                {id, std::make_unique<BackgroundJob>(work, Clock::now() + time_limit_),
                 [=, version = open->version](const Json& edits) { answer_with(version, edits); }});
}

Json Server::quick_fixes_in(const OpenDocument& open, const Range& range) const {
  Json actions = Json::array();
  for (const Json& result : open.results) {
    const bool is_there = touches(range_in(result, "/diagnostic/range"), range);
    if (is_there && result.contains("correction")) actions.push_back(quick_fix_for(open, result));
  }
  return actions;
}

Json Server::edit_of(const OpenDocument& open, const Json& edits) const {
  const std::string& uri = open.document.uri();
  if (!wants_document_changes_) return {{"changes", {{uri, edits}}}};
  const Json document = {{"uri", uri}, {"version", open.version}};
  return {{"documentChanges", Json::array({{{"textDocument", document}, {"edits", edits}}})}};
}

Json Server::quick_fix_for(const OpenDocument& open, const Json& result) const {
  const Json& correction = result.at("correction");
  const bool is_safe = correction.at("safe").get<bool>();
  return {{"title", correction.at("title").get<std::string>() + (is_safe ? "" : " (look at the result)")},
          {"kind", quick_fix},
          {"diagnostics", Json::array({result.at("diagnostic")})},
          {"isPreferred", is_safe},
          {"edit", edit_of(open, correction.at("edits"))}};
}

void Server::complete(const Json& id, const Json& params) {
  const Position position = position_in(params, "/position");
  const std::string uri = text_in(params, "/textDocument/uri");
  const OpenDocument* const open = find(uri);
  if (open == nullptr) return send(response(id, nullptr));
  const auto work = [&] { return text_of(completion_items(linter_, documents(), open->document, position, encoding_)); };
  start_request("textDocument/completion " + uri,
                {id, std::make_unique<BackgroundJob>(work, Clock::now() + time_limit_), [id, this](const Json& items) {
                   send(response(id, items.is_null() ? Json() : Json{{"isIncomplete", false}, {"items", items}}));
                 }});
}

void Server::start_request(const std::string& what, Request request) {
  const auto earlier = requests_.find(what);
  if (earlier != requests_.end()) {
    send(error_response(earlier->second.id, {ErrorCode::request_cancelled, "a later request replaces this one"}));
  }
  requests_.insert_or_assign(what, std::move(request));
}

void Server::end_request(const std::string& what, bool is_late) {
  const Request ended = std::move(requests_.extract(what).mapped());
  const bool has_result = !is_late && ended.job->has_succeeded();
  if (!has_result)
    log("warning", printable(what) + ": " + explanation_of(*ended.job, is_late, "the request", "it gets no result"));
  ended.answer(has_result ? Json::parse(ended.job->result()) : Json());
}

void Server::cancel(const Json& params) {
  const Json& id = part(params, "/id");
  const auto has_id = [&](const auto& request) { return request.id == id; };
  const auto cancelled =
      std::erase_if(requests_, [&](const auto& entry) { return has_id(entry.second); }) + std::erase_if(deferred_, has_id);
  if (cancelled != 0) send(error_response(id, {ErrorCode::request_cancelled, "the request was cancelled"}));
}

// ---- Time ----

std::vector<const BackgroundJob*> Server::jobs() const {
  std::vector<const BackgroundJob*> jobs;
  if (check_) jobs.push_back(check_->job.get());
  for (const auto& [what, request] : requests_) jobs.push_back(request.job.get());
  return jobs;
}

std::optional<Clock::time_point> Server::next_time() const {
  std::vector<Clock::time_point> times;
  for (const BackgroundJob* const job : jobs()) times.push_back(job->deadline());
  if (!check_ && !waiting_.empty()) times.push_back(check_time_);
  if (times.empty()) return std::nullopt;
  return *std::min_element(times.begin(), times.end());
}

/// The requests whose jobs have ended, or, as late ones, should have.
std::vector<std::pair<std::string, bool>> Server::ended_requests(Clock::time_point now) {
  std::vector<std::pair<std::string, bool>> ended;
  for (const auto& [what, request] : requests_) {
    const bool has_ended = request.job->has_ended();
    if (has_ended || now >= request.job->deadline()) ended.emplace_back(what, !has_ended);
  }
  return ended;
}

void Server::proceed() {
  const auto now = Clock::now();
  for (const auto& [what, is_late] : ended_requests(now)) end_request(what, is_late);
  if (check_ && check_->job->has_ended()) end_check(false);
  if (check_ && now >= check_->job->deadline()) end_check(true);
  if (!check_ && !waiting_.empty() && now >= check_time_) start_check();
}

void Server::log(std::string_view kind, const std::string& message) {
  const int type = kind == "error" ? log_of_errors : log_of_warnings;
  send(notification("window/logMessage", {{"type", type}, {"message", message}}));
}

}  // namespace eclipse_language_server
