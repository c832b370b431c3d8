#include "tools/zavelo/operations/page_walk.hpp"

#include <gtest/gtest.h>

namespace zavelo::command {
namespace {

TEST(PageWalk, JoinsThePagesAndKeepsWhatTheLastOneSays) {
  PageWalk walk;
  EXPECT_EQ(walk.take(R"({"result":[1,2],"nextId":7,"isEnd":false,"totalRecords":3})", 0).value(),
            7);
  EXPECT_EQ(walk.progress(), "1 page, 2 of 3");
  EXPECT_EQ(walk.take(R"({"result":[3],"nextId":9,"isEnd":true})", 7).value(), std::nullopt);
  EXPECT_EQ(walk.all().value(), R"({"result":[1,2,3],"nextId":9,"isEnd":true})");
}

TEST(PageWalk, EndsWherePagesLeadNowhereOrInARing) {
  PageWalk walk;
  EXPECT_EQ(walk.take(R"({"nextId":2})", 1).value(), 2);
  EXPECT_EQ(walk.take(R"({"nextId":1})", 2).error().detail,
            "nextId: leads back to a page that was read");
  EXPECT_EQ(walk.take("{}", 3).error().detail, "nextId: missing in a page that is not the last");
  EXPECT_EQ(walk.take("null", 3).error().detail, "expected a page");
}

}  // namespace
}  // namespace zavelo::command
