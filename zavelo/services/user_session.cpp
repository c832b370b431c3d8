#include <algorithm>

#include "zavelo/core/log.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/services/banned_words.hpp"
#include "zavelo/services/user_service.hpp"

// The session's half of the user service: what is current, and what is kept in the store.

namespace zavelo {
namespace {

constexpr std::string_view userKey = "ZVUser";
constexpr std::string_view naughtyWordsKey = "ZaveloNaughtyWords";

void warn(const StoreError& error) {
  ZVLog::w("The session store: " + error.description, ZVLogPosition("ZVUserService"));
}

void warnOf(const Status<StoreError>& status) {
  if (!status) warn(status.error());
}

template <class T>
const T* scalarOf(const StoreValue& value) {
  const auto* scalar = std::get_if<StoreScalar>(&value);
  return scalar != nullptr ? std::get_if<T>(scalar) : nullptr;
}

std::optional<StoreValue> stored(KeyValueStore& store, std::string_view key) {
  auto value = store.get(key);
  if (value) return std::move(*value);
  warn(value.error());
  return std::nullopt;
}

std::shared_ptr<ZVUser> storedUser(KeyValueStore& store) {
  const auto value = stored(store, userKey);
  const auto* data = value ? scalarOf<std::vector<std::byte>>(*value) : nullptr;
  if (data == nullptr) return nullptr;
  const std::string_view text(reinterpret_cast<const char*>(data->data()), data->size());
  auto user = json::decode<std::shared_ptr<ZVUser>>(text);
  if (!user || (*user)->accessToken.value_or("").empty()) return nullptr;
  return *user;
}

std::vector<std::string> storedWords(KeyValueStore& store) {
  const auto value = stored(store, naughtyWordsKey);
  const auto* list = value ? std::get_if<std::vector<StoreScalar>>(&*value) : nullptr;
  if (list == nullptr) return {};
  std::vector<std::string> words;
  for (const StoreScalar& element : *list) {
    const auto* word = std::get_if<std::string>(&element);
    if (word == nullptr) return {};
    words.push_back(*word);
  }
  return words;
}

}  // namespace

void ZVUserService::restore() {
  user_ = storedUser(*with_.userDefaults);
  naughtyWords_ = std::make_shared<const ZVBannedWords>(storedWords(*with_.userDefaults));
}

void ZVUserService::store(const ZVUser& user) {
  const auto text = json::encode(user);
  if (!text) return;
  std::vector<std::byte> data(text->size());
  std::transform(text->begin(), text->end(), data.begin(),
                 [](char c) { return static_cast<std::byte>(c); });
  warnOf(with_.userDefaults->set(userKey, StoreScalar(std::move(data))));
}

void ZVUserService::makeCurrent(std::shared_ptr<ZVUser> user) {
  const std::lock_guard lock(mutex_);
  user_.swap(user);
}

std::shared_ptr<ZVUser> ZVUserService::currentUser() const {
  const std::lock_guard lock(mutex_);
  return user_;
}

bool ZVUserService::isLogin() const {
  return currentUser() != nullptr;
}

bool ZVUserService::isGuest() const {
  const auto user = currentUser();
  return !user || !user->userInfo;
}

void ZVUserService::setUser(std::shared_ptr<ZVUser> user) {
  if (user) store(*user);
  makeCurrent(std::move(user));
}

void ZVUserService::updateUser(std::shared_ptr<ZVUser> user) {
  if (user && user->userInfo) store(*user);
  makeCurrent(std::move(user));
}

void ZVUserService::refreshTokenWith(const ZVRefreshToken& token) {
  std::optional<ZVUser> changed;
  {
    const std::lock_guard lock(mutex_);
    if (!user_) return;
    user_->accessToken = token.accessToken;
    user_->refreshToken = token.refreshToken;
    user_->expires = token.expires;
    changed = *user_;
  }
  if (changed->userInfo) store(*changed);
}

std::optional<std::string> ZVUserService::accessToken() const {
  const std::lock_guard lock(mutex_);
  return user_ ? user_->accessToken : std::nullopt;
}

std::optional<std::string> ZVUserService::refreshToken() const {
  const std::lock_guard lock(mutex_);
  return user_ ? user_->refreshToken : std::nullopt;
}

void ZVUserService::endSession() {
  makeCurrent(nullptr);
  warnOf(with_.userDefaults->remove(userKey));
}

std::vector<std::string> ZVUserService::naughtyWords() const {
  return bannedWords()->words();
}

std::shared_ptr<const ZVBannedWords> ZVUserService::bannedWords() const {
  const std::lock_guard lock(mutex_);
  return naughtyWords_;
}

void ZVUserService::saveNaughtyWords(std::vector<std::string> words) {
  std::vector<StoreScalar> list(words.begin(), words.end());
  auto banned = std::make_shared<const ZVBannedWords>(std::move(words));
  {
    const std::lock_guard lock(mutex_);
    naughtyWords_.swap(banned);
  }
  warnOf(with_.userDefaults->set(naughtyWordsKey, std::move(list)));
}

}  // namespace zavelo
