#include "zavelo/json/error.hpp"

namespace zavelo::json {

std::string Error::text() const {
  constexpr std::size_t shown = 160;  // nobody reads more of a path
  if (path.empty()) return reason;
  if (path.size() <= shown) return path + ": " + reason;
  return path.substr(0, shown / 2) + "..." + path.substr(path.size() - shown / 2) + ": " + reason;
}

void Error::prepend(std::string_view key) {
  std::string longer(key);
  if (!path.empty() && path.front() != '[') longer += '.';
  path = longer.append(path);
}

void Error::prepend(std::size_t index) {
  std::string longer = "[" + std::to_string(index) + "]";
  if (!path.empty() && path.front() != '[') longer += '.';
  path = longer.append(path);
}

}  // namespace zavelo::json
