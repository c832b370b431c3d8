#include "sandbox/seed/export.hpp"
#include "tools/zavelo/run/commands.hpp"
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

}  // namespace

int runExport(const ExportRequest& request, const Output& output) {
  const auto state = sandboxState(request.state);
  if (request.output && isOneFile(state, *request.output))
    return output.error("sandbox", "the output would replace the state file " + state.string());
  const auto seed = sandbox::exportSeed(
      {.state = state, .seed = request.seed.value_or(""), .withPictures = request.withPictures});
  if (!seed) return output.error("sandbox", seed.error());
  for (const auto& note : seed->notes) output.warning(note);
  if (!request.output) return output.text(seed->text);
  if (const auto written = replaceFile(*request.output, seed->text); !written)
    return output.error("sandbox", written.error());
  return announce(*seed, *request.output, output);
}

}  // namespace zavelo::command
