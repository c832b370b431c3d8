#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/result.hpp"
#include "zavelo/json/value.hpp"
#include "zavelo/testing/fault.hpp"

namespace zavelo::testing {

// Faults as JSON, the same for the sandbox (`zavelo sandbox --faults FILE`, POST /sandbox/faults)
// and for the scripted HTTP session. docs/faults.md has the form.
//
//     {"faults": [{"endpoint": "/api/users/search", "fault": "delay", "milliseconds": 300},
//                 {"endpoint": "*", "fault": "unauthorized", "after": 5, "count": 2}]}
//
// A script of one fault may be that fault's object. What is unknown, missing or out of range is
// refused with its place: `faults[1]: "count": must be from 1 to 1000000`.

using FaultScript = Result<std::vector<Fault>, std::string>;

[[nodiscard]] ZAVELO_EXPORT FaultScript readFaults(std::string_view text);
[[nodiscard]] ZAVELO_EXPORT FaultScript readFaults(const json::Object& script);
/// The file's content; an error says why it cannot be read, too.
[[nodiscard]] ZAVELO_EXPORT FaultScript readFaultFile(const std::filesystem::path& file);

/// The fault as it stands in a script.
[[nodiscard]] ZAVELO_EXPORT json::Object scriptOf(const Fault& fault);

}  // namespace zavelo::testing
