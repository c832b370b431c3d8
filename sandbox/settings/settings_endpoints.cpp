#include "sandbox/settings/settings.hpp"

namespace zavelo::sandbox {
namespace {

Response naughtyWords(const Settings& settings, const Call&) {
  return succeed(settings.naughtyWords);
}

Response configuration(const Settings& settings, const Call&) {
  return succeed(json::Value(settings.config));
}

}  // namespace

std::vector<Endpoint> settingsEndpoints(const Settings& settings) {
  const auto at = handlersIn(settings);
  return {
      post("/api/settings/naughty-words", Access::open, at(naughtyWords)),
      post("/api/settings/configs", Access::open, at(configuration)),
      post("/api/settings/v2/configs", Access::open, at(configuration)),
  };
}

}  // namespace zavelo::sandbox
