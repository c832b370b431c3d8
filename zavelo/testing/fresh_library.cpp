#include "zavelo/testing/fresh_library.hpp"

#include <utility>

namespace zavelo::testing {

FreshLibrary::FreshLibrary() : before_(detail::exchangeProcessState({})) {}

FreshLibrary::FreshLibrary(ZVPlatform platform) : FreshLibrary() {
  static_cast<void>(ZVPlatform::install(std::move(platform)));
}

FreshLibrary::~FreshLibrary() {
  detail::destroy(detail::exchangeProcessState(before_));
}

}  // namespace zavelo::testing
