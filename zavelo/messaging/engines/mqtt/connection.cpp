#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"

namespace zavelo::detail {
namespace {

void startLibrary() {
  static std::once_flag once;
  std::call_once(once, [] { mosquitto_lib_init(); });
}

MqttLoss lossOf(int code) {
  switch (code) {
    case MQTT_RC_ADMINISTRATIVE_ACTION:
    case MQTT_RC_BANNED:
      return MqttLoss::expelled;
    case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
    case MQTT_RC_NOT_AUTHORIZED:
    case MQTT_RC_CLIENTID_NOT_VALID:
    case MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION:
    case MQTT_RC_BAD_AUTHENTICATION_METHOD:
    case MOSQ_ERR_TLS:
      return MqttLoss::refused;
    default:
      return MqttLoss::broken;
  }
}

}  // namespace

struct MqttConnection::Event {
  enum class Kind { connected, received, answered, failed };
  Kind kind;
  int id = 0;
  int code = 0;
  std::string topic{};
  std::string payload{};
};

/// What the library calls, inside a call of ours: it must not be destroyed there, so what happened
/// is only noted.
struct MqttConnection::Callbacks {
  static void note(void* self, Event event) {
    static_cast<MqttConnection*>(self)->events_.push_back(std::move(event));
  }
  static void connected(mosquitto*, void* self, int code, int, const mosquitto_property*) {
    note(self, {code == 0 ? Event::Kind::connected : Event::Kind::failed, 0, code});
  }
  static void disconnected(mosquitto*, void* self, int code, const mosquitto_property*) {
    note(self, {Event::Kind::failed, 0, code});
  }
  static void published(mosquitto*, void* self, int id, int code, const mosquitto_property*) {
    note(self, {Event::Kind::answered, id, code});
  }
  static void subscribed(mosquitto*, void* self, int id, int count, const int* codes,
                         const mosquitto_property*) {
    note(self, {Event::Kind::answered, id, count > 0 ? codes[0] : 0});
  }
  static void received(mosquitto*, void* self, const mosquitto_message* message,
                       const mosquitto_property*) {
    note(self, {Event::Kind::received, 0, 0, message->topic,
                std::string(static_cast<const char*>(message->payload),
                            static_cast<std::size_t>(message->payloadlen))});
  }
};

std::shared_ptr<MqttConnection> MqttConnection::open(MqttLoop& loop, const MqttPlan& plan,
                                                     std::weak_ptr<MqttListener> listener) {
  std::shared_ptr<MqttConnection> connection(new MqttConnection(loop, plan, std::move(listener)));
  loop.serve(connection);
  return connection;
}

MqttConnection::MqttConnection(MqttLoop& loop, const MqttPlan& plan,
                               std::weak_ptr<MqttListener> listener)
    : loop_(loop),
      listener_(std::move(listener)),
      requestTimeout_(plan.requestTimeout),
      tickTime_(std::max<std::chrono::milliseconds>(plan.keepAlive / 4, std::chrono::seconds(1))),
      nextTick_(MqttLoop::Clock::now() + tickTime_) {
  startLibrary();
  // Without an id of ours the library makes one up, which nobody else has.
  handle_ = mosquitto_new(nullptr, true, this);
  const int code = handle_ ? connect(plan) : static_cast<int>(MOSQ_ERR_NOMEM);
  if (code != MOSQ_ERR_SUCCESS) events_.push_back({Event::Kind::failed, 0, code});
}

MqttConnection::~MqttConnection() {
  if (handle_) mosquitto_destroy(handle_);
}

int MqttConnection::connect(const MqttPlan& plan) {
  mosquitto_int_option(handle_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_int_option(handle_, MOSQ_OPT_TCP_NODELAY, 1);
  mosquitto_connect_v5_callback_set(handle_, Callbacks::connected);
  mosquitto_disconnect_v5_callback_set(handle_, Callbacks::disconnected);
  mosquitto_publish_v5_callback_set(handle_, Callbacks::published);
  mosquitto_subscribe_v5_callback_set(handle_, Callbacks::subscribed);
  mosquitto_message_v5_callback_set(handle_, Callbacks::received);
  int code = mosquitto_username_pw_set(handle_, plan.userName.c_str(),
                                       plan.password ? plan.password->c_str() : nullptr);
  if (code == MOSQ_ERR_SUCCESS && !plan.willTopic.empty())
    code = mosquitto_will_set_v5(handle_, plan.willTopic.c_str(), 0, nullptr, 1, true, nullptr);
  if (code == MOSQ_ERR_SUCCESS && plan.tls) {
    code = plan.caFile.empty() ? mosquitto_int_option(handle_, MOSQ_OPT_TLS_USE_OS_CERTS, 1)
                               : mosquitto_tls_set(handle_, plan.caFile.c_str(), nullptr, nullptr,
                                                   nullptr, nullptr);
    if (code != MOSQ_ERR_SUCCESS) return MOSQ_ERR_TLS;
  }
  if (code != MOSQ_ERR_SUCCESS) return code;
  return mosquitto_connect_bind_async(handle_, plan.host.c_str(), plan.port,
                                      static_cast<int>(plan.keepAlive.count()), nullptr);
}

void MqttConnection::publish(const std::string& topic, const std::string& payload, bool retain,
                             Answer answer) {
  int id = 0;
  const int result =
      handle_ ? mosquitto_publish_v5(handle_, &id, topic.c_str(), static_cast<int>(payload.size()),
                                     payload.data(), 1, retain, nullptr)
              : static_cast<int>(MOSQ_ERR_NO_CONN);
  expect(result, id, std::move(answer));
}

void MqttConnection::subscribe(const std::string& filter, int qualityOfService, Echo echo,
                               Answer answer) {
  int id = 0;
  const int result = handle_ ? mosquitto_subscribe_v5(
                                   handle_, &id, filter.c_str(), qualityOfService,
                                   echo == Echo::othersOnly ? MQTT_SUB_OPT_NO_LOCAL : 0, nullptr)
                             : static_cast<int>(MOSQ_ERR_NO_CONN);
  expect(result, id, std::move(answer));
}

void MqttConnection::unsubscribe(const std::string& filter) {
  if (handle_) mosquitto_unsubscribe(handle_, nullptr, filter.c_str());
}

void MqttConnection::expect(int result, int id, Answer answer) {
  if (!answer) return;
  if (result == MOSQ_ERR_SUCCESS) {
    requests_[id] = {std::move(answer), MqttLoop::Clock::now() + requestTimeout_};
  } else {
    loop_.post([answer = std::move(answer)] { answer(unanswered); });
  }
}

int MqttConnection::file() const {
  return handle_ ? mosquitto_socket(handle_) : -1;
}

short MqttConnection::awaited() const {
  return handle_ && mosquitto_want_write(handle_) ? POLLIN | POLLOUT : POLLIN;
}

MqttLoop::Clock::time_point MqttConnection::nextTick() const {
  return events_.empty() ? nextTick_ : MqttLoop::Clock::now();
}

void MqttConnection::serve(short events) {
  const auto self = shared_from_this();
  dispatch();
  if (handle_ && (events & (POLLIN | POLLERR | POLLHUP)) != 0) read();
  if (handle_ && (events & POLLOUT) != 0) {
    if (const int code = mosquitto_loop_write(handle_, 1); code != MOSQ_ERR_SUCCESS) fail(code);
    dispatch();
  }
  if (handle_ && MqttLoop::Clock::now() >= nextTick_) tick();
}

void MqttConnection::read() {
  // One packet a call; through TLS more of them may have come than the socket tells. A bound gives
  // the others their turn.
  for (int i = 0; i < 256 && handle_; ++i) {
    errno = 0;
    const int code = mosquitto_loop_read(handle_, 1);
    const bool isEmpty = errno == EAGAIN || errno == EWOULDBLOCK;
    if (code != MOSQ_ERR_SUCCESS) fail(code);
    dispatch();
    if (code != MOSQ_ERR_SUCCESS || isEmpty) return;
  }
  // The rest waits where poll() may not see it.
  if (handle_) nextTick_ = MqttLoop::Clock::now();
}

void MqttConnection::tick() {
  nextTick_ = MqttLoop::Clock::now() + tickTime_;
  if (const int code = mosquitto_loop_misc(handle_); code != MOSQ_ERR_SUCCESS) fail(code);
  std::vector<int> late;
  for (const auto& [id, request] : requests_)
    if (request.deadline <= MqttLoop::Clock::now()) late.push_back(id);
  for (const int id : late) settle(id, unanswered);
  dispatch();
}

void MqttConnection::fail(int code) {
  events_.push_back({Event::Kind::failed, 0, code});
}

void MqttConnection::dispatch() {
  const auto self = shared_from_this();
  for (std::size_t i = 0; i < events_.size(); ++i) {
    auto event = std::move(events_[i]);
    dispatch(event);
  }
  events_.clear();
}

void MqttConnection::dispatch(Event& event) {
  if (!handle_) return;
  const auto listener = listener_.lock();
  switch (event.kind) {
    case Event::Kind::connected:
      if (listener) listener->connected();
      return;
    case Event::Kind::received:
      if (listener) listener->received(event.topic, event.payload);
      return;
    case Event::Kind::answered:
      settle(event.id, event.code);
      return;
    case Event::Kind::failed:
      mute();
      close();
      if (listener) listener->lost(lossOf(event.code));
      return;
  }
}

void MqttConnection::settle(int id, int reason) {
  const auto found = requests_.find(id);
  if (found == requests_.end()) return;
  const auto answer = std::move(found->second.answer);
  requests_.erase(found);
  answer(reason);
}

void MqttConnection::close() {
  if (!handle_) return;
  mosquitto_disconnect_v5(handle_, MQTT_RC_NORMAL_DISCONNECTION, nullptr);
  mosquitto_destroy(handle_);
  handle_ = nullptr;
  for (auto& [id, request] : std::exchange(requests_, {}))
    loop_.post([answer = std::move(request.answer)] { answer(unanswered); });
}

}  // namespace zavelo::detail
