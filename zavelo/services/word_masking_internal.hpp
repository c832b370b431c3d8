#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zavelo::detail {

/// Bytes of a text behind which the mask of a word goes.
struct MaskedPlace {
  std::size_t begin;
  std::size_t end;
  std::size_t word;  ///< its index in the list that was searched for
};

/// Where the words stand without regard to case, canonically equivalent, from the beginning of one
/// user-perceived character to the end of another. Each word in its turn takes its places from the
/// text's start on, as the masks of those before it have left the text; in the text's order.
[[nodiscard]] std::vector<MaskedPlace> maskedPlaces(std::string_view text,
                                                    const std::vector<std::string>& words);

}  // namespace zavelo::detail
