#include "zavelo/messaging/recorded_chat.hpp"

#include <cstdio>
#include <filesystem>
#include <iterator>

#include "zavelo/base/result.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/json/list_reader.hpp"
#include "zavelo/messaging/chat_address_internal.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo {
namespace {

// A chat is saved whole; what is longer than this is none.
constexpr std::size_t longestChat = std::size_t{1024} * 1024 * 1024;

/// Reads a file as it is when it is read. (A file that is mapped to memory and shortened meanwhile
/// would end the process.)
class FileText final : public json::TextSource {
 public:
  explicit FileText(const std::string& path) {
    std::error_code ignored;
    // Opening a pipe would wait for its other end.
    if (std::filesystem::is_regular_file(path, ignored))
      file_.reset(std::fopen(path.c_str(), "rb"));
    failed_ = file_ == nullptr;
  }

  [[nodiscard]] std::optional<std::size_t> read(char* room, std::size_t size) override {
    const std::size_t count = failed_ ? 0 : std::fread(room, 1, size, file_.get());
    failed_ = failed_ || (count == 0 && std::ferror(file_.get()) != 0);
    return failed_ ? std::nullopt : std::optional(count);
  }
  [[nodiscard]] bool failed() const noexcept { return failed_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  bool failed_ = false;
};

/// Every event is read as a poll, so that a fault in `pollData` is one wherever it stands.
Result<ZVRecordedMessages, json::Error> decodeChat(json::TextSource& source) {
  ZVRecordedMessages messages;
  ZVRecordedMessages polls;
  auto error = json::decodeEach<ZVPollMessage>(source, [&](ZVPollMessage& read) {
    const auto type = read.type();
    ZVStreamMessageFields& fields = read;
    if (type != ZVMessageType::startPoll && type != ZVMessageType::stopPoll) {
      messages.push_back(std::make_shared<ZVStreamMessage>(std::move(fields)));
      return;
    }
    auto poll = std::make_shared<ZVPollMessage>(std::move(fields));
    poll->pollData = std::move(read.pollData);
    polls.push_back(std::move(poll));
  });
  if (error) return Failure{std::move(*error)};
  std::move(polls.begin(), polls.end(), std::back_inserter(messages));
  return messages;
}

ZVRecordedMessages orReport(Result<ZVRecordedMessages, json::Error> decoded) {
  if (decoded) return std::move(decoded).value();
  const std::string text = decoded.error().text();
  platform::logSink()->write("Error: " + text);
  ZVLog::e(text, {"decode()"});
  return {};
}

ZVRecordedMessages readFile(const std::string& path) {
  FileText file(path);
  auto decoded = decodeChat(file);
  return file.failed() ? ZVRecordedMessages() : orReport(std::move(decoded));
}

/// Answers on the main queue; with nothing when it is destroyed before, as by a session that loses
/// its request or a queue that is closed.
class Answer {
 public:
  Answer(std::shared_ptr<Queue> mainQueue, UniqueFunction<void(ZVRecordedMessages)> completion)
      : mainQueue_(std::move(mainQueue)), completion_(std::move(completion)) {}
  Answer(Answer&&) = default;
  Answer& operator=(Answer&&) = delete;
  ~Answer() {
    if (mainQueue_) std::move (*this)({});
  }

  void operator()(ZVRecordedMessages messages) && {
    std::exchange(mainQueue_, nullptr)
        ->post([completion = std::move(completion_), messages = std::move(messages)]() mutable {
          completion(std::move(messages));
        });
  }

 private:
  std::shared_ptr<Queue> mainQueue_;
  UniqueFunction<void(ZVRecordedMessages)> completion_;
};

bool isWhole(const HttpReply& reply) {
  return !reply.failure && reply.status && *reply.status >= 200 && *reply.status <= 299;
}

void fetch(HttpSession& session, std::string url, std::weak_ptr<Queue> backgroundQueue,
           Answer answer) {
  HttpRequest request;
  request.url = std::move(url);
  request.replyLimit = longestChat;
  session.send(std::move(request), [backgroundQueue = std::move(backgroundQueue),
                                    answer = std::move(answer)](HttpReply reply) mutable {
    const auto queue = backgroundQueue.lock();
    if (!queue || !isWhole(reply)) return;
    queue->post([body = std::move(reply.body), answer = std::move(answer)]() mutable {
      std::move(answer)(ZVRecordedMessageDecoder(std::move(body)).decode());
    });
  });
}

}  // namespace

ZVRecordedMessages ZVRecordedMessageDecoder::decode() const {
  json::TextInMemory text(data);
  return orReport(decodeChat(text));
}

ZaveloRecordedMessageDownloader::Collaborators
ZaveloRecordedMessageDownloader::Collaborators::ofPlatform() {
  return {platform::httpSession(), platform::mainQueue(), platform::backgroundQueue()};
}

void ZaveloRecordedMessageDownloader::download(
    UniqueFunction<void(ZVRecordedMessages)> completion) const {
  // What waits in a queue must not own it.
  with_.backgroundQueue->post([session = with_.session,
                               queue = std::weak_ptr<Queue>(with_.backgroundQueue),
                               text = historyChatFileUrl,
                               answer = Answer(with_.mainQueue, std::move(completion))]() mutable {
    const auto address = detail::chatAddress(text);
    if (!address) return;
    if (address->kind == detail::ChatAddress::Kind::file)
      return std::move(answer)(readFile(address->place));
    fetch(*session, address->place, std::move(queue), std::move(answer));
  });
}

}  // namespace zavelo
