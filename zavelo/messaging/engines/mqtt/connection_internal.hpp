#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"

struct mosquitto;

namespace zavelo::detail {

/// Where to, and as whom.
struct MqttPlan {
  std::string host{};
  std::uint16_t port = 0;
  bool tls = false;
  std::string caFile{};
  std::string userName{};
  std::optional<std::string> password{};
  /// What the broker empties when the connection breaks.
  std::string willTopic{};
  std::chrono::seconds keepAlive{};
  std::chrono::milliseconds requestTimeout{};
};

enum class MqttLoss {
  refused,   ///< the broker lets nobody in under this name, or not now
  expelled,  ///< an administrator ended it, or has banned the user
  broken,    ///< anything else, also a broker that is not there
};

/// Hears of a connection on its loop's thread.
class MqttListener {
 public:
  virtual ~MqttListener() = default;
  virtual void connected() = 0;
  virtual void received(const std::string& topic, const std::string& payload) = 0;
  /// The last that is heard.
  virtual void lost(MqttLoss loss) = 0;
};

/// One connection to the broker, from its start to its end: it is never made again, so that nothing
/// of an old one is taken for the new one's. Every request is answered once, on the loop and never
/// before the request returns: with the broker's reason code, or with `unanswered`.
class MqttConnection : public std::enable_shared_from_this<MqttConnection> {
 public:
  using Answer = std::function<void(int reason)>;
  static constexpr int unanswered = -1;
  static constexpr int nobodyThere = 0x10;
  static bool isGood(int reason) { return reason >= 0 && reason < 0x80; }

  /// Starts to connect.
  static std::shared_ptr<MqttConnection> open(MqttLoop& loop, const MqttPlan& plan,
                                              std::weak_ptr<MqttListener> listener);
  MqttConnection(const MqttConnection&) = delete;
  MqttConnection& operator=(const MqttConnection&) = delete;
  ~MqttConnection();

  /// At least once (quality of service 1).
  void publish(const std::string& topic, const std::string& payload, bool retain, Answer answer);
  enum class Echo { all, othersOnly };
  void subscribe(const std::string& filter, int qualityOfService, Echo echo, Answer answer);
  void unsubscribe(const std::string& filter);

  /// Its listener hears nothing more.
  void mute() { listener_.reset(); }
  /// Says goodbye, so that the broker keeps the will to itself. Open requests go unanswered.
  void close();

  // For the loop.
  [[nodiscard]] bool isClosed() const noexcept { return !handle_; }
  [[nodiscard]] int file() const;
  [[nodiscard]] short awaited() const;
  [[nodiscard]] MqttLoop::Clock::time_point nextTick() const;
  void serve(short events);

 private:
  struct Event;
  struct Request {
    Answer answer;
    MqttLoop::Clock::time_point deadline;
  };
  struct Callbacks;

  MqttConnection(MqttLoop& loop, const MqttPlan& plan, std::weak_ptr<MqttListener> listener);
  int connect(const MqttPlan& plan);
  void expect(int result, int id, Answer answer);
  void read();
  void tick();
  void dispatch();
  void dispatch(Event& event);
  void settle(int id, int reason);
  void fail(int code);

  MqttLoop& loop_;
  std::weak_ptr<MqttListener> listener_;
  const std::chrono::milliseconds requestTimeout_, tickTime_;
  mosquitto* handle_ = nullptr;
  std::map<int, Request> requests_;
  std::vector<Event> events_;  // what happened inside the last call into the library
  MqttLoop::Clock::time_point nextTick_;
};

}  // namespace zavelo::detail
