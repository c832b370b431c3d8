#include <array>
#include <cstdio>
#include <memory>
#include <utility>

#include "tools/zavelo/operations/page_walk.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/library.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "tools/zavelo/terminal/progress_line.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo::command {
namespace {

/// Collects the notifications about the session.
struct Notifications {
  std::vector<std::string> posted;
  std::vector<ObserverToken> tokens;

  Notifications() {
    for (const auto name : {ZaveloBanned, ZaveloDidLogInAnotherDevice, ZaveloDidRefreshTokenFailed})
      tokens.push_back(platform::notifications()->addObserver(
          std::string(name),
          [this](const Notification& notification) { posted.emplace_back(notification.name); }));
  }
};

/// Waits for the operation on its main queue; an interruption cancels it.
Result<JsonResult, ArgumentError> answerOf(const Operation& operation, const json::Object& given,
                                           MainQueue& queue) {
  JsonResult answer = std::string();
  auto call = operation.invoke(operation.arguments, given, [&](JsonResult result) {
    answer = std::move(result);
    queue.stop();
  });
  if (!call) return Failure{std::move(call).error()};
  const OnSignal cancelling([call = *call] { call.cancel(); });
  queue.run();
  return answer;
}

/// The same with what all pages hold.
Result<JsonResult, ArgumentError> allPagesOf(const Operation& operation, json::Object given,
                                             MainQueue& queue) {
  PageWalk walk;
  ProgressLine line;
  while (true) {
    auto page = answerOf(operation, given, queue);
    if (!page || !*page) return page;
    const auto* cursor = given.find("nextId")->as<std::int64_t>();
    const auto next = walk.take(page->value(), cursor == nullptr ? 0 : *cursor);
    if (!next) return JsonResult(Failure{next.error()});
    if (!*next) return walk.all();
    line.show(walk.progress());
    given.set("nextId", **next);
  }
}

ExitStatus shown(const Operation& operation, const std::string& result, const Output& output) {
  if (!operation.hasResult) return output.result(result, "done\n");
  if (operation.readable == nullptr || !output.isForPerson()) return output.result(result);
  return output.result(result, operation.readable(result));
}

}  // namespace

int runOperation(const OperationRequest& request, const GlobalOptions& options,
                 const Output& output) {
  const Operation& operation = *request.operation;
  const auto given = jsonArguments(operation.arguments, request.arguments);
  if (!given) return output.usageError(given.error(), request.help);
  const Library library = Library::start(options, output);
  if (const auto failure = library.store->failure()) return output.error("store", *failure);

  const Notifications notifications;
  const auto answer = request.isAll ? allPagesOf(operation, *given, *library.queue)
                                    : answerOf(operation, *given, *library.queue);
  if (!answer) return output.usageError(answer.error(), request.help);
  const JsonResult& result = answer.value();
  int status = succeeded;
  if (result) {
    status = shown(operation, result.value(), output);
  } else {
    status = output.error(result.error(), notifications.posted);
    status = Interruption::shared().status().value_or(status);
  }
  if (const auto failure = library.store->failure()) return output.error("store", *failure);
  return status;
}

}  // namespace zavelo::command
