#pragma once

#include <string>

#include "zavelo/base/result.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo::command {

/// Sends the request and waits: the body of a reply whose status is 200. The error is a sentence
/// with the address in it.
[[nodiscard]] Result<std::string, std::string> exchange(HttpRequest request);

}  // namespace zavelo::command
