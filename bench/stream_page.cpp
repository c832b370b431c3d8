#include "bench/stream_page.hpp"

#include <algorithm>
#include <vector>

#include "zavelo/json/json.hpp"

namespace zavelo::bench {
namespace {

// Lengths and values vary, so that no contender profits from guessing them.
class Filler {
 public:
  void operator()(std::string_view, std::optional<std::int64_t>& field) {
    // Flags and small codes, counts, and a few identifiers.
    const auto kind = next() % 20;
    const std::uint64_t below = kind < 10 ? 3 : kind < 17 ? 100'000 : 10'000'000'000;
    field = static_cast<std::int64_t>(next() % below);
  }
  void operator()(std::string_view, std::optional<bool>& field) { field = next() % 2 == 0; }
  void operator()(std::string_view name, std::optional<std::string>& field) {
    field = std::string(name) + " ";
    const auto size = next() % 60;
    while (field->size() < size) *field += "live stream ";
    if (next() % 8 == 0) *field += "\"caf\u00e9\" \U0001F525\n";
  }
  void operator()(std::string_view, std::optional<ZVStreamServiceType>& field) {
    field = fromRawValue<ZVStreamServiceType>(static_cast<std::int64_t>(next() % 4));
  }
  void operator()(std::string_view, std::shared_ptr<ZVPublisher>& field) {
    field = std::make_shared<ZVPublisher>();
    FieldsOf<ZVPublisher>::forEach(*field,
                                   [this](auto name, auto& inner) { (*this)(name, inner); });
  }

 private:
  std::uint64_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_ >> 2;
  }
  std::uint64_t state_ = 88172645463325252u;
};

ZVUserStream streamPage(std::size_t streams) {
  ZVUserStream page;
  page.result.emplace();
  page.nextId = 42;
  page.isEnd = false;
  Filler fill;
  for (std::size_t i = 0; i < streams; ++i) {
    auto stream = std::make_shared<ZVStream>();
    FieldsOf<ZVStream>::forEach(*stream, [&](auto name, auto& field) { fill(name, field); });
    page.result->push_back(std::move(stream));
  }
  return page;
}

/// Gives every object below a value another shape.
class Reshaping {
 public:
  explicit Reshaping(PageShape shape) : shape_(shape) {}

  json::Value operator()(const json::Value& value) {
    if (const auto* list = value.as<json::Array>()) {
      json::Array shaped;
      for (const json::Value& element : *list) shaped.push_back((*this)(element));
      return shaped;
    }
    const auto* object = value.as<json::Object>();
    return object != nullptr ? members(*object) : value;
  }

 private:
  using Members = std::vector<json::Object::Member>;

  json::Value members(const json::Object& object) {
    Members shaped;
    for (const auto& [key, value] : object) {
      ++count_;
      if (shape_ == PageShape::absent && !isKept(value)) continue;
      shaped.emplace_back(key, (*this)(value));
      if (shape_ == PageShape::unknown && count_ % 3 == 0) shaped.push_back(unknown(key));
    }
    if (shape_ == PageShape::reordered)
      std::ranges::sort(shaped, {}, [](const auto& member) {
        return std::pair(std::hash<std::string>()(member.first), member.first);
      });
    return json::Object(std::move(shaped));
  }

  // Which half differs from stream to stream; the page keeps its list, and a stream its publisher.
  bool isKept(const json::Value& value) {
    mix_ = mix_ * 6364136223846793005u + 1442695040888963407u;
    return value.as<json::Array>() || value.as<json::Object>() || (mix_ >> 63) != 0;
  }

  json::Object::Member unknown(const std::string& key) const {
    const json::Value values[] = {"a text that no field takes",
                                  json::Object{{"id", count_}, {"name", "inner \"text\""}},
                                  true,
                                  json::Array{1, 2.5, "three"},
                                  1'700'000'000,
                                  nullptr};
    return {key + "Extra", values[count_ / 3 % std::size(values)]};
  }

  PageShape shape_;
  std::int64_t count_ = 0;
  std::uint64_t mix_ = 1;
};

}  // namespace

std::string streamPageText(std::size_t streams, PageShape shape) {
  const std::string declared = *json::encode(streamPage(streams));
  if (shape == PageShape::declared) return declared;
  return *json::encode(Reshaping(shape)(*json::decode<json::Value>(declared)));
}

}  // namespace zavelo::bench
