#include "sandbox/api/router.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "sandbox/http/site_guard.hpp"

namespace zavelo::sandbox {
namespace {

/// Room for a text of a million characters, so that its parameter can be named in the answer.
constexpr std::size_t jsonLimit = 4 * 1024 * 1024;

bool matches(const Endpoint& endpoint, std::string_view path) {
  if (!endpoint.path.ends_with('*')) return endpoint.path == path;
  return path.starts_with(endpoint.path.substr(0, endpoint.path.size() - 1));
}

}  // namespace

void Router::add(std::vector<Endpoint> endpoints) {
  std::ranges::move(endpoints, std::back_inserter(endpoints_));
}

bool Router::serves(std::string_view path) const {
  return std::ranges::any_of(endpoints_, [&](const Endpoint& e) { return matches(e, path); });
}

std::vector<std::string> Router::paths() const {
  std::set<std::string> paths;
  for (const auto& endpoint : endpoints_) paths.emplace(endpoint.path);
  return {paths.begin(), paths.end()};
}

Response Router::answer(const Request& request) {
  Response response = route(request);
  response.headers.emplace_back("X-Content-Type-Options", "nosniff");
  return response;
}

Response Router::reject(int status, std::string_view reason) {
  return failWithStatus(status, reason);
}

Response Router::route(const Request& request) const {
  if (const auto complaint = siteComplaint(request)) return failWithStatus(403, *complaint);
  std::string allowed;
  for (const auto& endpoint : endpoints_) {
    if (!matches(endpoint, request.path)) continue;
    if (endpoint.method == request.method) {
      return around_(request, [&] { return call(endpoint, request); });
    }
    allowed.append(allowed.empty() ? "" : ", ").append(endpoint.method);
  }
  if (allowed.empty()) return failWithStatus(404, "There is no such address");
  Response response = failWithStatus(405, "This address takes " + allowed);
  response.headers.emplace_back("Allow", allowed);
  return response;
}

Response Router::call(const Endpoint& endpoint, const Request& request) const {
  if (request.body.size() > jsonLimit) {
    return failWithStatus(413, "The JSON body is larger than 4 MB");
  }
  const auto caller = callerOf(endpoint, request);
  if (!caller) return fail(caller.error());
  auto arguments = checkParameters(endpoint.parameters, request);
  if (!arguments) return fail(arguments.error());
  return endpoint.handler({request, std::move(*arguments), *caller});
}

Result<Identity, Problem> Router::callerOf(const Endpoint& endpoint, const Request& request) const {
  if (endpoint.access == Access::open) return Identity{};
  auto caller = identify_(bearerToken(request));
  if (caller && endpoint.access == Access::member && !caller->member) {
    return Failure{Problem{Code::noPermission, "Only a member can do this"}};
  }
  return caller;
}

}  // namespace zavelo::sandbox
