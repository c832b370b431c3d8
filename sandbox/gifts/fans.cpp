#include "sandbox/gifts/fans.hpp"

#include <chrono>

namespace zavelo::sandbox {

std::vector<Fan> topFansOf(Transaction& transaction, std::int64_t receiver, Time since,
                           std::int64_t limit) {
  std::vector<Fan> fans;
  for (const auto& [member, userName, displayName, gold] :
       transaction.rows<std::int64_t, std::string, std::string, std::int64_t>(
           "SELECT m.id, m.user_name, m.display_name, f.gold FROM "
           "(SELECT sender, sum(gold) AS gold FROM gifts WHERE receiver = ? AND "
           "given >= ? GROUP BY sender ORDER BY gold DESC, sender LIMIT ?) f "
           "JOIN members m ON m.id = f.sender ORDER BY f.gold DESC, m.id",
           receiver, since, limit)) {
    fans.push_back({member, userName, displayName, gold});
  }
  return fans;
}

std::int64_t rankAmongFans(Transaction& transaction, std::int64_t receiver, std::int64_t sender) {
  return transaction.value<std::int64_t>(
      "WITH fans AS (SELECT sender, sum(gold) AS gold FROM gifts WHERE receiver = ?1 "
      "GROUP BY sender), own AS (SELECT sender, gold FROM fans WHERE sender = ?2) "
      "SELECT 1 + count(*) FROM fans, own "
      "WHERE fans.gold > own.gold OR (fans.gold = own.gold AND fans.sender < own.sender)",
      receiver, sender);
}

Time startOfDay(Time now) {
  return std::chrono::floor<std::chrono::days>(now);
}

}  // namespace zavelo::sandbox
