#include "sandbox/control/faults.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "sandbox/api/envelope.hpp"
#include "sandbox/control/fault_header.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 7> names{{
    {FaultKind::delay, "delay"},
    {FaultKind::cut, "cut"},
    {FaultKind::refuse, "refuse"},
    {FaultKind::unauthorized, "unauthorized"},
    {FaultKind::code, "code"},
    {FaultKind::wrongType, "wrongType"},
    {FaultKind::invalidJson, "invalidJson"},
}};

json::Value otherType(const json::Value& value) {
  if (const auto* object = value.as<json::Object>()) {
    json::Object changed;
    for (const auto& [key, member] : *object) changed.set(key, otherType(member));
    return changed;
  }
  if (const auto* array = value.as<json::Array>()) {
    json::Array changed;
    for (const auto& element : *array) changed.push_back(otherType(element));
    return changed;
  }
  return value.as<std::string>() != nullptr ? json::Value(1) : json::Value("wrong type");
}

Response withWrongTypes(Response response) {
  const auto envelope = json::decode<json::Value>(response.body);
  const auto* object = envelope ? envelope->as<json::Object>() : nullptr;
  const auto* data = object != nullptr ? object->find("data") : nullptr;
  if (data == nullptr) return response;
  json::Object changed = *object;
  changed.set("data", otherType(*data));
  if (auto text = json::encode(json::Value(std::move(changed)))) response.body = std::move(*text);
  return response;
}

Response cutShort(Response response) {
  response.body.resize(response.body.size() / 2);
  return response;
}

Response deliveredAs(Response response, Delivery delivery) {
  response.delivery = delivery;
  return response;
}

}  // namespace

std::string_view nameOf(FaultKind kind) {
  return std::ranges::find(names, kind, &decltype(names)::value_type::first)->second;
}

std::optional<FaultKind> faultKindOf(std::string_view name) {
  const auto found = std::ranges::find(names, name, &decltype(names)::value_type::second);
  return found == names.end() ? std::nullopt : std::optional(found->first);
}

void FaultDesk::add(FaultRule rule) {
  const std::scoped_lock lock(mutex_);
  rules_.push_back(std::move(rule));
}

void FaultDesk::clear() {
  const std::scoped_lock lock(mutex_);
  rules_.clear();
}

std::vector<FaultRule> FaultDesk::pending() const {
  const std::scoped_lock lock(mutex_);
  return rules_;
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

std::optional<FaultRule> FaultDesk::take(std::string_view path) {
  if (!path.starts_with("/api/")) return {};
  const std::scoped_lock lock(mutex_);
  const auto rule = std::ranges::find_if(rules_, [&](const FaultRule& candidate) {
    return candidate.endpoint == "*" || candidate.endpoint == path;
  });
  if (rule == rules_.end()) return {};
  FaultRule taken = *rule;
  if (--rule->count == 0) rules_.erase(rule);
  return taken;
}

Response FaultDesk::around(const Request& request, const std::function<Response()>& proceed) {
  const auto rule = take(request.path);
  if (!rule) return proceed();
  Response response = spoilt(*rule, proceed);
  response.headers.emplace_back(faultHeader, nameOf(rule->kind));
  return response;
}

Response FaultDesk::spoilt(const FaultRule& rule, const std::function<Response()>& proceed) {
  switch (rule.kind) {
    case FaultKind::delay:
      wait(rule.delay);
      return proceed();
    case FaultKind::cut:
      return deliveredAs(proceed(), Delivery::cutMidBody);
    case FaultKind::refuse:
      return deliveredAs({}, Delivery::none);
    case FaultKind::unauthorized:
      return fail({Code::unauthorized, "Unauthorized!"});
    case FaultKind::code:
      return fail({static_cast<Code>(rule.code), rule.message});
    case FaultKind::wrongType:
      return withWrongTypes(proceed());
    case FaultKind::invalidJson:
      return cutShort(proceed());
  }
  return proceed();
}

}  // namespace zavelo::sandbox
