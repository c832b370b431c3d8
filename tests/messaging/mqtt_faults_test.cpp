#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>
#include <fstream>
#include <functional>

#include "support/certificates.hpp"
#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"
#include "tests/messaging/mqtt_world.hpp"
#include "zavelo/messaging/engines/mqtt_topics.hpp"

namespace zavelo::testing {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using Ids = std::vector<std::string>;
using Heard = std::vector<std::string>;

MqttEngineOptions options(const std::string& address) {
  MqttEngineOptions result{.address = address};
  result.keepAlive = 5s;
  result.sendTimeout = 1s;
  return result;
}

TEST(MqttLogin, OfManySessionsOfOneUserOneStaysAndTheOthersDoNotFight) {
  const auto broker = startBroker();
  std::deque<MqttUser> sessions;
  for (int i = 0; i < 8; ++i) sessions.emplace_back(options(addressOf(*broker)), "ann");
  // All at once: whatever the order in which they meet, they agree on the winner.
  std::atomic<int> answered = 0;
  for (auto& each : sessions) each.kit->login({}, "ann", [&](std::int64_t) { ++answered; });
  ASSERT_TRUE(waitFor([&] { return answered == 8; }));
  const auto ended = [&] {
    return std::ranges::count_if(sessions,
                                 [](const auto& each) { return each.ears->has("state 5/8"); });
  };
  ASSERT_TRUE(waitFor([&] { return ended() == 7; }));
  MqttUser bob(options(addressOf(*broker)), "bob");
  bob.login();
  EXPECT_EQ(bob.tell("ann", "who is it"), 0);
  const auto heard = [&] {
    return std::ranges::count_if(
        sessions, [](const auto& each) { return each.ears->has("peer bob: who is it"); });
  };
  EXPECT_TRUE(waitFor([&] { return heard() == 1; }));
  EXPECT_EQ(ended(), 7);
  for (const auto& each : sessions) EXPECT_EQ(each.ears->count("state 2/1"), 1);
}

TEST(MqttLogin, ALaterOneWinsOverOneThatIsCutOff) {
  const auto broker = startBroker();
  MqttUser first(options(addressOf(*broker)), "ann");
  first.login();
  test::ChildProcess later({ZAVELO_MQTT_CHILD, addressOf(*broker), "ann", "c"});
  ASSERT_EQ(later.readLine(), "in");
  EXPECT_TRUE(first.hears("state 5/8"));
  EXPECT_EQ(first.tell("ann", "x"), rtmCode::notLoggedIn);
}

TEST(MqttBreak, ABrokerThatIsKilledAndComesBackFindsEverybodyAgain) {
  auto broker = startBroker();
  const auto port = broker->port();
  MqttUser ann(options(addressOf(*broker)), "ann"), bob(options(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  ASSERT_TRUE(ann.hears("c +bob"));
  ann.ears->forget(), bob.ears->forget();

  kill(broker->process(), SIGKILL);
  ASSERT_TRUE(ann.hears("state 4/5") && bob.hears("state 4/5"));
  ASSERT_TRUE(waitFor([&] { return ann.say("c", "lost") != 0; }));
  EXPECT_NE(ann.tell("bob", "lost"), 0);
  EXPECT_EQ(ann.members("c"), Ids{"none"});
  EXPECT_EQ(ann.login(), rtmCode::loginAlreadyLoggedIn);

  broker.reset();
  broker = startBroker({.port = port});
  ASSERT_TRUE(ann.hears("state 3/2") && bob.hears("state 3/2"));
  ASSERT_TRUE(waitFor([&] { return ann.members("c") == Ids({"ann", "bob"}); }));
  ASSERT_TRUE(waitFor([&] { return bob.members("c") == Ids({"ann", "bob"}); }));
  EXPECT_EQ(ann.say("c", "again"), 0);
  EXPECT_TRUE(bob.hears("c ann: again"));
  EXPECT_EQ(bob.tell("ann", "me too"), 0);
  // Nobody has left and come in between, for those who were away themselves.
  EXPECT_EQ(bob.ears->heard(), (Heard{"state 4/5", "state 3/2", "c ann: again"}));
}

TEST(MqttBreak, WhoIsMissingAfterABreakHasLeft) {
  auto broker = startBroker();
  const auto port = broker->port();
  auto soon = options(addressOf(*broker));
  soon.leftGrace = 300ms;
  MqttUser ann(soon, "ann");
  ann.login(), ann.join("c");
  {
    test::ChildProcess bob({ZAVELO_MQTT_CHILD, addressOf(*broker), "bob", "c"});
    ASSERT_TRUE(ann.hears("c +bob"));
    kill(broker->process(), SIGKILL);
    ASSERT_TRUE(ann.hears("state 4/5"));
  }
  EXPECT_FALSE(ann.ears->has("c -bob"));
  broker.reset();
  broker = startBroker({.port = port});
  EXPECT_TRUE(ann.hears("c -bob"));
  EXPECT_EQ(ann.members("c"), Ids{"ann"});
}

TEST(MqttBreak, AFrozenBrokerAcknowledgesNothing) {
  const auto broker = startBroker();
  MqttUser ann(options(addressOf(*broker)), "ann"), bob(options(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  kill(broker->process(), SIGSTOP);
  EXPECT_EQ(ann.say("c", "into the cold"), rtmCode::failure);
  MqttUser eve(options(addressOf(*broker)), "eve");
  EXPECT_EQ(eve.tell("ann", "x"), rtmCode::notLoggedIn);
  EXPECT_TRUE(ann.hears("state 4/5"));  // it answers no ping
  kill(broker->process(), SIGCONT);
  ASSERT_TRUE(ann.hears("state 3/2"));
  // Bob may be about to notice the silence only now, and misses what is said until he is back.
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "warm") == 0 && bob.ears->has("c ann: warm"); }));
}

TEST(MqttBreak, AKilledProcessLeavesNothingBehind) {
  const auto broker = startBroker();
  MqttUser ann(options(addressOf(*broker)), "ann");
  ann.login(), ann.join("c");
  {
    test::ChildProcess bob({ZAVELO_MQTT_CHILD, addressOf(*broker), "bob", "c"});
    ASSERT_TRUE(ann.hears("c +bob"));
    EXPECT_EQ(ann.tell("bob", "there?"), 0);
  }  // by SIGKILL
  EXPECT_TRUE(ann.hears("c -bob"));
  EXPECT_TRUE(waitFor([&] { return ann.tell("bob", "there?") == rtmCode::failure; }));
  MqttUser late(options(addressOf(*broker)), "late");
  late.login(), late.join("c");
  EXPECT_EQ(late.members("c"), Ids({"ann", "late"}));
}

TEST(MqttChannel, OfALargeOneTheOwnShardIsToldAndAllAreListed) {
  const auto broker = startBroker();
  auto narrow = options(addressOf(*broker));
  narrow.memberEventsCap = 10;
  std::deque<MqttUser> users;
  Ids ids;
  for (int i = 10; i < 30; ++i) {
    ids.push_back("user" + std::to_string(i));
    users.emplace_back(narrow, ids.back());
    ASSERT_EQ(users.back().login(), 0);
    ASSERT_EQ(users.back().join("c"), 0);
  }
  for (auto& each : users) EXPECT_EQ(each.members("c"), ids) << each.id;
  const auto told = [](const MqttUser& user) {
    return std::ranges::count_if(user.ears->heard(),
                                 [](const auto& what) { return what.starts_with("c +"); });
  };
  EXPECT_LT(told(users.back()), 2);
  users.back().leave("c");
  ids.pop_back();
  EXPECT_TRUE(waitFor([&] { return users.front().members("c") == ids; }));
}

TEST(MqttChannel, ASlowReceiverHearsEverythingInOrder) {
  const auto broker = startBroker();
  auto patient = options(addressOf(*broker));
  patient.sendTimeout = 60s;
  MqttUser ann(patient, "ann"), bob(patient, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  constexpr int count = 5000;
  std::atomic<int> sent = 0;
  const auto channel = ann.kit->channels()->at("c");
  const auto slow = bob.kit->channels()->at("c");
  slow->getMembers([](auto) { std::this_thread::sleep_for(2s); });
  for (int i = 0; i < count; ++i)
    channel->send(std::to_string(i), [&](std::int64_t code) { sent += code == 0; });
  ASSERT_TRUE(waitFor([&] { return sent == count; }));
  ASSERT_TRUE(bob.hears("c ann: " + std::to_string(count - 1)));
  Heard expected;
  for (int i = 0; i < count; ++i) expected.push_back("c ann: " + std::to_string(i));
  auto heard = bob.ears->heard();
  std::erase_if(heard, [](const auto& what) { return !what.starts_with("c ann: "); });
  EXPECT_EQ(heard, expected);
}

/// Listens on a port, and does with each connection what a test says.
class Server {
 public:
  using Serve = std::function<void(int client, int number)>;

  explicit Server(Serve serve) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, plain, size) != 0 || listen(socket_, 8) != 0 ||
        getsockname(socket_, plain, &size) != 0)
      throw std::runtime_error("no port");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this, serve = std::move(serve)] {
      for (int client, number = 0; (client = accept(socket_, nullptr, nullptr)) >= 0; ++number) {
        clients_.push_back(client);
        serve(client, number);
      }
    });
  }
  ~Server() {
    shutdown(socket_, SHUT_RDWR);
    thread_.join();
    for (const int client : clients_) close(client);
    close(socket_);
  }
  [[nodiscard]] std::string address() const { return "mqtt://127.0.0.1:" + std::to_string(port_); }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM, 0);
  int port_ = 0;
  std::vector<int> clients_;
  std::thread thread_;
};

