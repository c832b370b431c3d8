#pragma once

#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/settings/settings.hpp"
#include "sandbox/streams/stream.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// What creating a stream takes. Title and tag are always required; the rest as `others` says.
[[nodiscard]] std::vector<Parameter> planParameters(Parameter::Presence others);

/// The plan that those arguments make. The problem: an unknown tag.
[[nodiscard]] Result<StreamPlan, Problem> planFrom(const Arguments& arguments,
                                                   const Settings& settings);

inline constexpr Parameter slugParameter = text("slug", 1, 100);
/// The pinned text, and the position of the floating one, as the app writes it.
[[nodiscard]] constexpr Parameter pinnedParameter(std::string_view name) {
  return text(name, 0, 2000);
}
/// What a locked stream's password may be.
inline constexpr Parameter streamPasswordParameter = text("password", 1, 256);

}  // namespace zavelo::sandbox
