#include "zavelo/testing/fault.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace zavelo::testing {

namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 7> names{{
    {FaultKind::delay, "delay"},
    {FaultKind::cut, "cut"},
    {FaultKind::refuse, "refuse"},
    {FaultKind::unauthorized, "unauthorized"},
    {FaultKind::code, "code"},
    {FaultKind::wrongType, "wrongType"},
    {FaultKind::invalidJson, "invalidJson"},
}};

}  // namespace

std::string_view nameOf(FaultKind kind) noexcept {
  const auto found = std::ranges::find(names, kind, &decltype(names)::value_type::first);
  return found == names.end() ? std::string_view() : found->second;
}

std::optional<FaultKind> faultKindOf(std::string_view name) noexcept {
  const auto found = std::ranges::find(names, name, &decltype(names)::value_type::second);
  return found == names.end() ? std::nullopt : std::optional(found->first);
}

}  // namespace zavelo::testing
