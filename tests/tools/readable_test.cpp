#include "tools/zavelo/terminal/readable.hpp"

#include <gtest/gtest.h>

namespace zavelo::command {
namespace {

TEST(ReadableText, AlignsMembersAndIndentsWhatIsNested) {
  const json::Value value =
      json::Object{{"token", "t"},
                   {"isEnd", true},
                   {"result", json::Array{json::Object{{"name", "Ann"}, {"age", 7}}, 1.5}},
                   {"none", nullptr},
                   {"empty", json::Array{}}};
  EXPECT_EQ(readableText(value),
            "token  t\n"
            "isEnd  yes\n"
            "result\n"
            "  1\n"
            "    name  Ann\n"
            "    age   7\n"
            "  2  1.5\n"
            "none   none\n"
            "empty  none\n");
  EXPECT_EQ(readableText(json::Value()), "none\n");
}

TEST(ReadableText, LetsNoControlCharacterReachTheTerminal) {
  EXPECT_EQ(printable("a\x1b[31m\n\x7f"), "a\\x1b[31m\\x0a\\x7f");
  EXPECT_EQ(printable("\xc2\x9b"
                      "2J \xc3\xa9 \xe2\x82\xac"),
            "\\x9b2J \xc3\xa9 \xe2\x82\xac");
  EXPECT_EQ(readableText(json::Object{{"k\x07", "\x1b"}}), "k\\x07  \\x1b\n");
}

}  // namespace
}  // namespace zavelo::command
