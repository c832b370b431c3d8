#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/json/record.hpp"

namespace zavelo {

/// How many elements a page is asked to have by an app that has no reason to choose otherwise.
inline constexpr std::int64_t zvDefaultLoadLimitPage = 20;

/// One page of a long list of records. To read on, ask again with `nextId`; `isEnd` says that there
/// is no more. The caller keeps the cursor: nothing is remembered between two pages.
template <class T>
struct ZVPaginationResult {
  std::optional<std::vector<std::shared_ptr<T>>> result = {};  ///< in the backend's order
  std::optional<std::int64_t> nextId = {};
  std::optional<bool> isEnd = {};
  std::optional<std::int64_t> totalRecords = {};  ///< over all pages
  std::optional<std::string> promoCode = {};      ///< goes with the products that are listed
  std::optional<std::string> promoCodeDescription = {};
};

template <class T>
struct json::RecordOf<ZVPaginationResult<T>> {
  static const Record& get() {
    using Page = ZVPaginationResult<T>;
    static const Record record =
        fieldsOf<Page, &Page::result, &Page::nextId, &Page::isEnd, &Page::totalRecords,
                 &Page::promoCode, &Page::promoCodeDescription>();
    return record;
  }
};

}  // namespace zavelo
