#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/core/attributed_string.hpp"

namespace zavelo::test {

// The profanity filter's rules, step by step, without a thought about time: what the filter must
// give, and what it is measured against.

[[nodiscard]] std::string naivelyCensored(std::string_view text,
                                          const std::vector<std::string>& words);

[[nodiscard]] std::shared_ptr<const ZVAttributedString> naivelyCensored(
    const std::shared_ptr<const ZVAttributedString>& text, const std::vector<std::string>& words);

}  // namespace zavelo::test
