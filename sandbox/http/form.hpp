#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// The parts of a multipart/form-data body (RFC 7578, RFC 2046 section 5.1). None when it is not
/// well-formed: no boundary, a part without a name, no end, more than 100 parts.
[[nodiscard]] std::optional<std::vector<FormPart>> formParts(std::string_view contentType,
                                                             std::string_view body);

}  // namespace zavelo::sandbox
