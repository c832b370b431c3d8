#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/api/api.hpp"
#include "zavelo/api/api_request.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/api/session_source.hpp"
#include "zavelo/models/current_user_source.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/models/user.hpp"
#include "zavelo/platform/image.hpp"
#include "zavelo/platform/key_value_store.hpp"

namespace zavelo {

class ZVBannedWords;
namespace detail {
class UserSession;
}

/// Owns the session: who is signed in, with which tokens, kept in the key-value store so that it
/// survives a restart; and the backend's operations about users.
///
///     signed out  no current user          isLogin false, isGuest true
///     guest       a user without profile   isLogin true,  isGuest true
///     member      a user with a profile    isLogin true,  isGuest false
///
/// Any thread. Completions arrive on the main queue, exactly once, unless said otherwise; a sign-in
/// or sign-out whose service was destroyed before the answer came does not call back at all.
///
/// A call belongs to the session in which it was made. A sign-in begins a session, and so does a
/// `setUser` or `updateUser` with another user; renewals and an `updateUser` with the same user
/// continue it. What is answered after the session is over (a renewal, a sign-out, a code that ends
/// the session) does not touch the session that is current by then.
///
/// What the store fails to keep is tried again with the next change, with `storeProblem`, and when
/// the service is destroyed. `ZaveloStoreDidFail` is posted on the main queue.
class ZAVELO_EXPORT ZVUserService final : public ZVSessionSource,
                                          public std::enable_shared_from_this<ZVUserService> {
 public:
  struct Collaborators {
    std::shared_ptr<ZVAPIService> service = {};
    std::shared_ptr<KeyValueStore> userDefaults = {};
    std::shared_ptr<JpegEncoder> jpegEncoder = {};
  };

  /// Restores a stored session whose access token is not empty, and becomes the API service's
  /// session source.
  [[nodiscard]] static std::shared_ptr<ZVUserService> create(Collaborators collaborators);
  ~ZVUserService() override;
  [[nodiscard]] static const std::shared_ptr<ZVUserService>& shared();

  /// Shared with its other readers. A renewal changes the tokens in place: read the record's fields
  /// on the thread that runs the main queue. `accessToken()` is for the other threads.
  [[nodiscard]] std::shared_ptr<ZVUser> currentUser() const;
  [[nodiscard]] bool isLogin() const;
  [[nodiscard]] bool isGuest() const;
  /// Stores the record and makes it the current user; one that cannot be stored is current all the
  /// same. Null signs out.
  void setUser(std::shared_ptr<ZVUser> user);
  /// Makes the record the current user; stores it only when it has a profile. Null signs out.
  void updateUser(std::shared_ptr<ZVUser> user);
  /// Overwrites the current user's three tokens, with absent ones too; stores a user with a
  /// profile. Does nothing when no user is signed in.
  void refreshTokenWith(const ZVRefreshToken& token) override;

  /// The banned words of the profanity filter.
  [[nodiscard]] std::vector<std::string> naughtyWords() const;
  void saveNaughtyWords(std::vector<std::string> words);

  ZVAPICall<std::shared_ptr<ZVSearchUser>> searchForUser(
      const std::string& displayName, std::int64_t nextId, std::int64_t limit,
      ZVCompletion<std::shared_ptr<ZVSearchUser>> completion);
  /// A user's streams, page by page.
  ZVAPICall<std::shared_ptr<const ZVUserStream>> getUserStreams(
      const std::string& userName, std::int64_t nextId, std::int64_t limit,
      ZVCompletion<std::shared_ptr<const ZVUserStream>> completion);
  ZVAPICall<std::shared_ptr<ZVUser>> login(const std::string& zaveloId, const std::string& password,
                                           const std::string& deviceUdid, double latitude,
                                           double longitude,
                                           ZVCompletion<std::shared_ptr<ZVUser>> completion);
  ZVAPICall<std::shared_ptr<ZVUser>> loginZavelo(const std::string& zaveloId,
                                                 const std::string& displayName,
                                                 const std::string& deviceUdid, double latitude,
                                                 double longitude,
                                                 ZVCompletion<std::shared_ptr<ZVUser>> completion);
  ZVAPICall<std::shared_ptr<ZVUser>> loginGuest(const std::string& deviceUdid,
                                                ZVCompletion<std::shared_ptr<ZVUser>> completion);
  /// Buys new tokens and takes them over. Cancelling answers the caller; the tokens are taken over
  /// all the same.
  ZVAPICall<std::shared_ptr<const ZVRefreshToken>> refreshToken(
      const std::string& refreshToken,
      ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion);
  /// Ends the session, whatever the backend answers.
  ZVAPICall<bool> logoutZavelo(ZVCompletion<bool> completion);
  /// `image` travels as JPEG of quality 0.5; one that cannot be encoded is left out. The session
  /// keeps its profile: pass the answer's on with `updateUser` if it shall change.
  ZVAPICall<std::shared_ptr<const ZVEditUser>> editProfile(
      const std::string& displayName, const std::string& dob, const std::string& gender,
      const std::string& about, const std::optional<ZVImage>& image,
      ZVCompletion<std::shared_ptr<const ZVEditUser>> completion);
  ZVAPICall<bool> updatePromoCode(const std::string& promoCode,
                                  const std::string& promoCodeDescription,
                                  ZVCompletion<bool> completion);

  /// Signs a member up and in. `displayName` may be empty.
  ZVAPICall<std::shared_ptr<ZVUser>> registerZavelo(
      const std::string& zaveloId, const std::string& password, const std::string& displayName,
      ZVCompletion<std::shared_ptr<ZVUser>> completion);

  // The same with the arguments as a record. A `deviceType` of 0 is sent as 1, a phone.

  ZVAPICall<std::shared_ptr<ZVUser>> login(const ZVLoginRequest& request,
                                           ZVCompletion<std::shared_ptr<ZVUser>> completion);
  ZVAPICall<std::shared_ptr<ZVUser>> loginZavelo(const ZVLoginZaveloRequest& request,
                                                 ZVCompletion<std::shared_ptr<ZVUser>> completion);
  ZVAPICall<std::shared_ptr<const ZVEditUser>> editProfile(
      const ZVEditProfileRequest& request, const std::optional<ZVImage>& image,
      ZVCompletion<std::shared_ptr<const ZVEditUser>> completion);
  /// Without a password the member signs in through the partner app only.
  ZVAPICall<std::shared_ptr<ZVUser>> registerZavelo(
      const ZVRegisterZaveloRequest& request, const std::optional<std::string>& password,
      ZVCompletion<std::shared_ptr<ZVUser>> completion);

  /// The session's user for `ZVRTMClient::Collaborators::users`, `ZVStreamMessage::isMine` and the
  /// like. Lives as long as the service.
  [[nodiscard]] const ZVCurrentUserSource& currentUserSource() const noexcept {
    return currentUserSource_;
  }

  // What the API service asks (ZVSessionSource).
  [[nodiscard]] std::optional<std::string> accessToken() const override;
  [[nodiscard]] std::optional<std::string> refreshToken() const override;
  void endSession() override;
  [[nodiscard]] ZVSession session() const override;
  bool refreshTokenIf(ZVSessionId id, const ZVRefreshToken& token) override;
  bool endSessionIf(ZVSessionId id) override;

  // What an app asks about its store.
  /// Why the store does not hold the session as it is, or could not be read; tries again first.
  /// Until it is absent, the next start may find an older session.
  [[nodiscard]] std::optional<StoreError> storeProblem() const;

  // What the profanity filter asks.
  /// The same object until the words change; never null.
  [[nodiscard]] std::shared_ptr<const ZVBannedWords> bannedWords() const;

 private:
  explicit ZVUserService(Collaborators collaborators);

  ZVAPICall<std::shared_ptr<ZVUser>> signIn(ZVAPI endpoint, json::Object parameters,
                                            ZVCompletion<std::shared_ptr<ZVUser>> completion);

  struct CurrentUser final : ZVCurrentUserSource {
    explicit CurrentUser(const ZVUserService& users) : service(users) {}
    [[nodiscard]] std::shared_ptr<const ZVUser> currentUser() const override {
      return service.currentUser();
    }
    const ZVUserService& service;
  };

  const Collaborators deps_;
  const std::shared_ptr<detail::UserSession> session_;
  mutable std::mutex savingWords_;  // held while the words change, here and in the store
  mutable std::mutex wordsMutex_;   // guards what follows
  mutable std::shared_ptr<const ZVBannedWords> naughtyWords_;  // null until they are asked for
  const CurrentUser currentUserSource_{*this};
};

}  // namespace zavelo
