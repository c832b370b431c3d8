#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/api/api_service.hpp"
#include "zavelo/models/gift_store.hpp"

namespace zavelo {

/// Gifts from viewers to the one who broadcasts. Nothing is checked or remembered here. What the
/// signed-in user owns comes with the answers: `ZVGiftStore::totalGold` and `totalBean`, and after
/// a gift `ZVSentGift::sender`.
///
/// Any thread. Completions arrive on the main queue, exactly once.
class ZAVELO_EXPORT ZVGiftService {
 public:
  struct Collaborators {
    std::shared_ptr<ZVAPIService> service = {};
  };

  [[nodiscard]] static std::shared_ptr<ZVGiftService> create(Collaborators collaborators);
  [[nodiscard]] static const std::shared_ptr<ZVGiftService>& shared();

  /// The gifts on offer, and what the user owns (a guest: nothing).
  ZVAPICall<ZVGiftStore> getGiftStore(ZVCompletion<ZVGiftStore> completion);
  /// Gives a gift `amount` times in the stream that is called `slug`: to its owner, or to the
  /// co-host whose user id is `receiverId`. Pass `messageData` of the answer on to the channel.
  ZVAPICall<ZVSentGift> sendGift(const std::string& slug, std::int64_t giftId, std::int64_t amount,
                                 std::optional<std::int64_t> receiverId,
                                 ZVCompletion<ZVSentGift> completion);

 private:
  explicit ZVGiftService(Collaborators collaborators) : deps_(std::move(collaborators)) {}

  const Collaborators deps_;
};

}  // namespace zavelo
