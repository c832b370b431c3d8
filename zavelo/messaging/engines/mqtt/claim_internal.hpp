#pragma once

#include <charconv>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zavelo::detail {

/// A session's word that the user is logged in there. Claims are compared, not timed: of two that
/// meet, both sides see the same one win, whatever came first. A login claims more than what it
/// finds, so that the latest wins.
struct MqttClaim {
  std::uint64_t generation = 0;
  std::string session{};

  auto operator<=>(const MqttClaim&) const = default;

  [[nodiscard]] std::string text() const { return std::to_string(generation) + "." + session; }
  /// None when the text is no claim.
  static std::optional<MqttClaim> parsed(std::string_view text) {
    MqttClaim claim;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), claim.generation);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || text.size() < 2 || text.front() != '.') return std::nullopt;
    claim.session = text.substr(1);
    return claim;
  }
};

}  // namespace zavelo::detail
