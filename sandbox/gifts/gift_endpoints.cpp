#include "sandbox/gifts/gift_endpoints.hpp"

#include <optional>
#include <utility>

#include "sandbox/gifts/gift_record.hpp"
#include "sandbox/gifts/wallet.hpp"
#include "sandbox/streams/co_hosts.hpp"

namespace zavelo::sandbox {
namespace {

/// A guest has no wallet, and looks all the same.
Response store(GiftRoom& room, const Call& call) {
  ZVGiftStore catalogue;
  catalogue.totalBean = catalogue.totalGold = 0;
  if (call.identity.member) {
    const Member member = room.streams.database.transact(
        [&](Transaction& transaction) { return *memberById(transaction, *call.identity.member); });
    catalogue.totalBean = member.beans;
    catalogue.totalGold = member.gold;
  }
  catalogue.gifts.emplace();
  for (const auto& gift : room.streams.settings.gifts) {
    catalogue.gifts->push_back(recordOf(gift, std::ssize(*catalogue.gifts), room.streams.site));
  }
  return succeed(catalogue);
}

/// The owner, or the co-host that the sender names.
Result<std::int64_t, Problem> receiverIn(const StreamCall& of) {
  const auto named = of.call.arguments.integer("receiverId");
  if (!named || *named == of.stream.owner) return of.stream.owner;
  if (coHostWho(of.transaction, of.stream.id, *named)) return *named;
  return Failure{parameterProblem("receiverId", "is neither the stream's owner nor a co-host")};
}

Result<GivenGift, Problem> giveIn(const StreamCall& of) {
  const auto gift = offeredGift(of.room.settings.gifts, *of.call.arguments.integer("giftId"));
  if (!gift) return Failure{gift.error()};
  const auto receiver = receiverIn(of);
  if (!receiver) return Failure{receiver.error()};
  return give(of.transaction, of.stream, *gift, *of.call.arguments.integer("amount"),
              *of.call.identity.member, *receiver, of.now);
}

Response sendGift(GiftRoom& room, const Call& call) {
  std::optional<GivenGift> given;
  const auto run = [&](const StreamCall& of) {
    auto outcome = giveIn(of);
    if (!outcome) return fail(outcome.error());
    given = *std::move(outcome);
    return succeed(recordOf(of.transaction, *given, of.room.site, of.now));
  };
  const Response response =
      perform(room.streams, {"/api/gifts/send-gift", Who::viewer, When::running, run}, call);
  // Only now: whoever is told may look at the state.
  if (given) room.given(*given);
  return response;
}

}  // namespace

std::vector<Endpoint> giftEndpoints(GiftRoom& room) {
  const auto at = handlersIn(room);
  return {
      post("/api/gifts/store", Access::session, at(store)),
      post("/api/gifts/send-gift", Access::member, at(sendGift),
           {required(slugParameter), required(integer("giftId", 0, 1e15)),
            required(integer("amount", 1, mostGiftsAtOnce)), integer("receiverId", 0, 1e15)}),
  };
}

}  // namespace zavelo::sandbox
