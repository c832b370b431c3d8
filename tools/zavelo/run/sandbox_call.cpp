#include "tools/zavelo/run/sandbox_call.hpp"

#include <utility>

#include "tools/zavelo/run/http_exchange.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

constexpr std::string_view usualSandbox = "http://127.0.0.1:8080";

HttpRequest requestFor(std::string url, std::optional<std::string> body) {
  HttpRequest request;
  request.url = std::move(url);
  request.replyLimit = std::size_t{128} * 1024 * 1024;  // a seed may have 64 MB, escaped more
  if (!body) return request;
  request.method = ZVHTTPMethod::post;
  request.headers = {{"Content-Type", "application/json"}};
  request.body = *std::move(body);
  return request;
}

Result<json::Object, std::string> dataIn(const std::string& answer) {
  const auto envelope = json::decode<json::Value>(answer);
  const auto* object = envelope ? envelope->as<json::Object>() : nullptr;
  const auto* code = object == nullptr ? nullptr : object->find("code");
  const auto* data = object == nullptr ? nullptr : object->find("data");
  const auto* message = object == nullptr ? nullptr : object->find("message");
  const auto* content = data == nullptr ? nullptr : data->as<json::Object>();
  if (code != nullptr && *code == json::Value(1) && content != nullptr) return *content;
  const auto* text = message == nullptr ? nullptr : message->as<std::string>();
  return Failure{std::string(text == nullptr || text->empty() ? noSandbox : *text)};
}

}  // namespace

Result<json::Object, std::string> callSandbox(const GlobalOptions& options, std::string_view path,
                                              std::optional<std::string> body) {
  const std::string origin = options.api.empty() ? std::string(usualSandbox) : options.api;
  const auto answer = exchange(requestFor(origin + std::string(path), std::move(body)));
  if (!answer) return Failure{answer.error()};
  return dataIn(*answer);
}

}  // namespace zavelo::command
