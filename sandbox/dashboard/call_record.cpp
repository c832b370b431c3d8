#include "sandbox/dashboard/call_record.hpp"

#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "sandbox/api/unicode.hpp"
#include "sandbox/control/fault_header.hpp"
#include "sandbox/dashboard/secrets.hpp"

namespace zavelo::sandbox {
namespace {

/// What is kept of a body, and of a header or a name.
constexpr std::size_t bodyKept = 64 * 1024;
constexpr std::size_t lineKept = 2 * 1024;

std::string line(std::string_view text) {
  return repaired(text.substr(0, lineKept));
}

std::string encoded(json::Object object) {
  auto text = json::encode(json::Value(std::move(object)));
  if (!text) throw std::logic_error("a call cannot be recorded: " + text.error().text());
  return std::move(*text);
}

json::Array headersOf(const Headers& headers) {
  json::Array list;
  for (const auto& [name, value] : headers) {
    list.emplace_back(json::Array{line(name), line(withoutSecret(name, value))});
  }
  return list;
}

bool isText(std::string_view contentType) {
  return contentType.empty() || contentType.starts_with("text/") ||
         contentType.starts_with("application/json") ||
         contentType.starts_with("application/x-www-form-urlencoded");
}

json::Object bodyOf(std::string_view content, std::string_view contentType) {
  json::Object body{{"size", content.size()}, {"contentType", line(contentType)}};
  if (!isText(contentType)) return body;
  body.set("text", repaired(withoutSecrets(content.substr(0, bodyKept))));
  body.set("isCut", content.size() > bodyKept);
  return body;
}

json::Object formOf(const std::vector<FormPart>& form) {
  std::size_t size = 0;
  json::Array parts;
  for (const auto& part : form) {
    size += part.content.size();
    // A field says no type and is text; a file without one may be anything.
    const bool isAnything = !part.fileName.empty() && part.contentType.empty();
    const std::string_view type = isAnything ? std::string_view("file") : part.contentType;
    auto content = bodyOf(withoutSecret(part.name, part.content), type);
    content.set("name", line(part.name));
    content.set("fileName", line(part.fileName));
    parts.emplace_back(std::move(content));
  }
  return {{"size", size}, {"contentType", "multipart/form-data"}, {"parts", std::move(parts)}};
}

/// The trace id of a W3C trace context: "00-<trace id>-<parent id>-<flags>".
std::string traceIdOf(std::string_view header) {
  const auto begin = header.find('-') + 1;
  const auto end = header.find('-', begin);
  if (begin == 0 || end == std::string_view::npos) return {};
  return line(header.substr(begin, end - begin));
}

/// The `code` that an envelope begins with, if it is one.
json::Value codeIn(std::string_view body) {
  constexpr std::string_view start = R"({"code":)";
  std::int64_t code = 0;
  if (!body.starts_with(start)) return {};
  body.remove_prefix(start.size());
  const auto parsed = std::from_chars(body.data(), body.data() + body.size(), code);
  return parsed.ec == std::errc() ? json::Value(code) : json::Value();
}

}  // namespace

CallRecord::CallRecord(const Arrival& arrival) : number_(arrival.number) {
  const auto& request = arrival.request;
  auto sent =
      request.isForm ? formOf(request.form) : bodyOf(request.body, request.header("Content-Type"));
  summary_ = {{"number", arrival.number},
              {"at", stored(arrival.at)},
              {"milliseconds", nullptr},
              {"method", line(request.method)},
              {"path", line(request.path)},
              {"caller", arrival.caller},
              {"status", nullptr},
              {"code", nullptr},
              {"fault", ""},
              {"traceId", traceIdOf(request.header("traceparent"))},
              {"sent", *sent.find("size")},
              {"received", nullptr}};
  detail_ = {{"query", line(request.query)},
             {"requestHeaders", headersOf(request.headers)},
             {"requestBody", std::move(sent)},
             {"responseHeaders", json::Array()},
             {"responseBody", nullptr}};
}

void CallRecord::end(const Response& response, std::chrono::microseconds took) {
  isPending_ = false;
  auto received = bodyOf(response.body, response.contentType);
  summary_.set("milliseconds", static_cast<double>(took.count()) / 1000);
  summary_.set("code", codeIn(response.body));
  summary_.set("fault", faultOf(response));
  summary_.set("received", *received.find("size"));
  detail_.set("responseBody", std::move(received));
  if (response.delivery == Delivery::none) return;
  auto headers = headersOf(response.headers);
  headers.insert(headers.begin(), json::Array{"Content-Type", line(response.contentType)});
  summary_.set("status", response.status);
  detail_.set("responseHeaders", std::move(headers));
}

LoggedCall CallRecord::logged() const {
  return {number_, isPending_, encoded(summary_), encoded(detail_)};
}

}  // namespace zavelo::sandbox
