#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {

/// Who calls, as the access token tells.
struct Identity {
  std::int64_t session;
  std::optional<std::int64_t> member;  ///< none: a guest
  std::optional<std::int64_t> guest;   ///< none: a member
};

/// Who may call an endpoint.
enum class Access {
  open,     ///< any caller; an access token is not checked
  session,  ///< a member or a guest
  member,
};

/// A request that was found to be what its endpoint takes.
struct Call {
  const Request& request;
  Arguments arguments;
  Identity identity;  ///< meaningless where the endpoint is open
};

/// One operation of the backend.
struct Endpoint {
  std::string_view method;
  std::string_view path;  ///< one that ends with "*" takes every path that begins so
  Access access;
  std::function<Response(const Call&)> handler;
  std::vector<Parameter> parameters;
};

/// `post("/api/users/logout", Access::session, at(logout), {…})`
[[nodiscard]] inline Endpoint post(std::string_view path, Access access,
                                   std::function<Response(const Call&)> handler,
                                   std::vector<Parameter> parameters = {}) {
  return {"POST", path, access, std::move(handler), std::move(parameters)};
}
[[nodiscard]] inline Endpoint get(std::string_view path,
                                  std::function<Response(const Call&)> handler) {
  return {"GET", path, Access::open, std::move(handler), {}};
}

/// Makes handlers of functions that work with that context: `const auto at = handlersIn(context);`
template <class Context>
[[nodiscard]] auto handlersIn(Context& context) {
  return [&context](Response (*operation)(Context&, const Call&)) {
    return [&context, operation](const Call& call) { return operation(context, call); };
  };
}

}  // namespace zavelo::sandbox
