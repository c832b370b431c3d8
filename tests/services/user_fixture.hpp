#pragma once

#include <memory>
#include <string>

#include "tests/support/api_fixture.hpp"
#include "zavelo/platform/jpeg.hpp"
#include "zavelo/services/user_service.hpp"
#include "zavelo/testing/memory_key_value_store.hpp"

namespace zavelo::testing {

/// A user service over the API fixture and a store in memory.
class UserFixture : public ApiFixture {
 protected:
  std::shared_ptr<ZVUserService> makeService() {
    return ZVUserService::create({api, store, std::make_shared<TurboJpegEncoder>()});
  }
  /// What stands under "ZVUser", as text; empty when nothing does.
  std::string storedUser() const {
    const auto value = store->get("ZVUser");
    if (!value || !*value) return "";
    const auto& data = std::get<std::vector<std::byte>>(std::get<StoreScalar>(**value));
    return {reinterpret_cast<const char*>(data.data()), data.size()};
  }
  void storeUser(std::string_view json) {
    const auto* bytes = reinterpret_cast<const std::byte*>(json.data());
    ASSERT_TRUE(
        store->set("ZVUser", StoreScalar(std::vector<std::byte>(bytes, bytes + json.size()))));
  }
  static std::shared_ptr<ZVUser> userOf(std::string_view json) {
    return json::decode<std::shared_ptr<ZVUser>>(json).value();
  }

  const std::shared_ptr<MemoryKeyValueStore> store = std::make_shared<MemoryKeyValueStore>();
};

inline constexpr const char* memberJson =
    R"({"userInfo":{"userName":"ann"},"accessToken":"a1","refreshToken":"r1"})";
inline constexpr const char* guestJson = R"({"accessToken":"g1","guestId":9})";

}  // namespace zavelo::testing
