#include "sandbox/streams/co_hosts.hpp"

#include "sandbox/state/table.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto table =
    tableOf<CoHost>("co_hosts", column<&CoHost::member>(), column<&CoHost::position>());

}  // namespace

std::optional<CoHost> coHostAt(Transaction& transaction, std::int64_t stream,
                               std::int64_t position) {
  return table.find(transaction, "stream = ? AND position = ?", stream, position);
}

std::optional<CoHost> coHostWho(Transaction& transaction, std::int64_t stream,
                                std::int64_t member) {
  return table.find(transaction, "stream = ? AND member = ?", stream, member);
}

std::optional<CoHost> firstCoHost(Transaction& transaction, std::int64_t stream) {
  return table.find(transaction, "stream = ? ORDER BY position LIMIT 1", stream);
}

std::int64_t goldReceivedIn(Transaction& transaction, std::int64_t stream, std::int64_t member) {
  return transaction.value<std::int64_t>(
      "SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = ? AND receiver = ?", stream, member);
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
