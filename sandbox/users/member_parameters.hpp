#pragma once

#include "sandbox/api/parameters.hpp"

namespace zavelo::sandbox {

// What a member's texts may be.
inline constexpr Parameter zaveloIdParameter = text("zaveloId", 1, 100);
inline constexpr Parameter userNameParameter = text("userName", 0, 64);
inline constexpr Parameter passwordParameter = text("password", 1, 256);
inline constexpr double displayNameLimit = 100;
inline constexpr Parameter displayNameParameter = text("displayName", 0, displayNameLimit);
inline constexpr Parameter genderParameter = text("gender", 0, 30);
inline constexpr Parameter dobParameter = date("dob");
inline constexpr Parameter aboutParameter = text("about", 0, 2000);
/// Of a picture outside the sandbox.
inline constexpr Parameter profileImageParameter = address("profileImage");
inline constexpr Parameter latitudeParameter = number("latitude", -90, 90);
inline constexpr Parameter longitudeParameter = number("longitude", -180, 180);
inline constexpr Parameter promoCodeParameter = text("promoCode", 0, 50);
inline constexpr Parameter promoDescriptionParameter = text("promoCodeDescription", 0, 500);

}  // namespace zavelo::sandbox
