#include <utility>

#include "tools/zavelo/chat/message_inspection.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/readable.hpp"
#include "tools/zavelo/terminal/standard_input.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

std::string jsonLine(const MessageInspection& inspection) {
  const auto orNull = [](const auto& part) { return part ? json::Value(*part) : json::Value(); };
  const auto line = json::encode(json::Value(
      json::Object{{"kind", inspection.kind.empty() ? json::Value() : json::Value(inspection.kind)},
                   {"envelope", orNull(inspection.envelope)},
                   {"record", orNull(inspection.record)},
                   {"fault", orNull(inspection.fault)}}));
  return line ? line.value() : "null";
}

/// A layer under its name, indented.
std::string layerText(const std::string& name, const std::optional<json::Value>& layer) {
  if (!layer) return name + "  none\n";
  std::string text = name + "\n  ";
  for (const char c : json::prettyText(*layer)) {
    text += c;
    if (c == '\n') text += "  ";
  }
  return text + "\n";
}

std::string readable(const MessageInspection& inspection) {
  const std::string all = "kind  " + (inspection.kind.empty() ? "none" : inspection.kind) + "\n" +
                          layerText("envelope", inspection.envelope) +
                          layerText("record", inspection.record);
  std::string shown;
  for (std::size_t at = 0; at < all.size();) {
    const auto end = all.find('\n', at);
    shown += printable(std::string_view(all).substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return shown;
}

}  // namespace

int runInspect(const InspectRequest& request, const Output& output) {
  std::string text = request.text;
  if (text == "-") {
    auto input = readStandardInput();
    if (!input) return output.usageError({"TEXT: " + input.error(), request.help});
    text = std::move(input).value();
  }
  const auto inspection = inspect(text);
  const auto status = output.result(jsonLine(inspection), readable(inspection));
  if (status != succeeded || !inspection.fault) return status;
  return output.error("inspect", *inspection.fault);
}

}  // namespace zavelo::command
