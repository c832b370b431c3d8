#include "zavelo/messaging/string_message.hpp"

#include "zavelo/json/json.hpp"

namespace zavelo {

ZVStringMessage::~ZVStringMessage() = default;

std::optional<std::string> ZVStringMessage::toJsonString() const {
  auto text = json::encode(asRecord());
  if (!text) return std::nullopt;
  return std::move(text).value();
}

}  // namespace zavelo
