#include "bench/engine_room.hpp"

#include <stdexcept>

namespace zavelo::bench {
namespace {

class Ears final : public AgoraRtmDelegate, public AgoraRtmChannelDelegate {
 public:
  explicit Ears(Tally& tally) : tally_(tally) {}
  void connectionStateChanged(std::int64_t, std::int64_t) override {}
  void peerMessageReceived(const std::string&, const std::string&) override {}
  void tokenDidExpire() override {}
  void memberJoined(const std::string&, const std::string&) override {}
  void memberLeft(const std::string&, const std::string&) override {}
  void channelMessageReceived(const std::string&, const std::string&, const std::string&) override {
    tally_.receive();
  }

 private:
  Tally& tally_;
};

class KitRoom final : public Room {
 public:
  KitRoom(const AgoraRtmKitFactory& factory, std::size_t receivers, Tally& tally)
      : tally_(tally), ears_(std::make_shared<Ears>(tally)) {
    static int rooms = 0;
    const std::string room = "room" + std::to_string(++rooms);
    for (std::size_t i = 0; i <= receivers; ++i) kits_.push_back(factory("app", ears_));
    each([&](std::size_t i, auto done) {
      kits_[i]->login({}, room + "-" + std::to_string(i), std::move(done));
    });
    each([&](std::size_t i, auto done) {
      channels_.push_back(kits_[i]->createChannel(room, ears_));
      channels_.back()->join(std::move(done));
    });
  }

  void send(const std::string& text) override { channels_.front()->send(text, acknowledged()); }

 private:
  AgoraRtmCompletion acknowledged() {
    return [this](std::int64_t code) { tally_.acknowledge(code == rtmCode::success); };
  }
  template <class Start>
  void each(const Start& start) {
    tally_.expect(0, kits_.size());
    for (std::size_t i = 0; i < kits_.size(); ++i) start(i, acknowledged());
    if (!tally_.wait()) throw std::runtime_error("nobody comes into the room");
  }

  Tally& tally_;
  const std::shared_ptr<Ears> ears_;
  std::vector<std::shared_ptr<AgoraRtmKit>> kits_;
  std::vector<std::shared_ptr<AgoraRtmChannel>> channels_;
};

}  // namespace

void Tally::expect(std::size_t receipts, std::size_t acknowledgements) {
  delays_.assign(receipts, {});
  received_ = 0;
  open_ = receipts + acknowledgements;
  began_ = Clock::now();
}

void Tally::receive() {
  const std::size_t index = received_.fetch_add(1);
  if (index >= delays_.size()) return;
  delays_[index] = Clock::now() - began_;
  arrive();
}

void Tally::acknowledge(bool sound) {
  if (!sound) sound_ = false;
  arrive();
}

void Tally::arrive() {
  if (open_.fetch_sub(1) == 1) open_.notify_all();
}

bool Tally::wait() {
  for (std::size_t left = open_; left != 0; left = open_) open_.wait(left);
  return sound_;
}

std::unique_ptr<Room> kitRoom(const AgoraRtmKitFactory& factory, std::size_t receivers,
                              Tally& tally) {
  return std::make_unique<KitRoom>(factory, receivers, tally);
}

}  // namespace zavelo::bench
