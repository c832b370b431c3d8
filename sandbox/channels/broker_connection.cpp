#include "sandbox/channels/broker_connection.hpp"

#include <mosquitto.h>

#include <chrono>
#include <exception>
#include <utility>

namespace zavelo::sandbox {
namespace {

constexpr int keepAliveSeconds = 60;
constexpr int atLeastOnce = 1;

/// An exception must not travel through C, and what one message does wrong must not end the others.
template <class Work>
void safely(Work work) {
  try {
    work();
  } catch (const std::exception&) {
  }
}

}  // namespace

struct BrokerConnection::Callbacks {
  static void connected(mosquitto* handle, void* self, int code) {
    if (code != 0) return;
    const auto& filter = static_cast<BrokerConnection*>(self)->filter_;
    mosquitto_subscribe(handle, nullptr, filter.c_str(), atLeastOnce);
  }
  static void lost(mosquitto*, void* self, int code) {
    const bool onPurpose = code == 0;
    if (!onPurpose) safely(static_cast<BrokerConnection*>(self)->handlers_.lost);
  }
  static void subscribed(mosquitto*, void* self, int, int, const int*) {
    auto& connection = *static_cast<BrokerConnection*>(self);
    const std::scoped_lock lock(connection.mutex_);
    connection.listens_ = true;
    connection.changed_.notify_all();
  }
  static void received(mosquitto*, void* self, const mosquitto_message* message) {
    safely([&] {
      static_cast<BrokerConnection*>(self)->handlers_.received(
          message->topic, std::string(static_cast<const char*>(message->payload),
                                      static_cast<std::size_t>(message->payloadlen)));
    });
  }
};

BrokerConnection::BrokerConnection(std::string filter, Handlers handlers)
    : filter_(std::move(filter)), handlers_(std::move(handlers)) {
  mosquitto_lib_init();
  handle_ = mosquitto_new(nullptr, true, this);
}

BrokerConnection::~BrokerConnection() {
  if (handle_ != nullptr) {
    mosquitto_disconnect(handle_);
    mosquitto_loop_stop(handle_, false);
    mosquitto_destroy(handle_);
  }
  mosquitto_lib_cleanup();
}

Result<std::unique_ptr<BrokerConnection>, std::string> BrokerConnection::open(
    std::uint16_t port, const std::string& userName, const std::string& filter, Handlers handlers) {
  std::unique_ptr<BrokerConnection> connection(new BrokerConnection(filter, std::move(handlers)));
  mosquitto* handle = connection->handle_;
  if (handle == nullptr) return Failure{std::string("no memory for a connection to the broker")};
  mosquitto_connect_callback_set(handle, Callbacks::connected);
  mosquitto_disconnect_callback_set(handle, Callbacks::lost);
  mosquitto_subscribe_callback_set(handle, Callbacks::subscribed);
  mosquitto_message_callback_set(handle, Callbacks::received);
  mosquitto_reconnect_delay_set(handle, 1, 5, false);
  mosquitto_username_pw_set(handle, userName.c_str(), nullptr);
  int failed = mosquitto_connect(handle, "127.0.0.1", port, keepAliveSeconds);
  if (failed == MOSQ_ERR_SUCCESS) failed = mosquitto_loop_start(handle);
  if (failed != MOSQ_ERR_SUCCESS) {
    return Failure{std::string("the broker takes no connection: ") + mosquitto_strerror(failed)};
  }
  if (!connection->waitUntilItListens()) return Failure{std::string("the broker does not answer")};
  return connection;
}

bool BrokerConnection::waitUntilItListens() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return listens_; });
}

bool BrokerConnection::publish(const std::string& topic, const std::string& payload) {
  const int outcome =
      mosquitto_publish(handle_, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                        payload.data(), atLeastOnce, false);
  // Without a connection it waits for the next one.
  return outcome == MOSQ_ERR_SUCCESS || outcome == MOSQ_ERR_NO_CONN;
}

}  // namespace zavelo::sandbox
