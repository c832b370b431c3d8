#include "sandbox/http/form.hpp"

#include <string>

#include "fuzz/fuzz.hpp"

// A multipart form. The first line is its boundary, or a whole content type; the body follows.

namespace zavelo::fuzz {
namespace {

std::string quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
  return quoted + '"';
}

}  // namespace

void run(std::string_view input) {
  const std::string line(takeLine(input));
  if (line.starts_with("multipart")) return static_cast<void>(sandbox::formParts(line, input));
  const std::string contentType = "multipart/form-data; boundary=" + quoted(line);
  const auto parts = sandbox::formParts(contentType, input);
  if (!parts) return;
  const std::string delimiter = "--" + line;
  std::string written = delimiter;
  for (const auto& part : *parts) {
    written += "\r\nContent-Disposition: form-data; name=" + quoted(part.name) +
               "; filename=" + quoted(part.fileName) + "\r\nContent-Type: " + part.contentType +
               "\r\n\r\n" + part.content + "\r\n" + delimiter;
  }
  const auto again = sandbox::formParts(contentType, written + "--");
  require(again && again->size() == parts->size(), "what was written has the same parts");
  for (std::size_t i = 0; i < parts->size(); ++i) {
    const auto &one = (*parts)[i], &other = (*again)[i];
    require(one.name == other.name && one.fileName == other.fileName &&
                one.contentType == other.contentType && one.content == other.content,
            "each part is the same");
  }
}

}  // namespace zavelo::fuzz
