#include "sandbox/seed/export.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/sandbox_call.hpp"
#include "tools/zavelo/run/sandbox_state.hpp"
#include "tools/zavelo/terminal/file_replacement.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

/// Whether both name one file, which would be lost.
bool isOneFile(const std::filesystem::path& a, const std::filesystem::path& b) {
  std::error_code error;
  return std::filesystem::equivalent(a, b, error);
}

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

ExitStatus announce(const sandbox::ExportedSeed& seed, const std::string& file,
                    const Output& output) {
  const auto line = json::encode(json::Value(json::Object{{"seed", file},
                                                          {"members", seed.members},
                                                          {"streams", seed.streams},
                                                          {"products", seed.products}}));
  return output.result(line ? *line : "{}",
                       counted(seed.members, "member") + ", " + counted(seed.streams, "stream") +
                           " and " + counted(seed.products, "product") + " are in " + file + "\n");
}

Result<sandbox::ExportedSeed, std::string> seedOfFile(const ExportRequest& request) {
  const auto state = sandboxState(request.state);
  if (request.output && isOneFile(state, *request.output))
    return Failure{"the output would replace the state file " + state.string()};
  return sandbox::exportSeed(
      {.state = state, .seed = request.seed.value_or(""), .withPictures = request.withPictures});
}

/// The list of that name; an empty one where there is none.
const json::Array& listIn(const json::Object& object, std::string_view name) {
  static const json::Array none;
  const auto* value = object.find(name);
  const auto* list = value == nullptr ? nullptr : value->as<json::Array>();
  return list == nullptr ? none : *list;
}

Result<sandbox::ExportedSeed, std::string> seedOfRunning(const ExportRequest& request,
                                                         const GlobalOptions& options) {
  const auto data =
      callSandbox(options, request.withPictures ? "/sandbox/seed/pictures" : "/sandbox/seed");
  if (!data) return Failure{data.error()};
  const auto* seed = data->find("seed");
  const auto* content = seed == nullptr ? nullptr : seed->as<json::Object>();
  if (content == nullptr) return Failure{std::string(noSandbox)};
  sandbox::ExportedSeed result{.text = json::prettyText(*seed) + "\n",
                               .members = listIn(*content, "members").size(),
                               .streams = listIn(*content, "streams").size(),
                               .products = listIn(*content, "products").size(),
                               .notes = {}};
  for (const auto& note : listIn(*data, "notes"))
    if (const auto* text = note.as<std::string>()) result.notes.push_back(*text);
  return result;
}

}  // namespace

int runExport(const ExportRequest& request, const GlobalOptions& options, const Output& output) {
  const auto seed = request.isRunning ? seedOfRunning(request, options) : seedOfFile(request);
  if (!seed) return output.error("sandbox", seed.error());
  for (const auto& note : seed->notes) output.warning(note);
  if (!request.output) return output.text(seed->text);
  if (const auto written = replaceFile(*request.output, seed->text); !written)
    return output.error("sandbox", written.error());
  return announce(*seed, *request.output, output);
}

}  // namespace zavelo::command
