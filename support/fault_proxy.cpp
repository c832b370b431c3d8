#include "support/fault_proxy.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zavelo::test {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Clock = std::chrono::steady_clock;
using Bytes = std::string;

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int newSocket() {
  return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void closeByReset(int descriptor) {
  const linger now{.l_onoff = 1, .l_linger = 0};
  setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  close(descriptor);
}

unsigned byteAt(const Bytes& bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes.at(at));
}

/// A packet's fixed header (MQTT 5 section 2.1): how long it and the packet are.
struct Frame {
  std::size_t header;
  std::size_t size;
};
/// Absent while bytes are missing; longer than any packet where there is no such header.
std::optional<Frame> frameOf(const Bytes& bytes) {
  std::size_t length = 0;
  for (std::size_t at = 1; at <= 4; ++at) {
    if (at >= bytes.size()) return {};
    length |= std::size_t{byteAt(bytes, at) & 0x7FU} << 7 * (at - 1);
    if (byteAt(bytes, at) < 0x80) return Frame{at + 1, at + 1 + length};
  }
  return Frame{0, SIZE_MAX};
}

constexpr unsigned connectPacket = 1, publishPacket = 3;

struct Packet {
  explicit Packet(Bytes text) : bytes(std::move(text)), type(byteAt(bytes, 0) >> 4U) {
    if (type != publishPacket || bytes.size() < 8) return;
    const auto at = frameOf(bytes)->header;
    const std::size_t size = byteAt(bytes, at) << 8U | byteAt(bytes, at + 1);
    if (at + 4 + size > bytes.size()) return;
    topic = bytes.substr(at + 2, size);
    if ((byteAt(bytes, 0) & 0x06U) != 0) id = bytes.substr(at + 2 + size, 2);
  }
  [[nodiscard]] bool isAcknowledgement() const {  // CONNACK, PUBACK, SUBACK, UNSUBACK, PINGRESP
    return type == 2 || type == 4 || type == 9 || type == 11 || type == 13;
  }
  [[nodiscard]] bool isRetained() const {
    return type == publishPacket && (byteAt(bytes, 0) & 1U) != 0;
  }

  Bytes bytes;
  unsigned type;
  Bytes topic;
  Bytes id;  // empty: nothing is to be acknowledged
};

struct Piece {
  Bytes bytes;
  Clock::time_point due;
  Bytes topic;
};

/// One direction of a connection.
struct Flow {
  int from;
  int to;
  bool isToClient;
  Bytes unread;  // the beginning of a packet
  bool isRaw = false;
  std::deque<Piece> out;
  bool isBegun = false;     // the first piece has been sent in part
  std::vector<Piece> held;  // sent when they are due, after others
  Clock::time_point last{};
};

}  // namespace

