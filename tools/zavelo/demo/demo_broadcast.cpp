#include "tools/zavelo/demo/demo_chat.hpp"
#include "tools/zavelo/demo/demo_picture.hpp"
#include "tools/zavelo/demo/demo_stories.hpp"

namespace zavelo::command {
namespace {

constexpr std::uint32_t coverHeight = 180;
constexpr std::uint32_t productHeight = 120;

/// Who the story is about, and what it is about.
struct Broadcast {
  DemoStage& stage;
  Actor mai{stage, "mai"};
  Actor vic{stage, "vic"};
  Actor lan{stage, "lan"};
  std::string slug{};
};

std::string number(const json::Value& value) {
  return std::to_string(*value.as<std::int64_t>());
}

void signIn(Actor& actor, const std::string& name) {
  const auto user = actor.succeed(
      {"user", "login-zavelo", "--zavelo-id", name + "@demo", "--display-name", name});
  expectEqual("the name", name, at(user, "userInfo.displayName"));
}

void createStream(Broadcast& on) {
  on.stage.tell("Mai sells; she signs in and makes a stream with a cover");
  signIn(on.mai, "Mai");
  const auto tags = on.mai.succeed({"stream", "get-stream-tags"});
  const auto& tag = tags.as<json::Array>()->front();
  on.stage.show("tag", textAt(tag, "tagName"));
  const auto stream = on.mai.succeed(
      {"stream", "create-stream", "--title", "L\u1ee5a H\u00e0 \u0110\u00f4ng \U0001F9E3",
       "--tag-id", number(at(tag, "tagId")), "--address", "H\u00e0 N\u1ed9i", "--country-code",
       "VN", "--screen-type", "portrait", "--stream-type", "user"});
  on.slug = textAt(stream, "slug");
  on.stage.show("stream", textAt(stream, "title") + " (" + on.slug + ")");
  on.mai.succeed({"stream", "save-stream-cover-image", "--slug", on.slug, "--image-data",
                  drawPicture(on.stage, "cover", coverHeight)});
  const auto detail = on.mai.succeed({"stream", "get-stream-detail", "--slug", on.slug});
  expectPicture(on.stage, textAt(detail, "coverImage"), coverHeight);
}

/// The names of one's products in their order, read two a page.
json::Array productNames(Broadcast& on) {
  const auto all = on.mai.succeed({"product", "get-products", "--limit", "2", "--all"});
  json::Array names;
  for (const auto& product : *at(all, "result").as<json::Array>())
    names.push_back(at(product, "name"));
  return names;
}

void arrangeProducts(Broadcast& on) {
  on.stage.tell("She adds three products, moves the last to the front, and deletes one");
  const std::string picture = drawPicture(on.stage, "product", productHeight);
  json::Value last;
  for (const char* const name : {"Scarf", "Shawl", "Tie"}) {
    last = on.mai.succeed({"product", "add-product", "--name", name, "--price", "250",
                           "--promotion-price", "199.5", "--image", picture, "--url",
                           "https://shop.example/" + std::string(name)});
  }
  expectPicture(on.stage, textAt(last, "imageUrl"), productHeight);
  on.mai.succeed({"product", "edit-product-order", "--product-id", number(at(last, "id")), "--slug",
                  on.slug, "--order-index", "0"});
  expectEqual("the order", json::Array{"Tie", "Scarf", "Shawl"}, productNames(on));
  on.mai.succeed({"product", "delete-product", "--product-id", number(at(last, "id"))});
  expectEqual("the products", json::Array{"Scarf", "Shawl"}, productNames(on));
  on.stage.show("products", "Scarf, Shawl");
}

void watch(Broadcast& on) {
  on.stage.tell("She goes on air; Vic, in a process of his own, watches and likes");
  on.mai.succeed({"stream", "begin-stream", "--slug", on.slug});
  on.stage.goOnAir();
  signIn(on.vic, "Vic");
  on.vic.succeed({"stream", "update-stream-view-count", "--slug", on.slug});
  const auto shown =
      on.vic.succeed({"stream", "get-stream-product-list", "--slug", on.slug, "--all"});
  expectEqual("the products shown", 2, at(shown, "result").as<json::Array>()->size());
  on.vic.succeed({"stream", "like-stream", "--slug", on.slug, "--count", "3"});
  on.vic.succeed({"stream", "like-stream", "--slug", on.slug, "--is-unique", "true"});
  on.vic.failWith("alreadyLikeStream",
                  {"stream", "like-stream", "--slug", on.slug, "--is-unique", "true"});
  const auto audience = on.mai.succeed({"stream", "get-audience-list", "--slug", on.slug});
  expectEqual("how many watch", 1, audience.as<json::Array>()->size());
  on.stage.show("watching", textAt(audience.as<json::Array>()->front(), "userInfo.displayName"));
}

void mindWords(Broadcast& on) {
  on.stage.tell("Vic's app fetches the banned words, and masks what he writes");
  const auto words = on.vic.succeed({"setting", "get-naughty-words"});
  const auto& word = *words.as<json::Array>()->back().as<std::string>();
  const auto masked = on.vic.succeed({"censor", "A " + word + " fine scarf"});
  expectEqual("the masked line", "A *** fine scarf", masked);
  on.stage.show("masked", *masked.as<std::string>());
}

void end(Broadcast& on) {
  on.stage.tell("He cannot end it; she can, and the totals agree with what happened");
  on.vic.failWith("noPermission", {"stream", "end-stream", "--slug", on.slug});
  const auto running = on.mai.succeed({"stream", "get-stream-statistic", "--slug", on.slug});
  const auto totals = on.mai.succeed({"stream", "end-stream", "--slug", on.slug});
  on.stage.leaveAir();
  for (const auto& [name, count] : {std::pair{"viewCount", 1}, std::pair{"likeCount", 4}}) {
    expectEqual(std::string("the running ") + name, count, at(running, name));
    expectEqual(name, count, at(totals, name));
    on.stage.show(name, number(at(totals, name)));
  }
  on.vic.failWith("streamEnd", {"stream", "like-stream", "--slug", on.slug});
}

}  // namespace

void playBroadcast(DemoStage& stage) {
  Broadcast on{stage};
  createStream(on);
  arrangeProducts(on);
  watch(on);
  mindWords(on);
  signIn(on.lan, "Lan");
  const ChatCast cast{stage, on.mai, on.vic, on.lan, on.slug};
  const auto savedChat = playChat(cast);
  on.mai.succeed({"stream", "save-chat-history", "--slug", on.slug, "--chat-data", savedChat});
  end(on);
  replayChat(cast, savedChat);
}

}  // namespace zavelo::command
