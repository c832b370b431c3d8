#include "tools/zavelo/arguments/argument_note.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>

#include "zavelo/models/pagination.hpp"

namespace zavelo::command {
namespace {

json::Value zero() {
  return std::int64_t{0};
}

json::Value pageOfUsualSize() {
  return zvDefaultLoadLimitPage;
}

json::Value one() {
  return std::int64_t{1};
}

json::Value no() {
  return false;
}

json::Value thisDevice() {
  std::array<char, 256> host{};
  gethostname(host.data(), host.size() - 1);
  return std::string("cli-") + host.data();
}

constexpr ArgumentNote notes[] = {
    {"about", "What the profile says about the user"},
    {"address", "What the place is called"},
    {"amount", "How many; 1 if left out", &one},
    {"bitRate", "Of the video, bits a second"},
    {"cartUrl", "The shop's page"},
    {"choice", "Which option, from 1"},
    {"chatData", "A file with the chat"},
    {"color", "Of the text, like #FF0000"},
    {"content", "The text that floats"},
    {"count", "How many likes; 1 if left out", &one},
    {"countryCode", "The broadcaster's country"},
    {"data", "Position of the text, as the app writes positions"},
    {"description", "What there is to say about it"},
    {"deviceUdid", "Which device signs in; \"cli-\" and the host's name if left out", &thisDevice},
    {"displayName", "The name that others see"},
    {"dob", "Date of birth, as the backend writes dates"},
    {"gender", "As the backend words it"},
    {"giftAnimationType", "0 combo, 1 json, 2 svga"},
    {"giftCount", "How many at once"},
    {"giftFile", "URL of the animation"},
    {"giftId", "Which gift of the store"},
    {"giftImageLink", "URL of the picture"},
    {"giftName", "What the gift is called"},
    {"gold", "How much"},
    {"guestId", "The guest's user identifier"},
    {"id", "Which product"},
    {"image", "A JPEG file; a profile keeps its picture without one"},
    {"imageData", "A JPEG file"},
    {"isCompleted", "Whether the combo has ended"},
    {"isShowLike", "Whether likes are shown"},
    {"isShowView", "Whether viewers are shown"},
    {"isUnique", "Count one like a user; false if left out", &no},
    {"latitude", "Degrees north; 0 if left out", &zero},
    {"limit", "How many at most; 20 if left out", &pageOfUsualSize},
    {"longitude", "Degrees east; 0 if left out", &zero},
    {"maxBitRate", "Of the video at most, bits a second"},
    {"message", "The text"},
    {"name", "The product's name"},
    {"nextId", "The cursor that the page before gave; the first page if left out", &zero},
    {"option1", "The first answer"},
    {"option2", "The second answer"},
    {"option3", "A third answer"},
    {"orderIndex", "Its place, from 0"},
    {"parameters", "A JSON object; an empty one if left out"},
    {"password", "The password; \"-\" reads it from the standard input", nullptr, true},
    {"placingOrderCount", "How many are placing an order"},
    {"pollData", "The poll, a record with question, option1, option2, ..."},
    {"position", "The guest's place in the stream; of a text, a record with x and y"},
    {"price", "The list price"},
    {"productId", "Which product"},
    {"promoCode", "The code"},
    {"promoCodeDescription", "What it brings"},
    {"promotionPrice", "The price under promotion"},
    {"question", "What is asked"},
    {"reason", "Why"},
    {"receiverId", "Who gets it; the stream's owner if left out"},
    {"receiverStars", "What the receiver has come to"},
    {"recordedTime", "For a replay, milliseconds; 0 if left out"},
    {"refreshToken", "The token; \"-\" reads it from the standard input", nullptr, true},
    {"resolution", "Of the video, a code of the backend; 0 if left out", &zero},
    {"roomType", "A code of the backend"},
    {"screenType", "The orientation"},
    {"shouldShowLikeMessage", "Whether the like is told of"},
    {"sku", "The seller's own number for it"},
    {"slug", "Which stream"},
    {"streamDuration", "How long the stream has lasted, seconds"},
    {"streamTitleColor", "The color of the text"},
    {"streamType", "The kind of stream"},
    {"streamUserId", "The stream owner's user identifier"},
    {"tagId", "The category, one of get-stream-tags"},
    {"targetUsername", "Whom the event is about"},
    {"title", "The title"},
    {"token", "A record with accessToken, refreshToken and expires"},
    {"totalLikes", "All likes"},
    {"totalReceivedStars", "All stars"},
    {"totalViewers", "How many watch"},
    {"url", "The product's page"},
    {"user", "A session as current-user shows it"},
    {"userId", "The owner's user identifier"},
    {"userName", "The name under which the user is known"},
    {"words", "A word; once for each, the empty list if left out"},
    {"x", "Where the text floats, as the app counts"},
    {"y", "Like x, downwards"},
    {"zaveloId", "The name under which the member signs in"},
};

constexpr ArgumentNote none{};

}  // namespace

const ArgumentNote& noteOf(std::string_view name) {
  const auto* const found = std::ranges::find(notes, name, &ArgumentNote::name);
  return found == std::end(notes) ? none : *found;
}

}  // namespace zavelo::command
