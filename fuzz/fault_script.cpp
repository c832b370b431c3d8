#include "zavelo/testing/fault_script.hpp"

#include "fuzz/fuzz.hpp"

// A script of faults.

void zavelo::fuzz::run(std::string_view input) {
  const auto faults = testing::readFaults(input);
  if (!faults) return require(!faults.error().empty(), "a mistake is described");
  json::Array written;
  for (const auto& fault : *faults) written.emplace_back(testing::scriptOf(fault));
  require(testing::readFaults(json::Object{{"faults", std::move(written)}}).value() == *faults,
          "what was written reads back the same");
}
