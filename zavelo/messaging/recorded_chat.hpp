#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/messaging/stream_message.hpp"
#include "zavelo/platform/http_session.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// The events of a recorded chat.
using ZVRecordedMessages = std::vector<std::shared_ptr<ZVStreamMessage>>;

/// Reads the saved chat of a recorded stream: one JSON list of event records without envelopes.
///
///     [{"senderUserId":42,...,"messageType":1,"message":"hello","recordedTime":5000,...},
///      {...,"messageType":413,...,"pollData":{...}}]
class ZAVELO_EXPORT ZVRecordedMessageDecoder {
 public:
  explicit ZVRecordedMessageDecoder(std::string content) : data(std::move(content)) {}

  /// The events in the order of the file, those that start or stop a poll (as `ZVPollMessage`)
  /// behind all others (as `ZVStreamMessage`, whatever their kind). Empty, with "Error: ..." and an
  /// entry in the log, when one of them has a value of the wrong type or the whole is no such list.
  [[nodiscard]] ZVRecordedMessages decode() const;

  std::string data;  ///< the whole content of the file
};

/// Fetches the saved chat of a recorded stream. Any thread; several downloads at once are fine.
class ZAVELO_EXPORT ZaveloRecordedMessageDownloader {
 public:
  struct ZAVELO_EXPORT Collaborators {
    std::shared_ptr<HttpSession> session;
    std::shared_ptr<Queue> mainQueue;
    std::shared_ptr<Queue> backgroundQueue;

    /// Those of the installed platform.
    [[nodiscard]] static Collaborators ofPlatform();
  };

  /// The address is an http or https URL, a file URL or a path.
  explicit ZaveloRecordedMessageDownloader(std::string address,
                                           Collaborators with = Collaborators::ofPlatform())
      : historyChatFileUrl(std::move(address)), with_(std::move(with)) {}

  /// Reads and decodes on the background queue, and calls `completion` exactly once, on the main
  /// queue: with the events as `ZVRecordedMessageDecoder` orders them, or with none when the
  /// address is none, its content cannot be read whole (an HTTP status of failure included), or is
  /// no chat.
  AwaitableCall<ZVRecordedMessages> download(CallCompletion<ZVRecordedMessages> completion) const;

  /// The events, or one sentence that says why there are none: "[3].message: expected text".
  using Loaded = Result<ZVRecordedMessages, std::string>;
  /// The same for an app that wants to tell its user; nothing goes to the log.
  AwaitableCall<Loaded> load(CallCompletion<Loaded> completion) const;

  std::string historyChatFileUrl;

 private:
  Collaborators with_;
};

template <class T>
struct detail::CancelledResult<Result<T, std::string>> {
  static Result<T, std::string> make() { return Failure{std::string("cancelled")}; }
};

}  // namespace zavelo
