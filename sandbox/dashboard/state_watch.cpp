#include "sandbox/dashboard/state_watch.hpp"

#include <chrono>
#include <exception>
#include <utility>

#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/totals.hpp"

namespace zavelo::sandbox {
namespace {

/// Between two looks. A call just before one ends is shown by the next.
constexpr std::chrono::milliseconds pause{200};

/// What the streams that run have now, and those that ended since.
auto totalsNow(Transaction& transaction, Time since) {
  const auto sql = std::string("SELECT id, ")
                       .append(totals::viewersNow)
                       .append(", ")
                       .append(totals::likes)
                       .append(", ")
                       .append(totals::gold)
                       .append(
                           " FROM streams WHERE status IN (?, ?) OR ended >= ? "
                           "ORDER BY id DESC LIMIT ?");
  return transaction.rows<std::int64_t, std::int64_t, std::int64_t, std::int64_t>(
      sql, StreamStatus::live, StreamStatus::paused, since, Curves::mostStreams);
}

}  // namespace

StateWatch::StateWatch(Database& database, EventFeed& feed, std::function<Time()> now)
    : database_(database), feed_(feed), now_(std::move(now)), thread_([this] { run(); }) {}

StateWatch::~StateWatch() {
  stop();
}

void StateWatch::touch() {
  const std::scoped_lock lock(mutex_);
  touched_ = true;
  wake_.notify_one();
}

std::vector<CurvePoint> StateWatch::curveOf(std::int64_t stream) const {
  const std::scoped_lock lock(mutex_);
  return curves_.of(stream);
}

void StateWatch::stop() {
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
    wake_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
}

void StateWatch::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    wake_.wait(lock, [this] { return touched_ || stopped_; });
    if (stopped_) return;
    touched_ = false;
    lock.unlock();
    look();
    lock.lock();
    wake_.wait_for(lock, pause, [this] { return stopped_; });
  }
}

void StateWatch::look() {
  const Time now = now_();
  try {
    const auto rows = database_.transact(
        [&](Transaction& transaction) { return totalsNow(transaction, lastLook_); });
    const std::scoped_lock lock(mutex_);
    for (const auto& [stream, viewers, likes, gold] : rows)
      curves_.note(stream, {now, viewers, likes, gold});
  } catch (const std::exception&) {
    // The database fails those who call, too; they are told.
  }
  lastLook_ = now;
  feed_.publish("state", "{}");
}

}  // namespace zavelo::sandbox
