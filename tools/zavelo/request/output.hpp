#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/zavelo/operations/operation.hpp"
#include "tools/zavelo/request/request.hpp"

namespace zavelo::command {

enum ExitStatus : int { succeeded = 0, failed = 1, wrongUsage = 2 };

/// Where results and errors go: results alone to standard output, as one line of JSON or, on a
/// terminal, for a person; errors to standard error, as JSON only when it was asked for. Each
/// returns the exit status that follows.
class Output {
 public:
  explicit Output(bool json);

  /// Whether results are for a person at a terminal.
  [[nodiscard]] bool isForPerson() const { return !jsonResults_; }

  /// `json` is the result as one line.
  [[nodiscard]] ExitStatus result(const std::string& json) const;
  /// For a person the text in place of the JSON.
  [[nodiscard]] ExitStatus result(const std::string& json, std::string_view text) const;

  /// A text for a person, whatever the form of results.
  [[nodiscard]] ExitStatus text(std::string_view text) const;

  /// `notifications` are those that the call has posted.
  ExitStatus error(const ZVAPIError& error,
                   const std::vector<std::string>& notifications = {}) const;
  /// Of something else than a call: `type` is one word, "store".
  ExitStatus error(std::string_view type, const std::string& description) const;
  ExitStatus usageError(const UsageError& error) const;
  ExitStatus usageError(const ArgumentError& error, const std::string& help) const;

  /// Something to know beside the result.
  void warning(const std::string& text) const;

 private:
  void writeError(const json::Object& error, const std::string& text) const;

  bool jsonErrors_;
  bool jsonResults_;
};

}  // namespace zavelo::command
