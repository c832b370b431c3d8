#include "zavelo/json/list_reader.hpp"

#include <gtest/gtest.h>

#include "zavelo/json/json.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo {
namespace {

using Users = std::vector<ZVUser>;

/// Hands a text out in short pieces.
class Dripping final : public json::TextSource {
 public:
  Dripping(std::string_view text, bool fails) : text_(text), fails_(fails) {}
  std::optional<std::size_t> read(char* room, std::size_t size) override {
    if (text_.empty() && fails_) return std::nullopt;
    const std::size_t count = text_.copy(room, std::min<std::size_t>(size, 1000));
    text_.remove_prefix(count);
    return count;
  }

 private:
  std::string_view text_;
  bool fails_;
};

/// The list written again, or why it cannot be read.
Result<std::string, std::string> read(json::TextSource& source) {
  Users users;
  const auto error =
      json::decodeEach<ZVUser>(source, [&](ZVUser& user) { users.push_back(std::move(user)); });
  if (error) return Failure{error->text()};
  return json::encode(users).value();
}

void expectReadAsWhole(json::TextSource& source, const std::string& text) {
  const auto users = json::decode<Users>(text);
  const auto got = read(source);
  ASSERT_EQ(got.hasValue(), users.hasValue());
  if (!users) return;
  EXPECT_EQ(*got, json::encode(*users).value());
}

void expectReadAsWhole(const std::string& text) {
  SCOPED_TRACE(text.substr(0, 200));
  json::TextInMemory source(text);
  expectReadAsWhole(source, text);
}

/// A list of several windows. What looks like the end of an element stands in texts, in a nested
/// list and in an unknown field of each.
std::string longList(std::size_t count) {
  std::string text = " [";
  for (std::size_t i = 0; i < count; ++i) {
    text += i == 0 ? "\n" : " ,\n";
    text += R"({"unknown":[{"a":"}, {"} , {"b":[]},{}],"userName":"x } , { \"}, {\" )" +
            std::string(i % 97, 'y') + "\u00e9\",\"guestId\":" + std::to_string(i) + "}";
  }
  return text + " ] ";
}

TEST(ListReader, ReadsAListOfManyWindowsAsAWholeOneIsRead) {
  const std::string text = longList(12'000);
  ASSERT_GT(text.size(), std::size_t{1024} * 1024);
  expectReadAsWhole(text);
  Dripping source(text, false);
  expectReadAsWhole(source, text);
}

TEST(ListReader, ReadsAnElementThatIsLongerThanAWindow) {
  const std::string large(600'000, 'z');
  expectReadAsWhole(R"([{"userName":")" + large + R"("},{"guestId":1}])");
  std::string nested = R"([{"unknown":[{})";
  for (int i = 0; i < 200'000; ++i) nested += ",{}";
  expectReadAsWhole(nested + R"(],"guestId":1},{"guestId":2}])");
}

TEST(ListReader, FindsTheFaultsThatReadingTheWholeFinds) {
  for (const char* text : {"[]",
                           " [ ] ",
                           "",
                           " ",
                           "[",
                           "[,]",
                           "[{}",
                           "[{},",
                           "[{},]",
                           "[{} {}]",
                           "[{}]]",
                           "[{}],{}",
                           "[{}]x",
                           "{}",
                           "null",
                           "[null]",
                           "[[]]",
                           "[{},{\"guestId\":\"1\"}]",
                           "[{\"guestId\":1",
                           "[{\"userName\":\"\\q\"}]",
                           "[{\"userName\":\"\xFF\"}]",
                           "[{\"userName\":\"a\nb\"}]",
                           "\uFEFF [{}]",
                           "\uFEFF\uFEFF[{}]",
                           "[{\"guestId\":1e999}]",
                           "[{\"unknown\":1e999,\"userName\":\"\\ud83d\"}]"})
    expectReadAsWhole(text);
}

TEST(ListReader, TellsWhichElementOfALongListIsWrong) {
  std::string text = longList(12'000);
  expectReadAsWhole(text.substr(0, text.size() - 3));
  expectReadAsWhole("\uFEFF" + text);
  const auto at = text.find(R"("guestId":7001)");
  text.replace(at, 14, R"("guestId":true)");
  json::TextInMemory source(text);
  EXPECT_EQ(read(source).error(), "[7001].guestId: expected integer");
}

TEST(ListReader, FailsWhereTheSourceFails) {
  Dripping source("[{},", true);
  EXPECT_EQ(read(source).error(), "the text cannot be read");
}

}  // namespace
}  // namespace zavelo