/// Answers so many packets of a client as a broker would, and no more.
void answerPackets(int client, int count) {
  for (unsigned char head[2]; count > 0 && recv(client, head, 2, MSG_WAITALL) == 2; --count) {
    std::string body(head[1], '\0');
    if (recv(client, body.data(), body.size(), MSG_WAITALL) != head[1]) return;
    // A published topic is followed by the packet's identifier, a subscription begins with it.
    const auto topicSize = static_cast<std::size_t>(static_cast<unsigned char>(body[1]));
    const auto type = head[0] >> 4;
    const auto id = body.substr(type == 3 ? topicSize + 2 : 0, 2);
    const auto answer = type == 1   ? "\x20\x03\0\0\0"s
                        : type == 3 ? "\x40\x02" + id
                                    : "\x90\x04" + id + "\0\x01"s;
    send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
  }
}

TEST(MqttBreak, AnUnansweredStepOfALoginIsABrokenConnection) {
  constexpr int connect = 1, firstSubscription = 2, login = 4;
  constexpr int answered[] = {login, firstSubscription, connect, login - 1, login};
  const Server server([&](int client, int number) {
    answerPackets(client, number < 5 ? answered[number] : 0);
    if (number == 0) shutdown(client, SHUT_RDWR);
  });
  MqttUser ann(options(server.address()), "ann");
  ASSERT_EQ(ann.login(), 0);
  ASSERT_TRUE(ann.hears("state 4/5"));
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 3/2") == 2; }));
}

