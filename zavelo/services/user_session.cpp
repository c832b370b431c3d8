#include <algorithm>
#include <atomic>
#include <string_view>
#include <utility>

#include "zavelo/json/json.hpp"
#include "zavelo/services/user_session_internal.hpp"

namespace zavelo::detail {
namespace {

constexpr std::string_view userKey = "ZVUser";

std::shared_ptr<ZVUser> decoded(const std::optional<StoreValue>& value) {
  const auto* scalar = value ? std::get_if<StoreScalar>(&*value) : nullptr;
  const auto* data = scalar ? std::get_if<std::vector<std::byte>>(scalar) : nullptr;
  if (!data) return nullptr;
  const std::string_view text(reinterpret_cast<const char*>(data->data()), data->size());
  auto user = json::decode<std::shared_ptr<ZVUser>>(text);
  if (!user || (*user)->accessToken.value_or("").empty()) return nullptr;
  return *user;
}

/// Absent when the record cannot be written as JSON.
std::optional<std::vector<std::byte>> encoded(const ZVUser& user) {
  const auto text = json::encode(user);
  if (!text) return std::nullopt;
  std::vector<std::byte> data(text->size());
  std::transform(text->begin(), text->end(), data.begin(),
                 [](char c) { return static_cast<std::byte>(c); });
  return data;
}

bool hasSameTokens(const ZVUser& a, const ZVUser& b) {
  return a.accessToken == b.accessToken && a.refreshToken == b.refreshToken;
}

/// The first identity that both records have decides. Records without one are of the same user when
/// they share a token.
bool isSameUser(const ZVUser& a, const ZVUser& b) {
  if (a.userInfo && b.userInfo) {
    if (a.userInfo->userId && b.userInfo->userId) return a.userInfo->userId == b.userInfo->userId;
    if (a.userInfo->userName && b.userInfo->userName)
      return a.userInfo->userName == b.userInfo->userName;
  }
  if (a.userName && b.userName) return a.userName == b.userName;
  if (a.guestId && b.guestId) return a.guestId == b.guestId;
  return (a.accessToken && a.accessToken == b.accessToken) ||
         (a.refreshToken && a.refreshToken == b.refreshToken);
}

ZVSessionId newId() {
  static std::atomic<ZVSessionId> last{0};
  return ++last;
}

}  // namespace

UserSession::UserSession(std::shared_ptr<KeyValueStore> store, OnStoreError onStoreError)
    : store_(std::move(store)), onStoreError_(std::move(onStoreError)) {
  auto stored = store_->get(userKey);
  if (stored) {
    user_ = decoded(*stored);
  } else {
    problem_ = std::move(stored).error();
    onStoreError_(*problem_);
  }
  if (user_) id_ = newId();
}

UserSession::~UserSession() {
  (void)writeUnwritten();
}

std::shared_ptr<ZVUser> UserSession::user() const {
  const std::lock_guard lock(mutex_);
  return user_;
}

std::optional<std::string> UserSession::accessToken() const {
  return session().accessToken;
}

std::optional<std::string> UserSession::refreshToken() const {
  return session().refreshToken;
}

ZVSession UserSession::session() const {
  const std::lock_guard lock(mutex_);
  if (!user_) return {};
  return {id_, user_->accessToken, user_->refreshToken};
}

void UserSession::setUser(std::shared_ptr<ZVUser> user) {
  if (!user) return endSession();
  change([&] {
    write(*user);
    const bool isContinued =
        user_ && (user == user_ || (isSameUser(*user_, *user) && hasSameTokens(*user_, *user)));
    makeCurrent(std::move(user), isContinued ? id_ : newId());
    return true;
  });
}

void UserSession::updateUser(std::shared_ptr<ZVUser> user) {
  if (!user) return endSession();
  change([&] {
    if (user->userInfo) write(*user);
    const bool isContinued = user_ && isSameUser(*user_, *user);
    makeCurrent(std::move(user), isContinued ? id_ : newId());
    return true;
  });
}

void UserSession::refreshTokenWith(const ZVRefreshToken& token) {
  renew(std::nullopt, token);
}

bool UserSession::refreshTokenIf(ZVSessionId id, const ZVRefreshToken& token) {
  return renew(id, token);
}

void UserSession::endSession() {
  end(std::nullopt);
}

bool UserSession::endSessionIf(ZVSessionId id) {
  return end(id);
}

bool UserSession::renew(std::optional<ZVSessionId> id, const ZVRefreshToken& token) {
  return change([&] {
    if (id && *id != id_) return false;
    if (!user_) return true;
    {
      const std::lock_guard lock(mutex_);
      user_->accessToken = token.accessToken;
      user_->refreshToken = token.refreshToken;
      user_->expires = token.expires;
    }
    if (user_->userInfo) write(*user_);
    return true;
  });
}

bool UserSession::end(std::optional<ZVSessionId> id) {
  return change([&] {
    if (id && *id != id_) return false;
    makeCurrent(nullptr, 0);
    unwritten_ = Stored();
    return true;
  });
}

std::optional<StoreError> UserSession::storeProblem() {
  const std::lock_guard order(writing_);
  if (unwritten_) retain(writeUnwritten());
  (void)store_->flush();
  if (auto pending = store_->pendingProblem()) return pending;
  return problem_;
}

template <class Change>
bool UserSession::change(const Change& change) {
  bool isDone = false;
  std::optional<StoreError> failure;
  {
    const std::lock_guard order(writing_);
    isDone = change();
    retain(failure = writeUnwritten());
  }
  if (failure) onStoreError_(*failure);
  return isDone;
}

void UserSession::makeCurrent(std::shared_ptr<ZVUser> user, ZVSessionId id) {
  const std::lock_guard lock(mutex_);
  user_.swap(user);
  id_ = id;
}

/// A record that cannot be written as JSON leaves the store as it was.
void UserSession::write(const ZVUser& user) {
  if (auto data = encoded(user)) unwritten_ = std::move(data);
}

/// A problem that the store itself goes on with is the store's to report.
void UserSession::retain(const std::optional<StoreError>& failure) {
  problem_ = unwritten_ ? failure : std::nullopt;
}

std::optional<StoreError> UserSession::writeUnwritten() {
  if (!unwritten_) return std::nullopt;
  auto written =
      *unwritten_ ? store_->set(userKey, StoreScalar(**unwritten_)) : store_->remove(userKey);
  // A store that tries again by itself also knows whether another process has written since.
  if (written || store_->pendingProblem()) unwritten_.reset();
  if (!written) return std::move(written).error();
  return std::nullopt;
}

}  // namespace zavelo::detail
