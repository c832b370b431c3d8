#include "sandbox/http/front.hpp"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <string>
#include <string_view>

#include "sandbox/http/connection.hpp"
#include "sandbox/http/form.hpp"
#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::chrono::milliseconds idlePatience{30'000};
constexpr std::size_t headerLimit = 64 * 1024;
/// A body that is too large is still read up to here, so that the client gets its 413.
constexpr std::size_t readLimit = 64 * 1024 * 1024;
constexpr std::size_t pathLimit = 1024;

/// The connection that this thread serves: a handler runs inside process_request.
thread_local Connection* current = nullptr;

class ConnectionStream final : public httplib::Stream {
 public:
  explicit ConnectionStream(Connection& connection) : connection_(connection) {}
  bool is_readable() const override { return connection_.hasNext(); }
  bool is_writable() const override { return true; }
  ssize_t read(char* to, size_t size) override { return connection_.read(to, size); }
  ssize_t write(const char* from, size_t size) override { return connection_.write(from, size); }
  void get_remote_ip_and_port(std::string& ip, int& port) const override { unnamed(ip, port); }
  void get_local_ip_and_port(std::string& ip, int& port) const override { unnamed(ip, port); }
  socket_t socket() const override { return connection_.socket(); }

 private:
  static void unnamed(std::string& ip, int& port) {
    ip = "127.0.0.1";
    port = 0;
  }
  Connection& connection_;
};

bool mayHaveBody(const httplib::Request& received) {
  constexpr std::array<std::string_view, 4> methods{"POST", "PUT", "PATCH", "DELETE"};
  return std::ranges::find(methods, received.method) != methods.end();
}

bool announcesBody(const httplib::Request& received) {
  return received.has_header("Transfer-Encoding") ||
         (received.has_header("Content-Length") &&
          received.get_header_value("Content-Length") != "0");
}

/// httplib adds the addresses of both sides to what was received.
bool isFromHttplib(std::string_view name) {
  constexpr std::array<std::string_view, 4> added{"LOCAL_ADDR", "LOCAL_PORT", "REMOTE_ADDR",
                                                  "REMOTE_PORT"};
  return std::ranges::find(added, name) != added.end();
}

constexpr std::string_view formType = "multipart/form-data";

/// httplib's own reader of forms refuses sound ones: without a line end behind them, or with an
/// epilogue. With a blank before its type, a form is a body like any other to it.
void hideForm(httplib::Request& received) {
  if (!received.is_multipart_form_data()) return;
  const auto type = received.get_header_value("Content-Type");
  received.headers.erase("Content-Type");
  received.set_header("Content-Type", " " + type);
}

Request requestFrom(const httplib::Request& received) {
  Request request{.method = received.method, .path = received.path};
  if (const auto mark = received.target.find('?'); mark != std::string::npos) {
    request.query = received.target.substr(mark + 1);
  }
  for (const auto& [name, value] : received.headers) {
    if (isFromHttplib(name)) continue;
    request.headers.emplace_back(
        name, value.substr(std::min(value.find_first_not_of(' '), value.size())));
  }
  const auto type = request.header("Content-Type");
  request.isForm = equalIgnoringCase(type.substr(0, formType.size()), formType);
  return request;
}

}  // namespace

/// httplib's parser and writer. Its own sockets and threads are not used: it cannot be told to
/// close a connection early, and its idle connections each occupy one of a few threads.
class Front::Server final : public httplib::Server {
 public:
  explicit Server(Service& service) : service_(service) {
    set_payload_max_length(bodyLimit);
    // What its Keep-Alive header promises.
    set_keep_alive_timeout(idlePatience.count() / 1000);
    set_keep_alive_max_count(1'000'000);
    set_pre_routing_handler([this](const auto& received, auto& sent) {
      return beforeBody(received, sent) ? HandlerResponse::Handled : HandlerResponse::Unhandled;
    });
    const auto withBody = [this](const httplib::Request& received, httplib::Response& sent,
                                 const httplib::ContentReader& body) {
      afterBody(received, sent, body);
    };
    constexpr const char* anyPath = R"([\s\S]*)";
    Post(anyPath, withBody).Put(anyPath, withBody).Patch(anyPath, withBody);
    Delete(anyPath, withBody);
    set_error_handler([this](const httplib::Request&, httplib::Response& sent) {
      if (!sent.body.empty()) return;
      current->closeAfterResponse();
      reject(sent, sent.status, "This is not a sound request");
    });
  }