TEST(MqttBreak, ChannelsComeBackWhenTheTokenIsRenewed) {
  const test::TemporaryFolder folder;
  const auto startWith = [&](const std::string& password, std::uint16_t port) {
    const auto passwords = folder / password;
    std::ofstream(passwords) << "ann:" << password << "\nbob:" << password << "\n";
    EXPECT_EQ(test::ChildProcess({"/usr/bin/mosquitto_passwd", "-U", passwords}).wait(), 0);
    return startBroker({.port = port, .settings = {"password_file " + passwords.string()}});
  };
  auto broker = startWith("first", 0);
  const auto port = broker->port();
  std::atomic<bool> isRenewed = false;
  auto known = options(addressOf(*broker));
  known.token = [&](const std::string&) { return isRenewed ? "second" : "first"; };
  MqttUser ann(known, "ann"), bob(known, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  broker.reset();
  broker = startWith("second", port);
  ASSERT_TRUE(ann.hears("token expired"));
  ASSERT_TRUE(ann.hears("state 1/3") && bob.hears("state 1/3"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notLoggedIn);
  isRenewed = true;
  for (auto* each : {&ann, &bob}) EXPECT_EQ(each->login(), 0);
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "back") == 0 && bob.ears->has("c ann: back"); }));
  EXPECT_TRUE(ann.ears->reported("c resumed"));
  // What the app leaves, or logs out of, stays away.
  EXPECT_EQ(ann.logout(), 0);
  EXPECT_EQ(ann.login(), 0);
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notInChannel);
}

