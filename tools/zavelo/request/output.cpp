#include "tools/zavelo/request/output.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/zavelo/arguments/option_name.hpp"
#include "tools/zavelo/terminal/readable.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

// In one piece, so that lines of several processes do not mix.
void toStandardError(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

/// An argument or a file's name need not be UTF-8, which JSON must be.
std::string ascii(std::string_view text) {
  std::string spelled;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    spelled += byte < 0x80 ? std::string(1, c) : byteText(byte);
  }
  return spelled;
}

std::string_view caseNameOf(ZVAPIErrorType type) {
  return caseName(type);
}

}  // namespace

Output::Output(bool json) : jsonErrors_(json), jsonResults_(json || isatty(STDOUT_FILENO) == 0) {}

ExitStatus Output::result(const std::string& json) const {
  if (jsonResults_) return text(json + "\n");
  const auto value = json::decode<json::Value>(json);
  return text(value ? readableText(*value) : json + "\n");
}

ExitStatus Output::result(const std::string& json, std::string_view text) const {
  return this->text(jsonResults_ ? json + "\n" : std::string(text));
}

ExitStatus Output::text(std::string_view text) const {
  const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (isWritten && std::fflush(stdout) == 0) return succeeded;
  return error("output", std::string("cannot write to standard output: ") + std::strerror(errno));
}

ExitStatus Output::error(const ZVAPIError& error,
                         const std::vector<std::string>& notifications) const {
  const std::string type(caseNameOf(error.type));
  json::Object object{
      {"type", type}, {"code", rawValue(error.type)}, {"description", error.description}};
  std::string text =
      type + " (" + std::to_string(rawValue(error.type)) + "): " + printable(error.description);
  if (!error.detail.empty()) {
    object.set("detail", error.detail);
    text += "\n  at " + printable(error.detail);
  }
  if (!notifications.empty()) {
    object.set("notifications", json::Array(notifications.begin(), notifications.end()));
    for (const auto& name : notifications) text += "\n  posted " + name;
  }
  writeError(object, text);
  return failed;
}

ExitStatus Output::error(std::string_view type, const std::string& description) const {
  writeError({{"type", type}, {"description", description}},
             std::string(type) + ": " + printable(description));
  return failed;
}

ExitStatus Output::usageError(const UsageError& error) const {
  writeError({{"type", "usage"}, {"description", error.description}},
             printable(error.description) + "\n  see " + error.help);
  return wrongUsage;
}

ExitStatus Output::usageError(const ArgumentError& error, const std::string& help) const {
  return usageError({"--" + kebabCase(error.argument) + ": " + error.reason, help});
}

void Output::writeError(const json::Object& error, const std::string& text) const {
  if (!jsonErrors_) return toStandardError("error: " + text + "\n");
  auto line = json::encode(json::Value(json::Object{{"error", error}}));
  if (!line) {
    json::Object spelled = error;
    spelled.set("description", ascii(*error.find("description")->as<std::string>()));
    line = json::encode(json::Value(json::Object{{"error", std::move(spelled)}}));
  }
  toStandardError((line ? *line : ascii(text)) + "\n");
}

void Output::warning(const std::string& text) const {
  toStandardError("warning: " + printable(text) + "\n");
}

}  // namespace zavelo::command
