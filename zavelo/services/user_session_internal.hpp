#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "zavelo/api/session_source.hpp"
#include "zavelo/platform/key_value_store.hpp"

namespace zavelo::detail {

/// The session: who is signed in, in memory and in the store. Outlives its user service for as long
/// as a renewal is under way.
///
/// Memory and store change in one step and in one order: a change takes `writing_`, and what it
/// writes is written before the next change begins. Readers take `mutex_` only, so that the store
/// and its log may ask for the current user while it writes.
class UserSession final : public ZVSessionSource {
 public:
  /// Called with each failure of the store, without a lock.
  using OnStoreError = std::function<void(const StoreError&)>;

  /// Restores the stored session, if its access token is not empty.
  UserSession(std::shared_ptr<KeyValueStore> store, OnStoreError onStoreError);
  /// Tries what could not be written once more.
  ~UserSession() override;
  UserSession(const UserSession&) = delete;
  UserSession& operator=(const UserSession&) = delete;

  [[nodiscard]] std::shared_ptr<ZVUser> user() const;
  void setUser(std::shared_ptr<ZVUser> user);
  void updateUser(std::shared_ptr<ZVUser> user);
  /// Tries what could not be written once more. What then is still unwritten, or unreadable.
  [[nodiscard]] std::optional<StoreError> storeProblem();

  [[nodiscard]] std::optional<std::string> accessToken() const override;
  [[nodiscard]] std::optional<std::string> refreshToken() const override;
  void refreshTokenWith(const ZVRefreshToken& token) override;
  void endSession() override;
  [[nodiscard]] ZVSession session() const override;
  bool refreshTokenIf(ZVSessionId id, const ZVRefreshToken& token) override;
  bool endSessionIf(ZVSessionId id) override;

 private:
  /// What the store is to hold: a record, or none.
  using Stored = std::optional<std::vector<std::byte>>;

  bool renew(std::optional<ZVSessionId> id, const ZVRefreshToken& token);
  bool end(std::optional<ZVSessionId> id);
  /// Makes a change, and the write that it leads to. False: there was nothing to change.
  template <class Change>
  bool change(const Change& change);

  // While `writing_` is held:
  void makeCurrent(std::shared_ptr<ZVUser> user, ZVSessionId id);
  void write(const ZVUser& user);
  std::optional<StoreError> writeUnwritten();
  void retain(const std::optional<StoreError>& failure);

  const std::shared_ptr<KeyValueStore> store_;
  const OnStoreError onStoreError_;

  std::mutex writing_;               // held by the one that changes what follows
  std::optional<Stored> unwritten_;  ///< the write that is still to be made
  std::optional<StoreError> problem_;

  mutable std::mutex mutex_;  // held besides to change what follows, or alone to read it
  std::shared_ptr<ZVUser> user_;
  ZVSessionId id_ = 0;
};

}  // namespace zavelo::detail
