#include <gtest/gtest.h>
#include <httplib.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <thread>

#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "zavelo/json/json.hpp"

// The sandbox's process is killed again and again while a client works with it. ZAVELO_KILLS says
// how often; what has been acknowledged must be in the state file every time.

namespace zavelo::sandbox {
namespace {

int killsWanted() {
  const char* text = std::getenv("ZAVELO_KILLS");
  return text != nullptr ? std::atoi(text) : 4;
}

/// A client that remembers what was acknowledged.
class Client {
 public:
  void connect(const std::string& url) {
    client_ = std::make_unique<httplib::Client>(url);
    client_->set_keep_alive(true);
    client_->set_read_timeout(std::chrono::seconds(60));
  }
  /// Returns at the first call that gets no answer.
  void workUntilItEnds(std::mt19937& random) {
    if (!ensureStream()) return;
    while (true) {
      const auto kind = random() % 4;
      if (!(kind == 0 ? join() : kind == 1 ? pin() : kind == 2 ? like() : give(random))) return;
      ++acknowledged;
    }
  }

  std::int64_t acknowledged = 0;
  std::map<std::string, std::int64_t> gold;  ///< what each member gave
  std::int64_t likes = 0;
  std::string pinned;
  std::string pinning;  ///< the latest that was asked for

 private:
  /// What is at the path below "data"; null without an answer.
  std::optional<json::Object> call(const std::string& path, const json::Object& body,
                                   const std::string& token) {
    const auto answer = client_->Post(path, {{"Authorization", "Bearer " + token}},
                                      *json::encode(json::Value(body)), "application/json");
    if (!answer) return {};
    const auto value = json::decode<json::Value>(answer->body);
    EXPECT_TRUE(value && *value->as<json::Object>()->find("code") == json::Value(1))
        << path << ": " << answer->body;
    return *value->as<json::Object>();
  }
  bool join() {
    const std::string name = "m" + std::to_string(++lastMember_);
    const auto answer =
        call("/api/users/zavelo-login", {{"zaveloId", name}, {"deviceType", 1}}, "");
    if (!answer) return false;
    const auto* data = answer->find("data")->as<json::Object>();
    tokens_[name] = *data->find("accessToken")->as<std::string>();
    gold[name] = 0;
    return true;
  }
  bool ensureStream() {
    if (isLive_) return true;
    if (tokens_.empty() && !(join() && join())) return false;
    host_ = tokens_.begin()->first;
    if (slug_.empty()) {
      const auto made = call("/api/streams/create",
                             {{"streamTitle", "s"},
                              {"tagId", 1},
                              {"latitude", 0},
                              {"longitude", 0},
                              {"address", ""},
                              {"resolution", 1},
                              {"countryCode", ""},
                              {"screenType", 0},
                              {"streamType", 0}},
                             tokens_[host_]);
      if (!made) return false;
      slug_ = *made->find("data")->as<json::Object>()->find("slug")->as<std::string>();
    }
    // It may have begun without an answer.
    const auto answer =
        client_->Post("/api/streams/begin", {{"Authorization", "Bearer " + tokens_[host_]}},
                      R"({"slug":")" + slug_ + "\"}", "application/json");
    isLive_ = static_cast<bool>(answer);
    return isLive_;
  }
  bool pin() {
    pinning = "text " + std::to_string(++lastText_);
    const bool isDone =
        call("/api/streams/update-pinned", {{"slug", slug_}, {"data", pinning}}, tokens_[host_])
            .has_value();
    if (isDone) pinned = pinning;
    return isDone;
  }
  bool like() {
    const bool isDone = call("/api/streams/like",
                             {{"slug", slug_}, {"count", 1}, {"isUnique", false}}, tokens_[host_])
                            .has_value();
    likes += isDone ? 1 : 0;
    return isDone;
  }
  bool give(std::mt19937& random) {
    auto giver = tokens_.begin();
    std::advance(giver, random() % tokens_.size());
    if (giver->first == host_ || gold[giver->first] > 900) return join();
    const auto answer = call("/api/gifts/send-gift",
                             {{"slug", slug_}, {"giftId", 1}, {"amount", 1}}, giver->second);
    if (answer) ++gold[giver->first];
    return answer.has_value();
  }

