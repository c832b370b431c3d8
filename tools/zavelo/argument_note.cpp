#include "tools/zavelo/argument_note.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>

namespace zavelo::command {
namespace {

json::Value zero() {
  return 0.0;
}

json::Value thisDevice() {
  std::array<char, 256> host{};
  gethostname(host.data(), host.size() - 1);
  return std::string("cli-") + host.data();
}

constexpr ArgumentNote notes[] = {
    {"about", "What the profile says about the user"},
    {"deviceUdid", "Which device signs in; \"cli-\" and the host's name if left out", &thisDevice},
    {"displayName", "The name that others see"},
    {"dob", "Date of birth, as the backend writes dates"},
    {"gender", "As the backend words it"},
    {"image", "A JPEG file; no new picture if left out"},
    {"latitude", "Degrees north; 0 if left out", &zero},
    {"limit", "How many at most"},
    {"longitude", "Degrees east; 0 if left out", &zero},
    {"nextId", "The cursor that the page before gave; 0 for the first page"},
    {"parameters", "A JSON object; an empty one if left out"},
    {"password", "The member's password; \"-\" reads it from the standard input", nullptr, true},
    {"promoCode", "The code"},
    {"promoCodeDescription", "What it brings"},
    {"refreshToken", "The token; \"-\" reads it from the standard input", nullptr, true},
    {"token", "A record with accessToken, refreshToken and expires"},
    {"user", "A session as current-user shows it"},
    {"words", "A word; once for each, the empty list if left out"},
    {"zaveloId", "The name under which the member signs in"},
};

constexpr ArgumentNote none{};

}  // namespace

const ArgumentNote& noteOf(std::string_view name) {
  const auto* const found = std::ranges::find(notes, name, &ArgumentNote::name);
  return found == std::end(notes) ? none : *found;
}

}  // namespace zavelo::command
