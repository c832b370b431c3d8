#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo {

/// A broadcast that is planned. No operation of the library returns it: it is for an app that
/// fetches events by its own means. Handed out as fixed.
struct ZVEvent {
  std::optional<std::int64_t> id = {};
  std::optional<std::string> title = {};
  std::optional<std::string> beginDate = {};  ///< the backend's text
  std::optional<std::string> endDate = {};
  std::optional<bool> isPaid = {};           ///< viewers pay for it
  std::optional<std::string> sypnosis = {};  ///< the summary; the backend spells it so
  std::optional<std::string> detail = {};
  std::optional<std::int64_t> status = {};
};

template <>
struct json::RecordOf<ZVEvent> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo
