#pragma once

#include <memory>

#include "tools/zavelo/request/output.hpp"
#include "tools/zavelo/request/request.hpp"
#include "tools/zavelo/run/watched_store.hpp"
#include "zavelo/platform/main_queue.hpp"

namespace zavelo::command {

/// The library as one command needs it: its main queue is the calling thread, its log goes to
/// standard error, its session is in the store that was asked for.
struct Library {
  /// Once in a process; reads the store.
  [[nodiscard]] static Library start(const GlobalOptions& options, const Output& output);

  std::shared_ptr<MainQueue> queue = std::make_shared<MainQueue>();
  std::shared_ptr<WatchedStore> store;
};

}  // namespace zavelo::command