TEST(MqttBreak, TheNextBrokerIsTriedAndEachAddressOfAName) {
  auto first = startBroker();
  const auto second = startBroker();
  const auto address = "mqtt://localhost:" + std::to_string(first->port()) +
                       ",localhost:" + std::to_string(second->port()) + ",127.0.0.1:1";
  MqttUser ann(options(address), "ann");
  ASSERT_TRUE(waitFor([&] { return ann.login() % rtmCode::loginAlreadyLoggedIn == 0; }));
  EXPECT_EQ(ann.join("c"), 0);
  first.reset();
  EXPECT_TRUE(waitFor([&] { return ann.say("c", "x") == 0; }));
  MqttUser lost(options("mqtt://no.such.host.invalid"), "ann");
  EXPECT_EQ(lost.login(), rtmCode::rejected);
}

TEST(MqttBreak, ASuspendedUserLeavesAtOnceAndComesBack) {
  const auto broker = startBroker();
  MqttUser ann(options(addressOf(*broker)), "ann"), bob(options(addressOf(*broker)), "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  ann.kit->suspend();
  EXPECT_TRUE(bob.hears("c -ann"));
  EXPECT_TRUE(ann.hears("state 4/5"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::failure);
  ann.kit->setInBackground(true);
  ann.kit->resume();
  EXPECT_TRUE(waitFor([&] { return ann.ears->reported("c resumed"); }));
  EXPECT_TRUE(bob.hears("c +ann"));
  EXPECT_EQ(bob.tell("ann", "there?"), 0);
  EXPECT_TRUE(ann.ears->reported("c interrupted, suspended"));

  // In another network the old connections are dead, which nothing says.
  kill(broker->process(), SIGSTOP);
  ann.kit->networkChanged();
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 4/5") == 2; }));
  kill(broker->process(), SIGCONT);
  EXPECT_TRUE(waitFor([&] { return ann.ears->count("state 3/2") == 3; }));
}

TEST(MqttBreak, TimeOutsDoNotWaitForTheNextPing) {
  const auto broker = startBroker();
  auto calm = options(addressOf(*broker));
  calm.keepAlive = 120s;
  MqttUser ann(calm, "ann");
  ann.login(), ann.join("c");
  kill(broker->process(), SIGSTOP);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ann.say("c", "into the cold"), rtmCode::failure);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
  kill(broker->process(), SIGCONT);
}

TEST(MqttChannel, TextsBeyondThePaceOrTheSizeAreRejectedAtOnce) {
  const auto broker = startBroker();
  auto paced = options(addressOf(*broker));
  paced.pace = {.texts = 3, .time = 3600s};
  paced.maximumTextSize = 10;
  MqttUser ann(paced, "ann");
  ann.login(), ann.join("c"), ann.join("d");
  EXPECT_EQ(ann.say("c", std::string(11, 'x')), rtmCode::rejected);
  for (const auto expected :
       {rtmCode::success, rtmCode::success, rtmCode::success, rtmCode::rejected})
    EXPECT_EQ(ann.say("c", "x"), expected);
  EXPECT_EQ(ann.say("d", "x"), rtmCode::success) << "each channel has its own";
  EXPECT_EQ(ann.tell("ann", std::string(11, 'x')), rtmCode::rejected);
}

TEST(MqttChannel, AMemberWithoutPresenceIsNotSeenAndCountsTheOthers) {
  const auto broker = startBroker();
  MqttUser ann(options(addressOf(*broker)), "ann"), bob(options(addressOf(*broker)), "bob");
  auto large = options(addressOf(*broker));
  large.memberEventsCap = 1;
  MqttUser viewer(large, "viewer");
  for (auto* each : {&ann, &bob, &viewer}) each->login();
  ann.join("c"), viewer.joinUnseen("c"), bob.join("c");
  EXPECT_EQ(viewer.say("c", "hi"), 0);
  EXPECT_TRUE(ann.hears("c viewer: hi"));
  EXPECT_FALSE(ann.ears->has("c +viewer"));
  EXPECT_FALSE(viewer.ears->has("c +bob"));
  EXPECT_EQ(viewer.members("c"), Ids({"ann", "bob"}));
  EXPECT_EQ(ann.count("c").estimate, 2U);
  EXPECT_EQ(ann.count("c").error, 0U);
  ann.join("d"), bob.join("d"), viewer.join("d");
  EXPECT_EQ(viewer.count("d").estimate % mqttShardCount, 0U);
  EXPECT_GT(viewer.count("d").error, 0U);
}

/// Whoever connects is told this, and nothing more.
Server nonsense(const std::string& text) {
  return Server([text](int client, int) { send(client, text.data(), text.size(), MSG_NOSIGNAL); });
}

TEST(MqttLogin, FailsAtWhatIsNoBroker) {
  for (const auto& text : std::initializer_list<std::string>{
           "HTTP/1.1 400 Bad Request\r\n\r\n" + std::string(100, ' '),
           "\xff\xff\xff\xff\xff\xff\xff", "\x20\x03\x00\x87\x00"s}) {
    const Server server = nonsense(text);
    MqttUser ann(options(server.address()), "ann");
    EXPECT_EQ(ann.login(), rtmCode::rejected);
    EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/3"}));
  }
  const Server silent = nonsense("");
  auto brief = options(silent.address());
  brief.loginTimeout = 200ms;
  MqttUser ann(brief, "ann");
  EXPECT_EQ(ann.login(), rtmCode::failure);
  EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/4"}));

  for (const char* address : {"", "http://127.0.0.1", "mqtt://", "mqtt://a b", "mqtt://h:0",
                              "mqtt://h:70000", "mqtt://[::1", "mqtt://u@h", "mqtt://h/path"})
    EXPECT_FALSE(mqttEngine({.address = address})) << address;
}

TEST(MqttLogin, NeedsWhatTheBrokerAsksFor) {
  const test::TemporaryFolder folder;
  const auto passwords = folder / "passwords";
  std::ofstream(passwords) << "ann:secret\n";
  ASSERT_EQ(test::ChildProcess({"/usr/bin/mosquitto_passwd", "-U", passwords}).wait(), 0);
  const auto broker = startBroker({.settings = {"password_file " + passwords.string()}});
  auto brief = options(addressOf(*broker));
  MqttUser ann(brief, "ann");
  EXPECT_EQ(ann.login(), rtmCode::rejected);  // without a token
  EXPECT_EQ(ann.login(), rtmCode::rejected);
  EXPECT_EQ(ann.ears->heard(), (Heard{"state 2/1", "state 1/3", "state 2/1", "state 1/3"}));
  brief.token = [](const std::string& userId) { return userId == "ann" ? "secret" : ""; };
  MqttUser known(brief, "ann");
  EXPECT_EQ(known.login(), 0);
  EXPECT_EQ(known.join("c"), 0);
}

TEST(MqttLogin, EndsWhenAnAdministratorEndsIt) {
  const test::TemporaryFolder folder;
  const auto users = (folder / "users.json").string();
  const auto administer = [](std::vector<std::string> words) {
    words.insert(words.begin(), {"/usr/bin/mosquitto_ctrl"});
    return test::ChildProcess(std::move(words)).wait();
  };
  ASSERT_EQ(administer({"dynsec", "init", users, "admin", "secret"}), 0);
  const auto broker = startBroker(
      {.settings = {"plugin /usr/lib/" ZAVELO_MULTIARCH "/mosquitto_dynamic_security.so",
                    "plugin_opt_config_file " + users}});
  const auto change = [&](std::vector<std::string> words) {
    const std::vector<std::string> where{"-h",    "127.0.0.1", "-p", std::to_string(broker->port()),
                                         "-u",    "admin",     "-P", "secret",
                                         "dynsec"};
    words.insert(words.begin(), where.begin(), where.end());
    EXPECT_EQ(administer(words), 0);
  };
  change({"createClient", "ann", "-p", "pw"});
  auto known = options(addressOf(*broker));
  known.token = [](const std::string&) { return "pw"; };
  MqttUser ann(known, "ann");
  ASSERT_EQ(ann.login(), 0);
  ASSERT_EQ(ann.join("c"), 0);
  change({"disableClient", "ann"});
  EXPECT_TRUE(ann.hears("state 5/7"));
  EXPECT_EQ(ann.say("c", "x"), rtmCode::notLoggedIn);
  EXPECT_EQ(ann.login(), rtmCode::rejected);
}

TEST(MqttTls, ATrustedBrokerIsTalkedToAndNoOther) {
  const test::TemporaryFolder folder;
  const test::ServerCertificate certificate("IP:127.0.0.1"), other("IP:127.0.0.1");
  certificate.appendTo(folder / "broker.pem");
  certificate.writeKeyTo(folder / "key.pem");
  other.appendTo(folder / "other.pem");
  const auto broker = startBroker({.settings = {"certfile " + (folder / "broker.pem").string(),
                                                "keyfile " + (folder / "key.pem").string()}});
  auto secure = options("mqtts://127.0.0.1:" + std::to_string(broker->port()));
  secure.maximumTextSize = 1'000'000;
  MqttUser stranger(secure, "eve");
  EXPECT_EQ(stranger.login(), rtmCode::rejected);
  secure.caFile = folder / "other.pem";
  MqttUser misled(secure, "eve");
  EXPECT_EQ(misled.login(), rtmCode::rejected);
  MqttUser plain(options(addressOf(*broker)), "eve");
  EXPECT_EQ(plain.login(), rtmCode::rejected);

  secure.caFile = folder / "broker.pem";
  MqttUser ann(secure, "ann"), bob(secure, "bob");
  for (auto* each : {&ann, &bob}) {
    ASSERT_EQ(each->login(), 0);
    ASSERT_EQ(each->join("c"), 0);
  }
  // Many small ones share a record, a large one takes several.
  const auto channel = ann.kit->channels()->at("c");
  for (int i = 0; i < 500; ++i) channel->send(std::to_string(i), {});
  const std::string large(300'000, 'x');
  EXPECT_EQ(ann.say("c", large), 0);
  EXPECT_TRUE(bob.hears("c ann: " + large));
  EXPECT_EQ(std::ranges::count_if(bob.ears->heard(),
                                  [](const auto& what) { return what.starts_with("c ann: "); }),
            501);
}

}  // namespace
}  // namespace zavelo::testing
