#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zavelo::sandbox {

// A picture inside a text: "data:image/jpeg;base64,…" (RFC 2397).

[[nodiscard]] std::string jpegAddress(std::string_view content);
/// No value when the text is no such address. The content may still be anything.
[[nodiscard]] std::optional<std::string> jpegAt(std::string_view address);

}  // namespace zavelo::sandbox
