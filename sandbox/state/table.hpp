#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "sandbox/state/database.hpp"
#include "zavelo/base/entity_name.hpp"

namespace zavelo::sandbox {

/// One column of a table and the member of the record that it fills; a path of members leads into
/// a member that is a record itself.
template <auto... Path>
struct Column {
  enum class Kind { stored, key, computed };

  /// The name, or what computes it; empty: the member's name in snake case.
  std::string_view sql;
  Kind kind;

  static constexpr std::string_view memberName = (zavelo::detail::entityName<Path>(), ...);

  [[nodiscard]] static auto& memberIn(auto& record) { return (record.*....*Path); }
  [[nodiscard]] std::string text() const {
    return sql.empty() ? snakeCase(memberName) : std::string(sql);
  }

 private:
  static std::string snakeCase(std::string_view name) {
    std::string text;
    for (const char c : name) {
      const bool isCapital = c >= 'A' && c <= 'Z';
      if (isCapital) text += '_';
      text += isCapital ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
  }
};

template <auto... Path>
[[nodiscard]] constexpr auto column(std::string_view name = {}) {
  return Column<Path...>{name, Column<Path...>::Kind::stored};
}
/// The row's number, which the database chooses.
template <auto Member>
[[nodiscard]] constexpr auto key() {
  return Column<Member>{{}, Column<Member>::Kind::key};
}
/// What a query finds out besides; never written. Says `streams.id` for the row's own columns.
template <auto... Path>
[[nodiscard]] constexpr auto computed(std::string_view sql) {
  return Column<Path...>{sql, Column<Path...>::Kind::computed};
}

/// A table's columns, listed once for reading and writing its records.
///
///     constexpr Table<Tag, ...> tags{"tags", key<&Tag::id>(), column<&Tag::name>()};
///     tags.find(transaction, "name = ?", "Cooking");     // std::optional<Tag>
///     tags.insert(transaction, Tag{.name = "Cooking"});  // the new id
template <class Record, class... Columns>
class Table {
 public:
  constexpr explicit Table(std::string_view name, Columns... columns)
      : name_(name), columns_(columns...) {}

  /// The record that the condition selects, the first of several. The statement's placeholders are
  /// filled in order.
  template <class... Args>
  [[nodiscard]] std::optional<Record> find(Transaction& transaction, std::string_view condition,
                                           const Args&... args) const {
    const auto rows = transaction.all(select(condition), args...);
    return rows.empty() ? std::nullopt : std::optional(read(rows.front()));
  }
  template <class... Args>
  [[nodiscard]] std::vector<Record> list(Transaction& transaction, std::string_view condition,
                                         const Args&... args) const {
    std::vector<Record> records;
    for (const auto& row : transaction.all(select(condition), args...))
      records.push_back(read(row));
    return records;
  }
  /// Writes all stored columns of a new row and returns its id.
  std::int64_t insert(Transaction& transaction, const Record& record) const {
    std::string names;
    std::string marks;
    std::vector<Cell> cells;
    forEach([&](const auto& column) {
      if (column.kind != std::remove_cvref_t<decltype(column)>::Kind::stored) return;
      names.append(names.empty() ? "" : ", ").append(column.text());
      marks.append(marks.empty() ? "?" : ", ?");
      cells.push_back(cellOf(column.memberIn(record)));
    });
    transaction.allWith(
        "INSERT INTO " + std::string(name_) + " (" + names + ") VALUES (" + marks + ")", cells);
    return transaction.lastId();
  }

  /// `use(name, value)` for each member, in the order of the list.
  template <class Use>
  void visit(const Record& record, Use&& use) const {
    forEach([&](const auto& column) { use(column.memberName, column.memberIn(record)); });
  }

 private:
  template <class Use>
  void forEach(Use&& use) const {
    std::apply([&](const auto&... columns) { (use(columns), ...); }, columns_);
  }
  [[nodiscard]] std::string select(std::string_view condition) const {
    std::string sql;
    forEach([&](const auto& column) {
      sql.append(sql.empty() ? "SELECT " : ", ").append(column.text());
    });
    return sql.append(" FROM ").append(name_).append(" WHERE ").append(condition);
  }
  [[nodiscard]] Record read(const Row& row) const {
    Record record;
    auto cell = row.begin();
    forEach([&](const auto& column) {
      auto& member = column.memberIn(record);
      member = valueOf<std::remove_reference_t<decltype(member)>>(*cell++);
    });
    return record;
  }

  std::string_view name_;
  std::tuple<Columns...> columns_;
};

/// `tableOf<Tag>("tags", ...)`: the columns' types are deduced.
template <class Record, class... Columns>
[[nodiscard]] constexpr auto tableOf(std::string_view name, Columns... columns) {
  return Table<Record, Columns...>(name, columns...);
}

}  // namespace zavelo::sandbox
