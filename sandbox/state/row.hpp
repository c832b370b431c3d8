#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zavelo::sandbox {

/// Bytes, as opposed to text.
struct Blob {
  std::string bytes;
};

/// What a column holds or a placeholder is given.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string, Blob>;

/// One row of a result; columns count from 0 and are read as what the query selects.
class Row {
 public:
  explicit Row(std::vector<Cell> cells) : cells_(std::move(cells)) {}
  [[nodiscard]] bool isNull(std::size_t column) const { return cells_.at(column).index() == 0; }
  [[nodiscard]] std::int64_t integer(std::size_t column) const { return as<std::int64_t>(column); }
  [[nodiscard]] double real(std::size_t column) const { return as<double>(column); }
  [[nodiscard]] const std::string& text(std::size_t column) const {
    return as<std::string>(column);
  }
  [[nodiscard]] const std::string& bytes(std::size_t column) const {
    return as<Blob>(column).bytes;
  }
  [[nodiscard]] std::optional<std::int64_t> integerOrNone(std::size_t column) const {
    return orNone<std::int64_t>(column);
  }
  [[nodiscard]] std::optional<double> realOrNone(std::size_t column) const {
    return orNone<double>(column);
  }
  [[nodiscard]] std::optional<std::string> textOrNone(std::size_t column) const {
    return orNone<std::string>(column);
  }

 private:
  template <class T>
  [[nodiscard]] const T& as(std::size_t column) const {
    return std::get<T>(cells_.at(column));
  }
  template <class T>
  [[nodiscard]] std::optional<T> orNone(std::size_t column) const {
    return isNull(column) ? std::nullopt : std::optional<T>(as<T>(column));
  }
  std::vector<Cell> cells_;
};

}  // namespace zavelo::sandbox
