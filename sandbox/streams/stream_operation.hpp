#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/api/throttle.hpp"
#include "sandbox/settings/settings.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/sessions.hpp"

namespace zavelo::sandbox {

/// What the endpoints about streams work with. Outlives them.
struct StreamContext {
  Database& database;
  const Sessions& sessions;
  Throttle& throttle;  ///< for hashing
  const Settings& settings;
  std::string site;  ///< "http://127.0.0.1:8080"
};

/// Who may carry out an operation on a stream.
enum class Who : std::uint8_t {
  anybody,  ///< signed in, guests included
  viewer,   ///< the same, but a locked stream must have been unlocked
  owner,
};

/// Statuses of a stream, as bits.
enum class When : std::uint8_t {
  created = 1,
  live = 2,
  paused = 4,
  running = live | paused,
  unended = created | running,
  ended = 8,
  unbegunOrEnded = created | ended,
  ever = unended | ended,
};

/// A call about a stream that was found to be allowed.
struct StreamCall {
  StreamContext& context;
  Transaction& transaction;
  const Stream& stream;
  const Arguments& arguments;
  const Identity& identity;
  Time now;
};

/// One operation on the stream that the parameter `slug` names.
struct StreamOperation {
  std::string_view path;
  Who who;
  When when;
  std::function<Response(const StreamCall&)> run;
  std::vector<Parameter> parameters{};  ///< beside the slug
};

/// Carries out the operation, all of it or nothing, or says why it cannot be done: 750 for an
/// unknown stream or one in another stage of its life, 1098, 1059.
[[nodiscard]] Response perform(StreamContext& context, const StreamOperation& operation,
                               const Call& call);

[[nodiscard]] std::vector<Endpoint> endpointsOf(StreamContext& context,
                                                const std::vector<StreamOperation>& operations);

}  // namespace zavelo::sandbox
