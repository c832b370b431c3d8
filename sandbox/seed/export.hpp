#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

struct ExportOptions {
  std::filesystem::path state;   ///< the file of a sandbox that does not run; it stays as it is
  std::filesystem::path seed{};  ///< whose settings go along, a run's own; empty: none do
  bool withPictures = false;     ///< of members, streams and products: inside the text
};

/// What a state holds, as a seed for other ones.
struct ExportedSeed {
  std::string text;  ///< indented JSON that a sandbox takes as its seed file
  std::size_t members = 0;
  std::size_t streams = 0;
  std::size_t products = 0;
  /// What the seed does not carry, or not as it was: a sentence each, for a person.
  std::vector<std::string> notes;
};

/// Who and what is there, not what they did: docs/sandbox.md has the line between. Loaded into an
/// empty state and exported again in the same way, it is the same text. The error is one sentence
/// for a person.
[[nodiscard]] Result<ExportedSeed, std::string> exportSeed(const ExportOptions& options);

class Database;
struct RunSettings;

/// The same of a state in use.
[[nodiscard]] Result<ExportedSeed, std::string> exportSeed(Database& database,
                                                           const RunSettings& settings,
                                                           bool withPictures);

}  // namespace zavelo::sandbox
