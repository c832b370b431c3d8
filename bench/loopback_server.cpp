#include "bench/loopback_server.hpp"

#include <httplib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <stdexcept>

namespace zavelo::bench {
namespace {

std::string& url() {
  static std::string text;
  return text;
}

std::string compressed(const std::string& text) {
  uLongf size = compressBound(text.size());
  std::string out(size, '\0');
  compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
           text.size());
  out.resize(size);
  return out;
}

/// Answers every call with the same body, which is compressed once: httplib would do so each time,
/// and take a hundred times longer than the call.
[[noreturn]] void serve(const std::string& body, int portPipe) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  httplib::Server server;
  server.set_keep_alive_max_count(1'000'000'000);
  server.set_keep_alive_timeout(600);
  server.set_tcp_nodelay(true);
  server.new_task_queue = [] { return new httplib::ThreadPool(32); };
  server.Post(".*",
              [reply = compressed(body)](const httplib::Request&, httplib::Response& response) {
                response.set_header("Content-Encoding", "deflate");
                response.set_content_provider(reply.size(), "application/json",
                                              [&](std::size_t from, std::size_t size, auto& sink) {
                                                return sink.write(reply.data() + from, size);
                                              });
              });
  const int port = server.bind_to_any_port("127.0.0.1");
  if (write(portPipe, &port, sizeof port) == sizeof port) server.listen_after_bind();
  _exit(1);
}

}  // namespace

const std::string& loopbackUrl() {
  return url();
}

LoopbackServer::LoopbackServer(const std::string& body) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ == 0) serve(body, ends[1]);
  int port = 0;
  if (read(ends[0], &port, sizeof port) != sizeof port) throw std::runtime_error("no server");
  close(ends[0]);
  close(ends[1]);
  url() = "http://127.0.0.1:" + std::to_string(port);
}

LoopbackServer::~LoopbackServer() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

}  // namespace zavelo::bench
