#include "zavelo/messaging/recorded_chat.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
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
    errno = 0;
    if (std::filesystem::is_regular_file(path, ignored))
      file_.reset(std::fopen(path.c_str(), "rb"));
    else if (std::filesystem::exists(path, ignored))
      fault_ = "not a regular file";
    if (file_ == nullptr) fail();
  }

  [[nodiscard]] std::optional<std::size_t> read(char* room, std::size_t size) override {
    if (fault_) return std::nullopt;
    const std::size_t count = std::fread(room, 1, size, file_.get());
    if (count == 0 && std::ferror(file_.get()) != 0) fail();
    return fault_ ? std::nullopt : std::optional(count);
  }
  [[nodiscard]] const std::optional<std::string>& fault() const noexcept { return fault_; }

 private:
  void fail() {
    if (!fault_) fault_ = std::strerror(errno != 0 ? errno : ENOENT);
  }

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
  std::optional<std::string> fault_;
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

using Loaded = ZaveloRecordedMessageDownloader::Loaded;

/// Who learns why a text is no chat: the log too, or the caller alone.
enum class Telling { log, callerAlone };

Loaded told(Result<ZVRecordedMessages, json::Error> decoded, Telling telling) {
  if (decoded) return std::move(decoded).value();
  std::string text = decoded.error().text();
  if (telling == Telling::log) {
    platform::writeLog("Error: " + text);
    ZVLog::e(text, {"decode()"});
  }
  return Failure{std::move(text)};
}

Loaded readFile(const std::string& path, Telling telling) {
  FileText file(path);
  auto decoded = decodeChat(file);
  if (file.fault()) return Failure{*file.fault()};
  return told(std::move(decoded), telling);
}

/// Answers on the main queue, also when it is destroyed before, as by a session that loses its
/// request or a queue that is closed.
class Answer {
 public:
  Answer(std::shared_ptr<Queue> mainQueue, UniqueFunction<void(Loaded)> completion)
      : mainQueue_(std::move(mainQueue)), completion_(std::move(completion)) {}
  Answer(Answer&&) = default;
  Answer& operator=(Answer&&) = delete;
  ~Answer() {
    if (mainQueue_)
      std::move (*this)(
          Failure{std::string("it could not be read: its queue has ended or got no thread")});
  }

  void operator()(Loaded loaded) && {
    std::exchange(mainQueue_, nullptr)
        ->post([completion = std::move(completion_), loaded = std::move(loaded)]() mutable {
          completion(std::move(loaded));
        });
  }

 private:
  std::shared_ptr<Queue> mainQueue_;
  UniqueFunction<void(Loaded)> completion_;
};

/// Why the reply is not the whole of what was asked for.
std::optional<std::string> faultOf(const HttpReply& reply) {
  if (reply.failure) return reply.failure->description;
  if (!reply.status) return "no HTTP response";
  if (*reply.status >= 200 && *reply.status <= 299) return std::nullopt;
  return "HTTP status " + std::to_string(*reply.status);
}

void fetch(HttpSession& session, std::string url, std::weak_ptr<Queue> backgroundQueue,
           Telling telling, Answer answer) {
  HttpRequest request;
  request.url = std::move(url);
  request.replyLimit = longestChat;
  session.send(std::move(request), [backgroundQueue = std::move(backgroundQueue), telling,
                                    answer = std::move(answer)](HttpReply reply) mutable {
    if (auto fault = faultOf(reply)) return std::move(answer)(Failure{std::move(*fault)});
    const auto queue = backgroundQueue.lock();
    if (!queue) return;
    queue->post([body = std::move(reply.body), telling, answer = std::move(answer)]() mutable {
      json::TextInMemory text(body);
      std::move(answer)(told(decodeChat(text), telling));
    });
  });
}

void start(const std::string& address, const ZaveloRecordedMessageDownloader::Collaborators& with,
           Telling telling, UniqueFunction<void(Loaded)> completion) {
  // What waits in a queue must not own it.
  with.backgroundQueue->post(
      [session = with.session, queue = std::weak_ptr<Queue>(with.backgroundQueue), text = address,
       telling, answer = Answer(with.mainQueue, std::move(completion))]() mutable {
        const auto found = detail::chatAddress(text);
        if (!found)
          return std::move(answer)(Failure{std::string("not a path, file URL, http or https URL")});
        if (found->kind == detail::ChatAddress::Kind::file)
          return std::move(answer)(readFile(found->place, telling));
        fetch(*session, found->place, std::move(queue), telling, std::move(answer));
      });
}

ZVRecordedMessages orNone(Loaded loaded) {
  return loaded ? std::move(loaded).value() : ZVRecordedMessages();
}

}  // namespace

ZVRecordedMessages ZVRecordedMessageDecoder::decode() const {
  json::TextInMemory text(data);
  return orNone(told(decodeChat(text), Telling::log));
}

ZaveloRecordedMessageDownloader::Collaborators
ZaveloRecordedMessageDownloader::Collaborators::ofPlatform() {
  return {platform::httpSession(), platform::mainQueue(), platform::backgroundQueue()};
}

AwaitableCall<ZVRecordedMessages> ZaveloRecordedMessageDownloader::download(
    CallCompletion<ZVRecordedMessages> completion) const {
  return detail::beginCall(with_.mainQueue, std::move(completion), [&](auto answer) {
    start(
        historyChatFileUrl, with_, Telling::log,
        [answer = std::move(answer)](Loaded loaded) mutable { answer(orNone(std::move(loaded))); });
    return ZVCall();
  });
}

AwaitableCall<Loaded> ZaveloRecordedMessageDownloader::load(
    CallCompletion<Loaded> completion) const {
  return detail::beginCall(with_.mainQueue, std::move(completion), [&](auto answer) {
    start(historyChatFileUrl, with_, Telling::callerAlone, std::move(answer));
    return ZVCall();
  });
}

}  // namespace zavelo
