#include "sandbox/gifts/fans.hpp"

#include <chrono>

namespace zavelo::sandbox {

std::vector<Fan> topFansOf(Transaction& transaction, std::int64_t receiver, Time since,
                           std::int64_t limit) {
  std::vector<Fan> fans;
  for (const auto& row :
       transaction.all("SELECT m.id, m.user_name, m.display_name, f.gold FROM "
                       "(SELECT sender, sum(gold) AS gold FROM gifts WHERE receiver = ? AND "
                       "given >= ? GROUP BY sender ORDER BY gold DESC, sender LIMIT ?) f "
                       "JOIN members m ON m.id = f.sender ORDER BY f.gold DESC, m.id",
                       receiver, stored(since), limit)) {
    fans.push_back({row.integer(0), row.text(1), row.text(2), row.integer(3)});
  }
  return fans;
}

std::int64_t rankAmongFans(Transaction& transaction, std::int64_t receiver, std::int64_t sender) {
  return transaction
      .first(
          "WITH fans AS (SELECT sender, sum(gold) AS gold FROM gifts WHERE receiver = ?1 "
          "GROUP BY sender), own AS (SELECT sender, gold FROM fans WHERE sender = ?2) "
          "SELECT 1 + count(*) FROM fans, own "
          "WHERE fans.gold > own.gold OR (fans.gold = own.gold AND fans.sender < own.sender)",
          receiver, sender)
      ->integer(0);
}

Time startOfDay(Time now) {
  return std::chrono::floor<std::chrono::days>(now);
}

}  // namespace zavelo::sandbox
