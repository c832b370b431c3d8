#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/settings/gift.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// A category that streams are created under.
struct Tag {
  std::int64_t id = 0;
  std::string name;
  std::string image;  ///< address, or empty
};

/// What an operator of the backend sets. As it is built in, where the seed file says nothing else.
struct Settings {
  std::vector<std::string> naughtyWords{"bollocks", "bugger", "crap", "damn"};
  json::Object config{{"hoursCacheStatisResources", 24},
                      {"enableStreamTitle", true},
                      {"enableVideoCall", true},
                      {"enableNewCashOutIOS", false},
                      {"enableNewCashOutAndroid", false},
                      {"enableNewVideoCall", false},
                      {"iosVersion", "1.0.0"},
                      {"androidVersion", "1.0.0"},
                      {"disablePurchaseMedals", false},
                      {"allowRecordChat", true}};  ///< of `ZVConfig`
  std::vector<Tag> tags{{1, "Talk", ""}, {2, "Music", ""}, {3, "Games", ""}, {4, "Shopping", ""}};
  std::vector<Gift> gifts = builtInGifts();
};

/// The word list and the configuration. The settings outlive them.
[[nodiscard]] std::vector<Endpoint> settingsEndpoints(const Settings& settings);

}  // namespace zavelo::sandbox
