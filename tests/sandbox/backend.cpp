#include "tests/sandbox/backend.hpp"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "zavelo/platform/jpeg.hpp"

namespace zavelo::sandbox {
namespace {

using namespace std::chrono_literals;

Answer answerOf(const httplib::Result& result) {
  if (!result) return {};
  Answer answer{result->status, result->body, result->get_header_value("Content-Type"), {}};
  if (auto value = json::decode<json::Value>(answer.body)) answer.envelope = std::move(*value);
  return answer;
}

httplib::Headers headersWith(const std::string& token) {
  if (token.empty()) return {};
  return {{"Authorization", "bearer " + token}};
}

std::string textOf(const json::Object& object) {
  auto text = json::encode(json::Value(object));
  return text ? *text : throw std::runtime_error(text.error().text());
}

httplib::Client clientOf(std::uint16_t port) {
  httplib::Client client("127.0.0.1", port);
  client.set_read_timeout(60s);
  return client;
}

json::Value memberOf(const json::Value& value, std::string_view key) {
  const auto* object = value.as<json::Object>();
  const auto* member = object != nullptr ? object->find(key) : nullptr;
  return member != nullptr ? *member : json::Value();
}

std::int64_t integerOf(const json::Value& value) {
  return value.as<std::int64_t>() != nullptr ? *value.as<std::int64_t>() : -999;
}

}  // namespace

std::int64_t Answer::code() const {
  return integerOf(memberOf(envelope, "code"));
}

std::string Answer::message() const {
  const auto value = memberOf(envelope, "message");
  return value.as<std::string>() != nullptr ? *value.as<std::string>() : "";
}

json::Value Answer::data(std::string_view path) const {
  json::Value value = memberOf(envelope, "data");
  while (!path.empty()) {
    const auto dot = path.find('.');
    value = memberOf(value, path.substr(0, dot));
    path = dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
  }
  return value;
}

std::string Answer::text(std::string_view path) const {
  const auto value = data(path);
  return value.as<std::string>() != nullptr ? *value.as<std::string>() : "";
}

std::int64_t Answer::integer(std::string_view path) const {
  return integerOf(data(path));
}

Backend::Backend(SandboxOptions options)
    : clock(std::make_shared<testing::ManualClock>(
          std::chrono::sys_days(std::chrono::year(2024) / 5 / 31))) {
  options.port = 0;
  options.clock = clock;
  auto started = Sandbox::start(options);
  if (!started) throw std::runtime_error(started.error());
  sandbox = std::move(*started);
}

Answer Backend::post(const std::string& path, const json::Object& body,
                     const std::string& token) const {
  return answerOf(
      clientOf(port()).Post(path, headersWith(token), textOf(body), "application/json"));
}

Answer Backend::postText(const std::string& path, const std::string& body,
                         const std::string& contentType) const {
  return answerOf(clientOf(port()).Post(path, body, contentType));
}

Answer Backend::upload(const std::string& path,
                       const std::vector<std::pair<std::string, std::string>>& fields,
                       const File& file, const std::string& token) const {
  httplib::MultipartFormDataItems items{{file.field, file.content, "file", file.type}};
  for (const auto& [name, value] : fields) items.push_back({name, value, "", ""});
  return answerOf(clientOf(port()).Post(path, headersWith(token), items));
}

Answer Backend::editProfile(const std::string& token, const std::string& picture,
                            const std::string& dob, const std::string& about) const {
  return upload("/api/users/edit-profile",
                {{"displayName", "Ann"}, {"dob", dob}, {"gender", "f"}, {"about", about}},
                {"profile", picture}, token);
}

Answer Backend::fetch(const std::string& address) const {
  return address.starts_with(sandbox->url()) ? send("GET", address.substr(sandbox->url().size()))
                                             : Answer{};
}

Answer Backend::send(const std::string& method, const std::string& path,
                     const std::vector<std::pair<std::string, std::string>>& headers) const {
  httplib::Request request;
  request.method = method;
  request.path = path;
  for (const auto& [name, value] : headers) request.headers.emplace(name, value);
  return answerOf(clientOf(port()).send(request));
}

Answer Backend::join(const std::string& zaveloId, const std::string& device) const {
  return post("/api/users/zavelo-login",
              {{"zaveloId", zaveloId}, {"deviceUdid", device}, {"deviceType", 1}});
}

Answer Backend::registerMember(const std::string& zaveloId, const std::string& password) const {
  return post("/api/users/zavelo-register", {{"zaveloId", zaveloId}, {"password", password}});
}

Answer Backend::refresh(const std::string& refreshToken) const {
  return post("/api/users/refresh", {{"refreshToken", refreshToken}});
}

json::Object loginBody(const std::string& zaveloId, const std::string& password,
                       const std::string& device) {
  return {{"zaveloId", zaveloId}, {"password", password}, {"deviceUdid", device},
          {"deviceType", 1},      {"latitude", 10.0},     {"longitude", 106.7}};
}

std::string exchange(std::uint16_t port, std::string_view bytes, Ending ending) {
  const int client = ::socket(AF_INET, SOCK_STREAM, 0);
  const timeval patience{20, 0};
  ::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string received;
  if (::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    while (!bytes.empty()) {
      const auto sent = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) break;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    if (ending == Ending::closes) ::shutdown(client, SHUT_WR);
    char buffer[4096];
    ssize_t got = 0;
    // A fuzzer's alarm interrupts what has a time-out (signal(7)).
    while ((got = ::recv(client, buffer, sizeof buffer, 0)) > 0 || (got < 0 && errno == EINTR))
      if (got > 0) received.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(client);
  return received;
}

std::string jpegFile(std::uint32_t width, std::uint32_t height) {
  const ZVImage image{width, height,
                      std::vector<std::byte>(std::size_t{4} * width * height, std::byte{90})};
  const auto file = TurboJpegEncoder().encode(image, 0.5);
  return {reinterpret_cast<const char*>(file->data()), file->size()};
}

}  // namespace zavelo::sandbox
