#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// Writes a file, for its owner alone, in place of the one that may be there: whatever happens
/// at the same time, the file is the whole of one of them. The error is a sentence for a person.
[[nodiscard]] Status<std::string> replaceFile(const std::filesystem::path& file,
                                              std::string_view content);

}  // namespace zavelo::command
