#include "tools/zavelo/catalogue.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "tools/zavelo/argument_note.hpp"
#include "tools/zavelo/option_name.hpp"

namespace zavelo::command {
namespace {

using Names = std::vector<std::string>;

std::string headerText(const std::string& header) {
  std::ifstream file(std::string(ZAVELO_SOURCE_DIR "/zavelo/") + header);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The parameters' names of a declaration, the completion left out: the last word before each
/// comma outside angle brackets.
Names parameterNames(const std::string& parameters) {
  Names names;
  std::string word;
  int depth = 0;
  for (const char c : parameters + ",") {
    depth += c == '<' ? 1 : c == '>' ? -1 : 0;
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_') {
      word += c;
    } else if (c == ',' && depth == 0) {
      if (!word.empty() && word != "completion") names.push_back(word);
      word.clear();
    } else {
      word.clear();
    }
  }
  return names;
}

/// The operations that a service's header declares between its shared accessor and what other
/// parts of the library ask of it.
std::multimap<std::string, Names> declaredOperations(const std::string& header,
                                                     const std::string& end) {
  std::string text = headerText(header);
  text = text.substr(text.find("shared();") + 9);
  text = text.substr(0, text.find(end));
  text = std::regex_replace(text, std::regex("//[^\n]*"), "");
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

TEST(Catalogue, ListsEveryOperationOfTheUserServiceWithItsArguments) {
  const auto declared =
      declaredOperations("services/user_service.hpp", "// What the API service asks");
  EXPECT_GT(declared.size(), 10U);
  EXPECT_EQ(listedOperations(userGroup()), declared);
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

// Whoever drives the catalogue with JSON gets the same care as a person at a terminal.

const Operation& userOperation(std::string_view name) {
  static const Group group = userGroup();
  return *std::ranges::find(group.operations, name, &Operation::name);
}

std::string faultOf(std::string_view name, const json::Object& arguments) {
  const auto& operation = userOperation(name);
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
