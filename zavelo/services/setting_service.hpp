#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zavelo/api/api.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/models/config.hpp"
#include "zavelo/services/user_service.hpp"

namespace zavelo {

/// What the backend sets for every app: the banned words and the features. Nothing is fetched
/// unless the app asks for it.
///
/// Any thread. Completions arrive on the main queue, exactly once.
class ZAVELO_EXPORT ZVSettingService {
 public:
  struct Collaborators {
    std::shared_ptr<ZVAPIService> service = {};
    std::shared_ptr<ZVUserService> userService = {};  ///< keeps the banned words
  };

  [[nodiscard]] static std::shared_ptr<ZVSettingService> create(Collaborators collaborators);
  [[nodiscard]] static const std::shared_ptr<ZVSettingService>& shared();

  /// The words replace the user service's, in memory and in the store, before the completion runs;
  /// a fetch that fails leaves both alone.
  ZVAPICall<std::vector<std::string>> getNaughtyWords(
      ZVCompletion<std::vector<std::string>> completion);
  ZVAPICall<std::shared_ptr<ZVConfig>> getSettingConfigV1(
      ZVCompletion<std::shared_ptr<ZVConfig>> completion);
  ZVAPICall<std::shared_ptr<ZVConfig>> getSettingConfigV2(
      ZVCompletion<std::shared_ptr<ZVConfig>> completion);

 private:
  explicit ZVSettingService(Collaborators collaborators) : with_(std::move(collaborators)) {}
  ZVAPICall<std::shared_ptr<ZVConfig>> getSettingConfig(
      ZVAPI endpoint, ZVCompletion<std::shared_ptr<ZVConfig>> completion);

  const Collaborators with_;
};

}  // namespace zavelo
