#pragma once

#include "zavelo/base/entity_name.hpp"

namespace zavelo::bench {

template <auto... Members>
struct MemberList {
  /// Calls each(name, member) for every field: what a person would write out seventy times.
  template <class Record, class Each>
  static void forEach(Record& record, const Each& each) {
    (each(zavelo::detail::entityName<Members>(), record.*Members), ...);
  }
};

/// The fields of a record, for the contenders: specialised as a MemberList.
template <class Record>
struct FieldsOf;

template <class T>
concept HasFields = requires {
  sizeof(FieldsOf<T>);
};

}  // namespace zavelo::bench
