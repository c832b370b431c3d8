#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "zavelo/platform/curl_reply_internal.hpp"
#include "zavelo/platform/curl_request_internal.hpp"

namespace zavelo::detail {

namespace {

bool isTokenCharacter(char c) {  // RFC 9110 section 5.6.2
  const bool alphanumeric =
      (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return alphanumeric || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7f;
  });
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t") == std::string_view::npos;
}

bool hasHttpScheme(std::string_view url) {
  const auto colon = url.find("://");
  if (colon == std::string_view::npos) return false;
  const auto scheme = url.substr(0, colon);
  return sameHeaderName(scheme, "http") || sameHeaderName(scheme, "https");
}

std::optional<std::string> headerProblem(const HttpHeader& header) {
  const auto& name = header.name;
  if (name.empty() || !std::all_of(name.begin(), name.end(), isTokenCharacter)) {
    return "a header name has a character that it must not have";
  }
  if (hasControlCharacter(header.value)) {
    return "the value of the header " + name + " has a control character";
  }
  if (sameHeaderName(name, "Content-Length") || sameHeaderName(name, "Transfer-Encoding")) {
    return "the header " + name + " is set by the session";
  }
  return std::nullopt;
}

std::optional<std::string> partProblem(const HttpFormPart& part) {
  const auto hasNul = [](std::string_view text) {
    return text.find('\0') != std::string_view::npos;
  };
  if (hasNul(part.name) || hasNul(part.fileName)) return "the name of a form part has a NUL";
  if (hasControlCharacter(part.mimeType)) return "the type of a form part has a control character";
  return std::nullopt;
}

bool sendsBytes(const HttpRequest& request) {
  if (request.body.index() != 0) return std::holds_alternative<std::string>(request.body);
  return request.method == ZVHTTPMethod::post || request.method == ZVHTTPMethod::put ||
         request.method == ZVHTTPMethod::patch;
}

bool has(const std::vector<HttpHeader>& headers, std::string_view name) {
  return std::any_of(headers.begin(), headers.end(),
                     [&](const HttpHeader& header) { return sameHeaderName(header.name, name); });
}

}  // namespace

std::optional<std::string> requestProblem(const HttpRequest& request) {
  if (!hasHttpScheme(request.url)) return "the address is neither http nor https";
  if (hasControlCharacter(request.url)) return "the address has a control character";
  if (request.method == ZVHTTPMethod::connect) return "CONNECT asks for no resource";
  if (request.method == ZVHTTPMethod::head && request.body.index() != 0) {
    return "a HEAD request has no body";
  }
  for (const auto& header : request.headers) {
    if (auto problem = headerProblem(header)) return problem;
  }
  if (const auto* parts = std::get_if<std::vector<HttpFormPart>>(&request.body)) {
    for (const auto& part : *parts) {
      if (auto problem = partProblem(part)) return problem;
    }
  }
  return std::nullopt;
}

CurlRequest::~CurlRequest() {
  release();
}

void CurlRequest::release() {
  curl_slist_free_all(std::exchange(headers_, nullptr));
  curl_mime_free(std::exchange(mime_, nullptr));
  readers_.clear();
}

bool CurlRequest::apply(void* easy, const HttpRequest& request) {
  release();
  applyMethod(easy, request);
  if (!applyHeaders(easy, request)) return false;
  const auto* parts = std::get_if<std::vector<HttpFormPart>>(&request.body);
  return !parts || applyForm(easy, *parts);
}

void CurlRequest::applyMethod(void* easy, const HttpRequest& request) {
  const auto method = request.method;
  if (method == ZVHTTPMethod::head) curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
  if (sendsBytes(request)) {
    // Without bytes an empty body, announced as such (RFC 9110 section 8.6).
    const auto* bytes = std::get_if<std::string>(&request.body);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(bytes ? bytes->size() : 0));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, bytes ? bytes->data() : "");
  }
  const bool isPlainGet = method == ZVHTTPMethod::get && request.body.index() == 0;
  if (!isPlainGet && method != ZVHTTPMethod::post) {
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, methodName(method).data());
  }
}

bool CurlRequest::applyHeaders(void* easy, const HttpRequest& request) {
  std::string line;
  for (const auto& header : request.headers) {
    // In curl's language "Name:" would take the header away and "Name;" sends it empty.
    line = header.name;
    if (isBlank(header.value)) {
      line += ';';
    } else {
      line.append(": ").append(header.value);
    }
    if (!addHeader(line)) return false;
  }
  if (request.body.index() != 0 && !addHeader("Expect:")) return false;
  // Bytes of an unknown kind have no type; curl would call them a URL-encoded form.
  if (sendsBytes(request) && !has(request.headers, "Content-Type") && !addHeader("Content-Type:")) {
    return false;
  }
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_);
  return true;
}

bool CurlRequest::addHeader(const std::string& line) {
  curl_slist* longer = curl_slist_append(headers_, line.c_str());
  if (longer) headers_ = longer;
  return longer != nullptr;
}

bool CurlRequest::applyForm(void* easy, const std::vector<HttpFormPart>& parts) {
  mime_ = curl_mime_init(easy);
  if (!mime_) return false;
  readers_.reserve(parts.size());
  for (const auto& part : parts) {
    curl_mimepart* entry = curl_mime_addpart(mime_);
    if (!entry) return false;
    auto& reader = readers_.emplace_back(Reader{part.data.view()});
    curl_mime_data_cb(entry, static_cast<curl_off_t>(part.data.size()), &read, &seek, nullptr,
                      &reader);
    const bool complete =
        curl_mime_name(entry, part.name.c_str()) == CURLE_OK &&
        (part.fileName.empty() || curl_mime_filename(entry, part.fileName.c_str()) == CURLE_OK) &&
        (part.mimeType.empty() || curl_mime_type(entry, part.mimeType.c_str()) == CURLE_OK);
    if (!complete) return false;
  }
  curl_easy_setopt(easy, CURLOPT_MIMEPOST, mime_);
  return true;
}

std::size_t CurlRequest::read(char* buffer, std::size_t size, std::size_t count, void* reader) {
  auto& source = *static_cast<Reader*>(reader);
  const auto copied = source.data.copy(buffer, size * count, source.position);
  source.position += copied;
  return copied;
}

int CurlRequest::seek(void* reader, std::int64_t offset, int origin) {
  auto& source = *static_cast<Reader*>(reader);
  const auto position = static_cast<std::size_t>(offset);
  if (origin != SEEK_SET || offset < 0 || position > source.data.size()) return CURL_SEEKFUNC_FAIL;
  source.position = position;
  return CURL_SEEKFUNC_OK;
}

}  // namespace zavelo::detail
