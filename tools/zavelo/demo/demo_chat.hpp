#pragma once

#include <string>

#include "tools/zavelo/demo/demo_stage.hpp"

namespace zavelo::command {

/// Whom the chat of a running stream is about. Each has an app, a process of its own, in the
/// stream's channel, and they talk over a broker.
struct ChatCast {
  DemoStage& stage;
  Actor& host;
  Actor& viewer;    ///< whose app stays in the channel
  Actor& passerBy;  ///< whose app comes for one thing at a time
  std::string slug;
};

/// The host and two viewers chat, like, vote, give a gift, and see what the host's app floats over
/// the picture. Returns the file in which the host's app has saved the chat.
std::string playChat(const ChatCast& cast);
/// The stream has ended: the file at the address of its saved chat has what was said.
void replayChat(const ChatCast& cast, const std::string& savedFile);

}  // namespace zavelo::command
