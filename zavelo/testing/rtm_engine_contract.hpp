#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::testing {

/// An engine whose kits shall keep the contract of agora_rtm_kit.hpp. Every clause wants a world of
/// its own: nobody is logged in yet.
class RtmEngineUnderTest {
 public:
  virtual ~RtmEngineUnderTest() = default;
  /// Kits of one engine under test hear each other.
  [[nodiscard]] virtual std::shared_ptr<AgoraRtmKit> createKit(
      std::weak_ptr<AgoraRtmDelegate> delegate) = 0;
  /// Lets the engine work until the condition holds; false when it has waited long enough.
  virtual bool waitUntil(const std::function<bool()>& holds) = 0;

  // For an engine whose service runs on several machines.

  /// Called after each operation, to wait until its effects are everywhere.
  virtual void settle() {}
  /// Whether a text to an absent user fails; not every service can tell.
  [[nodiscard]] virtual bool noticesAbsentPeers() const { return true; }
};

/// One thing that every engine does. What is broken about it is told in words; empty: it holds.
struct RtmContractClause {
  std::string_view name;
  std::string (*check)(RtmEngineUnderTest& engine);
};

/// What a new engine runs to show that it can take the place of another, in whatever framework its
/// tests use:
///
///     for (const auto& clause : rtmEngineContract()) {
///       MyEngineUnderTest engine;
///       EXPECT_EQ(clause.check(engine), "") << clause.name;
///     }
[[nodiscard]] ZAVELO_EXPORT std::span<const RtmContractClause> rtmEngineContract();

}  // namespace zavelo::testing
