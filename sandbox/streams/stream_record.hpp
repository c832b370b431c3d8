#pragma once

#include <string>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/streams/stream.hpp"
#include "zavelo/models/stream.hpp"

namespace zavelo::sandbox {

/// Whether the user may watch it: its owner, and users who gave the password of a locked
/// one.
[[nodiscard]] bool isOpenTo(Transaction& transaction, const Stream& stream, const Identity& user);

/// The stream as that user sees it. Only its owner is told where to push to, and no one without the
/// password where a locked stream plays. `site` is the sandbox's own address.
[[nodiscard]] ZVStream recordOf(Transaction& transaction, const Stream& stream,
                                const Identity& user, const std::string& site, Time now);

}  // namespace zavelo::sandbox
