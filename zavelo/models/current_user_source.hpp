#pragma once

#include <memory>

#include "zavelo/base/export.hpp"
#include "zavelo/models/user.hpp"

namespace zavelo {

/// What messaging asks of the owner of the session. Any thread.
class ZAVELO_EXPORT ZVCurrentUserSource {
 public:
  virtual ~ZVCurrentUserSource() = default;
  /// Null when no user is signed in.
  [[nodiscard]] virtual std::shared_ptr<const ZVUser> currentUser() const = 0;

  /// The session of the shared services.
  [[nodiscard]] static const ZVCurrentUserSource& shared();
};

}  // namespace zavelo
