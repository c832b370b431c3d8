#include "sandbox/seed/entries.hpp"

#include <iterator>
#include <ranges>
#include <utility>

#include "sandbox/api/parameter_values.hpp"
#include "sandbox/media/jpeg_address.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto pictureParameter = text("picture", 1, 2 * pictureLimit);

std::vector<Parameter> with(std::vector<Parameter> first, const std::vector<Parameter>& more) {
  std::ranges::copy(more, std::back_inserter(first));
  return first;
}

std::optional<Problem> problemOfHash(const Arguments& entry) {
  const auto hash = entry[passwordHashParameter];
  if (!hash) return {};
  if (entry.has(passwordParameter)) {
    return parameterProblem(passwordHashParameter.name, "is given together with a password");
  }
  if (isPasswordHash(*hash)) return {};
  return parameterProblem(passwordHashParameter.name,
                          "is no hash of a password that a sandbox has written");
}

std::optional<Problem> problemOfStatus(const Arguments& entry) {
  const auto status = entry[statusParameter];
  if (!status || statusNamed(*status)) return {};
  return parameterProblem(statusParameter.name, "expected created, live, paused or ended");
}

std::optional<Problem> problemOfPicture(const Arguments& entry) {
  if (!entry.has(pictureParameter)) return {};
  const auto file = pictureIn(entry);
  const auto complaint = file ? checkFile(*file, jpeg(pictureParameter.name, pictureLimit))
                              : "expected data:image/jpeg;base64 and so on";
  if (!complaint) return {};
  return parameterProblem(pictureParameter.name, *complaint);
}

/// Fills an object, without what a reader takes for granted anyway.
class EntryWriter {
 public:
  void put(const Parameter& parameter, json::Value value) {
    object_.set(std::string(parameter.name), std::move(value));
  }
  template <class T>
  void putUnless(const T& usual, const Param<T>& parameter, const T& value) {
    if (value != usual) put(parameter, value);
  }
  template <class T>
  void putIfAny(const Param<T>& parameter, const std::optional<T>& value) {
    if (value) put(parameter, *value);
  }
  json::Object finish() && { return std::move(object_); }

 private:
  json::Object object_;
};

}  // namespace

const EntryKind& memberEntries() {
  static const EntryKind kind{
      "members",
      {zaveloIdParameter, userNameParameter, displayNameParameter, passwordParameter,
       passwordHashParameter, genderParameter, dobParameter, aboutParameter, profileImageParameter,
       latitudeParameter, longitudeParameter, goldParameter, beansParameter, promoCodeParameter,
       promoDescriptionParameter, isBannedParameter, pictureParameter},
      profilePictures};
  return kind;
}

const EntryKind& streamEntries() {
  static const EntryKind kind{
      "streams",
      with({ownerParameter, slugParameter, streamPasswordParameter, passwordHashParameter,
            statusParameter, pinnedTextParameter, positionParameter, pictureParameter},
           planParameters(Parameter::Presence::optional)),
      streamCovers};
  return kind;
}

const EntryKind& productEntries() {
  static const EntryKind kind{
      "products", with({sellerParameter, pictureParameter}, productParameters()), productPictures};
  return kind;
}

std::optional<Problem> problemOf(const Arguments& entry) {
  if (auto problem = problemOfHash(entry)) return problem;
  if (auto problem = problemOfStatus(entry)) return problem;
  return problemOfPicture(entry);
}

std::optional<FormPart> pictureIn(const Arguments& entry) {
  auto content = jpegAt(entry[pictureParameter].value_or(""));
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
  entry.put(zaveloIdParameter, member.zaveloId);
  entry.put(userNameParameter, member.userName);
  entry.put(displayNameParameter, member.displayName);
  entry.putIfAny(passwordHashParameter, member.passwordHash);
  entry.putUnless(usual.gender, genderParameter, member.gender);
  entry.putUnless(usual.dob, dobParameter, member.dob);
  entry.putUnless(usual.about, aboutParameter, member.about);
  entry.putUnless(usual.image, profileImageParameter, member.image);
  entry.putIfAny(latitudeParameter, member.latitude);
  entry.putIfAny(longitudeParameter, member.longitude);
  entry.put(goldParameter, member.gold);
  entry.putUnless(usual.beans, beansParameter, member.beans);
  entry.putUnless(usual.promoCode, promoCodeParameter, member.promoCode);
  entry.putUnless(usual.promoDescription, promoDescriptionParameter, member.promoDescription);
  entry.putUnless(usual.banned, isBannedParameter, member.banned);
  return std::move(entry).finish();
}

json::Object entryOf(const Stream& stream, const std::string& owner, std::int64_t tagId) {
  const Stream usual;
  const StreamPlan& plan = stream.plan;
  EntryWriter entry;
  entry.put(ownerParameter, owner);
  entry.put(slugParameter, stream.slug);
  entry.put(streamTitleParameter, plan.title);
  entry.put(tagIdParameter, tagId);
  entry.putIfAny(passwordHashParameter, stream.passwordHash);
  if (stream.status != StreamStatus::created) entry.put(statusParameter, nameOf(stream.status));
  entry.putUnless(usual.plan.latitude, streamLatitudeParameter, plan.latitude);
  entry.putUnless(usual.plan.longitude, streamLongitudeParameter, plan.longitude);
  entry.putUnless(usual.plan.address, addressParameter, plan.address);
  entry.putUnless(usual.plan.resolution, resolutionParameter, plan.resolution);
  entry.putUnless(usual.plan.countryCode, countryCodeParameter, plan.countryCode);
  entry.putUnless(usual.plan.screenType, screenTypeParameter, plan.screenType);
  entry.putUnless(usual.plan.streamType, streamTypeParameter, plan.streamType);
  entry.putIfAny(roomTypeParameter, plan.roomType);
  entry.putUnless(usual.pinned, pinnedTextParameter, stream.pinned);
  entry.putUnless(usual.position, positionParameter, stream.position);
  return std::move(entry).finish();
}

json::Object entryOf(const Product& product, const std::string& seller) {
  const Product usual;
  EntryWriter entry;
  entry.put(sellerParameter, seller);
  entry.put(productNameParameter, product.name);
  entry.put(priceParameter, product.price);
  entry.put(promotionPriceParameter, product.promotionPrice);
  entry.put(productUrlParameter, product.url);
  entry.putUnless(usual.description, descriptionParameter, product.description);
  entry.putUnless(usual.sku, skuParameter, product.sku);
  return std::move(entry).finish();
}

}  // namespace zavelo::sandbox
