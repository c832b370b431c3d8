#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <random>
#include <ranges>

namespace zavelo {

/// An element of the list, each as likely as the others, or no value of an empty list.
template <std::ranges::random_access_range List>
[[nodiscard]] std::optional<std::ranges::range_value_t<List>> randomItem(const List& list) {
  const auto count = static_cast<std::size_t>(std::ranges::distance(list));
  if (count == 0) return std::nullopt;
  std::random_device system;
  std::uniform_int_distribution<std::size_t> index(0, count - 1);  // rejects what would be biased
  return *std::next(std::ranges::begin(list), static_cast<std::ptrdiff_t>(index(system)));
}

}  // namespace zavelo
