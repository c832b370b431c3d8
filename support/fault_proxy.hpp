#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <random>
#include <thread>

namespace zavelo::test {

/// What a network or a broker does to connections. The last four need packets that can be read, so
/// that they do nothing to TLS.
enum class Fault {
  none,
  cut,           ///< resets a connection after some bytes, in the middle of a packet
  halfOpen,      ///< swallows all that is sent, for as long as the connection exists
  refuse,        ///< resets the connections and accepts none
  delay,         ///< passes everything on late, in order
  trickle,       ///< passes on a few bytes at a time
  holdReply,     ///< withholds one acknowledgement for longer than a client waits
  lateRetained,  ///< delivers retained messages after live ones of other topics
  dropWill,      ///< resets connections, and the broker does not publish their wills
  dropPresence,  ///< loses one presence message
};
inline constexpr int faultCount = 10;

/// A TCP proxy on 127.0.0.1 to an MQTT 5 broker that does to each connection what it is told to.
/// What it does follows from its seed, as far as threads let it.
class FaultProxy {
 public:
  FaultProxy(std::uint16_t brokerPort, std::uint64_t seed);
  ~FaultProxy();
  FaultProxy(const FaultProxy&) = delete;
  FaultProxy& operator=(const FaultProxy&) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }
  /// From now on, for the connections that there are and for new ones. Any thread.
  void set(Fault fault);
  /// How often a connection was broken, or a packet held or lost.
  [[nodiscard]] int effects() const { return effects_; }

 private:
  class Link;
  void listen();
  void run();
  void heed(Fault fault);
  void accept();
  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

  const std::uint16_t brokerPort_;
  const int wake_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::mt19937_64 random_;  // of the proxy's thread
  std::list<std::unique_ptr<Link>> links_;
  Fault current_ = Fault::none;
  std::atomic<Fault> asked_{Fault::none};
  std::atomic<int> effects_{0};
  std::atomic<bool> isEnding_{false};
  std::thread thread_;
};

}  // namespace zavelo::test
