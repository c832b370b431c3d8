#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo {

/// An operation of the backend: where it is and how it is called.
class ZAVELO_EXPORT ZVAPIDataSource {
 public:
  virtual ~ZVAPIDataSource() = default;
  /// The origin of the environment in force, read at each call.
  [[nodiscard]] virtual std::string baseUrl() const;
  [[nodiscard]] virtual std::string path() const = 0;
  /// `baseUrl` and `path` as they stand, nothing in between.
  [[nodiscard]] virtual std::string url() const;
  [[nodiscard]] virtual ZVHTTPMethod method() const;
};

/// Every operation of the backend. All are POST, those that only read included.
///
///     ZVAPI(ZVAPI::createStream).url()   // "https://host/api/streams/create"
class ZAVELO_EXPORT ZVAPI final : public ZVAPIDataSource {
 public:
  enum Case : std::uint8_t {
    getNaughtyWords,
    getSettingsConfigV1,
    getSettingsConfigV2,
    createStream,
    getStreamDetail,
    getResumeStreamDetail,
    getStreamDetailWithPassword,
    updateStreamViewCount,
    beginStream,
    endStream,
    getStreamStatistic,
    likeStream,
    getStreamTags,
    reportStream,
    unreportStream,
    deleteStream,
    saveStreamHistoryChat,
    saveStreamCover,
    recordStream,
    leaveStream,
    getStreamFloatingTextPosition,
    updateStreamFloatingTextPosition,
    resumeStream,
    getStreamProductList,
    addStreamCoHost,
    removeStreamCoHost,
    getCoHostCredits,
    getAudienceList,
    updatePinned,
    pinned,
    updatePromoCode,
    searchUser,
    registerZaveloUser,
    logoutUser,
    login,
    loginZaveloUser,
    loginGuestUser,
    getUserStream,
    editUserProfile,
    refreshUserToken,
    getGiftStore,
    sendGift,
    shareClickTracking,
    getProducts,
    editProductOrder,
    deleteProduct,
    deleteAllProduct,
    addProduct,
    editProduct,
  };
  static constexpr std::size_t count = editProduct + 1;

  constexpr ZVAPI(Case chosen) : case_(chosen) {}
  constexpr operator Case() const noexcept { return case_; }
  [[nodiscard]] std::string path() const override;

 private:
  Case case_;
};

}  // namespace zavelo

template <>
struct std::hash<zavelo::ZVAPI> {
  std::size_t operator()(const zavelo::ZVAPI& api) const noexcept {
    return std::hash<std::uint8_t>{}(api);
  }
};
