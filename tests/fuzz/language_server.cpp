// The input is what an editor says, one message on each line, in which "@" is the URI of the directory of a product. Each
// request is answered once, nothing else is, and all that is sent are messages of the protocol.
#include "language_server/server.h"

#include <poll.h>

#include <filesystem>
#include <map>
#include <set>

#include "base/text.h"
#include "base/uri.h"
#include "fuzz/product.h"
#include "fuzz/target.h"

using namespace eclipse_language_server;
using fuzz::expect;
using fuzz::linter;

namespace {

constexpr std::size_t most_messages = 30;
constexpr std::chrono::seconds patience(5);

/// Checks of documents wait for a pause in typing, so they are not begun here.
void wait_for_jobs(Server& server) {
  const auto deadline = Clock::now() + patience;
  while (!server.jobs().empty()) {
    std::vector<pollfd> jobs;
    for (const BackgroundJob* const job : server.jobs()) jobs.push_back({job->descriptor(), POLLIN, 0});
    poll(jobs.data(), jobs.size(), 1000);
    server.proceed();
    expect(Clock::now() < deadline, "a job ends in time");
  }
}

using Answers = std::multiset<std::string>;

void note_request(const std::string& message, Answers& requests) {
  try {
    const auto call = call_in(message);
    if (call && call->id) requests.insert(text_of(*call->id));
  } catch (const RequestError&) {
    requests.insert("null");
  }
}

/// Each answer is one to a request that has none yet.
void check_sent(const std::string& sent, Answers& requests) {
  MessageReader reader;
  reader.add(sent);
  while (const auto message = reader.next()) {
    const Json json = Json::parse(message->content);
    expect(json.at("jsonrpc") == "2.0", "a message has a version");
    if (json.contains("method")) {
      expect(!json.contains("id") && json.contains("params"), "the server sends notifications only");
      const std::string text = text_of(json);
      expect(text.find(" crashed, so ") == text.npos, "no job crashes");
      continue;
    }
    expect(json.contains("result") != json.contains("error"), "an answer is a result or an error");
    const auto request = requests.find(text_of(json.at("id")));
    expect(request != requests.end(), "an answer is to a request, and each has one");
    requests.erase(request);
  }
  expect(reader.is_between_messages(), "messages are whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  linter();  // before the directory changes
  fuzz::enter_own_directory();
  fuzz::write_product_once();
  const std::string here = eclipse_base::uri_of(std::filesystem::current_path().string());
  auto lines = eclipse_base::lines_of(eclipse_base::replaced(fuzz::text_of(data, size), "@", here));
  if (lines.size() > most_messages) lines.resize(most_messages);
  Server server(linter(), "1", patience);
  Answers requests;
  for (const std::string& line : lines) {
    if (server.has_ended()) break;
    note_request(line, requests);
    server.receive({line});
    expect(server.jobs().size() <= lines.size(), "no more jobs than requests");
  }
  wait_for_jobs(server);
  check_sent(server.outgoing(), requests);
  return 0;
}
