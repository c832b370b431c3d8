#include "sandbox/gifts/giving.hpp"

#include <algorithm>
#include <string>

#include "sandbox/api/parameters.hpp"
#include "sandbox/gifts/fans.hpp"
#include "sandbox/gifts/wallet.hpp"

namespace zavelo::sandbox {

// No product overflows.
static_assert(dearestGift * mostGiftsAtOnce < walletLimit);

Result<Gift, Problem> offeredGift(const std::vector<Gift>& gifts, std::int64_t id) {
  const auto gift = std::ranges::find(gifts, id, &Gift::id);
  if (gift == gifts.end()) return Failure{parameterProblem("giftId", "there is no such gift")};
  return *gift;
}

Result<GivenGift, Problem> give(Transaction& transaction, const Stream& stream, const Gift& gift,
                                std::int64_t amount, std::int64_t sender, std::int64_t receiver,
                                Time now) {
  if (sender == receiver) {
    return Failure{Problem{Code::noPermission, "You cannot give gifts to yourself"}};
  }
  const std::int64_t gold = gift.gold * amount;
  if (auto problem = payForGifts(transaction, *memberById(transaction, sender),
                                 *memberById(transaction, receiver), gold, amount)) {
    return Failure{*std::move(problem)};
  }
  transaction.run(
      "INSERT INTO gifts (stream, sender, receiver, gift, amount, gold, given) "
      "VALUES (?, ?, ?, ?, ?, ?, ?)",
      stream.id, sender, receiver, gift.id, amount, gold, now);
  return GivenGift{.stream = stream,
                   .gift = gift,
                   .amount = amount,
                   .gold = gold,
                   .sender = *memberById(transaction, sender),
                   .receiver = *memberById(transaction, receiver),
                   .rank = rankAmongFans(transaction, receiver, sender)};
}

}  // namespace zavelo::sandbox
