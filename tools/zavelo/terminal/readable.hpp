#pragma once

#include <string>
#include <string_view>

#include "zavelo/json/value.hpp"

namespace zavelo::command {

/// A value for a person to read, ending with a line break:
///
///     accessToken  eyJh
///     userInfo
///       userId       7
///       displayName  Ann
[[nodiscard]] std::string readableText(const json::Value& value);

/// The text with its control characters written out ("\x1b"), so that what a backend says cannot
/// drive a terminal (ECMA-48).
[[nodiscard]] std::string printable(std::string_view text);

/// "\x1b"
[[nodiscard]] std::string byteText(unsigned char byte);

}  // namespace zavelo::command
