#include <algorithm>
#include <iterator>
#include <string_view>

#include "zavelo/api/request_encoding_internal.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::detail {
namespace {

using Encoded = Result<std::string, HttpFailure>;

Failure<HttpFailure> unencodable(const json::Error& error) {
  return Failure{HttpFailure{HttpFailure::Kind::invalidRequest,
                             "the parameters cannot be encoded: " + error.text()}};
}

Encoded jsonText(const json::Value& value) {
  auto text = json::encode(value);
  if (!text) return unencodable(text.error());
  return std::move(*text);
}

/// A value as the text of a form field: a text as it stands, a number in its shortest digits, a
/// list or an object as JSON.
Encoded fieldText(const json::Value& value) {
  if (const auto* text = value.as<std::string>()) return *text;
  if (const auto* real = value.as<double>()) return numberText(*real);
  return jsonText(value);
}

/// RFC 3986: everything but the unreserved characters travels in percent-encoding.
void appendEscaped(std::string& out, std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  constexpr std::string_view marks = "-._~";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool letter = (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z';
    const bool digit = byte >= '0' && byte <= '9';
    if (letter || digit || marks.find(c) != std::string_view::npos) {
      out += c;
    } else {
      out += '%';
      out += digits[byte >> 4];
      out += digits[byte & 15];
    }
  }
}

/// Adds "key=value" to a URL-encoded text; elements of a list go under "key[]", members of an
/// object under "key[member]", flags are 1 and 0.
Status<HttpFailure> appendPairs(std::string& out, const std::string& key,
                                const json::Value& value) {
  if (const auto* list = value.as<json::Array>()) {
    for (const auto& element : *list)
      if (auto added = appendPairs(out, key + "[]", element); !added) return added;
    return noFailure;
  }
  if (const auto* object = value.as<json::Object>()) {
    for (const auto& [name, member] : *object)
      if (auto added = appendPairs(out, key + "[" + name + "]", member); !added) return added;
    return noFailure;
  }
  const auto* flag = value.as<bool>();
  auto text = flag != nullptr ? Encoded(*flag ? "1" : "0") : fieldText(value);
  if (!text) return Failure{std::move(text).error()};
  if (!out.empty()) out += '&';
  appendEscaped(out, key);
  out += '=';
  appendEscaped(out, *text);
  return noFailure;
}

Encoded urlEncoded(const json::Object& parameters) {
  std::string out;
  for (const auto& [key, value] : parameters)
    if (auto added = appendPairs(out, key, value); !added) return Failure{std::move(added).error()};
  return out;
}

bool carriesParametersInUrl(ZVHTTPMethod method) {
  return method == ZVHTTPMethod::get || method == ZVHTTPMethod::head || method == ZVHTTPMethod::del;
}

std::string withQuery(std::string url, const std::string& query) {
  if (query.empty()) return url;
  // A fragment stays at the end (RFC 3986 section 3).
  const auto end = std::min(url.find('#'), url.size());
  const bool hasQuery = url.find('?') < end;
  return url.insert(end, (hasQuery ? '&' : '?') + query);
}

Status<HttpFailure> encodeForm(const ZVEndpointRequest& request, std::vector<HttpFormPart> parts,
                               HttpRequest& http) {
  for (const auto& [key, value] : request.parameters.value_or(json::Object())) {
    auto text = fieldText(value);
    if (!text) return Failure{std::move(text).error()};
    parts.push_back({key, std::move(*text), {}, {}});
  }
  http.body = std::move(parts);
  return noFailure;
}

Status<HttpFailure> encodeParameters(const ZVEndpointRequest& request, HttpRequest& http) {
  if (!request.parameters) return noFailure;
  const bool json = request.encoding == ZVParameterEncoding::json;
  auto text = json ? jsonText(*request.parameters) : urlEncoded(*request.parameters);
  if (!text) return Failure{std::move(text).error()};
  if (!json && carriesParametersInUrl(request.endpoint.method)) {
    http.url = withQuery(std::move(http.url), *text);
    return noFailure;
  }
  http.headers.push_back({"Content-Type", json ? "application/json"
                                               : "application/x-www-form-urlencoded; "
                                                 "charset=utf-8"});
  http.body = std::move(*text);
  return noFailure;
}

bool belongsToTheLibrary(const HttpHeader& header) {
  return sameHeaderName(header.name, "Authorization") ||
         sameHeaderName(header.name, "Content-Type");
}

/// The call's own headers in place of those of the same name.
std::vector<HttpHeader> merged(std::vector<HttpHeader> headers,
                               const std::vector<HttpHeader>& own) {
  std::vector<HttpHeader> added;
  std::remove_copy_if(own.begin(), own.end(), std::back_inserter(added), &belongsToTheLibrary);
  for (const HttpHeader& header : added) {
    std::erase_if(headers,
                  [&](const HttpHeader& other) { return sameHeaderName(other.name, header.name); });
  }
  headers.insert(headers.end(), added.begin(), added.end());
  return headers;
}

}  // namespace

std::vector<HttpFormPart> formParts(std::vector<ZVMultiPartData> files) {
  std::vector<HttpFormPart> parts;
  for (ZVMultiPartData& file : files)
    parts.push_back({std::move(file.name), std::move(file.data), std::move(file.fileName),
                     std::move(file.mimeType)});
  return parts;
}

Result<HttpRequest, HttpFailure> httpRequest(const ZVEndpointRequest& request,
                                             const std::vector<HttpFormPart>& files,
                                             std::vector<HttpHeader> headers) {
  HttpRequest http;
  http.method = request.endpoint.method;
  http.url = request.endpoint.url;
  http.headers = merged(std::move(headers), request.headers);
  http.deadline = request.deadline;
  http.onUpload = request.onProgress;
  if (request.replyLimit) http.replyLimit = *request.replyLimit;
  auto encoded = request.files ? encodeForm(request, files, http) : encodeParameters(request, http);
  if (!encoded) return Failure{std::move(encoded).error()};
  return http;
}

}  // namespace zavelo::detail
