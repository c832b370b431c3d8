#pragma once

#include <string_view>

// One input of a fuzz target. fuzz/<target>.cpp defines `run`; main.cpp hands it the inputs: those
// that libFuzzer makes up, or in an ordinary build the files of fuzz/corpus/<target>.

namespace zavelo::fuzz {

/// Reads one input. Whatever it is, nothing crashes, and every `require` holds.
void run(std::string_view input);

/// Ends the process when a property does not hold.
void require(bool holds, const char* property);

/// Takes the first byte of an input as a choice; 0 at its end.
inline unsigned takeByte(std::string_view& input) {
  if (input.empty()) return 0;
  const auto byte = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  return byte;
}

/// Takes the first line of an input, without its end.
inline std::string_view takeLine(std::string_view& input) {
  const auto end = input.find('\n');
  const auto line = input.substr(0, end);
  input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
  return line;
}

}  // namespace zavelo::fuzz
