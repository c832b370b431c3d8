#pragma once

#include "sandbox/api/parameters.hpp"

namespace zavelo::sandbox {

// What a member's texts may be.
inline constexpr auto zaveloIdParameter = required(text("zaveloId", 1, 100));
inline constexpr auto userNameParameter = text("userName", 0, 64);
inline constexpr auto passwordParameter = text("password", 1, 256);
inline constexpr double displayNameLimit = 100;
inline constexpr auto displayNameParameter = text("displayName", 0, displayNameLimit);
inline constexpr auto genderParameter = text("gender", 0, 30);
inline constexpr auto dobParameter = date("dob");
inline constexpr auto aboutParameter = text("about", 0, 2000);
/// Of a picture outside the sandbox.
inline constexpr auto profileImageParameter = address("profileImage");
inline constexpr auto latitudeParameter = number("latitude", -90, 90);
inline constexpr auto longitudeParameter = number("longitude", -180, 180);
inline constexpr auto promoCodeParameter = text("promoCode", 0, 50);
inline constexpr auto promoDescriptionParameter = text("promoCodeDescription", 0, 500);

}  // namespace zavelo::sandbox
