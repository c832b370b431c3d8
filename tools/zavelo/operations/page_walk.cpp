#include "tools/zavelo/operations/page_walk.hpp"

#include <iterator>
#include <utility>

namespace zavelo::command {
namespace {

Failure<ZVAPIError> badPage(const std::string& what) {
  return Failure{ZVAPIError{ZVAPIErrorType::invalidData, errorText::invalidData, what}};
}

template <class T>
const T* memberOf(const json::Object& page, std::string_view name) {
  const json::Value* value = page.find(name);
  return value == nullptr ? nullptr : value->as<T>();
}

}  // namespace

Result<std::optional<std::int64_t>, ZVAPIError> PageWalk::take(const std::string& page,
                                                               std::int64_t cursor) {
  auto value = json::decode<json::Value>(page);
  auto* object = value ? value->as<json::Object>() : nullptr;
  if (object == nullptr) return badPage("expected a page");
  last_ = std::move(*object);
  read_.insert(cursor);
  if (const auto* elements = memberOf<json::Array>(last_, "result"))
    elements_.insert(elements_.end(), elements->begin(), elements->end());
  const bool* isEnd = memberOf<bool>(last_, "isEnd");
  if (isEnd != nullptr && *isEnd) return std::optional<std::int64_t>();
  const auto* next = memberOf<std::int64_t>(last_, "nextId");
  if (next == nullptr) return badPage("nextId: missing in a page that is not the last");
  if (read_.contains(*next)) return badPage("nextId: leads back to a page that was read");
  return std::optional(*next);
}

JsonResult PageWalk::all() const {
  json::Object list = last_;
  list.set("result", elements_);
  return detail::jsonOf(json::Value(std::move(list)));
}

std::string PageWalk::progress() const {
  std::string text = std::to_string(read_.size()) + (read_.size() == 1 ? " page, " : " pages, ") +
                     std::to_string(elements_.size());
  if (const auto* total = memberOf<std::int64_t>(last_, "totalRecords"))
    text += " of " + std::to_string(*total);
  return text;
}

}  // namespace zavelo::command
