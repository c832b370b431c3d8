#include "zavelo/testing/fault_script.hpp"

#include <gtest/gtest.h>

#include <utility>

#include "zavelo/json/json.hpp"
#include "zavelo/testing/fault_plan.hpp"

namespace zavelo::testing {
namespace {

TEST(FaultScript, IsReadAsItIsWritten) {
  const std::vector<Fault> faults{
      {.endpoint = "/api/users/search", .delay = std::chrono::milliseconds(300)},
      {.kind = FaultKind::code, .after = 2, .count = 3, .code = -5, .message = "Später"},
      {.kind = FaultKind::invalidJson}};
  json::Array list;
  for (const auto& fault : faults) list.emplace_back(scriptOf(fault));
  EXPECT_EQ(readFaults(json::Object{{"faults", list}}).value(), faults);
  EXPECT_EQ(readFaults(scriptOf(faults[1])).value(), std::vector{faults[1]});
}

TEST(FaultScript, MistakeIsNamedWithItsPlace) {
  const std::pair<const char*, const char*> mistakes[] = {
      {"[]", "it is not a JSON object"},
      {"{}", R"("fault": missing)"},
      {R"({"faults":{}})", R"("faults": expected a list)"},
      {R"({"faults":[],"seed":1})", R"(beside "faults" nothing may stand)"},
      {R"({"faults":[7]})", "faults[0]: expected an object"},
      {R"({"faults":[{"endpoint":"*","fault":"cut"},{"fault":"cut"}]})",
       R"(faults[1]: "endpoint": missing)"},
      {R"({"endpoint":"users/search","fault":"cut"})",
       R"("endpoint": expected "*" or a path under /api/)"},
      {R"({"endpoint":"*","fault":"delay"})", R"("milliseconds": missing)"},
      {R"({"endpoint":"*","fault":"cut","code":1})", R"("code": belongs to the fault "code")"},
      {R"({"endpoint":"*","fault":"cut","count":0})", R"("count": must be from 1 to 1000000)"},
      {R"({"endpoint":"*","fault":"cut","after":"2"})", R"("after": expected integer)"},
      {R"({"endpoint":"*","fault":"cut","times":2})", R"("times": unknown)"},
  };
  for (const auto& [text, complaint] : mistakes) {
    const auto faults = readFaults(text);
    EXPECT_EQ(faults ? "" : faults.error(), complaint) << text;
  }
  EXPECT_TRUE(readFaults("{").error().starts_with("it is not JSON: "));
}

TEST(FaultPlan, CallMeetsTheOldestFaultThatFitsOnceItsTurnHasCome) {
  FaultPlan plan;
  plan.add({{.endpoint = "/api/a", .kind = FaultKind::cut, .after = 1, .count = 2},
            {.endpoint = "*", .kind = FaultKind::refuse}});
  const auto kindAt = [&](const char* path) {
    const auto fault = plan.take(path);
    return fault ? nameOf(fault->kind) : "none";
  };
  EXPECT_EQ(kindAt("/media/a"), "none");
  EXPECT_EQ(kindAt("/api/a"), "refuse");  // the first call that the other rule lets pass
  EXPECT_EQ(kindAt("/api/b"), "none");
  EXPECT_EQ(kindAt("/api/a"), "cut");
  EXPECT_EQ(plan.pending().at(0).count, 1);
  EXPECT_EQ(kindAt("/api/a"), "cut");
  EXPECT_TRUE(plan.pending().empty());
}

}  // namespace
}  // namespace zavelo::testing
