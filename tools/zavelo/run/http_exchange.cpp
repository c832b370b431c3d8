#include "tools/zavelo/run/http_exchange.hpp"

#include <future>
#include <utility>

#include "zavelo/platform/curl_http_session.hpp"

namespace zavelo::command {

Result<std::string, std::string> exchange(HttpRequest request) {
  std::promise<HttpReply> answer;
  CurlHttpSession session;
  const std::string url = request.url;
  const auto task = session.send(
      std::move(request), [&answer](HttpReply reply) { answer.set_value(std::move(reply)); });
  HttpReply reply = answer.get_future().get();
  if (reply.failure) return Failure{url + ": " + reply.failure->description};
  if (reply.status != 200) return Failure{url + ": status " + std::to_string(*reply.status)};
  return std::move(reply.body);
}

}  // namespace zavelo::command
