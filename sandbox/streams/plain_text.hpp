#pragma once

#include <string>
#include <string_view>

namespace zavelo::sandbox {

/// A title without its markup: tags are left out and the five entities of XML are resolved. What
/// only looks like either stays: "I <3 R&B".
[[nodiscard]] std::string plainText(std::string_view markup);

}  // namespace zavelo::sandbox
