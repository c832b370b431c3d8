#include "sandbox/gifts/gift_endpoints.hpp"

#include <optional>
#include <utility>

#include "sandbox/gifts/gift_record.hpp"
#include "sandbox/gifts/wallet.hpp"
#include "sandbox/streams/co_hosts.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto giftIdParameter = required(integer("giftId", 0, 1e15));
constexpr auto amountParameter = required(integer("amount", 1, mostGiftsAtOnce));
constexpr auto receiverParameter = integer("receiverId", 0, 1e15);

/// A guest has no wallet, and looks all the same.
Response store(GiftContext& context, const Call& call) {
  ZVGiftStore catalogue;
  catalogue.totalBean = catalogue.totalGold = 0;
  if (call.identity.member) {
    const Member member = context.streams.database.transact(
        [&](Transaction& transaction) { return *memberById(transaction, *call.identity.member); });
    catalogue.totalBean = member.beans;
    catalogue.totalGold = member.gold;
  }
  catalogue.gifts.emplace();
  for (const auto& gift : context.streams.settings.gifts) {
    catalogue.gifts->push_back(recordOf(gift, std::ssize(*catalogue.gifts), context.streams.site));
  }
  return succeed(catalogue);
}

/// The owner, or the co-host that the sender names.
Result<std::int64_t, Problem> receiverIn(const StreamCall& call) {
  const auto named = call.arguments[receiverParameter];
  if (!named || *named == call.stream.owner) return call.stream.owner;
  if (coHostWho(call.transaction, call.stream.id, *named)) return *named;
  return Failure{parameterProblem("receiverId", "is neither the stream's owner nor a co-host")};
}

Result<GivenGift, Problem> giveIn(const StreamCall& call) {
  const auto gift = offeredGift(call.context.settings.gifts, call.arguments[giftIdParameter]);
  if (!gift) return Failure{gift.error()};
  const auto receiver = receiverIn(call);
  if (!receiver) return Failure{receiver.error()};
  return give(call.transaction, call.stream, *gift, call.arguments[amountParameter],
              *call.identity.member, *receiver, call.now);
}

Response sendGift(GiftContext& context, const Call& call) {
  std::optional<GivenGift> given;
  const auto run = [&](const StreamCall& allowed) {
    auto outcome = giveIn(allowed);
    if (!outcome) return fail(outcome.error());
    given = *std::move(outcome);
    return succeed(recordOf(allowed.transaction, *given, allowed.context.site, allowed.now));
  };
  const Response response =
      perform(context.streams, {"/api/gifts/send-gift", Who::viewer, When::running, run}, call);
  // Only now: the observer may look at the state.
  if (given) context.given(*given);
  return response;
}

}  // namespace

std::vector<Endpoint> giftEndpoints(GiftContext& context) {
  const auto at = handlersIn(context);
  return {
      post("/api/gifts/store", Access::session, at(store)),
      post("/api/gifts/send-gift", Access::member, at(sendGift),
           {slugParameter, giftIdParameter, amountParameter, receiverParameter}),
  };
}

}  // namespace zavelo::sandbox
