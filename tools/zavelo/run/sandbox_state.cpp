#include "tools/zavelo/run/sandbox_state.hpp"

#include "zavelo/platform/sqlite_key_value_store.hpp"

namespace zavelo::command {

std::filesystem::path sandboxState(const std::optional<std::string>& asked) {
  if (asked) return *asked;
  return SqliteKeyValueStore::defaultFile().replace_filename("sandbox.sqlite");
}

}  // namespace zavelo::command
