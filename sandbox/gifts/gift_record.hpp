#pragma once

#include <memory>
#include <string>

#include "sandbox/gifts/giving.hpp"
#include "sandbox/settings/gift.hpp"
#include "zavelo/messaging/gift_message.hpp"
#include "zavelo/models/gift_store.hpp"

namespace zavelo::sandbox {

// Gifts as clients see them. `site` is the sandbox's own address.

/// `orderIndex`: the place in the catalogue.
[[nodiscard]] ZVGift recordOf(const Gift& gift, std::int64_t orderIndex, const std::string& site);

[[nodiscard]] ZVSentGift recordOf(Transaction& transaction, const GivenGift& given,
                                  const std::string& site, Time now);

/// The event by which the sender's app tells the channel.
[[nodiscard]] std::shared_ptr<ZVGiftMessage> messageOf(const GivenGift& given,
                                                       const std::string& site);

}  // namespace zavelo::sandbox
