#include "zavelo/core/error.hpp"

#include <gtest/gtest.h>

#include "zavelo/base/completion.hpp"

namespace zavelo {
namespace {

TEST(ZVErrorDescription, AddsWhatIsPresent) {
  EXPECT_EQ(ZVError::rtm("login failed").description(), "rtm: login failed");
  EXPECT_EQ(ZVError::rtc("x", 0, "").description(), "rtc: x, code: 0, extra: ");
  EXPECT_EQ(ZVError::fail("y", -5, "z").description(), "y, code: -5, extra: z");
  EXPECT_EQ((ZVError{ZVErrorType::unknown()}).description(), "unknown error");
}

TEST(CompletionDeathTest, StopsWhoeverLosesOrRepeatsAnAnswer) {
#ifdef NDEBUG
  GTEST_SKIP() << "checked in debug builds";
#endif
  EXPECT_DEATH({ Completion<int> lost([](int) {}); }, "lost without an answer");
  EXPECT_DEATH(
      {
        Completion<int> twice([](int) {});
        std::move(twice)(1);
        std::move(twice)(2);
      },
      "answered twice");
  Completion<int> dropped([](int) { FAIL(); });
  std::move(dropped).drop();
}

}  // namespace
}  // namespace zavelo
