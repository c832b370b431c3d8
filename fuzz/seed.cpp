#include "sandbox/seed/seed.hpp"

#include <fstream>

#include "fuzz/fuzz.hpp"
#include "support/temporary_folder.hpp"

// A seed file of the sandbox.

void zavelo::fuzz::run(std::string_view input) {
  static const test::TemporaryFolder folder;
  const auto file = folder / "seed.json";
  std::ofstream(file, std::ios::binary) << input;
  const auto seed = sandbox::readSeed(file);
  require(seed || !seed.error().empty(), "a mistake is described");
}
