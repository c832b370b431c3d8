#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/json_oracle.hpp"

// Our reader and an independent one must agree on what is JSON, and on what it says.

namespace zavelo {
namespace {

using test::jsonDisagreement;

const std::vector<std::string>& seeds() {
  static const std::vector<std::string> texts{
      R"({"code":1,"data":{"result":[{"userId":-7,"doB":"","isBlock":true,"x":null}],"nextId":0}})",
      R"([1,-0,0.5,1e5,-1.25E-3,12345678901234567890,"\u0041\n\\\"\/","",[],{},[[{}]]])",
      "{ \"a\" : [ true , false ,\n null ] ,\t\"caf\u00e9 \U0001F600\" : "
      "\"\U0001F525\\ud83d\\ude00\" }",
      R"("a text alone")",
      R"({"k":1,"k":2,"":{"deep":[[[[[[[["x"]]]]]]]]}})",
      " 42 ",
  };
  return texts;
}

TEST(DifferentialJson, AgreesOnSeedsAndHandPickedTexts) {
  for (const std::string& text : seeds()) EXPECT_EQ(jsonDisagreement(text), "") << text;
  const std::string nul = std::string("[1") + '\0' + "]";
  for (const std::string& text : {nul,
                                  std::string("[1,]"),
                                  std::string("{,}"),
                                  std::string("[1 2]"),
                                  std::string("{\"a\" 1}"),
                                  std::string("\"\"x"),
                                  std::string("\"a\"\"b\""),
                                  std::string("tru\"e\""),
                                  std::string("1\"a\""),
                                  std::string("[\"\t\"]"),
                                  std::string("- 1"),
                                  std::string("[01]"),
                                  std::string("[.5]"),
                                  std::string("[1.]"),
                                  std::string("{\"a\":1}}"),
                                  std::string("[nulll]"),
                                  std::string("\\"),
                                  std::string("[\"\\u12G4\"]"),
                                  std::string("[\"\\x\"]"),
                                  std::string("]"),
                                  std::string("\x7f"),
                                  std::string("\uFEFF[]"),
                                  std::string("\"\\ud83dx\\ude00\\ud83d\\\\ud83d\""),
                                  std::string("[1e999]"),
                                  std::string("[1e-999]")})
    EXPECT_EQ(jsonDisagreement(text), "") << text;
}

TEST(DifferentialJson, AgreesOnAHundredThousandMutations) {
  std::mt19937 random(20261122);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::string alphabet = "{}[]:,\"\\ \n0123456789.eE+-truefalsn\x01\x7f\xc3\xa9\xff/u";
  for (int round = 0; round < 100'000; ++round) {
    std::string text = seeds()[below(seeds().size())];
    for (std::size_t edits = 1 + below(3); edits > 0 && !text.empty(); --edits) {
      const std::size_t at = below(text.size());
      const char c = alphabet[below(alphabet.size())];
      switch (below(4)) {
        case 0:
          text[at] = c;
          break;
        case 1:
          text.insert(at, 1, c);
          break;
        case 2:
          text.erase(at, 1 + below(3));
          break;
        default:
          text.resize(at);
      }
    }
    ASSERT_EQ(jsonDisagreement(text), "") << text;
  }
}

}  // namespace
}  // namespace zavelo
