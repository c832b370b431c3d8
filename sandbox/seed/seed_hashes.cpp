#include "sandbox/seed/seed_hashes.hpp"

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/member_parameters.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

/// Each needs 64 MB.
constexpr unsigned mostAtOnce = 8;

std::vector<const Arguments*> entriesToHash(const Seed& seed, Database& database) {
  std::vector<const Arguments*> entries;
  const auto add = [&](const std::vector<Arguments>& list, const auto& isThere) {
    for (const auto& entry : list) {
      if (entry.has(passwordParameter) && !isThere(entry)) entries.push_back(&entry);
    }
  };
  database.transact([&](Transaction& transaction) {
    add(seed.members, [&](const Arguments& entry) {
      return memberByZaveloId(transaction, entry[zaveloIdParameter]).has_value();
    });
    add(seed.streams, [&](const Arguments& entry) {
      return streamBySlug(transaction, entry[slugParameter]).has_value();
    });
  });
  return entries;
}

}  // namespace

SeedHashes hashesFor(const Seed& seed, Database& database) {
  const auto entries = entriesToHash(seed, database);
  std::vector<std::string> hashes(entries.size());
  std::atomic<std::size_t> next = 0;
  const auto work = [&] {
    for (std::size_t i = next++; i < entries.size(); i = next++) {
      hashes[i] = hashPassword((*entries[i])[passwordParameter].value_or(""));
    }
  };
  std::vector<std::future<void>> workers;
  const auto count = std::min<std::size_t>(
      entries.size(), std::clamp(std::thread::hardware_concurrency(), 1U, mostAtOnce));
  for (std::size_t i = 0; i < count; ++i) workers.push_back(std::async(std::launch::async, work));
  for (auto& worker : workers) worker.get();
  SeedHashes result;
  for (std::size_t i = 0; i < entries.size(); ++i) result[entries[i]] = std::move(hashes[i]);
  return result;
}

}  // namespace zavelo::sandbox
