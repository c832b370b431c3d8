#include "zavelo/testing/rtm_engine_contract.hpp"

#include "zavelo/testing/rtm_person_internal.hpp"

namespace zavelo::testing {
namespace {

using detail::anyFailure;
using detail::require;
using detail::RtmAnswer;
using detail::RtmPerson;
using Ids = std::vector<std::string>;

// Ids that a careless engine would take apart or mix up.
constexpr const char* oddIds[] = {"a/b", "+", "#", "$x", "ü 😀", "%2F"};

void loginIsReported(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann");
  ann.login();
  ann.expect({"state 2/1", "state 3/2"});
  ann.login(rtmCode::loginAlreadyLoggedIn);
  ann.tell("ann", "me");
  ann.expect({"peer ann: me"});
}

void logoutEndsEverything(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  require(ann.heardSoon("c +bob"), "a join was not told");
  ann.ears->forget(), bob.ears->forget();
  ann.logout();
  ann.expect({"state 1/6"});
  bob.expect({"c -ann"});
  ann.logout(rtmCode::notLoggedIn);
  ann.say("c", "x", rtmCode::notLoggedIn);
  bob.tell("ann", "x", anyFailure);
  ann.login();
  ann.say("c", "x", rtmCode::notInChannel);
}

void nothingWorksWithoutLogin(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann");
  ann.logout(rtmCode::notLoggedIn);
  ann.join("c", rtmCode::notLoggedIn);
  ann.leave("c", rtmCode::notLoggedIn);
  ann.say("c", "x", rtmCode::notLoggedIn);
  ann.tell("bob", "x", rtmCode::notLoggedIn);
  require(!ann.members("c"), "members were listed without a login");
  ann.expect({});
}

void secondLoginOfAUserEndsTheFirst(RtmEngineUnderTest& engine) {
  RtmPerson first(engine, "ann"), second(engine, "ann"), bob(engine, "bob");
  for (auto* each : {&first, &bob}) each->login(), each->join("c");
  require(first.heardSoon("c +bob"), "a join was not told");
  first.ears->forget(), bob.ears->forget();
  second.login();
  first.expect({"state 5/8"});
  second.expect({"state 2/1", "state 3/2"});
  bob.expect({"c -ann"});
  first.say("c", "x", rtmCode::notLoggedIn);
  bob.tell("ann", "hi");
  second.expect({"peer bob: hi"});
  first.expect({});
}

void channelsComeBackWithANewLogin(RtmEngineUnderTest& engine) {
  RtmPerson first(engine, "ann"), second(engine, "ann"), bob(engine, "bob");
  for (auto* each : {&first, &bob}) each->login(), each->join("c"), each->join("d");
  second.login();
  require(first.heardSoon("state 5/8"), "the first login did not end");
  first.leave("d", rtmCode::notLoggedIn);
  first.login();
  require(first.getsThrough("c", "back"), "a channel did not come back with a new login");
  require(bob.heardSoon("c ann: back"), "a channel came back for one side only");
  first.say("d", "x", rtmCode::notInChannel);
}

void channelMessagesReachTheOthers(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob"), eve(engine, "eve");
  for (auto* each : {&ann, &bob, &eve}) each->login();
  ann.join("c"), bob.join("c"), eve.join("d");
  bob.say("c", "first");  // all have heard of the joins by then
  ann.expect({"state 2/1", "state 3/2", "c +bob", "c bob: first"});
  bob.ears->forget(), eve.ears->forget();
  for (const auto* text : {"one", "", "ünï 😀 \"\n"}) ann.say("c", text);
  bob.expect({"c ann: one", "c ann: ", "c ann: ünï 😀 \"\n"});
  bob.say("c", "back");
  ann.expect({"c bob: back"});  // and none of ann's own
  ann.tell("eve", "fence");
  eve.expect({"peer ann: fence"});  // and nothing of the other channel
}

void peerMessagesReachOnePeer(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  ann.login(), bob.login();
  bob.ears->forget();
  ann.tell("bob", "one"), ann.tell("bob", "two");
  bob.expect({"peer ann: one", "peer ann: two"});
  ann.tell("nobody", "x", anyFailure);
}

void membersAreToldAndListed(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  ann.login(), bob.login();
  ann.join("c");
  require(ann.members("c") == Ids{"ann"}, "the first member is not alone");
  ann.ears->forget(), bob.ears->forget();
  bob.join("c");
  ann.expect({"c +bob"});
  bob.expect({});
  for (auto* each : {&ann, &bob})
    require(each->members("c") == Ids{"ann", "bob"}, "a list of two is wrong");
  bob.join("c", rtmCode::joinAlreadyJoined);
  bob.leave("c");
  ann.expect({"c -bob"});
  bob.leave("c", rtmCode::notInChannel);
  require(!bob.members("c"), "members were listed from outside");
  require(ann.members("c") == Ids{"ann"}, "who has left is still listed");
  bob.join("c");
  ann.expect({"c +bob"});
}

void channelsAreKeptById(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  ann.login(), bob.login();
  require(!ann.kit->createChannel("", ann.ears), "a channel without an id was created");
  require(!ann.kit->destroyChannel("c"), "a channel that is none was destroyed");
  const auto channel = ann.kit->createChannel("c", ann.ears);
  require(channel == ann.kit->createChannel("c", ann.ears), "one id has two channels");
  ann.join("c"), bob.join("c");
  bob.ears->forget();
  require(ann.kit->destroyChannel("c"), "a channel was not destroyed");
  require(ann.kit->channels()->empty(), "a destroyed channel is still in the map");
  bob.expect({"c -ann"});
}

void oddIdsAreKeptApart(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann");
  ann.login();
  ann.join("a");
  ann.ears->forget();
  for (const std::string id : oddIds) {
    RtmPerson odd(engine, id);
    odd.login();
    odd.join(id);
    ann.join(id);
    odd.expect({"state 2/1", "state 3/2", id + " +ann"});
    ann.say(id, "hi");
    odd.expect({id + " ann: hi"});
    odd.tell("ann", "you");
    ann.expect({"peer " + id + ": you"});
    require(ann.members(id) == (id < "ann" ? Ids{id, "ann"} : Ids{"ann", id}),
            "the members of \"" + id + "\" are wrong");
    odd.logout();
    ann.expect({id + " -" + id});
  }
}

void longTextsArriveWhole(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  bob.ears->forget();
  std::string text;
  while (text.size() < 60 * 1024) text += std::to_string(text.size()) + "é";
  ann.say("c", text);
  ann.tell("bob", text);
  bob.expect({"c ann: " + text, "peer ann: " + text});
}

void destroyedKitIsGone(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann"), bob(engine, "bob");
  for (auto* each : {&ann, &bob}) each->login(), each->join("c");
  bob.ears->forget();
  const auto channel = ann.kit->channels()->at("c");
  ann.kit.reset();
  bob.expect({"c -ann"});
  bob.tell("ann", "x", anyFailure);
  channel->send("x", {});
  require(bob.members("c") == Ids{"bob"}, "a user without a kit is still listed");
  bob.expect({});
}

void callbacksMayCallAgain(RtmEngineUnderTest& engine) {
  RtmPerson ann(engine, "ann");
  const RtmAnswer<std::int64_t> answer;
  ann.kit->login({}, "ann", [&](std::int64_t) {
    ann.kit->createChannel("c", ann.ears)->join([&](std::int64_t) {
      ann.kit->channels()->at("c")->send("x", answer.taker());
    });
  });
  require(answer.wait(engine, "a send from inside a callback") == rtmCode::success,
          "a send from inside a callback failed");
}

/// A clause that says what it found instead of throwing it.
template <void (*Clause)(RtmEngineUnderTest&)>
std::string checked(RtmEngineUnderTest& engine) {
  try {
    Clause(engine);
    return "";
  } catch (const detail::Broken& broken) {
    return broken.what;
  }
}

constexpr RtmContractClause clauses[] = {
    {"LoginIsReported", checked<loginIsReported>},
    {"LogoutEndsEverything", checked<logoutEndsEverything>},
    {"NothingWorksWithoutLogin", checked<nothingWorksWithoutLogin>},
    {"SecondLoginOfAUserEndsTheFirst", checked<secondLoginOfAUserEndsTheFirst>},
    {"ChannelsComeBackWithANewLogin", checked<channelsComeBackWithANewLogin>},
    {"ChannelMessagesReachTheOthers", checked<channelMessagesReachTheOthers>},
    {"PeerMessagesReachOnePeer", checked<peerMessagesReachOnePeer>},
    {"MembersAreToldAndListed", checked<membersAreToldAndListed>},
    {"ChannelsAreKeptById", checked<channelsAreKeptById>},
    {"OddIdsAreKeptApart", checked<oddIdsAreKeptApart>},
    {"LongTextsArriveWhole", checked<longTextsArriveWhole>},
    {"DestroyedKitIsGone", checked<destroyedKitIsGone>},
    {"CallbacksMayCallAgain", checked<callbacksMayCallAgain>},
};

}  // namespace

std::span<const RtmContractClause> rtmEngineContract() {
  return clauses;
}

}  // namespace zavelo::testing
