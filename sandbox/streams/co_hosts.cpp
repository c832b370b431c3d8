#include "sandbox/streams/co_hosts.hpp"

namespace zavelo::sandbox {
namespace {

std::optional<CoHost> coHostIn(const std::optional<Row>& row) {
  return row ? std::optional(CoHost{row->integer(0), row->integer(1)}) : std::nullopt;
}

}  // namespace

std::optional<CoHost> coHostAt(Transaction& transaction, std::int64_t stream,
                               std::int64_t position) {
  return coHostIn(transaction.first(
      "SELECT member, position FROM co_hosts WHERE stream = ? AND position = ?", stream, position));
}

std::optional<CoHost> coHostWho(Transaction& transaction, std::int64_t stream,
                                std::int64_t member) {
  return coHostIn(transaction.first(
      "SELECT member, position FROM co_hosts WHERE stream = ? AND member = ?", stream, member));
}

std::optional<CoHost> firstCoHost(Transaction& transaction, std::int64_t stream) {
  return coHostIn(transaction.first(
      "SELECT member, position FROM co_hosts WHERE stream = ? ORDER BY position LIMIT 1", stream));
}

std::int64_t goldReceivedIn(Transaction& transaction, std::int64_t stream, std::int64_t member) {
  return transaction
      .first("SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = ? AND receiver = ?", stream,
             member)
      ->integer(0);
}

void addCoHost(Transaction& transaction, std::int64_t stream, const CoHost& coHost) {
  transaction.run("INSERT INTO co_hosts (stream, position, member) VALUES (?, ?, ?)", stream,
                  coHost.position, coHost.member);
}

bool removeCoHost(Transaction& transaction, std::int64_t stream, const CoHost& coHost) {
  return transaction.run("DELETE FROM co_hosts WHERE stream = ? AND position = ? AND member = ?",
                         stream, coHost.position, coHost.member) > 0;
}

}  // namespace zavelo::sandbox
