#pragma once

#include "sandbox/api/parameters.hpp"

namespace zavelo::sandbox {

// What a member's texts may be.
inline constexpr Parameter zaveloIdParameter = text("zaveloId", 1, 100);
inline constexpr Parameter userNameParameter = text("userName", 0, 64);
inline constexpr Parameter passwordParameter = text("password", 1, 256);
inline constexpr double displayNameLimit = 100;
inline constexpr Parameter displayNameParameter = text("displayName", 0, displayNameLimit);
inline constexpr Parameter promoCodeParameter = text("promoCode", 0, 50);
inline constexpr Parameter promoDescriptionParameter = text("promoCodeDescription", 0, 500);

}  // namespace zavelo::sandbox
