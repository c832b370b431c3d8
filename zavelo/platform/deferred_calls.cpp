#include "zavelo/platform/deferred_calls.hpp"

#include <utility>
#include <vector>

namespace zavelo {
namespace {

struct Waiting {
  std::vector<std::function<void()>> calls;
};

// A plain pointer: it needs no destructor at a thread's end.
thread_local Waiting* waiting = nullptr;

}  // namespace

DeferredCalls::DeferredCalls() : isOutermost_(waiting == nullptr) {
  if (isOutermost_) waiting = new Waiting;
}

DeferredCalls::~DeferredCalls() {
  if (!isOutermost_) return;
  const Waiting* mine = std::exchange(waiting, nullptr);
  for (const auto& call : mine->calls) {
    try {
      call();
    } catch (...) {  // there is no caller to catch it
    }
  }
  delete mine;
}

void DeferredCalls::run(std::function<void()> call) {
  if (waiting == nullptr) return call();
  waiting->calls.push_back(std::move(call));
}

}  // namespace zavelo
