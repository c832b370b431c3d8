#include "sandbox/seed/export.hpp"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

#include "sandbox/seed/entries.hpp"
#include "sandbox/seed/left_out.hpp"
#include "sandbox/seed/seed.hpp"
#include "sandbox/state/database.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {
namespace {

/// The tags of a run, and those that streams have besides: a stream knows its tag's name only.
class TagBook {
 public:
  explicit TagBook(std::vector<Tag> tags) : tags_(std::move(tags)) {}

  std::int64_t idOf(const std::string& name) {
    const auto found = std::ranges::find(tags_, name, &Tag::name);
    if (found != tags_.end()) return found->id;
    std::int64_t id = 1;
    while (std::ranges::find(tags_, id, &Tag::id) != tags_.end()) ++id;
    tags_.push_back({id, name, {}});
    added_.append(added_.empty() ? "" : ", ").append(name);
    added_.append(" (").append(std::to_string(id)).append(")");
    return id;
  }

  /// Those that were added: "Cooking (5)".
  [[nodiscard]] const std::string& added() const { return added_; }

  [[nodiscard]] json::Array list() const {
    json::Array list;
    for (const auto& [id, name, image] : tags_) {
      json::Object tag{{"tagId", id}, {"tagName", name}};
      if (!image.empty()) tag.set("tagImage", image);
      list.emplace_back(std::move(tag));
    }
    return list;
  }

 private:
  std::vector<Tag> tags_;
  std::string added_;
};

struct SeedLists {
  json::Array members;
  json::Array streams;
  json::Array products;
};

SeedLists listsOf(Transaction& transaction, TagBook& tags, bool withPictures) {
  const auto pictured = [&](const EntryKind& kind, std::int64_t id, json::Object entry) {
    const auto picture = withPictures ? contentOf(transaction, kind.shelf, id) : std::nullopt;
    if (picture) addPicture(entry, *picture);
    return entry;
  };
  SeedLists lists;
  std::map<std::int64_t, std::string> zaveloIds;
  for (const auto& member : allMembers(transaction)) {
    zaveloIds[member.id] = member.zaveloId;
    lists.members.emplace_back(pictured(memberEntries(), member.id, entryOf(member)));
  }
  for (const auto& stream : allStreams(transaction)) {
    lists.streams.emplace_back(
        pictured(streamEntries(), stream.id,
                 entryOf(stream, zaveloIds.at(stream.owner), tags.idOf(stream.plan.tag))));
  }
  for (const auto& product : allProducts(transaction)) {
    lists.products.emplace_back(
        pictured(productEntries(), product.id, entryOf(product, zaveloIds.at(product.seller))));
  }
  return lists;
}

}  // namespace

Result<ExportedSeed, std::string> exportSeed(Database& database, const RunSettings& settings,
                                             bool withPictures) {
  ExportedSeed result;
  TagBook tags(settings.settings.tags);
  SeedLists lists;
  std::string leftOut;
  database.transact([&](Transaction& transaction) {
    lists = listsOf(transaction, tags, withPictures);
    leftOut = leftOutOf(transaction, withPictures);
  });
  if (!leftOut.empty()) result.notes.push_back("not in the seed: " + leftOut);
  json::Object whole = settings.written;
  if (!tags.added().empty()) {
    result.notes.push_back("tags with numbers of their own now, unless --seed has them: " +
                           tags.added());
    whole.set("tags", tags.list());
  }
  result.members = lists.members.size();
  result.streams = lists.streams.size();
  result.products = lists.products.size();
  whole.set(std::string(memberEntries().list), std::move(lists.members));
  whole.set(std::string(streamEntries().list), std::move(lists.streams));
  whole.set(std::string(productEntries().list), std::move(lists.products));
  result.text = json::prettyText(whole) + "\n";
  if (result.text.size() == 1)
    return Failure{std::string("the state has a text that is not UTF-8")};
  if (result.text.size() > seedSizeLimit) {
    return Failure{std::string("the seed would be larger than the 64 MB that one may have")};
  }
  return result;
}

Result<ExportedSeed, std::string> exportSeed(const ExportOptions& options) {
  try {
    const auto seed = readSeed(options.seed);
    if (!seed) return Failure{unusableSeed(options.seed, seed.error())};
    const auto database = Database::copyOf(options.state);
    if (!database) return Failure{database.error()};
    return exportSeed(**database, *seed, options.withPictures);
  } catch (const std::exception& error) {
    return Failure{std::string("the state cannot be exported: ") + error.what()};
  }
}

}  // namespace zavelo::sandbox
