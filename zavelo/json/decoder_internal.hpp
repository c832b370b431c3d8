#pragma once

#include <cstddef>

#include "zavelo/json/codec.hpp"
#include "zavelo/json/error.hpp"
#include "zavelo/json/tokens_internal.hpp"

namespace zavelo::json::detail {

/// Reads the value that begins at a place, `depth` levels down. Returns the place behind it, or
/// null at the first fault, which `error` describes.
[[nodiscard]] Place decodeValue(const TokenList& tokens, Place at, const Codec& codec, void* out,
                                std::size_t depth, Error& error);

}  // namespace zavelo::json::detail
