#include "tools/zavelo/grammar/chat_grammar.hpp"

#include <charconv>
#include <cmath>
#include <limits>

#include "tools/zavelo/chat/chat_message.hpp"
#include "tools/zavelo/terminal/clock_text.hpp"

namespace zavelo::command {
namespace {

CLI::Option* addChannel(CLI::App& app) {
  return addOption(app, "--channel", "The channel; a stream's is named by its slug", "TEXT");
}

std::string kindNames() {
  std::string names;
  for (const auto& kind : codedCases<ZVMessageType>)
    names += (names.empty() ? "" : ", ") + std::string(kind.name);
  return names;
}

}  // namespace

// ---- chat ----

ChatGrammar::ChatGrammar(CLI::App& root)
    : chat_(addCommand(root, "chat", "Take part in the chat of a channel")),
      channel_(addChannel(*chat_)),
      sendFile_(addOption(*chat_, "--send-file", "Say each line of the file first", "FILE")),
      save_(addOption(*chat_, "--save", "Save the chat as a new file that \"zavelo replay\" plays",
                      "FILE")),
      exitAfter_(addOption(*chat_, "--exit-after",
                           "Leave after so many seconds (10s) or received events (5)",
                           "SECONDS|N")) {
  chat_->footer(
      "Shows each event as a line, and says each line that is typed. Leaves at Ctrl-C, at the end\n"
      "of what is typed on a terminal, or as --exit-after says, once everything said has been\n"
      "acknowledged. It needs a session (\"zavelo user login-guest\") and --rtm.\n"
      "In a saved chat time begins at the joining.\n" +
      std::string(globalOptionsNote));
  addMembers();
  addSend();
}

void ChatGrammar::addMembers() {
  members_ = addCommand(*chat_, "members", "List the user identifiers of who is in the channel");
  membersChannel_ = addChannel(*members_)->required();
  members_->footer(std::string(globalOptionsNote));
}

void ChatGrammar::addSend() {
  send_ = addCommand(*chat_, "send", "Send one event of any kind to the channel");
  sendChannel_ = addChannel(*send_)->required();
  type_ = addOption(*send_, "--type", "The kind, by its name or code; message if left out", "KIND");
  fields_.emplace(*send_, messageArguments());
  send_->footer("Kinds: " + kindNames() + ".\n" + std::string(globalOptionsNote));
}

std::optional<Request> ChatGrammar::request(const std::string& help) const {
  if (members_->parsed()) return ChatMembersRequest{textOf(membersChannel_), help};
  if (send_->parsed()) return sendRequest(help);
  if (chat_->parsed()) return chatRequest(help);
  return {};
}

ChatRequest ChatGrammar::chatRequest(const std::string& help) const {
  if (channel_->count() == 0) throw CLI::ValidationError("--channel is required");
  ChatRequest request{.channel = textOf(channel_),
                      .sendFile = givenText(sendFile_),
                      .save = givenText(save_),
                      .exitAfter = {},
                      .help = help};
  const auto after = givenText(exitAfter_);
  if (!after) return request;
  const auto count = integerOf(*after);
  const auto time =
      after->ends_with('s') ? millisecondsOf(after->substr(0, after->size() - 1)) : std::nullopt;
  if (time)
    request.exitAfter = std::chrono::milliseconds(*time);
  else if (count && *count > 0)
    request.exitAfter = *count;
  else
    refuse(exitAfter_, "seconds like 10s or a number of events");
  return request;
}

ChatSendRequest ChatGrammar::sendRequest(const std::string& help) const {
  ChatSendRequest request{.channel = textOf(sendChannel_), .type = {}, .fields = {}, .help = help};
  request.type = ZVMessageType::message;
  if (const auto name = givenText(type_)) {
    if (argumentType<ZVMessageType>().read(*name, &request.type)) refuse(type_, "a kind of event");
  }
  request.fields = fields_->typed();
  return request;
}

// ---- replay ----

ReplayGrammar::ReplayGrammar(CLI::App& root)
    : replay_(addCommand(root, "replay", "Play a recorded chat on its time line")),
      address_(addOption(*replay_, "ADDRESS", "A file or URL with the saved chat of a stream", "")
                   ->required()),
      speed_(addOption(*replay_, "--speed",
                       "How many times as fast; 0 or max: all at once; 1 if left out", "NUMBER")),
      from_(addOption(*replay_, "--from",
                      "Where to begin, like 90, 1:30 or 1:02:05; the first event if left out",
                      "TIME")) {
  replay_->footer(
      "On a terminal space pauses, the left and right arrows seek by 10 seconds, + and - "
      "change the pace.\n" +
      std::string(globalOptionsNote));
}

std::optional<Request> ReplayGrammar::request() const {
  if (!replay_->parsed()) return {};
  ReplayRequest request{.address = textOf(address_), .speed = 1, .from = {}};
  if (const auto text = givenText(speed_)) {
    const auto [end, error] =
        std::from_chars(text->data(), text->data() + text->size(), request.speed);
    const bool isNumber = error == std::errc() && end == text->data() + text->size() &&
                          std::isfinite(request.speed) && request.speed >= 0;
    if (!isNumber && *text != "max") refuse(speed_, "a number from 0 on, or max");
    if (*text == "max" || request.speed == 0)
      request.speed = std::numeric_limits<double>::infinity();
  }
  if (const auto text = givenText(from_)) {
    request.from = millisecondsOf(*text);
    if (!request.from) refuse(from_, "seconds or a time like 1:30");
  }
  return request;
}

// ---- inspect ----

InspectGrammar::InspectGrammar(CLI::App& root)
    : inspect_(
          addCommand(root, "inspect", "Show what a messaging text holds, and its first fault")),
      text_(addOption(*inspect_, "TEXT", "The text; - reads it from the standard input", "")
                ->required()) {}

std::optional<Request> InspectGrammar::request(const std::string& help) const {
  if (!inspect_->parsed()) return {};
  return InspectRequest{textOf(text_), help};
}

}  // namespace zavelo::command
