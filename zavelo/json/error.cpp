#include "zavelo/json/error.hpp"

namespace zavelo::json {

std::string Error::text() const {
  return path.empty() ? reason : path + ": " + reason;
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
