#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/api/api_error.hpp"
#include "zavelo/json/record.hpp"

namespace zavelo {

/// A detailed code of the backend's. Of a list only the first counts.
struct ZVCodeDetail {
  std::optional<std::int64_t> code = {};
  std::optional<std::string> message = {};
};

/// The envelope of every reply of the backend. The spelling of the name is the system's own.
template <class T>
struct ZVAPIResonse {
  std::optional<std::int64_t> code = {};  ///< 1 is success
  std::optional<T> data = {};
  std::optional<std::string> message = {};
  std::optional<std::vector<ZVCodeDetail>> codeDetails = {};
};

template <>
struct json::RecordOf<ZVCodeDetail> {
  ZAVELO_EXPORT static const Record& get();
};
template <class T>
struct json::RecordOf<ZVAPIResonse<T>> {
  static const Record& get() {
    using R = ZVAPIResonse<T>;
    static const Record record = fieldsOf<R, &R::code, &R::data, &R::message, &R::codeDetails>();
    return record;
  }
};

/// What an envelope means, its payload aside.
struct Verdict {
  std::optional<ZVAPIError> error = {};
  /// The session is over, and this notification says why. Empty: the session goes on.
  std::string_view sessionEnd = {};
};

/// The one rule that turns an envelope's codes into success or an error.
[[nodiscard]] ZAVELO_EXPORT Verdict judge(std::optional<std::int64_t> code,
                                          const std::optional<std::string>& message,
                                          const std::optional<std::vector<ZVCodeDetail>>& details);

/// The same for the text of an envelope whose payload is not looked at: no error when there is no
/// envelope to read.
[[nodiscard]] Verdict judgeWithoutData(std::string_view body);

}  // namespace zavelo
