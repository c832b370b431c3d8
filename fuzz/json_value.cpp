#include "fuzz/fuzz.hpp"
#include "tests/support/json_oracle.hpp"
#include "zavelo/json/json.hpp"

// Any JSON, against an independent reader.

void zavelo::fuzz::run(std::string_view input) {
  const std::string text(input);
  require(test::jsonDisagreement(text).empty(), "two readers agree");

  const auto value = json::decode<json::Value>(text);
  if (!value) return;
  const auto written = json::encode(*value);
  require(written.hasValue(), "what was read can be written");
  require(json::decode<json::Value>(*written).value() == *value, "it reads back the same");
  require(json::decode<json::Value>(json::prettyText(*value)).value() == *value,
          "so does what was written for a person");
}
