#include "zavelo/api/envelope.hpp"

#include "zavelo/core/notifications.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo {
namespace {

struct EnvelopeWithoutData {
  std::optional<std::int64_t> code;
  std::optional<std::string> message;
  std::optional<std::vector<ZVCodeDetail>> codeDetails;
};

}  // namespace

template <>
struct json::RecordOf<EnvelopeWithoutData> {
  static const Record& get() {
    using T = EnvelopeWithoutData;
    static const Record record = fieldsOf<T, &T::code, &T::message, &T::codeDetails>();
    return record;
  }
};

namespace {

constexpr std::int64_t successCode = 1;

ZVAPIErrorType typeOf(std::int64_t code) {
  return fromRawValue<ZVAPIErrorType>(code).value_or(ZVAPIErrorType::unknown);
}

std::string_view sessionEndOf(std::int64_t code) {
  if (code == rawValue(ZVAPIErrorType::loggedInOtherDevice)) return ZaveloDidLogInAnotherDevice;
  if (code == rawValue(ZVAPIErrorType::banned)) return ZaveloBanned;
  return {};
}

ZVAPIError errorOf(std::int64_t code, const std::optional<std::string>& message,
                   const std::optional<std::vector<ZVCodeDetail>>& details) {
  if (details && !details->empty()) {
    const ZVCodeDetail& first = details->front();
    if (first.code && first.message) return {typeOf(*first.code), *first.message};
  }
  const bool usable = message && !message->empty();
  return {typeOf(code), usable ? *message : errorText::unknown};
}

}  // namespace

Verdict judge(std::optional<std::int64_t> code, const std::optional<std::string>& message,
              const std::optional<std::vector<ZVCodeDetail>>& details) {
  if (!code) return {ZVAPIError{ZVAPIErrorType::invalidData, errorText::invalidData}};
  if (*code == successCode) return {};
  return {errorOf(*code, message, details), sessionEndOf(*code)};
}

Verdict judgeWithoutData(std::string_view body) {
  const auto envelope = json::decode<EnvelopeWithoutData>(body);
  return envelope ? judge(envelope->code, envelope->message, envelope->codeDetails) : Verdict();
}

const json::Record& json::RecordOf<ZVCodeDetail>::get() {
  using T = ZVCodeDetail;
  static const Record record = fieldsOf<T, &T::code, &T::message>();
  return record;
}

}  // namespace zavelo
