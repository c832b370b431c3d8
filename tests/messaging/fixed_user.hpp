#pragma once

#include <memory>
#include <utility>

#include "zavelo/messaging/current_user_source.hpp"

namespace zavelo::test {

/// Who is signed in, as a test says.
class FixedUser final : public ZVCurrentUserSource {
 public:
  explicit FixedUser(std::shared_ptr<const ZVUser> user) : user_(std::move(user)) {}

  static FixedUser nobody() { return FixedUser(nullptr); }
  static FixedUser guest(std::int64_t guestId) {
    auto user = std::make_shared<ZVUser>();
    user->userName = "guest-1";
    user->guestId = guestId;
    return FixedUser(std::move(user));
  }
  static FixedUser member(std::optional<std::int64_t> userId,
                          std::optional<std::string> displayName = {}) {
    auto user = std::make_shared<ZVUser>();
    user->userInfo = std::make_shared<ZVUserInfo>();
    user->userInfo->userId = userId;
    user->userInfo->displayName = std::move(displayName);
    user->userName = "not the profile's";
    return FixedUser(std::move(user));
  }

  [[nodiscard]] std::shared_ptr<const ZVUser> currentUser() const override { return user_; }

 private:
  std::shared_ptr<const ZVUser> user_;
};

}  // namespace zavelo::test
