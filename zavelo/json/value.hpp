#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo::json {

class Value;
using Array = std::vector<Value>;

/// The members of an object in the order in which they were set; a key stands once.
class ZAVELO_EXPORT Object {
 public:
  using Member = std::pair<std::string, Value>;

  Object() = default;
  Object(std::initializer_list<Member> members);
  /// Of a key that stands twice the last value holds.
  explicit Object(std::vector<Member> members);

  /// Adds the member, or replaces the value of the one that is there.
  void set(std::string key, Value value);
  /// Null when there is no such member.
  [[nodiscard]] const Value* find(std::string_view key) const noexcept;

  [[nodiscard]] bool empty() const noexcept;
  [[nodiscard]] std::size_t size() const noexcept;
  [[nodiscard]] const Member* begin() const noexcept;
  [[nodiscard]] const Member* end() const noexcept;

  bool operator==(const Object& other) const;

 private:
  std::vector<Member> members_;
};

/// Any JSON value (RFC 8259): what request parameters are made of. Integers and reals stay apart.
///
///     json::Value body = json::Object{{"slug", "s1"}, {"count", 3}, {"isUnique", true}};
class ZAVELO_EXPORT Value {
 public:
  using Data = std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object>;

  Value() = default;  ///< null
  Value(std::nullptr_t) {}
  Value(bool flag) : data_(flag) {}
  template <std::integral I>
  requires(!std::same_as<I, bool>) Value(I integer) : data_(static_cast<std::int64_t>(integer)) {}
  Value(double number) : data_(number) {}
  Value(std::string text) : data_(std::move(text)) {}
  Value(std::string_view text) : data_(std::string(text)) {}
  Value(const char* text) : data_(std::string(text)) {}
  Value(Array array) : data_(std::move(array)) {}
  Value(Object object) : data_(std::move(object)) {}

  [[nodiscard]] const Data& data() const noexcept { return data_; }
  /// The value as a T of Data, or null: `if (auto* text = value.as<std::string>())`.
  template <class T>
  [[nodiscard]] const T* as() const noexcept {
    return std::get_if<T>(&data_);
  }
  [[nodiscard]] bool isNull() const noexcept { return data_.index() == 0; }

  bool operator==(const Value& other) const = default;

 private:
  Data data_;
};

}  // namespace zavelo::json
