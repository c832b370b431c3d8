#include "bench/stream_page.hpp"

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

}  // namespace

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

std::string streamPageText(std::size_t streams) {
  return *json::encode(streamPage(streams));
}

}  // namespace zavelo::bench
