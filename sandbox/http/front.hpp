#pragma once

#include <cstddef>
#include <memory>

namespace zavelo::sandbox {

class Connection;
class Service;

/// Speaks HTTP/1.1 on a connection: reads requests, asks the service, writes its responses. No
/// exception leaves it, whatever a client sends or the service throws.
class Front {
 public:
  /// A larger body is answered 413. Room for an upload of 16 MB and the form around it.
  static constexpr std::size_t bodyLimit = 16 * 1024 * 1024 + 64 * 1024;

  explicit Front(Service& service);
  ~Front();

  /// Serves request after request until either side ends it. On many threads at once.
  void serve(Connection& connection);

 private:
  class Server;
  std::unique_ptr<Server> server_;
};

}  // namespace zavelo::sandbox
