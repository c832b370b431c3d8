#include "sandbox/seed/planting.hpp"

#include <optional>
#include <utility>

#include "sandbox/products/product.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

/// What is wrong with an entry. Thrown, so that the transaction is undone.
struct Unusable {
  Problem problem;
};

std::optional<std::string> hashOf(const std::optional<std::string>& password) {
  return password ? std::optional(hashPassword(*password)) : std::nullopt;
}

void plantMember(Transaction& transaction, const Arguments& entry, Time now) {
  Member member;
  member.zaveloId = *entry.text("zaveloId");
  if (memberByZaveloId(transaction, member.zaveloId)) return;
  const auto userName = entry.text("userName");
  if (userName && (!isUserName(*userName) || memberByUserName(transaction, *userName))) {
    throw Unusable{parameterProblem(
        "userName", R"(is taken or not of ASCII letters, digits, ".", "_" and "-")")};
  }
  member.userName = freeUserName(transaction, userName.value_or(member.zaveloId));
  member.displayName = entry.text("displayName").value_or(member.zaveloId);
  member.passwordHash = hashOf(entry.text("password"));
  member.gold = entry.integer("gold").value_or(startingGold);
  member.created = now;
  setPromoCode(transaction, addMember(transaction, member), entry.text("promoCode").value_or(""),
               entry.text("promoCodeDescription").value_or(""));
}

/// The member whose zaveloId stands under that name.
std::int64_t memberNamed(Transaction& transaction, const Arguments& entry, std::string_view name) {
  const auto member = memberByZaveloId(transaction, *entry.text(name));
  if (!member) throw Unusable{parameterProblem(name, "there is no such member")};
  return member->id;
}

void plantStream(Transaction& transaction, const Arguments& entry, const Settings& settings,
                 Time now) {
  const std::int64_t owner = memberNamed(transaction, entry, "owner");
  const auto plan = planFrom(entry, settings);
  if (!plan) throw Unusable{plan.error()};
  const std::string slug = *entry.text("slug");
  if (streamBySlug(transaction, slug)) return;
  addStream(transaction, slug, owner, *plan, hashOf(entry.text("password")), now);
}

void plantProduct(Transaction& transaction, const Arguments& entry) {
  Product product;
  product.seller = memberNamed(transaction, entry, "seller");
  assign(product, entry);
  if (!productByName(transaction, product.seller, product.name)) addProduct(transaction, product);
}

/// Plants each entry and, when one cannot be, adds to the problem where it stands.
template <class Plant>
void each(std::string_view list, const std::vector<Arguments>& entries, Plant plant) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    try {
      plant(entries[i]);
    } catch (Unusable& unusable) {
      unusable.problem.message.insert(
          0, std::string(list).append("[").append(std::to_string(i)).append("]: "));
      throw;
    }
  }
}

}  // namespace

Status<std::string> plant(const Seed& seed, Database& database, Time now) {
  try {
    database.transact([&](Transaction& transaction) {
      each("members", seed.members,
           [&](const Arguments& entry) { plantMember(transaction, entry, now); });
      each("streams", seed.streams,
           [&](const Arguments& entry) { plantStream(transaction, entry, seed.settings, now); });
      each("products", seed.products,
           [&](const Arguments& entry) { plantProduct(transaction, entry); });
    });
  } catch (const Unusable& unusable) {
    return Failure{unusable.problem.message};
  }
  return noFailure;
}

}  // namespace zavelo::sandbox
