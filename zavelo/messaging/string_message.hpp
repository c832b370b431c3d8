#pragma once

#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo {

/// What can say itself as JSON: envelopes and event records.
class ZAVELO_EXPORT ZVStringMessage {
 public:
  virtual ~ZVStringMessage();
  ZVStringMessage(const ZVStringMessage&) = delete;
  ZVStringMessage& operator=(const ZVStringMessage&) = delete;

  /// The object as compact JSON, with the fields of its own class. No value when JSON cannot say
  /// it: a number that is not finite, a text that is not UTF-8.
  [[nodiscard]] std::optional<std::string> toJsonString() const;
  /// `json::viewOf(*this)`, in every class that adds fields.
  [[nodiscard]] virtual json::RecordView asRecord() const = 0;

 protected:
  ZVStringMessage() = default;
};

}  // namespace zavelo
