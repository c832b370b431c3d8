#pragma once

#include <string>
#include <string_view>

namespace zavelo::command {

/// A name of the library as it is typed in a terminal: "searchForUser" is "search-for-user",
/// "getStreamDetailWithPWD" is "get-stream-detail-with-pwd".
[[nodiscard]] std::string kebabCase(std::string_view name);

}  // namespace zavelo::command
