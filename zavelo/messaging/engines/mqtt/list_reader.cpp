#include "zavelo/messaging/engines/mqtt/list_reader_internal.hpp"

#include <utility>

namespace zavelo::detail {

void MqttListReader::begin(Filters filters) {
  filters_ = std::move(filters);
  life_ = std::make_shared<int>();
}

void MqttListReader::end() {
  connection_ = nullptr;
  life_ = nullptr;
  for (const auto& reading : std::exchange(readings_, {})) reading.done(nullptr);
}

void MqttListReader::read(const std::shared_ptr<MqttConnection>& connection, Reading reading) {
  connection_ = connection;
  readings_.push_back(std::move(reading));
  if (readings_.size() == 1) start();
}

void MqttListReader::start() {
  const auto& reading = readings_.front();
  const auto number = std::to_string(++fence_);
  // No one else hears the fence, and it comes through the same queue as the list. A list of
  // thousands with acknowledgements would fill the window that a broker keeps for them.
  connection_->subscribe(reading.isWhole ? filters_.whole : filters_.ownShard, {},
                         [life = std::weak_ptr(life_), answer = reading.subscribed](int reason) {
                           if (!life.expired() && answer) answer(reason);
                         });
  connection_->subscribe(filters_.fence, {}, {});
  connection_->publish({.topic = filters_.fence, .payload = number}, {});
  loop_.after(timeout_, [this, life = std::weak_ptr(life_), fence = fence_] {
    if (!life.expired() && fence == fence_ && !readings_.empty()) finish(false);
  });
}

void MqttListReader::hearEntry(const std::string& userId, const std::string& session,
                               bool isInOwnShard, bool isEmpty) {
  if (readings_.empty() || (!readings_.front().isWhole && !isInOwnShard)) return;
  auto& seen = readings_.front().seen;
  isEmpty ? seen.remove(userId, session) : seen.add(userId, session);
}

void MqttListReader::hearFence(const std::string& number) {
  if (!readings_.empty() && number == std::to_string(fence_)) finish(true);
}

void MqttListReader::finish(bool isComplete) {
  const auto reading = std::move(readings_.front());
  readings_.pop_front();
  if (!keeps_(reading.isWhole))
    connection_->unsubscribe(reading.isWhole ? filters_.whole : filters_.ownShard);
  if (!readings_.empty()) start();
  reading.done(isComplete ? &reading.seen : nullptr);
}

}  // namespace zavelo::detail
