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

}  // namespace

std::optional<std::string> FaultDesk::add(const std::vector<testing::Fault>& faults) {
  for (const auto& fault : faults) {
    if (fault.endpoint != "*" && !serves_(fault.endpoint)) {
      return "\"endpoint\": there is no " + fault.endpoint;
    }
  }
  plan_.add(faults);
  return {};
}

void FaultDesk::stop() {
  const std::scoped_lock lock(mutex_);
  stopped_ = true;
  stopping_.notify_all();
}

void FaultDesk::wait(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  stopping_.wait_for(lock, time, [this] { return stopped_; });
}

Response FaultDesk::around(const Request& request, const std::function<Response()>& proceed) {
  const auto fault = plan_.take(request.path);
  if (!fault) return proceed();
  Response response = spoilt(*fault, proceed);
  response.headers.emplace_back(faultHeader, nameOf(fault->kind));
  return response;
}

Response FaultDesk::spoilt(const testing::Fault& fault, const std::function<Response()>& proceed) {
  using enum testing::FaultKind;
  switch (fault.kind) {
    case delay:
      wait(fault.delay);
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

}  // namespace zavelo::sandbox
