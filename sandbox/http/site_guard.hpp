#pragma once

#include <optional>
#include <string>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// Keeps the pages of other sites away from a server on the loopback address. Such a page reaches
/// it by a name of its own that resolves to 127.0.0.1 (DNS rebinding: the Host header tells), or by
/// sending forms blindly (CSRF: the Origin header tells). What steers and shows the sandbox itself
/// is not even for their pictures and scripts, which tell no origin (Fetch Metadata: the
/// Sec-Fetch-Site header does). No value when the request is welcome.
[[nodiscard]] std::optional<std::string> siteComplaint(const Request& request);

}  // namespace zavelo::sandbox
