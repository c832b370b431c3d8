#include "sandbox/dashboard/state_watch.hpp"

#include <chrono>
#include <exception>
#include <utility>

#include "sandbox/streams/stream.hpp"

namespace zavelo::sandbox {
namespace {

/// Between two looks. A call just before one ends is shown by the next.
constexpr std::chrono::milliseconds pause{200};

/// The streams that run, and those that ended since.
std::vector<Row> streamsNow(Transaction& transaction, Time since) {
  return transaction.all(
      "SELECT s.id, "
      "(SELECT count(*) FROM view_sessions WHERE stream = s.id AND ended IS NULL), "
      "(SELECT coalesce(sum(likes), 0) FROM reactions WHERE stream = s.id), "
      "(SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = s.id) "
      "FROM streams s WHERE s.status IN (?, ?) OR s.ended >= ? ORDER BY s.id DESC LIMIT ?",
      static_cast<int>(StreamStatus::live), static_cast<int>(StreamStatus::paused), stored(since),
      Curves::mostStreams);
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
        [&](Transaction& transaction) { return streamsNow(transaction, lastLook_); });
    const std::scoped_lock lock(mutex_);
    for (const auto& row : rows) {
      curves_.note(row.integer(0), {now, row.integer(1), row.integer(2), row.integer(3)});
    }
  } catch (const std::exception&) {
    // The database fails those who call, too; they are told.
  }
  lastLook_ = now;
  feed_.publish("state", "{}");
}

}  // namespace zavelo::sandbox
