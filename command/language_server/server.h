// The language server: what it knows of the editor, and how it answers messages.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_SERVER_H
#define ECLIPSE_INT_LANGUAGE_SERVER_SERVER_H

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "language_server/background_job.h"
#include "language_server/check.h"
#include "language_server/document.h"
#include "language_server/json_rpc.h"
#include "language_server/message_stream.h"
#include "language_server/positions.h"

namespace eclipse_language_server {

/// Answers messages at once, except for those that need a check of a document or the content of repositories: these are jobs.
class Server {
 public:
  /// No job takes longer than `time_limit`.
  Server(Linter linter, std::string version, std::chrono::milliseconds time_limit);

  void receive(const IncomingMessage& message);

  /// What is to be sent. The caller takes it.
  std::string& outgoing() { return outgoing_; }

  /// The jobs that are under way. When one is readable, or when it is time, call proceed().
  std::vector<const BackgroundJob*> jobs() const;
  std::optional<Clock::time_point> next_time() const;
  void proceed();

  /// After the notification "exit".
  bool has_ended() const { return has_ended_; }
  /// Whether the editor has asked for the end.
  bool was_shut_down() const { return state_ == State::shut_down; }

 private:
  enum class State { uninitialized, running, shut_down };

  struct OpenDocument {
    Document document;
    Json version = nullptr;
    bool is_checked = false;       ///< the results are for its text
    Json results = Json::array();  ///< as check() returns them
  };
  using Answer = std::function<Json(const OpenDocument&)>;

  /// A request whose answer needs the results for a document.
  struct Deferred {
    Json id;
    std::string uri;
    Answer answer;
  };
  struct Check {
    std::string uri;
    std::unique_ptr<BackgroundJob> job;
  };
  /// A request that a job answers, from the result of the job or from null.
  struct Request {
    Json id;
    std::unique_ptr<BackgroundJob> job;
    std::function<void(const Json& result)> answer;
  };

  void perform(const Call& call);
  void perform_request(const Call& call);
  void perform_notification(const Call& call);

  // Requests.
  Json initialize(const Json& params);
  void hover(const Json& id, const Json& params);
  void offer_actions(const Json& id, const Json& params);
  void complete(const Json& id, const Json& params);

  // Notifications.
  void open(const Json& params);
  void change(const Json& params);
  void save(const Json& params);
  void close(const Json& params);
  void cancel(const Json& params);

  Json edit_of(const OpenDocument& open, const Json& edits) const;
  Json quick_fix_for(const OpenDocument& open, const Json& result) const;
  Json quick_fixes_in(const OpenDocument& open, const Range& range) const;
  OpenDocument* find(const std::string& uri);
  std::vector<const Document*> documents() const;
  void defer(const Json& id, const std::string& uri, Answer answer);
  void answer_deferred(const std::string& uri);

  void check_all_again(const std::string& first);
  void start_check();
  void end_check(bool is_late);
  void start_request(const std::string& what, Request request);
  void end_request(const std::string& what, bool is_late);
  std::vector<std::pair<std::string, bool>> ended_requests(Clock::time_point now);
  /// Why `work` has no result, and the consequence.
  std::string explanation_of(const BackgroundJob& job, bool is_late, const std::string& work,
                             const std::string& consequence) const;
  void publish(const std::string& uri, const Json& version, const Json& results);

  void send(const std::string& message) { outgoing_ += framed(message); }
  void log(std::string_view kind, const std::string& message);

  Linter linter_;
  std::string version_;
  std::chrono::milliseconds time_limit_;
  State state_ = State::uninitialized;
  bool has_ended_ = false;
  PositionEncoding encoding_ = PositionEncoding::utf16;
  bool wants_markdown_ = false;
  bool wants_document_changes_ = false;  ///< edits with the version of their document
  std::map<std::string, OpenDocument> open_;
  std::deque<std::string> waiting_;  ///< URIs of documents to check, in order
  Clock::time_point check_time_;     ///< when the next check may start
  std::optional<Check> check_;
  std::map<std::string, Request> requests_;  ///< by method and document; of two only the later one matters
  std::vector<Deferred> deferred_;
  std::string outgoing_;
};

}  // namespace eclipse_language_server

#endif
