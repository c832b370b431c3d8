#pragma once

#include <functional>
#include <vector>

#include "sandbox/gifts/giving.hpp"
#include "sandbox/streams/stream_operation.hpp"

namespace zavelo::sandbox {

/// What the endpoints about gifts work with. Outlives them.
struct GiftContext {
  StreamContext& streams;
  std::function<void(const GivenGift&)> given;  ///< told of every gift, on the caller's thread
};

/// The catalogue, with the caller's wallet, and giving.
[[nodiscard]] std::vector<Endpoint> giftEndpoints(GiftContext& context);

}  // namespace zavelo::sandbox