class FaultProxy::Link {
 public:
  Link(FaultProxy& proxy, int client, int broker)
      : proxy_(proxy),
        client_(client),
        broker_(broker),
        up_{client, broker, false, {}, false, {}, false, {}, {}},
        down_{broker, client, true, {}, false, {}, false, {}, {}} {
    for (const int each : {client, broker}) {
      const int on = 1;
      setsockopt(each, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      fcntl(each, F_SETFL, O_NONBLOCK);
    }
    heed();
  }
  ~Link() {
    for (const int each : {client_, broker_}) isBroken_ ? closeByReset(each) : void(close(each));
  }

  /// A fault begins or ends.
  void heed() {
    if (proxy_.current_ != Fault::none) hasHeld_ = false;
    if (proxy_.current_ == Fault::cut)
      bytesLeft_ = proxy_.below(proxy_.below(2) == 0 ? 60 : 3'000);
    else
      bytesLeft_.reset();
    if (proxy_.current_ == Fault::halfOpen && !isDead_) die();
    if (proxy_.current_ == Fault::refuse) end();
    if (proxy_.current_ == Fault::dropWill && !up_.isBegun) {
      // The broker takes it for a client that ends as it should (MQTT 5 section 3.14).
      if (send(broker_, "\xE0\x00", 2, MSG_NOSIGNAL) == 2) shutdown(broker_, SHUT_WR);
      std::this_thread::sleep_for(20ms);  // a reset would overtake it
      end();
    }
  }

  /// What to wait for.
  [[nodiscard]] std::array<pollfd, 2> sources() const {
    const auto wanted = [](const Flow& flow) -> short {
      return flow.out.size() > 1'000 ? 0 : POLLIN;
    };
    return {{{client_, wanted(up_), 0}, {isBrokerGone_ ? -1 : broker_, wanted(down_), 0}}};
  }
  [[nodiscard]] bool isTimed() const {
    return !up_.out.empty() || !down_.out.empty() || !down_.held.empty();
  }
  [[nodiscard]] bool hasEnded() const { return hasEnded_; }

  void work() {
    for (Flow* flow : {&up_, &down_}) {
      if (!hasEnded_) read(*flow);
      if (!hasEnded_) write(*flow);
    }
  }

 private:
  void end() {
    if (std::exchange(hasEnded_, true)) return;
    isBroken_ = true;
    ++proxy_.effects_;
  }
  void die() {
    isDead_ = true;
    for (Flow* flow : {&up_, &down_}) flow->out.clear(), flow->held.clear();
    ++proxy_.effects_;
  }
  /// One side has closed: the other one gets what is under way.
  void finish(const Flow& flow) {
    for (const auto& piece : flow.out)
      if (send(flow.to, piece.bytes.data(), piece.bytes.size(), MSG_NOSIGNAL) < 0) break;
    hasEnded_ = true;
  }

  void read(Flow& flow) {
    std::array<char, 16'384> room{};
    const auto got = recv(flow.from, room.data(), room.size(), 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
      if (!isDead_ || !flow.isToClient) return finish(flow);
      isBrokerGone_ = true;  // which the client of a dead connection does not see
      return;
    }
    if (isDead_) return;
    flow.unread.append(room.data(), static_cast<std::size_t>(got));
    if (!flow.isToClient && flow.last == Clock::time_point{})
      isTls_ = byteAt(flow.unread, 0) != connectPacket << 4U;
    if (isTls_) return queue(flow, std::exchange(flow.unread, {}));
    for (auto frame = frameOf(flow.unread); frame && frame->size <= flow.unread.size();
         frame = frameOf(flow.unread)) {
      Packet packet(flow.unread.substr(0, frame->size));
      flow.unread.erase(0, frame->size);
      pass(flow, std::move(packet));
    }
  }

  void pass(Flow& flow, Packet packet) {
    const auto now = Clock::now();
    if (!flow.isToClient) return queue(flow, std::move(packet.bytes));
    // Brokers keep the order within a topic.
    for (auto& held : flow.held)
      if (!packet.topic.empty() && held.topic == packet.topic) held.due = now;
    release(flow, now);
    const Fault fault = proxy_.current_;
    if (fault == Fault::lateRetained && packet.isRetained()) {
      const auto late = std::chrono::milliseconds(300 + proxy_.below(2'500));
      hold(flow, std::move(packet), now + late);
    } else if (fault == Fault::holdReply && packet.isAcknowledgement() && !hasHeld_ &&
               proxy_.below(3) == 0) {
      hold(flow, std::move(packet), now + 3s);
    } else if (fault == Fault::dropPresence && packet.topic.find("/p/") != Bytes::npos &&
               !packet.isRetained() && !std::exchange(hasHeld_, true)) {
      if (!packet.id.empty()) queue(up_, "\x40\x02"s + packet.id);  // the broker's PUBACK
      ++proxy_.effects_;
    } else {
      queue(flow, std::move(packet.bytes));
    }
  }

  void hold(Flow& flow, Packet packet, Clock::time_point due) {
    flow.held.push_back({std::move(packet.bytes), due, std::move(packet.topic)});
    hasHeld_ = true;
    ++proxy_.effects_;
  }

  static void release(Flow& flow, Clock::time_point now) {
    for (auto& each : flow.held)
      if (each.due <= now) flow.out.push_back(std::move(each));
    std::erase_if(flow.held, [](const Piece& each) { return each.bytes.empty(); });
  }

  void queue(Flow& flow, Bytes bytes) {
    const auto now = Clock::now();
    const auto late =
        std::chrono::milliseconds(proxy_.current_ == Fault::delay ? proxy_.below(800) : 0);
    flow.last = std::max(flow.last, now + late);
    flow.out.push_back({std::move(bytes), flow.last, {}});
  }

  void write(Flow& flow) {
    const auto now = Clock::now();
    release(flow, now);
    while (!isDead_ && !flow.out.empty() && flow.out.front().due <= now) {
      Piece& piece = flow.out.front();
      std::size_t size = piece.bytes.size();
      if (proxy_.current_ == Fault::trickle)
        size = std::min<std::size_t>(size, 1 + proxy_.below(9));
      if (bytesLeft_) size = std::min<std::size_t>(size, *bytesLeft_);
      const auto sent = send(flow.to, piece.bytes.data(), size, MSG_NOSIGNAL);
      if (sent < 0 && errno != EAGAIN && errno != EINTR) return void(hasEnded_ = true);
      piece.bytes.erase(0, static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
      flow.isBegun = !piece.bytes.empty();
      if (bytesLeft_) {
        *bytesLeft_ -= static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
        if (*bytesLeft_ == 0) return end();
      }
      if (flow.isBegun) return;  // the rest goes in the next round
      flow.out.pop_front();
    }
  }

  FaultProxy& proxy_;
  const int client_;
  const int broker_;
  Flow up_;
  Flow down_;
  bool isTls_ = false;
  bool isDead_ = false;
  bool isBrokerGone_ = false;
  bool isBroken_ = false;
  bool hasHeld_ = false;
  bool hasEnded_ = false;
  std::optional<std::size_t> bytesLeft_;
};

FaultProxy::FaultProxy(std::uint16_t brokerPort, std::uint64_t seed)
    : brokerPort_(brokerPort), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), random_(seed) {
  listen();
  if (listener_ < 0) throw std::runtime_error("no port for a proxy");
  thread_ = std::thread([this] { run(); });
}

FaultProxy::~FaultProxy() {
  isEnding_ = true;
  eventfd_write(wake_, 1);
  thread_.join();
  links_.clear();
  if (listener_ >= 0) close(listener_);
  close(wake_);
}

void FaultProxy::set(Fault fault) {
  asked_ = fault;
  eventfd_write(wake_, 1);
}

void FaultProxy::listen() {
  listener_ = newSocket();
  const int on = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  auto address = loopback(port_);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, plain, size) != 0 || ::listen(listener_, 64) != 0 ||
      getsockname(listener_, plain, &size) != 0)
    close(std::exchange(listener_, -1));
  else
    port_ = ntohs(address.sin_port);
}

void FaultProxy::accept() {
  const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (client < 0) return;
  const int broker = newSocket();
  const auto address = loopback(brokerPort_);
  if (connect(broker, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    links_.push_back(std::make_unique<Link>(*this, client, broker));
  } else {
    closeByReset(client);
    close(broker);
  }
}

void FaultProxy::heed(Fault fault) {
  current_ = fault;
  if (fault == Fault::refuse && listener_ >= 0) close(std::exchange(listener_, -1));
  if (fault != Fault::refuse && listener_ < 0) listen();
  for (auto& link : links_) link->heed();
}

void FaultProxy::run() {
  while (!isEnding_) {
    if (const Fault asked = asked_; asked != current_) heed(asked);
    if (listener_ < 0 && current_ != Fault::refuse) listen();
    std::vector<pollfd> sources{{wake_, POLLIN, 0}, {listener_, POLLIN, 0}};
    bool isTimed = listener_ < 0;
    for (const auto& link : links_) {
      for (const auto& each : link->sources()) sources.push_back(each);
      isTimed = isTimed || link->isTimed();
    }
    poll(sources.data(), sources.size(), isTimed ? 2 : 200);
    eventfd_t ignored = 0;
    eventfd_read(wake_, &ignored);
    if (listener_ >= 0 && (sources[1].revents & POLLIN) != 0) accept();
    for (auto& link : links_) link->work();
    std::erase_if(links_, [](const auto& link) { return link->hasEnded(); });
  }
}

}  // namespace zavelo::test
