#include "zavelo/core/environment.hpp"

namespace zavelo {

std::string ZVEnvironment::baseUrl() const {
  if (const auto* configuration = std::get_if<ZVEnvironmentConfiguration>(&case_))
    return configuration->apiDomain;
  return "https://api.dev.zavelo.example";
}

}  // namespace zavelo
