#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/zavelo/arguments/argument_text.hpp"
#include "tools/zavelo/operations/operation.hpp"
#include "tools/zavelo/operations/trigger_action.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/messaging/message_type.hpp"

namespace zavelo::command {

// What a command line asks for.

struct GlobalOptions {
  std::string api;    ///< the backend's origin; empty: the development backend
  std::string store;  ///< the session's file; empty: the library's own place
  std::string appId;
  std::string rtm;  ///< where messages travel; empty: nowhere
  ZVAPIService::APILogLevel log = ZVAPIService::APILogLevel::none;
};

struct OperationRequest {
  const Operation* operation = nullptr;
  std::vector<TypedArgument> arguments;
  std::string help;    ///< the command that shows its help
  bool isAll = false;  ///< every page from the one that is asked for
};
struct CensorRequest {
  std::string text;  ///< "-": what the standard input holds
  bool isAttributed = false;
  std::string help;
};
struct ChatRequest {
  std::string channel;
  std::optional<std::string> sendFile;
  std::optional<std::string> save;
  /// How long it lasts, or how many events; absent: until it is interrupted.
  std::variant<std::monostate, std::chrono::milliseconds, std::int64_t> exitAfter;
  std::string help;
};
struct ChatMembersRequest {
  std::string channel;
  std::string help;
};
struct ChatSendRequest {
  std::string channel;
  ZVMessageType type = ZVMessageType::message;
  std::vector<TypedArgument> fields;  ///< of `messageArguments()`
  std::string help;
};
struct ReplayRequest {
  std::string address;
  double speed = 1;                  ///< infinite: at once
  std::optional<std::int64_t> from;  ///< milliseconds
};
struct InspectRequest {
  std::string text;  ///< "-": what the standard input holds
  std::string help;
};
struct SandboxRequest {
  std::uint16_t port = 8080;
  std::optional<std::string> state;  ///< absent: a file beside the session's
  bool isEphemeral = false;
  std::optional<std::string> seed;  ///< absent: what is built in
  std::optional<std::string> faults;
  bool hasBroker = true;
  std::optional<std::uint16_t> brokerPort;  ///< absent: the usual one, or any beside any port
};
struct TriggerRequest {
  const TriggerAction* action = nullptr;
  std::vector<TypedArgument> arguments;
  std::string help;
};
struct ExportRequest {
  std::optional<std::string> state;   ///< absent: a file beside the session's
  std::optional<std::string> seed;    ///< whose settings go along
  std::optional<std::string> output;  ///< absent: standard output
  bool withPictures = false;
  bool isRunning = false;  ///< of the sandbox at --api, not of a file
};
struct DemoRequest {
  bool stays = false;  ///< the sandbox goes on when the story is over
};
struct VersionRequest {};
struct HelpRequest {
  std::string text;
};

using Request =
    std::variant<HelpRequest, VersionRequest, OperationRequest, ChatRequest, ChatMembersRequest,
                 ChatSendRequest, ReplayRequest, InspectRequest, CensorRequest, SandboxRequest,
                 ExportRequest, TriggerRequest, DemoRequest>;

struct CommandLine {
  GlobalOptions options;
  bool json = false;
  std::unique_ptr<const Request> request;
};

/// A command line that makes no sense: one sentence that names what is wrong, and where help is.
struct UsageError {
  std::string description;
  std::string help;  ///< "zavelo user login --help"
};

}  // namespace zavelo::command
