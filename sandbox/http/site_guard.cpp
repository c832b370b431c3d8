#include "sandbox/http/site_guard.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace zavelo::sandbox {
namespace {

bool isLoopbackHost(std::string_view host) {
  constexpr std::array<std::string_view, 3> names{"127.0.0.1", "localhost", "[::1]"};
  return std::ranges::any_of(names, [&](std::string_view name) {
    if (!equalIgnoringCase(host.substr(0, name.size()), name)) return false;
    std::string_view port = host.substr(name.size());
    if (port.empty()) return true;
    if (port.front() != ':') return false;
    port.remove_prefix(1);
    return std::ranges::all_of(port, [](char c) { return c >= '0' && c <= '9'; });
  });
}

/// Loaded by a page of its own, by a person, or by no browser at all.
bool isFromHere(std::string_view site) {
  return site.empty() || site == "same-origin" || site == "none";
}

}  // namespace

std::optional<std::string> siteComplaint(const Request& request) {
  const auto host = request.header("Host");
  if (!isLoopbackHost(host)) return "The sandbox answers to 127.0.0.1 and localhost only";
  const auto origin = request.header("Origin");
  const bool isWelcome = origin.empty() ? !request.path.starts_with("/sandbox/") ||
                                              isFromHere(request.header("Sec-Fetch-Site"))
                                        : equalIgnoringCase(origin, "http://" + std::string(host));
  if (isWelcome) return {};
  return "The sandbox answers no page of another site";
}

}  // namespace zavelo::sandbox
