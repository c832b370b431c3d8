#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace zavelo::detail {

/// Ends the process, in every build: the program asked for what cannot be had, and going on would
/// be undefined behaviour.
[[noreturn]] inline void abortMisuse(const std::string& what) noexcept {
  std::fprintf(stderr, "zavelo: %s\n", what.c_str());
  std::abort();
}

}  // namespace zavelo::detail
