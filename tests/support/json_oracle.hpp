#pragma once

#include <string>

namespace zavelo::test {

/// How our reader differs from an independent one over a text: on whether it is JSON, or on what it
/// says. Empty when they agree. Where ours is lenient (half a surrogate pair) or stricter (depth)
/// on purpose, so is the comparison.
[[nodiscard]] std::string jsonDisagreement(const std::string& text);

}  // namespace zavelo::test
