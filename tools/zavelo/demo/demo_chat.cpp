#include "tools/zavelo/demo/demo_chat.hpp"

#include <algorithm>
#include <csignal>
#include <functional>
#include <utility>
#include <vector>

namespace zavelo::command {
namespace {

/// Somebody's app in the channel, for as long as it is left there.
class InChannel {
 public:
  InChannel(DemoStage& stage, Actor& who, const std::string& slug,
            std::vector<std::string> options = {})
      : stage_(stage), name_(who.name()) {
    options.insert(options.begin(), {"chat", "--channel", slug});
    process_ = who.start(options);
    await("joined");
  }

  /// Types a line; the app shows it when the broker has it.
  void say(const std::string& line) {
    stage_.show(name_, "says: " + line);
    process_->write(line + "\n");
    expectEqual("what " + name_ + " said", line, at(await("message"), "message"));
  }
  /// The next event of that kind that the app shows.
  json::Value await(const std::string& kind) {
    for (;;) {
      const auto line = process_->nextLine();
      if (line.empty())
        throw Surprise{name_ + " never saw " + kind + ": " + process_->wait().error};
      auto event = parsed(line);
      if (textAt(event, "kind") == kind) return event;
    }
  }
  void awaitText(const std::string& kind, const std::string& text) {
    expectEqual("what " + name_ + " reads", text, at(await(kind), "message"));
    stage_.show(name_, "reads: " + text);
  }
  void leave() {
    process_->signal(SIGINT);
    const auto outcome = process_->wait();
    if (outcome.status != 0) throw Surprise{name_ + "'s app failed: " + outcome.error};
  }

