#include <cstdio>
#include <fstream>
#include <optional>

#include "tools/zavelo/commands.hpp"
#include "tools/zavelo/demo_stage.hpp"
#include "tools/zavelo/interruption.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/platform/jpeg.hpp"

namespace zavelo::command {
namespace {

constexpr std::uint32_t pictureWidth = 320;
constexpr std::uint32_t pictureHeight = 240;
const std::string password = "correct horse battery staple";
const std::vector<std::string> whoAmI{"user", "current-user"};

std::string jsonLine(const json::Object& object) {
  const auto text = json::encode(json::Value(object));
  return text ? text.value() : "{}";
}

/// A sky that grows lighter towards the horizon.
ZVImage picture() {
  ZVImage image{pictureWidth, pictureHeight, {}};
  image.pixels.reserve(std::size_t{pictureWidth} * pictureHeight * 4);
  for (std::uint32_t y = 0; y < pictureHeight; ++y)
    for (std::uint32_t x = 0; x < pictureWidth; ++x)
      for (const std::uint32_t channel : {y * 255 / pictureHeight, 120U, 220U, 255U})
        image.pixels.push_back(static_cast<std::byte>(channel));
  return image;
}

std::string savedPicture(const DemoStage& stage) {
  const auto jpeg = TurboJpegEncoder().encode(picture(), 0.9);
  if (!jpeg) throw Surprise{"the picture could not be encoded"};
  const auto file = stage.folder() / "picture.jpeg";
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(jpeg->data()),
            static_cast<std::streamsize>(jpeg->size()));
  if (!out.flush()) throw Surprise{"cannot write " + file.string()};
  return file.string();
}

json::Value signIn(DemoStage& stage) {
  auto session = stage.succeed({"user", "login", "--zavelo-id", "ann@demo", "--password", "-"},
                               password + "\n");
  stage.show("signed in",
             textAt(session, "userInfo.displayName") + ", until " + textAt(session, "expires"));
  return session;
}

void expectSignedOut(DemoStage& stage) {
  expectEqual("is-login", false, stage.succeed({"user", "is-login"}));
  stage.show("session", "ended");
}

void registerMember(DemoStage& stage) {
  stage.tell("Ann registers");
  const auto member = stage.succeed({"call", "register-zavelo-user", "--parameters", "-"},
                                    jsonLine({{"zaveloId", "ann@demo"},
                                              {"userName", "ann"},
                                              {"displayName", "Ann"},
                                              {"password", password}}));
  stage.show("registered", textAt(member, "userName"));
  expectEqual("the registered name", "ann", at(member, "userName"));
  stage.tell("She signs in; her password goes through the standard input");
  signIn(stage);
}

void editProfile(DemoStage& stage) {
  stage.tell("She edits her profile, with a picture");
  const auto edited = stage.succeed({"user", "edit-profile", "--display-name", "Ann of the Demo",
                                     "--dob", "2000-02-29", "--gender", "female", "--about",
                                     "I tell stories.", "--image", savedPicture(stage)});
  expectEqual("the new name", "Ann of the Demo", at(edited, "userInfo.displayName"));
  const std::string address = textAt(edited, "userInfo.userImage");
  stage.show("picture", address);
  const std::string file = stage.fetch(address);
  const auto image = decodeJpeg(std::as_bytes(std::span(file)));
  if (!image) throw Surprise{"expected a JPEG at " + address};
  expectEqual("the picture's width", pictureWidth, image->width);
  expectEqual("the picture's height", pictureHeight, image->height);
  stage.show("fetched", std::to_string(file.size()) + " bytes, " + std::to_string(image->width) +
                            " x " + std::to_string(image->height) + " pixels");

  stage.tell("The app keeps the new profile in its session");
  auto session = stage.succeed(whoAmI);
  json::Object updated = *session.as<json::Object>();
  updated.set("userInfo", at(edited, "userInfo"));
  stage.succeed({"user", "update-user", "--user", "-"}, jsonLine(updated));
}

void staySignedIn(DemoStage& stage) {
  stage.tell("A new process is still signed in");
  const auto session = stage.succeed(whoAmI);
  expectEqual("the session's name", "Ann of the Demo", at(session, "userInfo.displayName"));
  stage.show("session",
             textAt(session, "userInfo.displayName") + " (" + textAt(session, "userName") + ")");
}

void renewToken(DemoStage& stage) {
  stage.tell("Her access token expires; the next call renews it and goes through");
  const auto before = textAt(stage.succeed(whoAmI), "accessToken");
  stage.act("expire-tokens", "ann");
  const auto scene = stage.run({"--log", "simple", "user", "search-for-user", "--display-name",
                                "ann", "--next-id", "0", "--limit", "10"});
  for (const char* line : {"Status code: 401", "REFRESH TOKEN >>>>", "Status code: 200"}) {
    expectContains("the log", scene.log, line);
    stage.show("log", line);
  }
  const auto* found = at(scene.result, "result").as<json::Array>();
  expectEqual("how many were found", 1, found == nullptr ? 0 : found->size());
  const auto after = textAt(stage.succeed(whoAmI), "accessToken");
  if (after == before) throw Surprise{"expected a new access token, got the old one"};
  stage.show("token", "renewed, and kept for the next process");
}

/// The backend ends the session: the next call learns why, and the app hears of it.
void loseSession(DemoStage& stage, const std::string& action, const std::string& type,
                 const std::string& notification) {
  stage.act(action, "ann");
  const auto scene = stage.run(
      {"user", "search-for-user", "--display-name", "ann", "--next-id", "0", "--limit", "10"});
  expectEqual("the error", type, at(scene.error, "type"));
  expectEqual("the notifications", json::Array{notification}, at(scene.error, "notifications"));
  stage.show("error", type + ": " + textAt(scene.error, "description"));
  stage.show("posted", notification);
  expectSignedOut(stage);
}

void loseSessions(DemoStage& stage) {
  stage.tell("She signs in on another device; this one is signed out");
  loseSession(stage, "sign-in-elsewhere", "loggedInOtherDevice", "ZaveloDidLogInAnotherDevice");
  stage.tell("She signs in here again, and is banned");
  signIn(stage);
  loseSession(stage, "ban", "banned", "ZaveloBanned");
}

void signOut(DemoStage& stage) {
  stage.tell("The ban is lifted; she signs in, and out");
  stage.act("unban", "ann");
  signIn(stage);
  expectEqual("logout-zavelo", true, stage.succeed({"user", "logout-zavelo"}));
  expectSignedOut(stage);
}

}  // namespace

int runDemo(const Output& output) {
  std::optional<Surprise> surprise;
  try {
    DemoStage stage;
    const OnSignal interrupting([children = stage.children()] { interrupt(*children); });
    stage.tell("A sandbox starts; every step from here is a process of its own");
    stage.startSandbox();
    registerMember(stage);
    editProfile(stage);
    staySignedIn(stage);
    renewToken(stage);
    loseSessions(stage);
    signOut(stage);
    stage.tell("The sandbox ends");
    stage.stopSandbox();
    stage.tell("All as expected");
  } catch (Surprise& caught) {
    surprise = std::move(caught);
  }
  if (const auto interrupted = Interruption::shared().status()) return *interrupted;
  return surprise ? output.error("demo", surprise->description) : succeeded;
}

}  // namespace zavelo::command
