#pragma once

#include <string>
#include <vector>

#include "sandbox/state/table.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// JSON objects of a table's records, with the members' names as keys; null
/// for what is absent, its name for an enumerator.
template <class Record, class... Columns>
[[nodiscard]] json::Array arrayOf(const Table<Record, Columns...>& table,
                                  const std::vector<Record>& records) {
  const auto valueFrom = [](const auto& member) {
    if constexpr (requires { *member; }) {
      return member ? json::Value(*member) : json::Value();
    } else if constexpr (requires { nameOf(member); }) {
      return json::Value(nameOf(member));
    } else {
      return json::Value(member);
    }
  };
  json::Array list;
  for (const auto& record : records) {
    json::Object object;
    table.visit(record, [&](std::string_view name, const auto& member) {
      object.set(std::string(name), valueFrom(member));
    });
    list.emplace_back(std::move(object));
  }
  return list;
}

}  // namespace zavelo::sandbox
