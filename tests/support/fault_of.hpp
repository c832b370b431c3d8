#pragma once

#include <string>
#include <string_view>

#include "zavelo/json/json.hpp"

namespace zavelo {

/// Why a text is no T, and where: "result[1].isFollow: expected integer". Empty when it is one.
template <class T>
std::string faultOf(std::string_view text) {
  const auto result = json::decode<T>(text);
  return result ? "" : result.error().text();
}

}  // namespace zavelo
