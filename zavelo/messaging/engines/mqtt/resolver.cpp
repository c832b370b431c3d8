#include <netdb.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>

#include "zavelo/messaging/engines/mqtt/resolver_internal.hpp"

namespace zavelo::detail {
namespace {

MqttResolver::Answer lookUp(const std::string& host, std::uint16_t port, int flags) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | flags;
  addrinfo* found = nullptr;
  const int code = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (code != 0)
    return {{}, code == EAI_SYSTEM ? systemWords(errno) : host + ": " + gai_strerror(code)};
  MqttResolver::Answer answer;
  for (const auto* each = found; each != nullptr; each = each->ai_next) {
    MqttAddress address;
    address.size = each->ai_addrlen;
    std::memcpy(&address.storage, each->ai_addr, each->ai_addrlen);
    answer.addresses.push_back(address);
  }
  freeaddrinfo(found);
  return answer;
}

}  // namespace

void MqttResolver::resolve(const std::string& host, std::uint16_t port, MqttLoop& loop,
                           const Taker& taker) {
  // What is an address itself needs no name server.
  if (auto numeric = lookUp(host, port, AI_NUMERICHOST); !numeric.addresses.empty()) {
    numeric.addresses.resize(1);
    return loop.post([taker, numeric = std::move(numeric)] { taker(numeric); });
  }
  lookUpLater({host, port}, [taker, loop = loop.weak_from_this()](const Answer& answer) {
    if (const auto waiting = loop.lock()) waiting->post([taker, answer] { taker(answer); });
  });
}

void MqttResolver::lookUpLater(const Name& name, Taker taker) {
  {
    const std::lock_guard lock(mutex_);
    auto& waiting = waiting_[name];
    waiting.push_back(std::move(taker));
    if (waiting.size() > 1) return;
  }
  try {
    // Nobody waits for it: a look-up cannot be ended.
    std::thread([self = shared_from_this(), name] {
      try {
        self->answer(name, lookUp(name.first, name.second, 0));
      } catch (const std::exception& error) {
        self->answer(name, {{}, error.what()});
      }
    }).detach();
  } catch (const std::system_error& error) {
    answer(name, {{}, error.what()});
  }
}

void MqttResolver::answer(const Name& name, const Answer& answer) {
  std::vector<Taker> waiting;
  {
    const std::lock_guard lock(mutex_);
    waiting.swap(waiting_[name]);
    waiting_.erase(name);
  }
  for (const auto& taker : waiting) taker(answer);
}

}  // namespace zavelo::detail
