#include "sandbox/gifts/wallet.hpp"

#include <string>

namespace zavelo::sandbox {

std::optional<Problem> addGold(Transaction& transaction, const Member& member, std::int64_t gold) {
  if (gold > walletLimit - member.gold) {
    return Problem{Code::error, "The member's wallet cannot hold so much gold"};
  }
  transaction.run("UPDATE members SET gold = gold + ? WHERE id = ?", gold, member.id);
  return {};
}

std::optional<Problem> payForGifts(Transaction& transaction, const Member& sender,
                                   const Member& receiver, std::int64_t gold, std::int64_t gifts) {
  if (gold > sender.gold) {
    return Problem{Code::error, "Not enough gold: this costs " + std::to_string(gold) +
                                    ", and you have " + std::to_string(sender.gold)};
  }
  if (gold > walletLimit - receiver.beans) {
    return Problem{Code::error, "The receiver's wallet cannot hold so many beans"};
  }
  transaction.run("UPDATE members SET gold = gold - ?, gifts_sent = gifts_sent + ? WHERE id = ?",
                  gold, gifts, sender.id);
  transaction.run(
      "UPDATE members SET beans = beans + ?1, gold_from_fans = gold_from_fans + ?1, "
      "gifts_received = gifts_received + ?2 WHERE id = ?3",
      gold, gifts, receiver.id);
  return {};
}

}  // namespace zavelo::sandbox
