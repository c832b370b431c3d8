#include "zavelo/api/call_meter_internal.hpp"

#include <array>
#include <cstdint>
#include <random>
#include <string_view>
#include <utility>

namespace zavelo::detail {
namespace {

std::string pathOf(std::string_view url) {
  const auto scheme = url.find("://");
  if (scheme != std::string_view::npos) {
    const auto path = url.find_first_of("/?#", scheme + 3);
    url = path == std::string_view::npos ? std::string_view() : url.substr(path);
  }
  return std::string(url.substr(0, url.find_first_of("?#")));
}

/// The second field of the header, if it is well-formed (W3C Trace Context, section 3.2).
std::string traceIdOf(std::string_view header) {
  constexpr std::size_t begin = 3, length = 32, whole = 55;
  if (header.size() < whole || header[begin - 1] != '-' || header[begin + length] != '-') return {};
  return std::string(header.substr(begin, length));
}

std::chrono::microseconds microseconds(std::chrono::nanoseconds duration) {
  return std::chrono::duration_cast<std::chrono::microseconds>(duration);
}

/// All zeros would be no id; a device without entropy gives ids that repeat.
std::string randomDigits(std::size_t count) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  std::uint32_t bits = 0;
  try {
    std::random_device device;
    for (std::size_t i = 0; i < count; ++i) {
      bits = i % 8 == 0 ? device() : bits >> 4;
      text += digits[bits & 15];
    }
  } catch (const std::exception&) {
    text.resize(count, '0');
  }
  if (text.find_first_not_of('0') == std::string::npos) text.back() = '1';
  return text;
}

}  // namespace

CallMeter::CallMeter(std::shared_ptr<ZVCallObserver> observer, const std::string& url)
    : observer_(std::move(observer)) {
  report_.endpoint = pathOf(url);
}

void CallMeter::sent(const std::vector<HttpHeader>& headers) {
  if (!std::exchange(isFirst_, false)) ++report_.resends;
  for (const HttpHeader& header : headers)
    if (sameHeaderName(header.name, traceHeader)) report_.traceId = traceIdOf(header.value);
}

void CallMeter::replied(const std::optional<HttpReply>& reply) {
  report_.status = reply ? reply->status : std::nullopt;
  if (!reply || !reply->times) return;
  HttpTimes& sum = report_.times;
  sum.queued += reply->times->queued;
  sum.connecting += reply->times->connecting;
  sum.waiting += reply->times->waiting;
  sum.receiving += reply->times->receiving;
  sum.sentBytes += reply->times->sentBytes;
  sum.receivedBytes += reply->times->receivedBytes;
}

void CallMeter::decoded(std::chrono::nanoseconds took) {
  report_.decoding = microseconds(took);
}

void CallMeter::ended(std::optional<ZVAPIErrorType> error, std::chrono::nanoseconds took) {
  report_.error = error;
  report_.duration = microseconds(took);
  observer_->callEnded(report_);
}

std::string TraceContext::nextHeader() {
  if (traceId_.empty()) traceId_ = randomDigits(32);
  return "00-" + traceId_ + "-" + randomDigits(16) + "-01";
}

}  // namespace zavelo::detail
