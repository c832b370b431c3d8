#include "sandbox/control/faults.hpp"

#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/control/fault_header.hpp"
#include "zavelo/testing/fault_effect.hpp"

namespace zavelo::sandbox {
namespace {

Response deliveredAs(Response response, Delivery delivery) {
  response.delivery = delivery;
  return response;
}

Response answered(testing::FaultAnswer answer) {
  return jsonResponse(std::move(answer.body), answer.status);
}

Response withSpoiltBody(testing::FaultKind kind, Response response) {
  response.body = testing::spoiltBody(kind, std::move(response.body));
  return response;
}

/// The answer to a call whose time has come.
Response spoilt(const testing::Fault& fault, const std::function<Response()>& proceed) {
  using enum testing::FaultKind;
  switch (fault.kind) {
    case delay:
      return proceed();
    case cut:
      return deliveredAs(proceed(), Delivery::cutMidBody);
    case refuse:
      return deliveredAs({}, Delivery::none);
    case unauthorized:
    case code:
      return answered(answerOf(fault));
    case wrongType:
    case invalidJson:
      return withSpoiltBody(fault.kind, proceed());
  }
  return proceed();
}

}  // namespace

std::optional<std::string> FaultInjector::add(const std::vector<testing::Fault>& faults) {
  for (const auto& fault : faults) {
    if (fault.endpoint != "*" && !serves_(fault.endpoint)) {
      return "\"endpoint\": there is no " + fault.endpoint;
    }
  }
  plan_.add(faults);
  return {};
}

void FaultInjector::clear() {
  plan_.clear();
  const std::scoped_lock lock(mutex_);
  ++clearings_;
  ended_.notify_all();
}

void FaultInjector::stop() {
  const std::scoped_lock lock(mutex_);
  stopped_ = true;
  ended_.notify_all();
}

std::int64_t FaultInjector::clearings() {
  const std::scoped_lock lock(mutex_);
  return clearings_;
}

void FaultInjector::wait(std::chrono::milliseconds time, std::int64_t clearings) {
  std::unique_lock lock(mutex_);
  ended_.wait_for(lock, time, [&] { return stopped_ || clearings_ != clearings; });
}

Response FaultInjector::around(const Request& request, const std::function<Response()>& proceed) {
  // Asked first: clearing the faults after this ends the delay, even one that has not begun.
  const auto before = clearings();
  const auto fault = plan_.take(request.path);
  if (!fault) return proceed();
  if (fault->kind == testing::FaultKind::delay) wait(fault->delay, before);
  Response response = spoilt(*fault, proceed);
  response.headers.emplace_back(faultHeader, nameOf(fault->kind));
  return response;
}

}  // namespace zavelo::sandbox
