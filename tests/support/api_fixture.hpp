#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/recorded_log.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/core/notifications.hpp"
#include "zavelo/core/sdk.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/testing/manual_clock.hpp"
#include "zavelo/testing/manual_queue.hpp"
#include "zavelo/testing/scripted_http_session.hpp"

namespace zavelo::testing {

/// An API service over a scripted HTTP session, a queue that the test drives and a log that is
/// kept.
class ApiFixture : public ::testing::Test {
 protected:
  ApiFixture() {
    ZaveloSDK::shared().initWith(ZVEnvironment::custom({"https://api.test"}), true);
    for (const auto name : {ZaveloBanned, ZaveloDidLogInAnotherDevice, ZaveloDidRefreshTokenFailed})
      tokens.push_back(notifications->addObserver(
          std::string(name), [this](const auto& posted) { heard.emplace_back(posted.name); }));
  }

  /// The parameters of a request that went out as JSON.
  json::Object sent(std::size_t index) const {
    const auto requests = http->requests();
    const auto* body = std::get_if<std::string>(&requests.at(index).body);
    if (body == nullptr) return {};
    return *json::decode<json::Value>(*body)->as<json::Object>();
  }
  std::string header(std::size_t index, std::string_view name) const {
    const auto requests = http->requests();
    for (const auto& each : requests.at(index).headers)
      if (each.name == name) return each.value;
    return "";
  }

  const std::shared_ptr<RecordedLog> log = RecordedLog::install();
  const std::shared_ptr<ScriptedHttpSession> http = std::make_shared<ScriptedHttpSession>();
  const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  const std::shared_ptr<NotificationCentre> notifications = std::make_shared<NotificationCentre>();
  std::shared_ptr<ZVAPIService> api = ZVAPIService::create({http, queue, notifications, clock});
  std::vector<std::string> heard;  ///< notifications, in order
  std::vector<ObserverToken> tokens;
};

}  // namespace zavelo::testing
