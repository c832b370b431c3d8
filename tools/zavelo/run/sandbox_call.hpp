#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/zavelo/request/request.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/json/value.hpp"

namespace zavelo::command {

/// What is wrong with an answer that no sandbox gives.
inline constexpr const char* noSandbox = "the answer is no sandbox's";

/// What a running sandbox answers at that path, its envelope's data: to a GET, or to a POST of the
/// body. Asks the sandbox of --api, the usual one without it. The error is a sentence.
[[nodiscard]] Result<json::Object, std::string> callSandbox(
    const GlobalOptions& options, std::string_view path,
    std::optional<std::string> body = std::nullopt);

}  // namespace zavelo::command
