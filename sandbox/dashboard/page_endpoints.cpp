#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"
#include "sandbox/dashboard/page_files.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/dashboard/";

/// Only its own files, and no text that becomes markup or script: what users write is shown here.
constexpr std::string_view policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

std::string_view typeOf(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> types{{
      {".css", "text/css; charset=utf-8"},
      {".html", "text/html; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".svg", "image/svg+xml"},
  }};
  const auto type =
      std::ranges::find_if(types, [&](const auto& known) { return name.ends_with(known.first); });
  return type == types.end() ? "application/octet-stream" : type->second;
}

Response servePage(const Call& call) {
  const std::string_view path = call.request.path;
  const auto name = path == "/" ? "index.html" : path.substr(root.size());
  const auto file = std::ranges::find(pageFiles(), name, &PageFile::name);
  if (file == pageFiles().end()) return failWithStatus(404, "There is no such address");
  const std::string tag = '"' + std::string(file->hash) + '"';
  Response response{.contentType = std::string(typeOf(name)),
                    .headers = {{"ETag", tag},
                                {"Cache-Control", "no-cache"},
                                {"Content-Security-Policy", std::string(policy)},
                                {"Cross-Origin-Opener-Policy", "same-origin"},
                                {"Cross-Origin-Resource-Policy", "same-origin"},
                                {"Referrer-Policy", "no-referrer"}}};
  if (call.request.header("If-None-Match") == tag) {
    response.status = 304;
    // What the length would have been (RFC 9110 section 8.6).
    response.headers.emplace_back("Content-Length", std::to_string(file->content.size()));
  } else {
    response.body = file->content;
  }
  return response;
}

}  // namespace

std::vector<Endpoint> pageEndpoints() {
  return {get("/", servePage), get("/dashboard/*", servePage)};
}

}  // namespace zavelo::sandbox
