#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/control/action_outline.hpp"
#include "sandbox/control/control_endpoints.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// What an action is asked to do, and the member and stream that it names.
struct ActionCall {
  ControlContext& context;
  Transaction& transaction;
  const Arguments& arguments;
  const std::optional<std::string>& passwordHash;  ///< of the parameter "password"
  /// What is to happen when the transaction is over, and how many messages went out by it.
  std::function<std::int64_t()>& then;
  std::optional<Member> member{};
  std::optional<Stream> stream{};
};

/// The member that an action is about.
inline constexpr auto actionMemberParameter = text("userName", 1, 64);

/// What an administrator, another device or a host's app would do.
struct Action {
  ActionOutline outline;
  /// How many tokens, members, sessions, streams or messages it concerned.
  std::function<Result<std::int64_t, Problem>(const ActionCall&)> act;
};

}  // namespace zavelo::sandbox
