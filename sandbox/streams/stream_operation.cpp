#include "sandbox/streams/stream_operation.hpp"

#include <optional>
#include <utility>

#include "sandbox/streams/stream_record.hpp"

namespace zavelo::sandbox {
namespace {

bool isIn(StreamStatus status, When when) {
  return (static_cast<unsigned>(when) >> static_cast<unsigned>(status) & 1U) != 0;
}

std::optional<Problem> refusal(Transaction& transaction, const Stream& stream,
                               const StreamOperation& operation, const Identity& user) {
  if (operation.who == Who::owner && user.member != stream.owner) {
    return Problem{Code::noPermission, "Only the stream's owner can do this"};
  }
  if (operation.who == Who::viewer && !isOpenTo(transaction, stream, user)) {
    return Problem{Code::noPermission, "This stream is locked"};
  }
  if (isIn(stream.status, operation.when)) return {};
  switch (stream.status) {
    case StreamStatus::ended:
      return Problem{Code::streamEnd, "This stream has ended"};
    case StreamStatus::created:
      return parameterProblem("slug", "this stream has not begun");
    case StreamStatus::live:
      return parameterProblem("slug", "this stream is live");
    case StreamStatus::paused:
      return parameterProblem("slug", "this stream is paused");
  }
  return {};
}

}  // namespace

Response perform(StreamContext& context, const StreamOperation& operation, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    const auto stream = streamBySlug(transaction, call.arguments[slugParameter]);
    if (!stream) return fail(parameterProblem("slug", "there is no such stream"));
    if (const auto problem = refusal(transaction, *stream, operation, call.identity)) {
      return fail(*problem);
    }
    return operation.run(
        {context, transaction, *stream, call.arguments, call.identity, context.sessions.now()});
  });
}

std::vector<Endpoint> endpointsOf(StreamContext& context,
                                  const std::vector<StreamOperation>& operations) {
  std::vector<Endpoint> endpoints;
  for (const auto& operation : operations) {
    std::vector<Parameter> parameters{slugParameter};
    parameters.insert(parameters.end(), operation.parameters.begin(), operation.parameters.end());
    const auto access = operation.who == Who::owner ? Access::member : Access::session;
    endpoints.push_back(post(
        operation.path, access,
        [&context, operation](const Call& call) { return perform(context, operation, call); },
        std::move(parameters)));
  }
  return endpoints;
}

}  // namespace zavelo::sandbox
