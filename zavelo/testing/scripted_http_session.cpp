#include "zavelo/testing/scripted_http_session.hpp"

#include <algorithm>
#include <deque>
#include <iterator>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "zavelo/testing/fault_effect.hpp"

namespace zavelo::testing {

namespace {

/// What the script says to one request: a reply, or nothing when the request gets lost.
using Outcome = std::optional<HttpReply>;

HttpReply failed(HttpFailure failure) {
  HttpReply reply;
  reply.failure = std::move(failure);
  return reply;
}

HttpReply cancelled() {
  return failed({HttpFailure::Kind::cancelled, "the request was cancelled"});
}

std::string_view pathOf(std::string_view url) {
  const auto scheme = url.find("://");
  const auto start = url.find('/', scheme == std::string_view::npos ? 0 : scheme + 3);
  if (start == std::string_view::npos) return "/";
  return url.substr(start, url.find_first_of("?#", start) - start);
}

/// What the faults answer that keep a call from being done; none: the call is done.
std::optional<HttpReply> insteadOf(const Fault& fault) {
  if (fault.kind == FaultKind::refuse)
    return failed({HttpFailure::Kind::broken, "the connection was closed before the answer"});
  if (fault.kind != FaultKind::unauthorized && fault.kind != FaultKind::code) return {};
  auto answer = answerOf(fault);
  return HttpReply{answer.status, {}, std::move(answer.body), {}};
}

HttpReply spoilt(FaultKind kind, HttpReply reply) {
  if (reply.failure) return reply;
  reply.body = spoiltBody(kind, std::move(reply.body));
  if (kind == FaultKind::cut) {
    reply.body.resize(reply.body.size() / 2);
    reply.failure = {HttpFailure::Kind::broken, "the connection was closed inside the reply"};
  }
  return reply;
}

}  // namespace

struct ScriptedHttpSession::State {
  struct Request {
    const void* task;
    HttpReplyHandler done;
    std::optional<Fault> fault;
  };
  struct Delayed {
    Request request;
    std::chrono::milliseconds due;
    HttpReply reply;
  };

  std::mutex mutex;
  std::vector<HttpRequest> requests;
  std::deque<Outcome> script;
  std::deque<Request> waiting;
  std::deque<Delayed> delayed;  // in the order in which they are due
  std::chrono::milliseconds now{0};
  FaultPlan faults;

  void ask(HttpRequest sent, Request request) {
    auto instead = request.fault ? insteadOf(*request.fault) : std::nullopt;
    Outcome outcome;
    {
      // At once: requests are remembered in the order in which they take replies.
      const std::lock_guard lock(mutex);
      requests.push_back(std::move(sent));
      if (!instead) {
        if (script.empty()) return waiting.push_back(std::move(request));
        outcome = std::move(script.front());
        script.pop_front();
      }
    }
    if (instead) return request.done(std::move(*instead));
    tell(std::move(request), std::move(outcome));
  }

  void add(Outcome outcome) {
    Request request;
    {
      const std::lock_guard lock(mutex);
      if (waiting.empty()) return script.push_back(std::move(outcome));
      request = std::move(waiting.front());
      waiting.pop_front();
    }
    tell(std::move(request), std::move(outcome));
  }

  void tell(Request request, Outcome outcome) {
    if (!outcome) return;
    if (!request.fault) return request.done(std::move(*outcome));
    if (request.fault->kind == FaultKind::delay)
      return hold(std::move(request), *std::move(outcome));
    request.done(spoilt(request.fault->kind, std::move(*outcome)));
  }

  void hold(Request request, HttpReply reply) {
    const std::lock_guard lock(mutex);
    const auto due = now + request.fault->delay;
    const auto next = std::ranges::upper_bound(delayed, due, {}, &Delayed::due);
    delayed.insert(next, {std::move(request), due, std::move(reply)});
  }

  void advance(std::chrono::milliseconds by) {
    std::deque<Delayed> arrived;
    {
      const std::lock_guard lock(mutex);
      now += by;
      const auto later = std::ranges::upper_bound(delayed, now, {}, &Delayed::due);
      std::move(delayed.begin(), later, std::back_inserter(arrived));
      delayed.erase(delayed.begin(), later);
    }
    for (auto& each : arrived) each.request.done(std::move(each.reply));
  }

  void cancel(const void* task) {
    HttpReplyHandler done;
    {
      const std::lock_guard lock(mutex);
      const auto takes = [&](Request& request) {
        if (request.task != task) return false;
        done = std::move(request.done);
        return true;
      };
      std::erase_if(waiting, takes);
      std::erase_if(delayed, [&](Delayed& each) { return takes(each.request); });
    }
    if (done) done(cancelled());
  }

  void end() {
    std::deque<Request> rest;
    {
      const std::lock_guard lock(mutex);
      rest.swap(waiting);
      for (auto& each : std::exchange(delayed, {})) rest.push_back(std::move(each.request));
    }
    for (auto& request : rest) request.done(cancelled());
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
  state_->end();
}

std::shared_ptr<HttpTask> ScriptedHttpSession::send(HttpRequest request, HttpReplyHandler done) {
  auto task = std::make_shared<ScriptedTask<State>>(state_);
  auto fault = state_->faults.take(pathOf(request.url));
  state_->ask(std::move(request), {task.get(), std::move(done), std::move(fault)});
  return task;
}

void ScriptedHttpSession::reply(int status, std::string body) {
  reply(HttpReply{.status = status, .body = std::move(body)});
}

void ScriptedHttpSession::reply(HttpReply reply) {
  state_->add(std::move(reply));
}

void ScriptedHttpSession::fail(HttpFailure failure) {
  state_->add(failed(std::move(failure)));
}

void ScriptedHttpSession::lose() {
  state_->add(std::nullopt);
}

FaultPlan& ScriptedHttpSession::faults() {
  return state_->faults;
}

void ScriptedHttpSession::advance(std::chrono::milliseconds by) {
  state_->advance(by);
}

std::vector<HttpRequest> ScriptedHttpSession::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::size_t ScriptedHttpSession::waiting() const {
  const std::lock_guard lock(state_->mutex);
  return state_->waiting.size() + state_->delayed.size();
}

}  // namespace zavelo::testing
