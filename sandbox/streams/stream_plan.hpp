#pragma once

#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/settings/settings.hpp"
#include "sandbox/streams/stream.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

inline constexpr auto streamTitleParameter = required(text("streamTitle", 1, 500));
inline constexpr auto tagIdParameter = required(integer("tagId", 0, 1'000'000));
inline constexpr auto streamLatitudeParameter = number("latitude", -90, 90);
inline constexpr auto streamLongitudeParameter = number("longitude", -180, 180);
inline constexpr auto addressParameter = text("address", 0, 500);
inline constexpr auto resolutionParameter = integer("resolution", 0, 100'000);
inline constexpr auto countryCodeParameter = text("countryCode", 0, 10);
inline constexpr auto screenTypeParameter = integer("screenType", 0, 1);
inline constexpr auto streamTypeParameter = integer("streamType", 0, 5);
inline constexpr auto roomTypeParameter = integer("roomType", 0, 1'000'000);

/// What creating a stream takes. Title and tag are always required; the rest as `others` says.
[[nodiscard]] std::vector<Parameter> planParameters(Parameter::Presence others);

/// The plan that those arguments make. The problem: an unknown tag.
[[nodiscard]] Result<StreamPlan, Problem> planFrom(const Arguments& arguments,
                                                   const Settings& settings);

inline constexpr auto slugParameter = required(text("slug", 1, 100));
/// The pinned text, and the position of the floating one, as the app writes it.
[[nodiscard]] constexpr Param<std::string> pinnedParameter(std::string_view name) {
  return text(name, 0, 2000);
}
/// What a locked stream's password may be.
inline constexpr auto streamPasswordParameter = text("password", 1, 256);

}  // namespace zavelo::sandbox
