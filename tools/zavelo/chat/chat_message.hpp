#pragma once

#include <memory>
#include <vector>

#include "tools/zavelo/arguments/argument.hpp"
#include "zavelo/messaging/current_user_source.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::command {

/// What may be said in an event beside its kind and sender: the fields of every kind, each once.
[[nodiscard]] const std::vector<Argument>& messageArguments();

/// An event of that kind from the current user with those fields; a field of another kind is an
/// error.
[[nodiscard]] Result<std::shared_ptr<ZVStreamMessage>, ArgumentError> chatMessage(
    ZVMessageType type, const json::Object& fields,
    const ZVCurrentUserSource& users = ZVCurrentUserSource::shared());

}  // namespace zavelo::command
