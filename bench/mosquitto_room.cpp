#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <stdexcept>

#include "bench/engine_room.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::bench {
namespace {

constexpr int atLeastOnce = 1;

void check(int code) {
  if (code != MOSQ_ERR_SUCCESS) throw std::runtime_error(mosquitto_strerror(code));
}

/// A connection that libmosquitto's own thread serves.
class Connection {
 public:
  Connection(const std::string& user, std::string filter, Tally& tally)
      : filter_(std::move(filter)), tally_(tally), handle_(mosquitto_new(nullptr, true, this)) {
    check(mosquitto_int_option(handle_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5));
    check(mosquitto_int_option(handle_, MOSQ_OPT_TCP_NODELAY, 1));
    check(mosquitto_username_pw_set(handle_, user.c_str(), nullptr));
    mosquitto_connect_callback_set(handle_, [](mosquitto*, void* self, int code) {
      static_cast<Connection*>(self)->connected(code);
    });
    mosquitto_subscribe_callback_set(handle_, [](mosquitto*, void* self, int, int, const int*) {
      static_cast<Connection*>(self)->tally_.acknowledge(true);
    });
    mosquitto_publish_callback_set(handle_, [](mosquitto*, void* self, int) {
      static_cast<Connection*>(self)->tally_.acknowledge(true);
    });
    mosquitto_message_callback_set(handle_, [](mosquitto*, void* self, const mosquitto_message*) {
      static_cast<Connection*>(self)->tally_.receive();
    });
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    mosquitto_disconnect(handle_);
    mosquitto_loop_stop(handle_, false);
    mosquitto_destroy(handle_);
  }

  /// Acknowledges when the subscription stands.
  void open(std::uint16_t port) {
    check(mosquitto_connect(handle_, "127.0.0.1", port, 60));
    check(mosquitto_loop_start(handle_));
  }
  void publish(const std::string& topic, const std::string& text) {
    check(mosquitto_publish(handle_, nullptr, topic.c_str(), static_cast<int>(text.size()),
                            text.data(), atLeastOnce, false));
  }

 private:
  void connected(int code) {
    if (code != 0 || filter_.empty()) return tally_.acknowledge(code == 0);
    mosquitto_subscribe(handle_, nullptr, filter_.c_str(), atLeastOnce);
  }

  const std::string filter_;
  Tally& tally_;
  mosquitto* const handle_;
};

class MosquittoRoom final : public Room {
 public:
  MosquittoRoom(std::uint16_t port, std::size_t receivers, Tally& tally)
      : topic_(mqttChannelTopic("app", "bare", "speaker")) {
    mosquitto_lib_init();
    connections_.push_back(std::make_unique<Connection>("speaker", "", tally));
    for (std::size_t i = 0; i < receivers; ++i)
      connections_.push_back(std::make_unique<Connection>("listener" + std::to_string(i),
                                                          mqttChannelFilter("app", "bare"), tally));
    tally.expect(0, connections_.size());
    for (const auto& connection : connections_) connection->open(port);
    if (!tally.wait()) throw std::runtime_error("the broker refuses a connection");
  }

  void send(const std::string& text) override { connections_.front()->publish(topic_, text); }

 private:
  const std::string topic_;
  std::vector<std::unique_ptr<Connection>> connections_;
};

}  // namespace

std::unique_ptr<Room> mosquittoRoom(std::uint16_t port, std::size_t receivers, Tally& tally) {
  return std::make_unique<MosquittoRoom>(port, receivers, tally);
}

}  // namespace zavelo::bench
