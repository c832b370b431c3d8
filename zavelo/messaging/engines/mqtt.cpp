#include "zavelo/messaging/engines/mqtt.hpp"

#include <charconv>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "zavelo/messaging/engines/mqtt/session_internal.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"
#include "zavelo/messaging/engines/rtm_channel_table_internal.hpp"

namespace zavelo {
namespace {

using detail::MqttBroker;
using detail::MqttLoop;
using detail::MqttSession;
using detail::MqttSurroundings;

/// How long a kit that goes waits for its goodbyes to reach the broker.
constexpr std::chrono::milliseconds farewellTime{1000};

/// One of an address's brokers: a host, and maybe a port.
std::optional<MqttBroker> brokerAt(std::string_view place, bool tls) {
  MqttBroker broker{{}, static_cast<std::uint16_t>(tls ? 8883 : 1883), tls};
  // An IPv6 address stands in brackets (RFC 3986 section 3.2.2).
  const auto hostEnd = place.starts_with('[') ? place.find(']') : 0;
  if (hostEnd == std::string_view::npos) return std::nullopt;
  const auto colon = place.find(':', hostEnd);
  auto host = place.substr(0, colon);
  if (host.starts_with('[')) host = host.substr(1, host.size() - 2);
  if (host.empty() || host.find_first_of("/@?# []") != std::string_view::npos) return std::nullopt;
  broker.host = host;
  if (colon == std::string_view::npos) return broker;
  const auto port = place.substr(colon + 1);
  const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), broker.port);
  if (error != std::errc() || end != port.data() + port.size() || broker.port == 0)
    return std::nullopt;
  return broker;
}

/// None when one of them is malformed.
std::vector<MqttBroker> brokersAt(std::string_view address) {
  const bool tls = address.starts_with("mqtts://");
  if (!tls && !address.starts_with("mqtt://")) return {};
  address.remove_prefix(address.find("//") + 2);
  if (address.ends_with('/')) address.remove_suffix(1);
  std::vector<MqttBroker> brokers;
  for (;;) {
    const auto comma = address.find(',');
    auto broker = brokerAt(address.substr(0, comma), tls);
    if (!broker) return {};
    brokers.push_back(std::move(*broker));
    if (comma == std::string_view::npos) return brokers;
    address.remove_prefix(comma + 1);
  }
}

/// A kit's way to its session: carries operations to the loop.
class MqttKit final : public AgoraRtmKit, public std::enable_shared_from_this<MqttKit> {
 public:
  explicit MqttKit(std::shared_ptr<MqttSurroundings> around)
      : around_(std::move(around)), session_(std::make_shared<MqttSession>(around_)) {}
  ~MqttKit() override {
    around_->isGone = true;
    around_->loop->post([session = std::move(session_)] { session->close(); });
    if (!around_->loop->isOwnThread()) around_->loop->waitForEnd(farewellTime);
  }

  template <class Work>
  void ask(Work work) {
    around_->loop->post(
        [session = session_, work = std::move(work)] { std::invoke(work, *session); });
  }

  void login(const std::optional<std::string>& token, const std::string& userId,
             AgoraRtmCompletion completion) override {
    ask([token, userId, completion = std::move(completion)](MqttSession& session) {
      session.login(token, userId, completion);
    });
  }
  void logout(AgoraRtmCompletion completion) override {
    ask([completion = std::move(completion)](MqttSession& session) { session.logout(completion); });
  }
  void send(const std::string& text, const std::string& peerId,
            AgoraRtmCompletion completion) override {
    ask([text, peerId, completion = std::move(completion)](MqttSession& session) {
      session.send(text, peerId, completion);
    });
  }
  std::shared_ptr<AgoraRtmChannel> createChannel(
      const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) override;
  bool destroyChannel(const std::string& channelId) override {
    if (!channels_.remove(channelId)) return false;
    ask([channelId](MqttSession& session) { session.leave(channelId, {}); });
    return true;
  }
  [[nodiscard]] std::optional<Channels> channels() const override { return channels_.all(); }

  void suspend() override { ask(&MqttSession::suspend); }
  void resume() override { ask(&MqttSession::resume); }
  void networkChanged() override { ask(&MqttSession::networkChanged); }
  void setInBackground(bool isInBackground) override {
    ask([isInBackground](MqttSession& session) { session.setInBackground(isInBackground); });
  }

 private:
  const std::shared_ptr<MqttSurroundings> around_;
  std::shared_ptr<MqttSession> session_;
  detail::RtmChannelTable channels_;
};

class Channel final : public AgoraRtmChannel {
 public:
  Channel(std::weak_ptr<MqttKit> kit, std::string id,
          std::weak_ptr<AgoraRtmChannelDelegate> delegate)
      : kit_(std::move(kit)), id_(std::move(id)), delegate_(std::move(delegate)) {}

  void join(AgoraRtmCompletion completion) override { joinWithOptions({}, std::move(completion)); }
  void joinWithOptions(const AgoraRtmJoinOptions& options, AgoraRtmCompletion completion) override {
    ask([id = id_, delegate = delegate_, options, completion = std::move(completion)](
            MqttSession& session) { session.join(id, delegate, options, completion); });
  }
  void leave(AgoraRtmCompletion completion) override {
    ask([id = id_, completion = std::move(completion)](MqttSession& session) {
      session.leave(id, completion);
    });
  }
  void send(const std::string& text, AgoraRtmCompletion completion) override {
    ask([id = id_, text, completion = std::move(completion)](MqttSession& session) {
      session.sendToChannel(id, text, completion);
    });
  }
  void getMembers(AgoraRtmMembersCompletion completion) override {
    ask([id = id_, completion = std::move(completion)](MqttSession& session) {
      session.getMembers(id, completion);
    });
  }
  void countMembers(AgoraRtmCountCompletion completion) override {
    ask([id = id_, completion = std::move(completion)](MqttSession& session) {
      session.countMembers(id, completion);
    });
  }

 private:
  template <class Work>
  void ask(Work work) {
    if (const auto kit = kit_.lock()) kit->ask(std::move(work));
  }

  const std::weak_ptr<MqttKit> kit_;
  const std::string id_;
  const std::weak_ptr<AgoraRtmChannelDelegate> delegate_;
};

std::shared_ptr<AgoraRtmChannel> MqttKit::createChannel(
    const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) {
  return channels_.findOrCreate(channelId, [&] {
    return std::make_shared<Channel>(weak_from_this(), channelId, std::move(delegate));
  });
}

}  // namespace

Result<AgoraRtmKitFactory, std::string> mqttEngine(MqttEngineOptions options) {
  auto brokers = brokersAt(options.address);
  if (brokers.empty())
    return Failure{"\"" + options.address +
                   "\" is no broker's address; one looks like mqtt://127.0.0.1:1883"};
  return AgoraRtmKitFactory(
      [options = std::move(options), brokers = std::move(brokers),
       resolver = std::make_shared<detail::MqttResolver>()](
          const std::string& appId,
          std::weak_ptr<AgoraRtmDelegate> delegate) -> std::shared_ptr<AgoraRtmKit> {
        auto loop = MqttLoop::start();
        if (!loop) return nullptr;
        return std::make_shared<MqttKit>(std::make_shared<MqttSurroundings>(
            options, brokers, appId, std::move(loop), resolver, std::move(delegate)));
      });
}

}  // namespace zavelo