  void serveNext(Connection& connection) {
    ConnectionStream stream(connection);
    bool closes = false;
    const bool written = process_request(stream, false, closes, [](httplib::Request& received) {
      // Neither compression nor ranges: what the log and a cut body show stays plain.
      received.headers.erase("Accept-Encoding");
      hideForm(received);
      received.ranges.clear();
      // Without a length there is no body (RFC 9112 section 6.3); httplib would read on to the end.
      if (!announcesBody(received)) {
        received.headers.erase("Content-Length");
        received.set_header("Content-Length", "0");
      }
    });
    if (!written || closes) connection.closeAfterResponse();
  }

 private:
  /// What can be answered without a body. Returns whether it was.
  bool beforeBody(const httplib::Request& received, httplib::Response& sent) {
    if (received.path.size() > pathLimit) {
      current->closeAfterResponse();
      reject(sent, 414, "The address is too long");
      return true;
    }
    if (mayHaveBody(received)) return refuseBody(received, sent);
    if (announcesBody(received)) current->closeAfterResponse();
    answer(requestFrom(received), sent);
    return true;
  }

  bool refuseBody(const httplib::Request& received, httplib::Response& sent) {
    if (!received.has_header("Content-Encoding")) return false;
    current->closeAfterResponse();
    reject(sent, 415, "\"Content-Encoding\": a compressed body is not accepted");
    return true;
  }

  void afterBody(const httplib::Request& received, httplib::Response& sent,
                 const httplib::ContentReader& body) {
    Request request = requestFrom(received);
    const bool sound = body([&](const char* data, std::size_t length) {
      request.body.append(data, length);
      return request.body.size() <= bodyLimit;
    });
    if (sound && !request.isForm) return answer(request, sent);
    if (sound) return answerForm(std::move(request), sent);
    current->closeAfterResponse();
    if (sent.status == 413 || request.body.size() > bodyLimit) {
      return reject(sent, 413, "The body is larger than 16 MB");
    }
    reject(sent, 400, "The body was cut short");
  }

  void answerForm(Request request, httplib::Response& sent) {
    auto parts = formParts(request.header("Content-Type"), request.body);
    if (!parts) return reject(sent, 400, "The body is not a sound form");
    request.form = *std::move(parts);
    request.body.clear();
    answer(request, sent);
  }

  void answer(const Request& request, httplib::Response& sent) {
    try {
      send(service_.answer(request), sent);
    } catch (const std::exception& error) {
      reject(sent, 500, error.what());
    } catch (...) {
      reject(sent, 500, "Unknown failure");
    }
  }

  void reject(httplib::Response& sent, int status, std::string_view reason) {
    send(service_.reject(status, reason), sent);
  }

  /// httplib sends bodies of unknown length only from sockets of its own. So this writes the head
  /// too, and what httplib makes of the empty response comes to a closed connection.
  static void stream(const Response& response) {
    std::string head =
        "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: " + response.contentType;
    for (const auto& [name, value] : response.headers) {
      head.append("\r\n").append(name).append(": ").append(value);
    }
    try {
      const SendPiece write = [](std::string_view piece) {
        return current->hasClient() &&
               (piece.empty() || current->write(piece.data(), piece.size()) > 0);
      };
      if (write(head.append("\r\n\r\n"))) response.stream(write);
    } catch (const std::exception&) {
      // The head is out: the client learns by the end of the connection.
    }
    current->refuse();
  }

  static void send(const Response& response, httplib::Response& sent) {
    if (response.stream) return stream(response);
    sent.status = response.status;
    sent.set_content(response.body, response.contentType);
    for (const auto& [name, value] : response.headers) sent.set_header(name, value);
    if (response.delivery == Delivery::cutMidBody) current->cutBodyAfter(response.body.size() / 2);
    if (response.delivery == Delivery::none) current->refuse();
    if (!current->hasNext()) sent.set_header("Connection", "close");
  }

  Service& service_;
};

Front::Front(Service& service) : server_(std::make_unique<Server>(service)) {}

Front::~Front() = default;

void Front::serve(Connection& connection) {
  current = &connection;
  try {
    while (connection.hasNext() && connection.awaitRequest(idlePatience)) {
      connection.allowRequest(headerLimit + readLimit);
      server_->serveNext(connection);
    }
    connection.drain();
  } catch (...) {
    // Nothing that a client sends is worth more than its connection.
  }
  current = nullptr;
}

}  // namespace zavelo::sandbox
