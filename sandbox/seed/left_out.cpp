#include "sandbox/seed/left_out.hpp"

#include <cstdint>
#include <span>
#include <string_view>

namespace zavelo::sandbox {
namespace {

struct Matter {
  std::string_view count;  ///< a query
  std::string_view one;
  std::string_view several;
};

constexpr Matter pictures[] = {
    {"SELECT count(*) FROM media WHERE shelf = 'profiles'", "profile picture", "profile pictures"},
    {"SELECT count(*) FROM media WHERE shelf = 'covers'", "stream cover", "stream covers"},
    {"SELECT count(*) FROM media WHERE shelf = 'products'", "product picture", "product pictures"},
};

constexpr Matter matters[] = {
    {"SELECT count(*) FROM media WHERE shelf = 'chats'", "saved chat", "saved chats"},
    {"SELECT count(*) FROM guests", "guest", "guests"},
    {"SELECT count(*) FROM sessions", "session", "sessions"},
    {"SELECT count(*) FROM view_sessions", "view", "views"},
    {"SELECT coalesce(sum(likes), 0) FROM reactions", "like", "likes"},
    {"SELECT count(*) FROM reactions WHERE report IS NOT NULL", "report", "reports"},
    {"SELECT count(*) FROM reactions WHERE unlocked", "opened lock", "opened locks"},
    {"SELECT coalesce(sum(shares), 0) FROM streams", "share", "shares"},
    {"SELECT count(*) FROM streams WHERE recorded", "recording", "recordings"},
    {"SELECT count(*) FROM co_hosts", "co-host", "co-hosts"},
    {"SELECT coalesce(sum(amount), 0) FROM gifts", "gift given", "gifts given"},
    {"SELECT count(*) FROM polls", "poll", "polls"},
};

void addCounts(Transaction& transaction, std::span<const Matter> what, std::string& list) {
  for (const auto& matter : what) {
    const std::int64_t count = transaction.value<std::int64_t>(matter.count);
    if (count == 0) continue;
    list.append(list.empty() ? "" : ", ").append(std::to_string(count)).append(" ");
    list.append(count == 1 ? matter.one : matter.several);
  }
}

}  // namespace

std::string leftOutOf(Transaction& transaction, bool withPictures) {
  std::string list;
  if (!withPictures) addCounts(transaction, pictures, list);
  addCounts(transaction, matters, list);
  return list;
}

}  // namespace zavelo::sandbox
