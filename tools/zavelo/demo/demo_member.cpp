#include "tools/zavelo/demo/demo_picture.hpp"
#include "tools/zavelo/demo/demo_stories.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

constexpr std::uint32_t pictureHeight = 240;
const std::string password = "correct horse battery staple";
const std::vector<std::string> whoAmI{"user", "current-user"};

/// Who the story is about, and where it plays.
struct Member {
  DemoStage& stage;
  Actor actor{stage, "ann"};
};

std::string jsonLine(const json::Object& object) {
  const auto text = json::encode(json::Value(object));
  return text ? text.value() : "{}";
}

json::Value signIn(Member& ann) {
  auto session = ann.actor.succeed({"user", "login", "--zavelo-id", "ann@demo", "--password", "-"},
                                   password + "\n");
  ann.stage.show("signed in",
                 textAt(session, "userInfo.displayName") + ", until " + textAt(session, "expires"));
  return session;
}

void expectSignedOut(Member& ann) {
  expectEqual("is-login", false, ann.actor.succeed({"user", "is-login"}));
  ann.stage.show("session", "ended");
}

void registerMember(Member& ann) {
  ann.stage.tell("Ann registers");
  const auto member = ann.actor.succeed({"call", "register-zavelo-user", "--parameters", "-"},
                                        jsonLine({{"zaveloId", "ann@demo"},
                                                  {"userName", "ann"},
                                                  {"displayName", "Ann"},
                                                  {"password", password}}));
  ann.stage.show("registered", textAt(member, "userName"));
  expectEqual("the registered name", "ann", at(member, "userName"));
  ann.stage.tell("She signs in; her password goes through the standard input");
  signIn(ann);
}

void editProfile(Member& ann) {
  ann.stage.tell("She edits her profile, with a picture");
  const auto edited =
      ann.actor.succeed({"user", "edit-profile", "--display-name", "Ann of the Demo", "--dob",
                         "2000-02-29", "--gender", "female", "--about", "I tell stories.",
                         "--image", drawPicture(ann.stage, "portrait", pictureHeight)});
  expectEqual("the new name", "Ann of the Demo", at(edited, "userInfo.displayName"));
  expectPicture(ann.stage, textAt(edited, "userInfo.userImage"), pictureHeight);

  ann.stage.tell("The app keeps the new profile in its session");
  auto session = ann.actor.succeed(whoAmI);
  json::Object updated = *session.as<json::Object>();
  updated.set("userInfo", at(edited, "userInfo"));
  ann.actor.succeed({"user", "update-user", "--user", "-"}, jsonLine(updated));
}

void staySignedIn(Member& ann) {
  ann.stage.tell("A new process is still signed in");
  const auto session = ann.actor.succeed(whoAmI);
  expectEqual("the session's name", "Ann of the Demo", at(session, "userInfo.displayName"));
  ann.stage.show("session", textAt(session, "userInfo.displayName") + " (" +
                                textAt(session, "userName") + ")");
}

void renewToken(Member& ann) {
  ann.stage.tell("Her access token expires; the next call renews it and goes through");
  const auto before = textAt(ann.actor.succeed(whoAmI), "accessToken");
  ann.stage.trigger({"expire-tokens", "--user-name", "ann"});
  const auto scene = ann.actor.run({"--log", "simple", "user", "search-for-user", "--display-name",
                                    "ann", "--next-id", "0", "--limit", "10"});
  for (const char* line : {"Status code: 401", "REFRESH TOKEN >>>>", "Status code: 200"}) {
    expectContains("the log", scene.log, line);
    ann.stage.show("log", line);
  }
  const auto result = parsed(scene.output);
  const auto* found = at(result, "result").as<json::Array>();
  expectEqual("how many were found", 1, found == nullptr ? 0 : found->size());
  const auto after = textAt(ann.actor.succeed(whoAmI), "accessToken");
  if (after == before) throw Surprise{"expected a new access token, got the old one"};
  ann.stage.show("token", "renewed, and kept for the next process");
}

/// The backend ends the session: the next call learns why, and the app is notified.
void loseSession(Member& ann, const std::string& action, const std::string& type,
                 const std::string& notification) {
  ann.stage.trigger({action, "--user-name", "ann"});
  const auto scene = ann.actor.run(
      {"user", "search-for-user", "--display-name", "ann", "--next-id", "0", "--limit", "10"});
  expectEqual("the error", type, at(scene.error, "type"));
  expectEqual("the notifications", json::Array{notification}, at(scene.error, "notifications"));
  ann.stage.show("error", type + ": " + textAt(scene.error, "description"));
  ann.stage.show("posted", notification);
  expectSignedOut(ann);
}

void loseSessions(Member& ann) {
  ann.stage.tell("She signs in on another device; this one is signed out");
  loseSession(ann, "sign-in-elsewhere", "loggedInOtherDevice", "ZaveloDidLogInAnotherDevice");
  ann.stage.tell("She signs in here again, and is banned");
  signIn(ann);
  loseSession(ann, "ban", "banned", "ZaveloBanned");
}

void signOut(Member& ann) {
  ann.stage.tell("The ban is lifted; she signs in, and out");
  ann.stage.trigger({"unban", "--user-name", "ann"});
  signIn(ann);
  expectEqual("logout-zavelo", true, ann.actor.succeed({"user", "logout-zavelo"}));
  expectSignedOut(ann);
}

}  // namespace

void playMember(DemoStage& stage) {
  Member ann{stage};
  registerMember(ann);
  editProfile(ann);
  staySignedIn(ann);
  renewToken(ann);
  loseSessions(ann);
  signOut(ann);
}

}  // namespace zavelo::command
