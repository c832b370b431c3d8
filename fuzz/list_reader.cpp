#include "zavelo/json/list_reader.hpp"

#include <algorithm>
#include <vector>

#include "fuzz/fuzz.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/models/user.hpp"

// A list read through a window against the same list read whole. The first byte chooses how much
// is put before the input, so that a window may end anywhere in it.

namespace zavelo::fuzz {
namespace {

constexpr std::size_t window = std::size_t{256} * 1024;

std::string listOf(unsigned choice, std::string_view input) {
  if (choice % 8 != 0) return std::string(input);
  const std::size_t before = window - std::min(input.size(), std::size_t{choice} * 4);
  const std::string element = "{\"userName\":\"" + std::string(8000, 'x') + "\"},";
  std::string text = "[";
  while (text.size() + element.size() < before) text += element;
  text.append(before - text.size(), ' ');
  return text.append(input);
}

class Dripping final : public json::TextSource {
 public:
  Dripping(std::string_view text, std::size_t piece) : text_(text), piece_(piece) {}
  std::optional<std::size_t> read(char* room, std::size_t size) override {
    const std::size_t count = text_.copy(room, std::min(size, piece_));
    text_.remove_prefix(count);
    return count;
  }

 private:
  std::string_view text_;
  std::size_t piece_;
};

}  // namespace

void run(std::string_view input) {
  const unsigned choice = takeByte(input);
  const std::string text = listOf(choice, input);
  Dripping source(text, choice % 3 == 0 ? 3000 : text.size() + 1);
  std::vector<ZVUser> users;
  const auto error =
      json::decodeEach<ZVUser>(source, [&](ZVUser& user) { users.push_back(std::move(user)); });
  const auto whole = json::decode<std::vector<ZVUser>>(text);
  require(!error == whole.hasValue(), "both readers agree on whether it is a list");
  if (!error)
    require(json::encode(users).value() == json::encode(*whole).value(), "and on what it has");
}

}  // namespace zavelo::fuzz