  std::unique_ptr<httplib::Client> client_;
  std::map<std::string, std::string> tokens_;
  std::string host_;
  std::string slug_;
  bool isLive_ = false;
  int lastMember_ = 0;
  int lastText_ = 0;
};

/// Rows of one text column each.
std::vector<std::string> query(const std::string& file, const std::string& sql) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  std::vector<std::string> rows;
  const auto keep = [](void* to, int, char** values, char**) {
    static_cast<std::vector<std::string>*>(to)->emplace_back(values[0] != nullptr ? values[0] : "");
    return 0;
  };
  EXPECT_EQ(sqlite3_exec(database, sql.c_str(), keep, &rows, nullptr), SQLITE_OK) << sql;
  sqlite3_close(database);
  return rows;
}

std::int64_t number(const std::string& file, const std::string& sql) {
  const auto rows = query(file, sql);
  return rows.empty() ? -1 : std::atoll(rows.front().c_str());
}

void expectAcknowledged(const std::string& file, const Client& client, int kills) {
  EXPECT_EQ(query(file, "PRAGMA integrity_check"), std::vector<std::string>{"ok"});
  EXPECT_EQ(number(file, "SELECT sum(gold) + sum(beans) - 1000 * count(*) FROM members"), 0);
  EXPECT_EQ(number(file,
                   "SELECT (SELECT sum(beans) FROM members) - "
                   "(SELECT coalesce(sum(gold), 0) FROM gifts)"),
            0);
  std::int64_t given = 0;
  for (const auto& [name, gold] : client.gold) {
    given += gold;
    const auto spent =
        number(file, "SELECT 1000 - gold FROM members WHERE zavelo_id = '" + name + "'");
    EXPECT_GE(spent, gold) << name;
  }
  // What had no answer may have been done or not, one call for each kill.
  EXPECT_LE(number(file, "SELECT sum(gold) FROM gifts"), given + kills);
  EXPECT_GE(number(file, "SELECT coalesce(sum(likes), 0) FROM reactions"), client.likes);
  EXPECT_LE(number(file, "SELECT coalesce(sum(likes), 0) FROM reactions"), client.likes + kills);
  if (client.pinned.empty()) return;
  const auto text = query(file, "SELECT pinned FROM streams").front();
  EXPECT_TRUE(text == client.pinned || text == client.pinning) << text;
}

TEST(KillTest, AcknowledgedWorkIsInTheStateHoweverOftenTheSandboxIsKilled) {
  const test::TemporaryFolder folder;
  const auto file = (folder / "state.db").string();
  const auto seed = std::random_device()();
  std::mt19937 random(seed);
  Client client;
  int kills = 0;
  for (; kills < killsWanted() && !HasFailure(); ++kills) {
    auto sandbox = std::make_unique<test::ChildProcess>(std::vector<std::string>{
        ZAVELO_COMMAND, "sandbox", "--port", "0", "--no-broker", "--state", file});
    const auto line = json::decode<json::Value>(sandbox->readLine());
    ASSERT_TRUE(line) << "the sandbox does not start";
    client.connect(*line->as<json::Object>()->find("url")->as<std::string>());
    std::mt19937 own(random());
    std::thread worker([&] { client.workUntilItEnds(own); });
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 1000));
    sandbox.reset();
    worker.join();
    expectAcknowledged(file, client, kills + 1);
  }
  EXPECT_GT(client.acknowledged, 0);
  std::cout << kills << " kills, " << client.acknowledged << " acknowledged operations, seed "
            << seed << "\n";
}

}  // namespace
}  // namespace zavelo::sandbox
