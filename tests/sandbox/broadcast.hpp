#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/sandbox/backend.hpp"

namespace zavelo::sandbox {

/// A member with a stream, another one who watches, and a guest.
class Broadcast : public ::testing::Test {
 protected:
  explicit Broadcast(const SandboxOptions& options = {}) : backend(options) {}

  /// `call("like", viewer, {{"count", 3}, …})` about the stream of the slug.
  [[nodiscard]] Answer call(const std::string& operation, const std::string& token,
                            json::Object more = {}) const {
    more.set("slug", slug);
    return backend.post("/api/streams/" + operation, more, token);
  }
  [[nodiscard]] Answer create(const std::string& title, const std::string& token,
                              json::Object more = {}) const {
    json::Object body{{"streamTitle", title}, {"tagId", 2},       {"latitude", 10.5},
                      {"longitude", 106.0},   {"address", "Hue"}, {"resolution", 720},
                      {"countryCode", "VN"},  {"screenType", 1},  {"streamType", 5}};
    for (const auto& [name, value] : more) body.set(name, value);
    return backend.post("/api/streams/create", body, token);
  }
  [[nodiscard]] Answer like(const std::string& token, std::int64_t count, bool isUnique) const {
    return call("like", token, {{"count", count}, {"isUnique", isUnique}});
  }
  [[nodiscard]] Answer leave(const std::string& token) const {
    return call("leave-stream", token, {{"streamUserId", owner.integer("userInfo.userId")}});
  }
  [[nodiscard]] std::int64_t status() const { return call("detail", host).integer("status"); }

  Backend backend;
  const Answer owner = backend.join("host");
  const std::string host = owner.text("accessToken");
  const std::string viewer = backend.join("viewer").text("accessToken");
  const std::string guest =
      backend.post("/api/users/guest-login", {{"deviceUdid", "d"}, {"deviceType", 1}})
          .text("accessToken");
  std::string slug = create("A <b>title</b> &amp; more", host).text("slug");
};

/// One that is live.
class LiveBroadcast : public Broadcast {
 protected:
  using Broadcast::Broadcast;
  void SetUp() override { ASSERT_THAT(call("begin", host), HasCode(1)); }
};

}  // namespace zavelo::sandbox
