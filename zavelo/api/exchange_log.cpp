#include "zavelo/api/exchange_log_internal.hpp"

#include "zavelo/core/log.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::detail {
namespace {

std::string rule() {
  return std::string(58, '=');
}

std::string requestLine(ZVHTTPMethod method, const std::string& url) {
  return std::string(methodName(method)) + ": " + url;
}

json::Object objectOf(const std::vector<HttpHeader>& headers) {
  json::Object object;
  for (const HttpHeader& header : headers) object.set(header.name, header.value);
  return object;
}

}  // namespace

std::string prettyStringFromJsonObject(const json::Value& value) {
  return json::prettyText(value);
}

void ExchangeLog::request(ZVHTTPMethod method, const std::string& url,
                          const std::vector<HttpHeader>& headers,
                          const std::optional<json::Object>& parameters) {
  line(rule());
  line(requestLine(method, url));
  if (level_ != Level::full) return;
  line("Headers: " + prettyStringFromJsonObject(objectOf(headers)));
  if (parameters) line("Body: " + prettyStringFromJsonObject(*parameters));
}

void ExchangeLog::reply(const std::optional<HttpReply>& reply) {
  if (!reply || !reply->status) return line("Invalid response!");
  line("Status code: " + std::to_string(*reply->status));
  if (level_ == Level::full && !reply->body.empty()) line(reply->body);
}

void ExchangeLog::renewal(const std::string& url, const std::vector<HttpHeader>& headers,
                          const json::Object& body) {
  renewalStart_ = now();
  line("REFRESH TOKEN >>>>");
  line(requestLine(ZVHTTPMethod::post, url));
  if (level_ != Level::full) return;
  line("Refresh Token Headers: " + prettyStringFromJsonObject(objectOf(headers)));
  line("Refresh Token Body: " + prettyStringFromJsonObject(body));
}

void ExchangeLog::renewalReply(bool answered) {
  if (!answered) line("Refresh Token: Can't get response!");
  line("Refresh Token Tooks: " + millisecondsSince(renewalStart_));
  line("<<<< REFRESH TOKEN");
}

void ExchangeLog::print() {
  line("Took: " + millisecondsSince(start_) + "ms");
  line(rule());
  if (level_ == Level::none) return;
  std::string text;
  for (const std::string& each : lines_) text.append(text.empty() ? "" : "\n").append(each);
  ZVLog::s(text, ZVLogPosition("printLogs()"));
}

std::string ExchangeLog::millisecondsSince(std::chrono::nanoseconds start) const {
  return std::to_string(
      std::chrono::duration_cast<std::chrono::milliseconds>(now() - start).count());
}

}  // namespace zavelo::detail
