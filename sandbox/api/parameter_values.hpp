#pragma once

#include <optional>
#include <string>

#include "sandbox/api/parameters.hpp"
#include "sandbox/http/message.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// No value when all is well, else what is wrong.
using Complaint = std::optional<std::string>;

[[nodiscard]] Complaint checkValue(const json::Value& value, const Parameter& parameter);
[[nodiscard]] Complaint checkFile(const FormPart& part, const Parameter& parameter);

/// The value that the text of a form's field means: a form has texts only. A text that is no number
/// where one is expected stays a text.
[[nodiscard]] json::Value valueOfField(const std::string& text, const Parameter& parameter);

/// An integer or a real.
[[nodiscard]] std::optional<double> numberOf(const json::Value& value);

}  // namespace zavelo::sandbox
