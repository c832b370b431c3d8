#include "sandbox/seed/entries.hpp"

#include <iterator>
#include <ranges>
#include <utility>

#include "sandbox/api/parameter_values.hpp"
#include "sandbox/gifts/wallet.hpp"
#include "sandbox/media/jpeg_address.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/member_parameters.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

constexpr Parameter passwordHashParameter = text("passwordHash", 1, 200);
constexpr Parameter pictureParameter = text("picture", 1, 2 * pictureLimit);

/// A member's zaveloId.
constexpr Parameter personParameter(std::string_view name) {
  return required(text(name, zaveloIdParameter.least, zaveloIdParameter.most));
}

std::vector<Parameter> with(std::vector<Parameter> first, const std::vector<Parameter>& more) {
  std::ranges::copy(more, std::back_inserter(first));
  return first;
}

std::optional<Problem> problemOfHash(const Arguments& entry) {
  const auto hash = entry.text(passwordHashParameter.name);
  if (!hash) return {};
  if (entry.has("password")) {
    return parameterProblem(passwordHashParameter.name, "stands beside a password");
  }
  if (isPasswordHash(*hash)) return {};
  return parameterProblem(passwordHashParameter.name,
                          "is no hash of a password that a sandbox has written");
}

std::optional<Problem> problemOfStatus(const Arguments& entry) {
  const auto status = entry.text("status");
  if (!status || statusNamed(*status)) return {};
  return parameterProblem("status", "expected created, live, paused or ended");
}

std::optional<Problem> problemOfPicture(const Arguments& entry) {
  if (!entry.has(pictureParameter.name)) return {};
  const auto file = pictureIn(entry);
  const auto complaint = file ? checkFile(*file, jpeg(pictureParameter.name, pictureLimit))
                              : "expected data:image/jpeg;base64 and so on";
  if (!complaint) return {};
  return parameterProblem(pictureParameter.name, *complaint);
}

/// Fills an object, without what a reader takes for granted anyway.
class EntryWriter {
 public:
  void put(std::string_view name, json::Value value) {
    object_.set(std::string(name), std::move(value));
  }
  template <class T>
  void putUnless(const T& usual, std::string_view name, const T& value) {
    if (value != usual) put(name, value);
  }
  template <class T>
  void putIfAny(std::string_view name, const std::optional<T>& value) {
    if (value) put(name, *value);
  }
  json::Object finish() && { return std::move(object_); }

 private:
  json::Object object_;
};

}  // namespace

const EntryKind& memberEntries() {
  static const EntryKind kind{
      "members",
      {required(zaveloIdParameter), userNameParameter, displayNameParameter, passwordParameter,
       passwordHashParameter, genderParameter, dobParameter, aboutParameter, profileImageParameter,
       latitudeParameter, longitudeParameter, integer("gold", 0, walletLimit),
       integer("beans", 0, walletLimit), promoCodeParameter, promoDescriptionParameter,
       flag("isBanned"), pictureParameter},
      profilePictures};
  return kind;
}

const EntryKind& streamEntries() {
  static const EntryKind kind{
      "streams",
      with({personParameter("owner"), required(slugParameter), streamPasswordParameter,
            passwordHashParameter, text("status", 0, 20), pinnedParameter("pinned"),
            pinnedParameter("position"), pictureParameter},
           planParameters(Parameter::Presence::optional)),
      streamCovers};
  return kind;
}

const EntryKind& productEntries() {
  static const EntryKind kind{
      "products", with({personParameter("seller"), pictureParameter}, productParameters()),
      productPictures};
  return kind;
}

std::optional<Problem> problemOf(const Arguments& entry) {
  if (auto problem = problemOfHash(entry)) return problem;
  if (auto problem = problemOfStatus(entry)) return problem;
  return problemOfPicture(entry);
}

std::optional<FormPart> pictureIn(const Arguments& entry) {
  auto content = jpegAt(entry.text(pictureParameter.name).value_or(""));
  if (!content) return {};
  return FormPart{std::string(pictureParameter.name), "picture.jpeg", "image/jpeg",
                  *std::move(content)};
}

void addPicture(json::Object& entry, const std::string& content) {
  entry.set(std::string(pictureParameter.name), jpegAddress(content));
}

json::Object entryOf(const Member& member) {
  const Member usual;
  EntryWriter entry;
  entry.put("zaveloId", member.zaveloId);
  entry.put("userName", member.userName);
  entry.put("displayName", member.displayName);
  entry.putIfAny(passwordHashParameter.name, member.passwordHash);
  entry.putUnless(usual.gender, "gender", member.gender);
  entry.putUnless(usual.dob, "dob", member.dob);
  entry.putUnless(usual.about, "about", member.about);
  entry.putUnless(usual.image, "profileImage", member.image);
  entry.putIfAny("latitude", member.latitude);
  entry.putIfAny("longitude", member.longitude);
  entry.put("gold", member.gold);
  entry.putUnless(usual.beans, "beans", member.beans);
  entry.putUnless(usual.promoCode, "promoCode", member.promoCode);
  entry.putUnless(usual.promoDescription, "promoCodeDescription", member.promoDescription);
  entry.putUnless(usual.banned, "isBanned", member.banned);
  return std::move(entry).finish();
}

json::Object entryOf(const Stream& stream, const std::string& owner, std::int64_t tagId) {
  const Stream usual;
  const StreamPlan& plan = stream.plan;
  EntryWriter entry;
  entry.put("owner", owner);
  entry.put("slug", stream.slug);
  entry.put("streamTitle", plan.title);
  entry.put("tagId", tagId);
  entry.putIfAny(passwordHashParameter.name, stream.passwordHash);
  if (stream.status != StreamStatus::created) entry.put("status", nameOf(stream.status));
  entry.putUnless(usual.plan.latitude, "latitude", plan.latitude);
  entry.putUnless(usual.plan.longitude, "longitude", plan.longitude);
  entry.putUnless(usual.plan.address, "address", plan.address);
  entry.putUnless(usual.plan.resolution, "resolution", plan.resolution);
  entry.putUnless(usual.plan.countryCode, "countryCode", plan.countryCode);
  entry.putUnless(usual.plan.screenType, "screenType", plan.screenType);
  entry.putUnless(usual.plan.streamType, "streamType", plan.streamType);
  entry.putIfAny("roomType", plan.roomType);
  entry.putUnless(usual.pinned, "pinned", stream.pinned);
  entry.putUnless(usual.position, "position", stream.position);
  return std::move(entry).finish();
}

json::Object entryOf(const Product& product, const std::string& seller) {
  const Product usual;
  EntryWriter entry;
  entry.put("seller", seller);
  entry.put("name", product.name);
  entry.put("price", product.price);
  entry.put("promotionPrice", product.promotionPrice);
  entry.put("url", product.url);
  entry.putUnless(usual.description, "description", product.description);
  entry.putUnless(usual.sku, "sku", product.sku);
  return std::move(entry).finish();
}

}  // namespace zavelo::sandbox
