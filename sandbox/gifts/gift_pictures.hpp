#pragma once

#include <string>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/settings/settings.hpp"

namespace zavelo::sandbox {

/// Where the gift's picture is: its own address, or that of the one which the sandbox draws.
[[nodiscard]] std::string imageAddress(const Gift& gift, const std::string& site);
/// The same of its animation; empty where the kind has none.
[[nodiscard]] std::string animationAddress(const Gift& gift, const std::string& site);

/// GET for the drawn pictures (SVG) and animations (Lottie). The settings outlive them.
[[nodiscard]] std::vector<Endpoint> giftPictureEndpoints(const Settings& settings);

}  // namespace zavelo::sandbox
