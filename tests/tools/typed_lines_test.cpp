#include "tools/zavelo/terminal/typed_lines.hpp"

#include <gmock/gmock.h>

#include "tools/zavelo/chat/chat_screen.hpp"

namespace zavelo::command {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TypedLines, AreCutWhereverThePiecesEnd) {
  TypedLines reading;
  EXPECT_THAT(reading.take("a\r\nb"), ElementsAre("a"));
  EXPECT_THAT(reading.take("c\n\nd"), ElementsAre("bc", ""));
  EXPECT_EQ(reading.last(), "d");
  EXPECT_EQ(reading.last(), "");
  EXPECT_THAT(reading.take(std::string(1024 * 1024 + 1, 'x')),
              ElementsAre(std::string(1024 * 1024, 'x')));
}

TEST(LineEditor, TakesCharactersBackAsAPersonSeesThem) {
  LineEditor editor;
  EXPECT_THAT(editor.take("we e\u0301\U0001F469\u200D\U0001F692\x7f\x7f\x7f"), IsEmpty());
  EXPECT_EQ(editor.text(), "we");
  EXPECT_THAT(editor.take("\x7f\x7f\x7f"
                          "hi\rnext\x17"),
              ElementsAre("hi"));
  EXPECT_EQ(editor.text(), "");
  EXPECT_THAT(editor.take("one two  \x17\x1b[1;5D\x1bOA\x01\tx\x15y\n"), ElementsAre("y"));
  EXPECT_THAT(editor.take("a\x04\n"), ElementsAre("a"));
  EXPECT_FALSE(editor.isEnded());
  EXPECT_THAT(editor.take("\x04"), IsEmpty());
  EXPECT_TRUE(editor.isEnded());
}

TEST(ChatScreen, ShowsTheEndOfWhatDoesNotFit) {
  EXPECT_EQ(fittingEnd("hello", 9), "hello");
  EXPECT_EQ(fittingEnd("hello", 3), "llo");
  EXPECT_EQ(fittingEnd("a\u4f60b", 2), "b");
  EXPECT_EQ(fittingEnd("a\u4f60b", 3), "\u4f60b");
  EXPECT_EQ(fittingEnd("hello", 0), "");
}

}  // namespace
}  // namespace zavelo::command
