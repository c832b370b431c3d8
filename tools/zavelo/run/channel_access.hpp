#pragma once

#include <memory>
#include <string>

#include "tools/zavelo/chat/channel_visit.hpp"
#include "tools/zavelo/run/library.hpp"

namespace zavelo::command {

/// A channel that the session in the store may enter, over the library's own services.
struct ChannelAccess {
  Library library;
  std::shared_ptr<ChannelVisit> visit;
};

/// Once in a process. What is in the way has been told; the error is the exit status.
[[nodiscard]] Result<ChannelAccess, ExitStatus> openChannel(const std::string& channel,
                                                            const GlobalOptions& options,
                                                            const Output& output,
                                                            const std::string& help);

}  // namespace zavelo::command
