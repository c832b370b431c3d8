#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "tools/zavelo/operations/operation.hpp"

namespace zavelo::command {

/// A long list that is read to its end, page after page.
class PageWalk {
 public:
  /// Takes in the page that was asked for with `cursor`; returns the next page's cursor, or none
  /// after the last page. A page that leads nowhere or back to itself is an error.
  Result<std::optional<std::int64_t>, ZVAPIError> take(const std::string& page,
                                                       std::int64_t cursor);

  /// The last page with the elements of all in its place.
  [[nodiscard]] JsonResult all() const;
  /// "3 pages, 60 of 1000"
  [[nodiscard]] std::string progress() const;

 private:
  std::set<std::int64_t> read_;  // the cursors
  json::Array elements_;
  json::Object last_;
};

}  // namespace zavelo::command
