#include "sandbox/api/envelope.hpp"

#include <stdexcept>
#include <utility>

namespace zavelo::sandbox {
namespace {

json::Object envelope(std::int64_t code, std::string_view message, json::Array details) {
  return {
      {"code", code}, {"data", nullptr}, {"message", message}, {"codeDetails", std::move(details)}};
}

Response responseOf(const json::Object& object, int status = 200) {
  auto text = json::encode(json::Value(object));
  if (!text) throw std::runtime_error("cannot write the response: " + text.error().text());
  return jsonResponse(std::move(*text), status);
}

}  // namespace

Response jsonResponse(std::string body, int status) {
  return {.status = status, .contentType = "application/json", .body = std::move(body)};
}

Response fail(const Problem& problem) {
  return fail(std::vector{problem});
}

Response fail(const std::vector<Problem>& problems) {
  json::Array details;
  if (problems.size() > 1) {
    for (const auto& [code, message] : problems) {
      details.emplace_back(
          json::Object{{"code", static_cast<std::int64_t>(code)}, {"message", message}});
    }
  }
  const auto& [code, message] = problems.front();
  return responseOf(envelope(static_cast<std::int64_t>(code), message, std::move(details)),
                    code == Code::unauthorized ? 401 : 200);
}

Response failWithStatus(int status, std::string_view message) {
  return responseOf(envelope(status, message, {}), status);
}

Response succeedWith(const Result<std::string, json::Error>& data) {
  if (!data) throw std::runtime_error("cannot write the response: " + data.error().text());
  return jsonResponse("{\"code\":1,\"data\":" + *data + ",\"message\":\"\",\"codeDetails\":[]}");
}

}  // namespace zavelo::sandbox
