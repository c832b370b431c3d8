#include "zavelo/services/user_service.hpp"

#include <cstddef>
#include <span>
#include <utility>

#include "zavelo/core/log.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/services/banned_words.hpp"
#include "zavelo/services/service_call_internal.hpp"
#include "zavelo/services/user_session_internal.hpp"

namespace zavelo {
namespace {

constexpr std::int64_t phone = 1;  // what the backend calls the device's type
constexpr double profileQuality = 0.5;
constexpr std::string_view naughtyWordsKey = "ZaveloNaughtyWords";

template <class Request>
Request onPhone(Request request) {
  if (request.deviceType == 0) request.deviceType = phone;
  return request;
}

void warn(const StoreError& error) {
  ZVLog::w("The session store: " + error.description, ZVLogPosition("ZVUserService"));
}

detail::UserSession::OnStoreError storeErrorReport(const ZVAPIService& service) {
  return [queue = std::weak_ptr(service.mainQueue()),
          centre = service.notifications()](const StoreError& error) {
    warn(error);
    if (const auto main = queue.lock()) main->post([centre] { centre->post(ZaveloStoreDidFail); });
  };
}

// The words are stored as one value, each after its size in four bytes, the lowest first: as a list
// of texts, 10,000 would be as many rows to read.
constexpr std::size_t wordSizeBytes = 4;

std::vector<std::byte> packed(const std::vector<std::string>& words) {
  std::vector<std::byte> bytes;
  for (const std::string& word : words) {
    for (std::size_t i = 0; i < wordSizeBytes; ++i)
      bytes.push_back(static_cast<std::byte>(word.size() >> (8 * i)));
    const auto* text = reinterpret_cast<const std::byte*>(word.data());
    bytes.insert(bytes.end(), text, text + word.size());
  }
  return bytes;
}

std::vector<std::string> unpacked(std::span<const std::byte> bytes) {
  std::vector<std::string> words;
  while (!bytes.empty()) {
    if (bytes.size() < wordSizeBytes) return {};
    std::size_t size = 0;
    for (std::size_t i = 0; i < wordSizeBytes; ++i)
      size |= std::to_integer<std::size_t>(bytes[i]) << (8 * i);
    bytes = bytes.subspan(wordSizeBytes);
    if (bytes.size() < size) return {};
    words.emplace_back(reinterpret_cast<const char*>(bytes.data()), size);
    bytes = bytes.subspan(size);
  }
  return words;
}

/// As versions before this form have stored them.
std::vector<std::string> textsOf(const std::vector<StoreScalar>& list) {
  std::vector<std::string> words;
  for (const StoreScalar& element : list) {
    const auto* word = std::get_if<std::string>(&element);
    if (!word) return {};
    words.push_back(*word);
  }
  return words;
}

std::vector<std::string> wordsIn(const std::optional<StoreValue>& value) {
  if (!value) return {};
  if (const auto* list = std::get_if<std::vector<StoreScalar>>(&*value)) return textsOf(*list);
  const auto* bytes = std::get_if<std::vector<std::byte>>(&std::get<StoreScalar>(*value));
  return bytes ? unpacked(*bytes) : std::vector<std::string>();
}

/// What the caller of a renewal gets: the result, or `cancelled` while the renewal goes on.
class RenewalAnswer final : public detail::Cancellable,
                            public std::enable_shared_from_this<RenewalAnswer> {
 public:
  using Result = ZVAPIResult<std::shared_ptr<const ZVRefreshToken>>;
  using Completion = ZVCompletion<std::shared_ptr<const ZVRefreshToken>>;

  RenewalAnswer(std::weak_ptr<Queue> mainQueue, Completion completion)
      : mainQueue_(std::move(mainQueue)), completion_(std::move(completion)) {}

  void cancel() override {
    if (const auto queue = mainQueue_.lock())
      queue->post([self = shared_from_this()] {
        self->answer(Result::error({ZVAPIErrorType::unknown, errorText::cancelled}));
      });
  }

  /// On the main queue.
  void answer(Result result) {
    if (auto completion = std::exchange(completion_, nullptr)) completion(std::move(result));
  }

 private:
  const std::weak_ptr<Queue> mainQueue_;
  Completion completion_;
};

}  // namespace

std::shared_ptr<ZVUserService> ZVUserService::create(Collaborators collaborators) {
  std::shared_ptr<ZVUserService> service(new ZVUserService(std::move(collaborators)));
  service->deps_.service->setSessionSource(service->session_);
  return service;
}

ZVUserService::ZVUserService(Collaborators collaborators)
    : deps_(std::move(collaborators)),
      session_(std::make_shared<detail::UserSession>(deps_.userDefaults,
                                                     storeErrorReport(*deps_.service))) {}

ZVUserService::~ZVUserService() = default;

std::shared_ptr<ZVUser> ZVUserService::currentUser() const {
  return session_->user();
}

bool ZVUserService::isLogin() const {
  return currentUser() != nullptr;
}

bool ZVUserService::isGuest() const {
  const auto user = currentUser();
  return !user || !user->userInfo;
}

void ZVUserService::setUser(std::shared_ptr<ZVUser> user) {
  session_->setUser(std::move(user));
}

void ZVUserService::updateUser(std::shared_ptr<ZVUser> user) {
  session_->updateUser(std::move(user));
}

std::optional<StoreError> ZVUserService::storeProblem() const {
  return session_->storeProblem();
}

std::optional<std::string> ZVUserService::accessToken() const {
  return session_->accessToken();
}

std::optional<std::string> ZVUserService::refreshToken() const {
  return session_->refreshToken();
}

void ZVUserService::refreshTokenWith(const ZVRefreshToken& token) {
  session_->refreshTokenWith(token);
}

void ZVUserService::endSession() {
  session_->endSession();
}

ZVSession ZVUserService::session() const {
  return session_->session();
}

bool ZVUserService::refreshTokenIf(ZVSessionId id, const ZVRefreshToken& token) {
  return session_->refreshTokenIf(id, token);
}

bool ZVUserService::endSessionIf(ZVSessionId id) {
  return session_->endSessionIf(id);
}

std::vector<std::string> ZVUserService::naughtyWords() const {
  return bannedWords()->words();
}

std::shared_ptr<const ZVBannedWords> ZVUserService::bannedWords() const {
  const auto loaded = [this] {
    const std::lock_guard lock(wordsMutex_);
    return naughtyWords_;
  };
  if (auto words = loaded()) return words;
  std::optional<StoreError> problem;
  const auto words = [&] {
    const std::lock_guard order(savingWords_);
    if (auto meanwhile = loaded()) return meanwhile;
    auto stored = deps_.userDefaults->get(naughtyWordsKey);
    if (!stored) problem = std::move(stored).error();
    auto banned = std::make_shared<const ZVBannedWords>(problem ? std::vector<std::string>()
                                                                : wordsIn(*stored));
    const std::lock_guard lock(wordsMutex_);
    return naughtyWords_ = std::move(banned);
  }();
  if (problem) warn(*problem);
  return words;
}

void ZVUserService::saveNaughtyWords(std::vector<std::string> words) {
  StoreValue stored = StoreScalar(packed(words));
  auto banned = std::make_shared<const ZVBannedWords>(std::move(words));
  Status<StoreError> written = noFailure;
  {
    const std::lock_guard order(savingWords_);
    {
      const std::lock_guard lock(wordsMutex_);
      naughtyWords_.swap(banned);
    }
    written = deps_.userDefaults->set(naughtyWordsKey, stored);
  }
  if (!written) warn(written.error());
}

ZVAPICall<std::shared_ptr<ZVSearchUser>> ZVUserService::searchForUser(
    const std::string& displayName, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<ZVSearchUser>> completion) {
  return detail::call(
      *deps_.service, ZVAPI::searchUser,
      json::Object{{"displayName", displayName}, {"nextId", nextId}, {"limit", limit}},
      std::move(completion));
}

ZVAPICall<std::shared_ptr<const ZVUserStream>> ZVUserService::getUserStreams(
    const std::string& userName, std::int64_t nextId, std::int64_t limit,
    ZVCompletion<std::shared_ptr<const ZVUserStream>> completion) {
  return detail::call(*deps_.service, ZVAPI::getUserStream,
                      json::Object{{"userName", userName}, {"nextId", nextId}, {"limit", limit}},
                      std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::login(
    const std::string& zaveloId, const std::string& password, const std::string& deviceUdid,
    double latitude, double longitude, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return login({zaveloId, password, deviceUdid, phone, latitude, longitude}, std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::loginZavelo(
    const std::string& zaveloId, const std::string& displayName, const std::string& deviceUdid,
    double latitude, double longitude, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return loginZavelo({zaveloId, displayName, latitude, longitude, deviceUdid, phone},
                     std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::loginGuest(
    const std::string& deviceUdid, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return signIn(ZVAPI::loginGuestUser, {{"deviceUdid", deviceUdid}, {"deviceType", phone}},
                std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::signIn(
    ZVAPI endpoint, json::Object parameters, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return detail::callThen<std::shared_ptr<ZVUser>>(*deps_.service, endpoint, std::move(parameters),
                                                   std::move(completion),
                                                   [weak = weak_from_this()](const auto& result) {
                                                     const auto self = weak.lock();
                                                     if (self && result.isOk())
                                                       self->setUser(result.data());
                                                     return self != nullptr;
                                                   });
}

ZVAPICall<std::shared_ptr<const ZVRefreshToken>> ZVUserService::refreshToken(
    const std::string& refreshToken,
    ZVCompletion<std::shared_ptr<const ZVRefreshToken>> completion) {
  return detail::beginCall(deps_.service->mainQueue(), std::move(completion), [&](auto answered) {
    const auto answer =
        std::make_shared<RenewalAnswer>(deps_.service->mainQueue(), std::move(answered));
    deps_.service->refreshToken(refreshToken, [session = session_, id = session_->session().id,
                                               answer](RenewalAnswer::Result result) {
      ZVLog::d(
          result.isOk() ? "Refresh token: renewed" : "Refresh token: " + result.error().description,
          ZVLogPosition("refreshToken(refreshToken:completion:)"));
      if (result.isOk() && !session->refreshTokenIf(id, *result.data()))
        result =
            RenewalAnswer::Result::error({ZVAPIErrorType::unauthorized, errorText::unauthorized});
      answer->answer(std::move(result));
    });
    return ZVCall(answer);
  });
}

ZVAPICall<bool> ZVUserService::logoutZavelo(ZVCompletion<bool> completion) {
  return detail::callThen<bool>(
      *deps_.service, ZVAPI::logoutUser, std::nullopt, std::move(completion),
      [weak = weak_from_this(), id = session_->session().id](const auto&) {
        const auto self = weak.lock();
        if (self) self->session_->endSessionIf(id);
        return self != nullptr;
      });
}

ZVAPICall<std::shared_ptr<const ZVEditUser>> ZVUserService::editProfile(
    const std::string& displayName, const std::string& dob, const std::string& gender,
    const std::string& about, const std::optional<ZVImage>& image,
    ZVCompletion<std::shared_ptr<const ZVEditUser>> completion) {
  return editProfile({displayName, dob, gender, about}, image, std::move(completion));
}

ZVAPICall<std::shared_ptr<const ZVEditUser>> ZVUserService::editProfile(
    const ZVEditProfileRequest& request, const std::optional<ZVImage>& image,
    ZVCompletion<std::shared_ptr<const ZVEditUser>> completion) {
  auto parameters = toParameters(request);
  if (!image)
    return detail::call(*deps_.service, ZVAPI::editUserProfile, std::move(parameters),
                        std::move(completion));
  std::vector<ZVMultiPartData> files;
  if (auto jpeg = deps_.jpegEncoder->encode(*image, profileQuality))
    files.push_back({std::move(*jpeg), "profile", "image/jpeg", "profile.jpeg"});
  return detail::upload(*deps_.service, ZVAPI::editUserProfile, std::move(parameters),
                        std::move(files), std::move(completion));
}

ZVAPICall<bool> ZVUserService::updatePromoCode(const std::string& promoCode,
                                               const std::string& promoCodeDescription,
                                               ZVCompletion<bool> completion) {
  return detail::call(
      *deps_.service, ZVAPI::updatePromoCode,
      json::Object{{"promoCode", promoCode}, {"promoCodeDescription", promoCodeDescription}},
      std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::login(
    const ZVLoginRequest& request, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return signIn(ZVAPI::login, toParameters(onPhone(request)), std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::loginZavelo(
    const ZVLoginZaveloRequest& request, ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return signIn(ZVAPI::loginZaveloUser, toParameters(onPhone(request)), std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::registerZavelo(
    const std::string& zaveloId, const std::string& password, const std::string& displayName,
    ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  return registerZavelo({.zaveloId = zaveloId, .displayName = displayName}, password,
                        std::move(completion));
}

ZVAPICall<std::shared_ptr<ZVUser>> ZVUserService::registerZavelo(
    const ZVRegisterZaveloRequest& request, const std::optional<std::string>& password,
    ZVCompletion<std::shared_ptr<ZVUser>> completion) {
  auto parameters = toParameters(request);
  if (password) parameters.set("password", *password);
  return signIn(ZVAPI::registerZaveloUser, std::move(parameters), std::move(completion));
}

}  // namespace zavelo
