#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"
#include "zavelo/messaging/engines/mqtt/packet_internal.hpp"
#include "zavelo/messaging/engines/mqtt/packet_reader_internal.hpp"
#include "zavelo/messaging/engines/mqtt/requests_internal.hpp"
#include "zavelo/messaging/engines/mqtt/resolver_internal.hpp"
#include "zavelo/messaging/engines/mqtt/stream_internal.hpp"

namespace zavelo::detail {

struct MqttBroker {
  std::string host{};
  std::uint16_t port = 0;
  bool tls = false;

  /// "mqtt://host:1883"
  [[nodiscard]] std::string text() const {
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (tls ? "mqtts://" : "mqtt://") + (isIpv6 ? "[" + host + "]" : host) + ":" +
           std::to_string(port);
  }
};

/// Where to, and as whom.
struct MqttPlan {
  MqttBroker broker{};
  std::shared_ptr<MqttResolver> resolver{};
  std::shared_ptr<MqttTrust> trust{};  ///< with TLS
  std::string problem{};               ///< why it cannot be tried at all
  MqttConnectRequest request{};
  std::chrono::milliseconds pingInterval{}, pongTimeout{};
  std::chrono::milliseconds addressTimeout{};  ///< where there is another address to be tried
  std::chrono::milliseconds requestTimeout{};
  std::size_t largestBody = 0;  ///< of a packet; of a larger one only the beginning is read
};

struct MqttLoss {
  enum class Kind {
    refused,   ///< the broker lets nobody in under this name, or not now
    expelled,  ///< an administrator ended it, or has banned the user
    broken,    ///< anything else, also a broker that is not there
  };
  Kind kind = Kind::broken;
  std::string address{};      ///< "mqtt://127.0.0.1:1883"
  std::string problem{};      ///< "connection refused"
  bool wasConnected = false;  ///< or was never let in
  /// For how long it is not known that all that the broker had for this client has arrived.
  std::chrono::milliseconds silence{};
};

/// Hears of a connection on its loop's thread.
class MqttListener {
 public:
  virtual ~MqttListener() = default;
  virtual void connected() = 0;
  /// `isCut`: it is larger than `largestBody`, and its payload was not kept.
  virtual void received(const MqttMessage& message, bool isCut) = 0;
  /// The last that is heard.
  virtual void lost(const MqttLoss& loss) = 0;
};

/// One connection to the broker, from its start to its end: it is never made again, so that nothing
/// of an old one is taken for the new one's. Every request is answered once, on the loop and never
/// before the request returns: with the broker's reason code, or with `unanswered`.
class MqttConnection : public std::enable_shared_from_this<MqttConnection> {
 public:
  using Answer = MqttRequests::Answer;
  using Time = MqttLoop::Clock::time_point;
  static constexpr int unanswered = MqttRequests::unanswered;
  static constexpr int nobodyThere = 0x10;
  static bool isGood(int reason) { return reason >= 0 && reason < 0x80; }

  /// Starts to connect.
  static std::shared_ptr<MqttConnection> open(MqttLoop& loop, MqttPlan plan,
                                              std::weak_ptr<MqttListener> listener);

  // Once connected.
  void publish(const MqttMessage& message, Answer answer);
  struct Subscription {
    int qualityOfService = 0;
    bool echo = true;  ///< what this connection publishes comes back
  };
  void subscribe(const std::string& filter, const Subscription& subscription, Answer answer);
  void unsubscribe(const std::string& filter);

  void setPingInterval(std::chrono::milliseconds interval) { plan_.pingInterval = interval; }
  /// Asks whether the broker is still there; it is lost when no answer comes soon.
  void probe();

  /// Its listener hears nothing more.
  void mute() { listener_.reset(); }
  /// Says goodbye, so that the broker keeps the will to itself. Open requests go unanswered.
  void close();

  [[nodiscard]] std::string address() const { return plan_.broker.text(); }
  /// As `MqttLoss::silence`.
  [[nodiscard]] std::chrono::milliseconds silence() const;

  // For the loop.
  [[nodiscard]] bool isClosed() const noexcept { return phase_ == Phase::closed; }
  [[nodiscard]] bool isConnected() const noexcept { return phase_ == Phase::open; }
  [[nodiscard]] int file() const;
  [[nodiscard]] short awaited() const;
  [[nodiscard]] Time nextTick();
  void serve(short events);

 private:
  enum class Phase { resolving, connecting, greeting, open, closed };

  MqttConnection(MqttLoop& loop, MqttPlan plan, std::weak_ptr<MqttListener> listener);
  void resolve();
  void tryNextAddress(const std::string& problem);
  void proceed();
  void greet();
  void read();
  void take(std::string_view bytes);
  void handle(const MqttFrame& frame, std::string_view body, bool isCut);
  void handlePublish(const MqttPacket& packet, bool isCut);
  void handleGreeting(const MqttPacket& packet);
  void flush();
  void tick();
  void keepAlive(Time now);
  void answerLater(Answer answer, int reason);
  [[nodiscard]] Time pingTime() const;
  void broke(const std::string& problem);
  void fail(MqttLoss::Kind kind, const std::string& problem);
  void end();

  MqttLoop& loop_;
  std::weak_ptr<MqttListener> listener_;
  MqttPlan plan_;
  MqttPacketReader reader_;
  MqttRequests requests_;
  Phase phase_ = Phase::resolving;
  Time deadline_;  // of the phase, until it is open
  std::vector<MqttAddress> addresses_;
  std::size_t nextAddress_ = 0;
  std::unique_ptr<MqttStream> stream_;

  std::string out_;
  Time lastIn_, lastOut_;
  std::optional<Time> pinged_, pongDeadline_;
  std::size_t maximumPacketSize_ = 0;
};

}  // namespace zavelo::detail
