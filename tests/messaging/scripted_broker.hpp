#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zavelo::testing {

/// Listens on a port, and does with each connection what a test says.
class ScriptedBroker {
 public:
  using Serve = std::function<void(int client, int number)>;

  explicit ScriptedBroker(Serve serve) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, plain, size) != 0 || listen(socket_, 8) != 0 ||
        getsockname(socket_, plain, &size) != 0)
      throw std::runtime_error("no port");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this, serve = std::move(serve)] {
      for (int client, number = 0; (client = accept(socket_, nullptr, nullptr)) >= 0; ++number) {
        clients_.push_back(client);
        serve(client, number);
      }
    });
  }
  ~ScriptedBroker() {
    shutdown(socket_, SHUT_RDWR);
    thread_.join();
    for (const int client : clients_) close(client);
    close(socket_);
  }
  [[nodiscard]] std::string address() const { return "mqtt://127.0.0.1:" + std::to_string(port_); }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM, 0);
  int port_ = 0;
  std::vector<int> clients_;
  std::thread thread_;
};

/// Answers so many packets of a client as a broker would, and no more.
inline void answerPackets(int client, int count) {
  for (unsigned char head[2]; count > 0 && recv(client, head, 2, MSG_WAITALL) == 2; --count) {
    std::string body(head[1], '\0');
    if (recv(client, body.data(), body.size(), MSG_WAITALL) != head[1]) return;
    // A published topic is followed by the packet's identifier, a subscription begins with it.
    const auto topicSize = static_cast<std::size_t>(static_cast<unsigned char>(body[1]));
    const auto type = head[0] >> 4;
    const auto id = body.substr(type == 3 ? topicSize + 2 : 0, 2);
    const auto answer = type == 1   ? std::string("\x20\x03\0\0\0", 5)
                        : type == 3 ? "\x40\x02" + id
                                    : "\x90\x04" + id + std::string("\0\x01", 2);
    send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
  }
}

}  // namespace zavelo::testing
