#include "sandbox/dashboard/chat_log.hpp"

#include <utility>

#include "sandbox/api/unicode.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::size_t mostEntries = 4000;
constexpr std::size_t mostBytes = 8 * 1024 * 1024;
constexpr std::size_t textKept = 16 * 1024;
constexpr std::size_t idKept = 256;

}  // namespace

void ChatLog::received(const ChannelMember& sender, const std::string& text) {
  add(sender, "text", text);
}

void ChatLog::came(const ChannelMember& member) {
  add(member, "came", {});
}

void ChatLog::went(const ChannelMember& member) {
  add(member, "went", {});
}

void ChatLog::given(const GivenGift& /*gift*/) {
  context_.changed();
}

std::string ChatLog::entries(std::string_view channelId) const {
  const std::scoped_lock lock(mutex_);
  std::string list = "[";
  for (const auto& entry : entries_) {
    if (entry.channelId == channelId) list.append(list.size() == 1 ? "" : ",").append(entry.json);
  }
  return list.append("]");
}

void ChatLog::add(const ChannelMember& member, std::string_view kind, std::string_view text) {
  // A text has its sender's names, too, but as the sender tells them.
  auto names = context_.namesOf(member.userId);
  json::Object object{{"at", stored(context_.now())},
                      {"channel", repaired(member.channelId.substr(0, idKept))},
                      {"user", repaired(member.userId.substr(0, idKept))},
                      {"name", std::move(names.displayName)},
                      {"userName", std::move(names.userName)},
                      {"kind", kind},
                      {"text", repaired(text.substr(0, textKept))},
                      {"isCut", text.size() > textKept}};
  {
    // Told in the order of the numbers: who reads the log knows by them what it told already.
    const std::scoped_lock lock(mutex_);
    object.set("number", ++lastNumber_);
    auto json = json::encode(json::Value(std::move(object)));
    if (!json) return;
    bytes_ += json->size();
    entries_.push_back({member.channelId, *json});
    while (entries_.size() > mostEntries || bytes_ > mostBytes) {
      bytes_ -= entries_.front().json.size();
      entries_.pop_front();
    }
    context_.feed.publish("chat", *std::move(json));
  }
  context_.changed();
}

}  // namespace zavelo::sandbox
