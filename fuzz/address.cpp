#include "fuzz/fuzz.hpp"
#include "zavelo/messaging/chat_address_internal.hpp"
#include "zavelo/messaging/engines/mqtt.hpp"
#include "zavelo/platform/curl_failure_internal.hpp"

// Addresses: of a recorded chat, of a broker, and the origin of one that a reply redirects to.

void zavelo::fuzz::run(std::string_view input) {
  const std::string whole(input);
  const std::string first(takeLine(input));
  const std::string second(input);
  require(detail::sameOrigin(first, second) == detail::sameOrigin(second, first),
          "an origin is the same in both orders");
  if (detail::sameOrigin(first, second))
    require(detail::sameOrigin(first, first), "an origin is the same as itself");
  require(!detail::hostOf(first).empty(), "a host has a name for a person");

  const auto chat = detail::chatAddress(whole);
  if (chat) require(!chat->place.empty(), "a chat is somewhere");
  if (chat && chat->kind == detail::ChatAddress::Kind::file)
    require(chat->place.find('\0') == std::string::npos, "a path has no NUL");

  const auto engine = mqttEngine({.address = first});
  require(engine || !engine.error().empty(), "a bad address is described");
}
