#include "sandbox/seed/seed.hpp"

#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "sandbox/gifts/wallet.hpp"
#include "sandbox/seed/entries.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/models/config.hpp"

namespace zavelo::sandbox {
namespace {

/// No value when all is well, else what is wrong, and where.
using Complaint = std::optional<std::string>;

Result<std::string, std::string> contentOf(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    return Failure{error ? error.message() : std::string("it is not a file")};
  }
  if (std::filesystem::file_size(file, error) > seedSizeLimit) {
    return Failure{error ? error.message() : std::string("it is larger than 64 MB")};
  }
  std::ifstream stream(file, std::ios::binary);
  std::string content(std::istreambuf_iterator<char>(stream), {});
  if (!stream) return Failure{std::string("it cannot be read")};
  return content;
}

/// Checks every entry of a list against what such an entry takes.
Complaint readEntries(const json::Value& value, const std::string& name,
                      std::span<const Parameter> parameters, std::vector<Arguments>& entries) {
  const auto* list = value.as<json::Array>();
  if (list == nullptr) return name + ": expected a list";
  for (const auto& element : *list) {
    const std::string where = name + "[" + std::to_string(entries.size()) + "]: ";
    const auto* object = element.as<json::Object>();
    if (object == nullptr) return where + "expected an object";
    auto arguments = checkParameters(parameters, *object);
    if (!arguments) return where + arguments.error().front().message;
    entries.push_back(*std::move(arguments));
  }
  return {};
}

namespace tag {
constexpr auto id = required(integer("tagId", 0, 1'000'000));
constexpr auto title = required(text("tagName", 1, 100));
constexpr auto image = address("tagImage");
}  // namespace tag

Complaint readTags(const json::Value& value, std::vector<Tag>& tags) {
  const Parameter parameters[] = {tag::id, tag::title, tag::image};
  std::vector<Arguments> entries;
  if (auto complaint = readEntries(value, "tags", parameters, entries)) return complaint;
  tags.clear();
  for (const auto& entry : entries)
    tags.push_back({entry[tag::id], entry[tag::title], entry[tag::image].value_or("")});
  return {};
}

namespace gift {
constexpr auto id = required(integer("giftId", 1, 1e15));
constexpr auto title = required(text("giftName", 1, 100));
constexpr auto cost = required(integer("costGold", 0, dearestGift));
constexpr auto symbol = text("symbol", 1, 8);
constexpr auto color = integer("giftColor", 0, 0xFFFFFF);
constexpr auto animation = integer("giftAnimationType", 0, 2);
constexpr auto category = integer("giftCategory", 0, 1e15);
constexpr auto categoryName = text("giftCategoryName", 0, 100);
constexpr auto categoryIndex = integer("giftCategoryOrderIndex", 0, 1'000'000);
constexpr auto image = address("giftImage");
constexpr auto file = address("giftFile");
}  // namespace gift

Gift giftFrom(const Arguments& entry) {
  return {.id = entry[gift::id],
          .name = entry[gift::title],
          .symbol = entry[gift::symbol].value_or("🎁"),
          .gold = entry[gift::cost],
          .color = entry[gift::color].value_or(0x607D8B),
          .animation = *fromRawValue<ZVGiftAnimationType>(
              entry[gift::animation].value_or(rawValue(ZVGiftAnimationType::combo))),
          .category = {entry[gift::category].value_or(0), entry[gift::categoryName].value_or(""),
                       entry[gift::categoryIndex].value_or(0)},
          .image = entry[gift::image].value_or(""),
          .file = entry[gift::file].value_or("")};
}

Complaint readGifts(const json::Value& value, std::vector<Gift>& gifts) {
  const Parameter parameters[] = {gift::id,       gift::title,        gift::cost,
                                  gift::symbol,   gift::color,        gift::animation,
                                  gift::category, gift::categoryName, gift::categoryIndex,
                                  gift::image,    gift::file};
  std::vector<Arguments> entries;
  if (auto complaint = readEntries(value, "gifts", parameters, entries)) return complaint;
  gifts.clear();
  std::unordered_set<std::int64_t> ids;
  for (const auto& entry : entries) {
    const std::string where = "gifts[" + std::to_string(gifts.size()) + "]: ";
    Gift read = giftFrom(entry);
    if (!ids.insert(read.id).second) {
      return where + parameterProblem(gift::id.name, "is another gift's too").message;
    }
    // Pictures and Lottie files can be drawn here, SVGA cannot.
    if (read.animation == ZVGiftAnimationType::svga && read.file.empty()) {
      return where + parameterProblem(gift::file.name, "missing").message;
    }
    gifts.push_back(std::move(read));
  }
  return {};
}

Complaint readConfig(const json::Value& value, json::Object& config) {
  const auto* object = value.as<json::Object>();
  if (object == nullptr) return "config: expected an object";
  const auto text = json::encode(value);
  if (!text) return "config: " + text.error().text();
  const auto record = json::decode<std::shared_ptr<ZVConfig>>(*text);
  if (!record) return "config." + record.error().text();
  for (const auto& [name, setting] : *object) {
    if (json::RecordOf<ZVConfig>::get().find(name) == nullptr) {
      return "config." + name + ": unknown";
    }
    config.set(name, setting);
  }
  return {};
}

Complaint readWords(const json::Value& value, std::vector<std::string>& words) {
  const auto* list = value.as<json::Array>();
  if (list == nullptr) return "naughtyWords: expected a list";
  words.clear();
  for (const auto& element : *list) {
    const auto* word = element.as<std::string>();
    if (word == nullptr) {
      return "naughtyWords[" + std::to_string(words.size()) + "]: expected text";
    }
    words.push_back(*word);
  }
  return {};
}

Complaint readList(const json::Value& value, const EntryKind& kind,
                   std::vector<Arguments>& entries) {
  const std::string name(kind.list);
  if (auto complaint = readEntries(value, name, kind.parameters, entries)) return complaint;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (const auto problem = problemOf(entries[i])) {
      return name + "[" + std::to_string(i) + "]: " + problem->message;
    }
  }
  return {};
}