 private:
  DemoStage& stage_;
  const std::string name_;
  std::shared_ptr<ChildProcess> process_;
};

/// The apps that stay: the host's, and a viewer's.
struct Apps {
  InChannel host;
  InChannel viewer;
};

std::vector<std::string> send(const ChatCast& cast, const std::string& kind,
                              std::vector<std::string> fields) {
  fields.insert(fields.begin(), {"chat", "send", "--channel", cast.slug, "--type", kind});
  return fields;
}

void talk(const ChatCast& cast, Apps& apps) {
  apps.viewer.say("Is the scarf warm? \U0001F9E3");
  apps.host.awaitText("message", "Is the scarf warm? \U0001F9E3");
  apps.host.say("As \"warm\" as it looks");
  apps.viewer.awaitText("message", "As \"warm\" as it looks");
  cast.passerBy.succeed(send(cast, "like", {"--should-show-like-message", "true"}));
  apps.host.await("like"), apps.viewer.await("like");
}

void poll(const ChatCast& cast, Apps& apps) {
  cast.stage.tell("The host asks, and both viewers vote by a chat line");
  cast.stage.trigger({"start-poll", "--slug", cast.slug, "--question", "Which one next?",
                      "--option1", "Scarf", "--option2", "Shawl"});
  expectEqual("the question", "Which one next?",
              at(apps.viewer.await("startPoll"), "pollData.question"));
  apps.host.await("startPoll");
  apps.viewer.say("2");
  apps.host.awaitText("message", "2");
  cast.passerBy.succeed(send(cast, "message", {"--message", "Shawl"}));
  for (auto* app : {&apps.host, &apps.viewer}) app->awaitText("message", "Shawl");
  // The count goes out in rounds.
  while (integerAt(apps.viewer.await("startPoll"), "pollData.total") < 2) {
  }
  cast.stage.trigger({"stop-poll", "--slug", cast.slug});
  const auto result = apps.viewer.await("stopPoll");
  apps.host.await("stopPoll");
  for (const auto& [option, votes] : {std::pair{"numOption1", 0}, std::pair{"numOption2", 2}})
    expectEqual(option, votes, at(result, std::string("pollData.") + option));
  cast.stage.show("votes", "Scarf 0, Shawl 2");
}

void giveGift(const ChatCast& cast, Apps& apps) {
  cast.stage.tell("A viewer gives a gift: paid at the backend, told in the channel");
  const auto store = cast.passerBy.succeed({"gift", "store"});
  const auto& gift = at(store, "gifts").as<json::Array>()->front();
  const auto id = std::to_string(integerAt(gift, "giftId"));
  const auto given = cast.passerBy.succeed(
      {"gift", "send-gift", "--slug", cast.slug, "--gift-id", id, "--amount", "2"});
  expectEqual("the gold that is left",
              integerAt(store, "totalGold") - 2 * integerAt(gift, "costGold"),
              at(given, "sender.totalGold"));
  const auto& name = textAt(gift, "giftName");
  cast.passerBy.succeed(
      send(cast, "gift",
           {"--message", textAt(given, "messageData.message"), "--gift-id", id, "--gift-name", name,
            "--gift-image-link", textAt(given, "messageData.giftImageLink"), "--gift-count", "2"}));
  const auto seen = apps.viewer.await("gift");
  apps.host.await("gift");
  expectEqual("the gift", name, at(seen, "giftName"));
  expectEqual("how many", 2, at(seen, "giftCount"));
  cast.stage.show("gift", "2 x " + name);
}

void decorate(const ChatCast& cast, Apps& apps) {
  cast.stage.tell("The host's app tells how the stream is doing, and floats a text over it");
  cast.stage.trigger({"statistic", "--slug", cast.slug});
  const auto totals = apps.viewer.await("statistic");
  cast.stage.show("statistic", std::to_string(integerAt(totals, "totalViewers")) + " viewer, " +
                                   std::to_string(integerAt(totals, "totalLikes")) + " likes");
  cast.stage.trigger({"floating-text", "--slug", cast.slug, "--content", "-20 %"});
  expectEqual("the floating text", "-20 %", at(apps.viewer.await("floatingText"), "content"));
  apps.host.await("floatingText");
}

/// What goes out in rounds, and so comes when it comes.
bool isOfARound(const json::Value& event) {
  const auto& kind = textAt(event, "kind");
  return kind == "statistic" || (kind == "startPoll" && integerAt(event, "pollData.total") > 0);
}

bool isPoll(const json::Value& event) {
  return textAt(event, "kind").ends_with("Poll");
}

/// Kind and text of each event that a user caused, polls after the others: a recorded chat keeps
/// them apart, so that of two events in one millisecond either may come first.
json::Array told(std::vector<json::Value> events) {
  std::erase_if(events, isOfARound);
  std::stable_partition(events.begin(), events.end(), std::not_fn(isPoll));
  json::Array lines;
  for (const auto& event : events)
    lines.push_back(json::Array{at(event, "kind"), at(event, "message")});
  return lines;
}

}  // namespace

std::string playChat(const ChatCast& cast) {
  cast.stage.tell("Their apps meet in the stream's channel, and they chat");
  const auto file = (cast.stage.folder() / "chat.json").string();
  Apps apps{{cast.stage, cast.host, cast.slug, {"--save", file}},
            {cast.stage, cast.viewer, cast.slug}};
  talk(cast, apps);
  poll(cast, apps);
  giveGift(cast, apps);
  decorate(cast, apps);
  const auto members = cast.passerBy.succeed({"chat", "members", "--channel", cast.slug});
  expectEqual("how many are in the channel", 3, members.as<json::Array>()->size());
  for (auto* app : {&apps.viewer, &apps.host}) app->leave();
  return file;
}

void replayChat(const ChatCast& cast, const std::string& savedFile) {
  cast.stage.tell("The chat was saved; who comes late replays it from its address");
  const auto detail = cast.viewer.succeed({"stream", "get-stream-detail", "--slug", cast.slug});
  const auto saved = told(cast.host.succeedWithAll({"replay", savedFile, "--speed", "max"}));
  const auto replayed =
      told(cast.viewer.succeedWithAll({"replay", textAt(detail, "historyChat"), "--speed", "max"}));
  expectEqual("the replay", saved, replayed);
  json::Array kinds;
  for (const auto& event : replayed) kinds.push_back(event.as<json::Array>()->front());
  expectEqual("what was told",
              json::Array{"message", "message", "like", "message", "message", "gift",
                          "floatingText", "startPoll", "stopPoll"},
              kinds);
  cast.stage.show("replayed", std::to_string(replayed.size()) + " events, as the host saved them");
}

}  // namespace zavelo::command
