#include "zavelo/testing/fault_effect.hpp"

#include <utility>

#include "zavelo/json/json.hpp"

namespace zavelo::testing {

namespace {

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

std::string withWrongTypes(std::string body) {
  const auto envelope = json::decode<json::Value>(body);
  const auto* object = envelope ? envelope->as<json::Object>() : nullptr;
  const auto* data = object != nullptr ? object->find("data") : nullptr;
  if (data == nullptr) return body;
  json::Object changed = *object;
  changed.set("data", otherType(*data));
  auto text = json::encode(json::Value(std::move(changed)));
  return text ? std::move(*text) : std::move(body);
}

constexpr int unauthorizedStatus = 401;

std::string envelopeOf(std::int64_t code, const std::string& message) {
  const json::Value envelope = json::Object{
      {"code", code}, {"data", nullptr}, {"message", message}, {"codeDetails", json::Array{}}};
  const auto text = json::encode(envelope);
  return text ? text.value() : envelopeOf(code, "?");  // a message that is no UTF-8
}

}  // namespace

FaultAnswer answerOf(const Fault& fault) {
  if (fault.kind == FaultKind::unauthorized)
    return {unauthorizedStatus, envelopeOf(unauthorizedStatus, "Unauthorized!")};
  return {200, envelopeOf(fault.code, fault.message)};
}

std::string spoiltBody(FaultKind kind, std::string body) {
  if (kind == FaultKind::wrongType) return withWrongTypes(std::move(body));
  if (kind == FaultKind::invalidJson) body.resize(body.size() / 2);
  return body;
}

}  // namespace zavelo::testing
