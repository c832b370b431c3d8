#pragma once

#include <string>
#include <utility>
#include <variant>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// A backend of the host's own.
struct ZVEnvironmentConfiguration {
  /// Scheme and host, without a slash at the end: paths are appended as they stand, and nothing
  /// checks it.
  std::string apiDomain;

  bool operator==(const ZVEnvironmentConfiguration&) const = default;
};

/// Which backend the library talks to.
class ZAVELO_EXPORT ZVEnvironment {
 public:
  [[nodiscard]] static ZVEnvironment custom(ZVEnvironmentConfiguration configuration) {
    return ZVEnvironment(std::move(configuration));
  }
  /// The development backend.
  [[nodiscard]] static ZVEnvironment demo() { return ZVEnvironment(Demo{}); }

  /// The origin that endpoint paths are appended to.
  [[nodiscard]] std::string baseUrl() const;

  bool operator==(const ZVEnvironment&) const = default;

 private:
  struct Demo {
    bool operator==(const Demo&) const = default;
  };
  using Case = std::variant<Demo, ZVEnvironmentConfiguration>;
  explicit ZVEnvironment(Case chosen) : case_(std::move(chosen)) {}

  Case case_;
};

}  // namespace zavelo
