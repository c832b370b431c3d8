#include "tools/zavelo/operations/catalogue.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>

#include "tools/zavelo/arguments/argument_note.hpp"
#include "tools/zavelo/arguments/option_name.hpp"

namespace zavelo::command {
namespace {

using Names = std::vector<std::string>;

std::string headerText(const std::string& header) {
  std::ifstream file(std::string(ZAVELO_SOURCE_DIR "/zavelo/") + header);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The parameters' names of a declaration, the completion left out.
Names parameterNames(const std::string& parameters) {
  const std::regex name(R"(\b(?!completion$)\w+(?=,|$))");
  return {std::sregex_token_iterator(parameters.begin(), parameters.end(), name), {}};
}

/// The operations that a service's header declares between its shared accessor and what other
/// parts of the library ask of it.
std::multimap<std::string, Names> declaredOperations(const std::string& header,
                                                     const std::string& end) {
  const std::string all = headerText(header);
  const auto begin = all.find("shared();") + 9;
  const auto text =
      std::regex_replace(all.substr(begin, all.find(end) - begin), std::regex("//[^\n]*"), "");
  std::multimap<std::string, Names> operations;
  const std::regex declaration(R"((\w+)\(([^;{]*)\)[^;{)]*;)");
  for (auto at = std::sregex_iterator(text.begin(), text.end(), declaration);
       at != std::sregex_iterator(); ++at)
    operations.emplace((*at)[1], parameterNames((*at)[2]));
  return operations;
}

std::multimap<std::string, Names> listedOperations(const Group& group) {
  std::multimap<std::string, Names> operations;
  for (const auto& operation : group.operations) {
    Names names;
    for (const auto& argument : operation.arguments) names.emplace_back(argument.name);
    operations.emplace(operation.name, names);
  }
  return operations;
}

TEST(Catalogue, ListsEveryOperationOfTheServicesWithItsArguments) {
  const auto expectListed = [](const Group& group, const std::string& end, std::size_t count) {
    const auto declared =
        declaredOperations("services/" + std::string(group.name) + "_service.hpp", end);
    EXPECT_EQ(declared.size(), count) << group.name;
    EXPECT_EQ(listedOperations(group), declared);
  };
  expectListed(userGroup(), "// The same with", 18);
  expectListed(settingGroup(), " private:", 3);
  expectListed(streamGroup(), "// The same with", 28);
  expectListed(productGroup(), " private:", 6);
}

TEST(Catalogue, CallsEveryEndpointByItsName) {
  const auto group = callGroup();
  const auto header = headerText("api/api.hpp");
  EXPECT_EQ(group.operations.size(), 49U);
  for (const auto& operation : group.operations)
    EXPECT_THAT(header, testing::HasSubstr("    " + std::string(operation.name) + ",\n"));
}

TEST(Catalogue, GivesEachSubcommandANameOfItsOwnAndEachArgumentHelp) {
  for (const auto& group : catalogue()) {
    std::vector<std::string> names;
    for (const auto& operation : group.operations) {
      names.push_back(kebabCase(operation.name));
      for (const auto& argument : operation.arguments)
        EXPECT_FALSE(noteOf(argument.name).help.empty()) << argument.name;
    }
    std::ranges::sort(names);
    EXPECT_EQ(std::ranges::adjacent_find(names), names.end()) << group.name;
  }
}

TEST(OptionName, SeparatesWordsAndKeepsAbbreviationsTogether) {
  EXPECT_EQ(kebabCase("searchForUser"), "search-for-user");
  EXPECT_EQ(kebabCase("getStreamDetailWithPWD"), "get-stream-detail-with-pwd");
  EXPECT_EQ(kebabCase("parseJSONText"), "parse-json-text");
  EXPECT_EQ(kebabCase("getSettingsConfigV1"), "get-settings-config-v1");
}

TEST(GiftGroup, ShowsAPersonTheStoreByCategory) {
  const auto store = giftGroup().operations.front();
  EXPECT_EQ(store.readable(R"({"totalGold":7,"gifts":[
                {"giftId":1,"giftName":"Rose","costGold":5,"giftCategoryName":"Hot",
                 "giftCategoryOrderIndex":2},
                {"giftName":"Car\u001b","costBean":3}]})"),
            "you have 7 gold, 0 bean\nwithout a category\n  ?  Car\\x1b  3 bean\n"
            "Hot\n  1  Rose  5 gold\n");
  EXPECT_EQ(store.readable("{}"), "you have 0 gold, 0 bean\n");
}

// Whoever drives the catalogue with JSON gets the same care as a person at a terminal.

std::string faultOf(std::string_view name, const json::Object& arguments) {
  static const Group group = userGroup();
  const auto& operation = *std::ranges::find(group.operations, name, &Operation::name);
  const auto call = operation.invoke(operation.arguments, arguments,
                                     [](const JsonResult&) { FAIL() << "was carried out"; });
  return call ? "" : call.error().argument + ": " + call.error().reason;
}

TEST(Operation, RefusesArgumentsThatAreMissingWrongOrUnknown) {
  EXPECT_EQ(faultOf("setUser", {}), "user: missing");
  EXPECT_EQ(faultOf("setUser", {{"user", nullptr}}), "user: missing");
  EXPECT_EQ(faultOf("setUser", {{"user", json::Object{{"guestId", "x"}}}}),
            "user: guestId: expected integer");
  EXPECT_EQ(faultOf("saveNaughtyWords", {{"words", json::Array{"a", 1}}}),
            "words: [1]: expected text");
  EXPECT_EQ(faultOf("isLogin", {{"extra", 1}}), "extra: unknown argument");
}

}  // namespace
}  // namespace zavelo::command
