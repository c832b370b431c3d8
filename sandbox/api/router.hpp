#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/http/message.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// From a request to its endpoint's handler: the site guard, the path and method, who calls, the
/// parameters. Set up first, then called on many threads.
class Router final : public Service {
 public:
  using Identify = std::function<Result<Identity, Problem>(std::string_view accessToken)>;
  using Proceed = std::function<Response()>;
  using Around = std::function<Response(const Request&, const Proceed&)>;

  explicit Router(Identify identify) : identify_(std::move(identify)) {}

  void add(std::vector<Endpoint> endpoints);
  /// Wraps every call of an endpoint; `proceed` is the call itself.
  void wrap(Around around) { around_ = std::move(around); }

  /// Whether any method is served there.
  [[nodiscard]] bool serves(std::string_view path) const;

  /// Of every endpoint, sorted.
  [[nodiscard]] std::vector<std::string> paths() const;

  [[nodiscard]] Response answer(const Request& request) override;
  [[nodiscard]] Response reject(int status, std::string_view reason) override;

 private:
  [[nodiscard]] Response route(const Request& request) const;
  [[nodiscard]] Response call(const Endpoint& endpoint, const Request& request) const;
  [[nodiscard]] Result<Identity, Problem> callerOf(const Endpoint& endpoint,
                                                   const Request& request) const;

  Identify identify_;
  Around around_;
  std::vector<Endpoint> endpoints_;
};

}  // namespace zavelo::sandbox
