#include <fstream>
#include <iterator>

#include "fuzz/fuzz.hpp"
#include "support/temporary_folder.hpp"
#include "zavelo/platform/sqlite_key_value_store.hpp"

// The file of a store with bytes changed: an input is a list of places and what is written there.
// The last odd byte, if any, is where the file is cut.

namespace zavelo::fuzz {
namespace {

StoreValue someList() {
  return std::vector<StoreScalar>{1.5, true, std::string("text")};
}

std::string bytesOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string wholeStore() {
  const test::TemporaryFolder folder;
  {
    SqliteKeyValueStore store(folder / "store");
    for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h"})
      require(store.set(key, StoreScalar(std::string(300, 'v'))).hasValue(),
              "a store can be written");
    require(store.set("list", someList()).hasValue(), "a store takes lists");
  }
  return bytesOf(folder / "store");
}

std::string changed(std::string bytes, std::string_view input) {
  for (; input.size() >= 3; input.remove_prefix(3)) {
    const auto at =
        static_cast<unsigned char>(input[0]) * 256u + static_cast<unsigned char>(input[1]);
    bytes[at % bytes.size()] = input[2];
  }
  if (!input.empty()) bytes.resize(bytes.size() * static_cast<unsigned char>(input[0]) / 256);
  return bytes;
}

}  // namespace

void run(std::string_view input) {
  static const std::string whole = wholeStore();
  const test::TemporaryFolder folder;
  const auto file = folder / "store";
  std::ofstream(file, std::ios::binary) << changed(whole, input);
  std::filesystem::path setAside;
  SqliteKeyValueStore store(file, [&](const auto& keptAs) { setAside = keptAs; });
  for (const char* key : {"a", "list", "none"}) static_cast<void>(store.get(key));
  if (store.set("a", someList())) {
    const auto read = store.get("a");
    require(read && *read == someList(), "what was written is read");
  }
  // A key that damage has made another's is there twice: once removed, it is there still.
  static_cast<void>(store.remove("b"));
  require(setAside.empty() || std::filesystem::exists(setAside), "a damaged file is kept");
}

}  // namespace zavelo::fuzz
