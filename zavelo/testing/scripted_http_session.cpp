#include "zavelo/testing/scripted_http_session.hpp"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace zavelo::testing {

namespace {

/// What the script says to one request: a reply, or nothing when the request gets lost.
using Outcome = std::optional<HttpReply>;

void tell(HttpReplyHandler done, Outcome outcome) {
  if (outcome) done(std::move(*outcome));
}

HttpReply failed(HttpFailure failure) {
  HttpReply reply;
  reply.failure = std::move(failure);
  return reply;
}

HttpReply cancelled() {
  return failed({HttpFailure::Kind::cancelled, "the request was cancelled"});
}

}  // namespace

struct ScriptedHttpSession::State {
  struct Waiting {
    const void* task;
    HttpReplyHandler done;
  };

  std::mutex mutex;
  std::vector<HttpRequest> requests;
  std::deque<Outcome> script;
  std::deque<Waiting> waiting;

  void add(Outcome outcome) {
    HttpReplyHandler done;
    {
      const std::lock_guard lock(mutex);
      if (waiting.empty()) return script.push_back(std::move(outcome));
      done = std::move(waiting.front().done);
      waiting.pop_front();
    }
    tell(std::move(done), std::move(outcome));
  }

  void cancel(const void* task) {
    HttpReplyHandler done;
    {
      const std::lock_guard lock(mutex);
      std::erase_if(waiting, [&](Waiting& entry) {
        if (entry.task != task) return false;
        done = std::move(entry.done);
        return true;
      });
    }
    if (done) done(cancelled());
  }
};

namespace {

template <class State>
class ScriptedTask final : public HttpTask {
 public:
  explicit ScriptedTask(std::weak_ptr<State> state) : state_(std::move(state)) {}
  void cancel() override {
    if (const auto state = state_.lock()) state->cancel(this);
  }

 private:
  const std::weak_ptr<State> state_;
};

}  // namespace

ScriptedHttpSession::ScriptedHttpSession() : state_(std::make_shared<State>()) {}

ScriptedHttpSession::~ScriptedHttpSession() {
  std::deque<State::Waiting> rest;
  {
    const std::lock_guard lock(state_->mutex);
    rest.swap(state_->waiting);
  }
  for (auto& entry : rest) entry.done(cancelled());
}

std::shared_ptr<HttpTask> ScriptedHttpSession::send(HttpRequest request, HttpReplyHandler done) {
  auto task = std::make_shared<ScriptedTask<State>>(state_);
  Outcome outcome;
  {
    const std::lock_guard lock(state_->mutex);
    state_->requests.push_back(std::move(request));
    if (state_->script.empty()) {
      state_->waiting.push_back({task.get(), std::move(done)});
      return task;
    }
    outcome = std::move(state_->script.front());
    state_->script.pop_front();
  }
  tell(std::move(done), std::move(outcome));
  return task;
}

void ScriptedHttpSession::reply(int status, std::string body) {
  state_->add(HttpReply{.status = status, .headers = {}, .body = std::move(body), .failure = {}});
}

void ScriptedHttpSession::fail(HttpFailure failure) {
  state_->add(failed(std::move(failure)));
}

void ScriptedHttpSession::lose() {
  state_->add(std::nullopt);
}

std::vector<HttpRequest> ScriptedHttpSession::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::size_t ScriptedHttpSession::waiting() const {
  const std::lock_guard lock(state_->mutex);
  return state_->waiting.size();
}

}  // namespace zavelo::testing
