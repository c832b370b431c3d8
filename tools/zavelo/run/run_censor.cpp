#include <memory>
#include <utility>

#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/library.hpp"
#include "tools/zavelo/terminal/standard_input.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/services/profanity_filter.hpp"

namespace zavelo::command {
namespace {

/// The text that was given, or what the standard input holds; the line break that ends it is the
/// shell's.
Result<std::string, std::string> textOf(const CensorRequest& request) {
  if (request.text != "-") return request.text;
  auto input = readStandardInput();
  if (!input) return input;
  std::string text = *std::move(input);
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string censored(std::string text, bool isAttributed) {
  if (!isAttributed) return ZVProfanityFilter::censored(text);
  return ZVProfanityFilter::censored(std::make_shared<const ZVAttributedString>(std::move(text)))
      ->text();
}

}  // namespace

int runCensor(const CensorRequest& request, const GlobalOptions& options, const Output& output) {
  const auto text = textOf(request);
  if (!text) return output.usageError({"TEXT: " + text.error(), request.help});
  const Library library = Library::start(options, output);
  if (const auto failure = library.store->failure()) return output.error("store", *failure);

  const std::string masked = censored(text.value(), request.isAttributed);
  const auto line = json::encode(json::Value(masked));
  if (!line) return output.usageError({"TEXT: expected UTF-8", request.help});
  return output.result(line.value(), masked + "\n");
}

}  // namespace zavelo::command
