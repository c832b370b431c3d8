#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "bench/member_list.hpp"
#include "zavelo/base/coded_enum.hpp"

/// Fields of records by nlohmann's values.
namespace zavelo::bench::nlo {

using nlohmann::json;

template <class T>
void assign(const json& value, std::optional<T>& field) {
  field = value.get<T>();
}
template <CodedEnum E>
void assign(const json& value, std::optional<E>& field) {
  field = fromRawValue<E>(value.get<std::int64_t>());
}
template <class Record>
void assign(const json& value, std::shared_ptr<Record>& field);

template <class Field>
void read(const json& object, std::string_view name, Field& field) {
  const auto member = object.find(std::string(name).c_str());
  if (member != object.end() && !member->is_null()) assign(*member, field);
}

template <class Record>
void assign(const json& value, std::shared_ptr<Record>& field) {
  field = std::make_shared<Record>();
  FieldsOf<Record>::forEach(*field, [&](auto name, auto& inner) { read(value, name, inner); });
}

template <class T>
json written(const T& value) {
  if constexpr (HasFields<T>) {
    json element;
    FieldsOf<T>::forEach(value, [&](auto name, const auto& field) {
      if (field) element[std::string(name)] = written(*field);
    });
    return element;
  } else if constexpr (CodedEnum<T>) {
    return rawValue(value);
  } else {
    return value;
  }
}

}  // namespace zavelo::bench::nlo
