#include "sandbox/seed/seed_loader.hpp"

#include <map>
#include <optional>
#include <utility>

#include "sandbox/products/product.hpp"
#include "sandbox/seed/entries.hpp"
#include "sandbox/seed/seed_hashes.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/members.hpp"

namespace zavelo::sandbox {
namespace {

/// What is wrong with an entry. Thrown, so that the transaction is undone.
struct Unusable {
  Problem problem;
};

/// The entry's password hash, computed or given.
std::optional<std::string> hashIn(const Arguments& entry, const SeedHashes& hashes) {
  if (auto hash = entry[passwordHashParameter]) return hash;
  const auto made = hashes.find(&entry);
  return made == hashes.end() ? std::nullopt : std::optional(made->second);
}

std::string userNameFor(Transaction& transaction, const Arguments& entry) {
  const auto name = entry[userNameParameter];
  if (name && (!isUserName(*name) || memberByUserName(transaction, *name))) {
    throw Unusable{parameterProblem(
        userNameParameter.name, R"(is taken or not of ASCII letters, digits, ".", "_" and "-")")};
  }
  return name ? *name : freeUserName(transaction, entry[zaveloIdParameter]);
}

void loadPicture(Transaction& transaction, const EntryKind& kind, std::int64_t owner,
                 const Arguments& entry) {
  if (const auto file = pictureIn(entry)) keepFile(transaction, kind.shelf, owner, *file);
}

void loadMember(Transaction& transaction, const Arguments& entry, const SeedHashes& hashes,
                Time now) {
  const std::string zaveloId = entry[zaveloIdParameter];
  if (memberByZaveloId(transaction, zaveloId)) return;
  Member member;
  member.zaveloId = zaveloId;
  member.userName = userNameFor(transaction, entry);
  member.displayName = entry[displayNameParameter].value_or(zaveloId);
  member.passwordHash = hashIn(entry, hashes);
  member.gender = entry[genderParameter].value_or("");
  member.dob = entry[dobParameter].value_or("");
  member.about = entry[aboutParameter].value_or("");
  member.image = entry[profileImageParameter].value_or("");
  member.latitude = entry[latitudeParameter];
  member.longitude = entry[longitudeParameter];
  member.promoCode = entry[promoCodeParameter].value_or("");
  member.promoDescription = entry[promoDescriptionParameter].value_or("");
  member.gold = entry[goldParameter].value_or(startingGold);
  member.beans = entry[beansParameter].value_or(0);
  member.banned = entry[isBannedParameter].value_or(false);
  member.created = now;
  loadPicture(transaction, memberEntries(), addMember(transaction, member), entry);
}

/// The member whose zaveloId the parameter has.
std::int64_t memberNamed(Transaction& transaction, const Arguments& entry,
                         const Param<std::string, true>& parameter) {
  const auto member = memberByZaveloId(transaction, entry[parameter]);
  if (!member) throw Unusable{parameterProblem(parameter.name, "there is no such member")};
  return member->id;
}

/// Takes a stream that was just added through its life up to that status.
void advanceTo(Transaction& transaction, const Stream& stream, StreamStatus status, Time now) {
  if (status != StreamStatus::created) goLive(transaction, stream, now);
  if (status == StreamStatus::paused) goPaused(transaction, stream, now);
  if (status == StreamStatus::ended) goEnded(transaction, stream, now);
}

void loadStream(Transaction& transaction, const Arguments& entry, const SeedHashes& hashes,
                const Settings& settings, Time now) {
  const std::int64_t owner = memberNamed(transaction, entry, ownerParameter);
  const auto plan = planFrom(entry, settings);
  if (!plan) throw Unusable{plan.error()};
  const std::string slug = entry[slugParameter];
  if (streamBySlug(transaction, slug)) return;
  const Stream stream = addStream(transaction, slug, owner, *plan, hashIn(entry, hashes), now);
  loadPicture(transaction, streamEntries(), stream.id, entry);
  setPinned(transaction, stream, entry[pinnedTextParameter].value_or(""));
  setPosition(transaction, stream, entry[positionParameter].value_or(""));
  if (const auto status = entry[statusParameter]) {
    advanceTo(transaction, stream, *statusNamed(*status), now);
  }
}

/// The names that a seller's products had before the seed, each as often as there were products;
/// the seed's products take them up one by one.
using NamesBefore = std::map<std::int64_t, std::map<std::string, std::int64_t>>;

/// A seller may have several products of one name: in the end there are as many as the seed has.
void loadProduct(Transaction& transaction, const Arguments& entry, NamesBefore& before) {
  Product product;
  product.seller = memberNamed(transaction, entry, sellerParameter);
  assign(product, entry);
  auto names = before.find(product.seller);
  if (names == before.end()) {
    names = before.emplace(product.seller, productNamesOf(transaction, product.seller)).first;
  }
  const auto existing = names->second.find(product.name);
  if (existing != names->second.end() && existing->second-- > 0) return;
  loadPicture(transaction, productEntries(), addProduct(transaction, product), entry);
}

/// Loads each entry and, when one cannot be, adds the position of the entry to the problem.
template <class Load>
void each(std::string_view list, const std::vector<Arguments>& entries, Load load) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    try {
      load(entries[i]);
    } catch (Unusable& unusable) {
      unusable.problem.message.insert(
          0, std::string(list).append("[").append(std::to_string(i)).append("]: "));
      throw;
    }
  }
}

}  // namespace

Status<std::string> loadSeed(const Seed& seed, Database& database, Time now) {
  try {
    const auto hashes = hashesFor(seed, database);
    database.transact([&](Transaction& transaction) {
      each(memberEntries().list, seed.members,
           [&](const Arguments& entry) { loadMember(transaction, entry, hashes, now); });
      each(streamEntries().list, seed.streams, [&](const Arguments& entry) {
        loadStream(transaction, entry, hashes, seed.settings, now);
      });
      NamesBefore before;
      each(productEntries().list, seed.products,
           [&](const Arguments& entry) { loadProduct(transaction, entry, before); });
    });
  } catch (const Unusable& unusable) {
    return Failure{unusable.problem.message};
  }
  return noFailure;
}

}  // namespace zavelo::sandbox