Complaint readSetting(const std::string& name, const json::Value& value, Settings& settings) {
  if (name == "naughtyWords") return readWords(value, settings.naughtyWords);
  if (name == "config") return readConfig(value, settings.config);
  if (name == "tags") return readTags(value, settings.tags);
  if (name == "gifts") return readGifts(value, settings.gifts);
  return name +
         ": unknown; expected naughtyWords, config, tags, gifts, members, streams or products";
}

Complaint readMember(const std::string& name, const json::Value& value, Seed& seed) {
  if (name == memberEntries().list) return readList(value, memberEntries(), seed.members);
  if (name == streamEntries().list) return readList(value, streamEntries(), seed.streams);
  if (name == productEntries().list) return readList(value, productEntries(), seed.products);
  seed.written.set(name, value);
  return readSetting(name, value, seed.settings);
}

}  // namespace

Result<Seed, std::string> readSeed(const std::filesystem::path& file) {
  if (file.empty()) return Seed{};
  const auto content = contentOf(file);
  if (!content) return Failure{content.error()};
  const auto value = json::decode<json::Value>(*content);
  if (!value) return Failure{"it is not JSON: " + value.error().text()};
  const auto* object = value->as<json::Object>();
  if (object == nullptr) return Failure{std::string("it is not a JSON object")};
  Seed seed;
  for (const auto& [name, member] : *object) {
    if (auto complaint = readMember(name, member, seed)) return Failure{*std::move(complaint)};
  }
  return seed;
}

std::string unusableSeed(const std::filesystem::path& file, const std::string& why) {
  return "cannot use \"" + file.string() + "\" as the seed file: " + why;
}

}  // namespace zavelo::sandbox
