#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "zavelo/platform/http_session.hpp"

namespace zavelo::test {

/// Collects replies, however many come.
class HttpAnswers {
 public:
  [[nodiscard]] HttpReplyHandler handler() {
    return [this](HttpReply reply) {
      const std::lock_guard lock(mutex_);
      replies_.push_back(std::move(reply));
      arrived_.notify_all();
    };
  }

  /// Hands over what has come, once there are so many.
  std::vector<HttpReply> take(std::size_t count) {
    std::unique_lock lock(mutex_);
    arrived_.wait(lock, [&] { return replies_.size() >= count; });
    return std::exchange(replies_, {});
  }

  [[nodiscard]] std::size_t count() {
    const std::lock_guard lock(mutex_);
    return replies_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<HttpReply> replies_;
};

inline HttpReply fetch(HttpSession& session, HttpRequest request) {
  HttpAnswers answers;
  session.send(std::move(request), answers.handler());
  return std::move(answers.take(1).front());
}

inline HttpRequest get(std::string url) {
  HttpRequest request;
  request.url = std::move(url);
  return request;
}

}  // namespace zavelo::test
