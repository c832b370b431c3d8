#include "tools/zavelo/grammar/command_line.hpp"

#include <vector>

#include "fuzz/fuzz.hpp"

// The arguments of the command, one a line.

void zavelo::fuzz::run(std::string_view input) {
  std::vector<std::string> words{"zavelo"};
  input = input.substr(0, input.find('\0'));
  while (!input.empty()) words.emplace_back(takeLine(input));
  std::vector<const char*> texts;
  for (const auto& word : words) texts.push_back(word.c_str());
  const auto line = command::parseCommandLine(static_cast<int>(texts.size()), texts.data());
  if (line) return require(line->request != nullptr, "a command line asks for something");
  require(!line.error().description.empty() && line.error().help.starts_with("zavelo"),
          "a mistake is described, with where help is");
}
