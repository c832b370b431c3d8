#include "sandbox/events/event_stream.hpp"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "sandbox/api/envelope.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view afterId = "/sandbox/events/";
/// How often to see whether the reader is still there.
constexpr std::chrono::seconds lookPatience{1};
/// After so many looks in silence comes a comment, lest something between drops the connection.
constexpr int quietLooks = 10;

std::string_view lastIdOf(const Request& request) {
  const auto header = request.header("Last-Event-ID");
  if (!header.empty()) return header;
  const std::string_view path = request.path;
  return path.starts_with(afterId) ? path.substr(afterId.size()) : std::string_view();
}

void append(std::string& text, std::string_view id, std::string_view topic, std::string_view data) {
  text.append("id: ").append(id).append("\nevent: ").append(topic);
  text.append("\ndata: ").append(data).append("\n\n");
}

std::string textOf(const EventBatch& batch) {
  std::string text;
  if (!batch.missedUpTo.empty()) append(text, batch.missedUpTo, "resync", "{}");
  for (const auto& event : batch.events) append(text, event.id, event.topic, event.data);
  return text;
}

void tell(EventFeed::Reader& reader, const SendPiece& send) {
  if (!send("retry: 1000\n\n")) return;
  for (int quiet = 0;;) {
    const auto batch = reader.next(lookPatience);
    if (batch.ended) return;
    std::string text = textOf(batch);
    quiet = text.empty() ? quiet + 1 : 0;
    if (quiet == quietLooks) {
      text = ":\n\n";
      quiet = 0;
    }
    if (!send(text)) return;
  }
}

Response openStream(EventFeed& feed, const Call& call) {
  const auto reader = std::make_shared<EventFeed::Reader>(feed, lastIdOf(call.request));
  if (!reader->isAdmitted()) return failWithStatus(503, "Too many pages follow the sandbox");
  return {.contentType = "text/event-stream",
          .headers = {{"Cache-Control", "no-store"}},
          .stream = [reader](const SendPiece& send) { tell(*reader, send); }};
}

}  // namespace

std::vector<Endpoint> eventStreamEndpoints(EventFeed& feed) {
  const auto handler = handlersIn(feed)(openStream);
  return {get("/sandbox/events", handler), get("/sandbox/events/*", handler)};
}

}  // namespace zavelo::sandbox
