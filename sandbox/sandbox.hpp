#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/base/result.hpp"
#include "zavelo/platform/clock.hpp"

namespace zavelo::sandbox {

struct SandboxOptions {
  std::uint16_t port = 8080;       ///< 0: any free one
  std::filesystem::path state{};   ///< a file that is made where there is none; empty: memory only
  std::filesystem::path seed{};    ///< a JSON file of settings and first members; empty: built-in
  std::filesystem::path faults{};  ///< a JSON file of faults that wait from the start; empty: none
  std::chrono::seconds accessTokenLifetime = std::chrono::hours(1);
  std::chrono::seconds refreshTokenLifetime = std::chrono::days(30);
  std::chrono::seconds refreshGrace{30};      ///< how long a traded refresh token is still answered
  std::optional<std::uint16_t> brokerPort{};  ///< 0: any free one; none: there is no broker
  /// How often a live stream's channel is told how the stream is doing; zero: never.
  std::chrono::milliseconds statisticsPeriod = std::chrono::seconds(5);
  std::shared_ptr<const Clock> clock{};  ///< null: the device's own
};

/// A local backend: users, streams, products and settings with real state, and faults on demand. It
/// listens on 127.0.0.1 alone and serves on threads of its own. docs/sandbox.md has its endpoints.
///
///     auto sandbox = Sandbox::start({.port = 0});
///     if (!sandbox) return complain(sandbox.error());
///     configuration.apiDomain = (*sandbox)->url();
class Sandbox {
 public:
  /// Serves when it returns. The error is one sentence for a person: a port in use, a broker that
  /// is not installed, a state file that is damaged, of another program, or none at all, a seed
  /// file or fault script with a mistake in it.
  static Result<std::unique_ptr<Sandbox>, std::string> start(const SandboxOptions& options);
  ~Sandbox();

  [[nodiscard]] std::uint16_t port() const noexcept;
  /// "http://127.0.0.1:8080"
  [[nodiscard]] const std::string& url() const noexcept;
  /// Of the broker, "mqtt://127.0.0.1:1883"; none where there is none that runs.
  [[nodiscard]] std::optional<std::string> rtmUrl() const;

  /// Ends every call and connection, promptly, and returns when nothing runs any more. May be
  /// called again; not from several threads at once.
  void stop();

 private:
  struct Parts;
  explicit Sandbox(std::unique_ptr<Parts> parts);
  std::unique_ptr<Parts> parts_;
};

}  // namespace zavelo::sandbox
