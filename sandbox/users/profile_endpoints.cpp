#include <memory>
#include <string>
#include <utility>

#include "sandbox/api/paging.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/users/member_parameters.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/user_endpoints.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto searchedParameter = required(displayNameParameter);
constexpr auto newNameParameter = required(text("displayName", 1, displayNameLimit));
constexpr auto pictureParameter = jpeg("profile", pictureLimit);

/// `nextId` is the last id of the page: 0 asks for the first page, and asking after the last one
/// gives an empty page with the same cursor.
Response search(UserContext& context, const Call& call) {
  const std::int64_t cursor = call.arguments[nextIdParameter];
  const std::int64_t limit = call.arguments[limitParameter];
  auto members = context.database.transact([&](Transaction& transaction) {
    return searchMembers(transaction, call.arguments[searchedParameter], cursor, limit + 1);
  });
  ZVSearchUser page;
  page.isEnd = std::ssize(members) <= limit;
  if (!*page.isEnd) members.pop_back();
  page.nextId = members.empty() ? cursor : members.back().id;
  page.result.emplace();
  for (const auto& member : members) {
    page.result->push_back(std::make_shared<ZVUserInfo>(profileOf(member, context.site)));
  }
  return succeed(page);
}

Response editProfile(UserContext& context, const Call& call) {
  const FormPart* picture = call.arguments[pictureParameter];
  return context.database.transact([&](Transaction& transaction) {
    Member member = *memberById(transaction, *call.identity.member);
    member.displayName = call.arguments[newNameParameter];
    member.dob = call.arguments[required(dobParameter)];
    member.gender = call.arguments[required(genderParameter)];
    member.about = call.arguments[required(aboutParameter)];
    updateMember(transaction, member);
    if (picture != nullptr) keepFile(transaction, profilePictures, member.id, *picture);
    ZVEditUser edited;
    edited.isNewEmail = false;
    edited.isSendVerificationEmail = false;
    edited.userInfo =
        std::make_shared<ZVUserInfo>(profileOf(*memberById(transaction, member.id), context.site));
    return succeed(edited);
  });
}

Response updatePromoCode(UserContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    setPromoCode(transaction, *call.identity.member, call.arguments[required(promoCodeParameter)],
                 call.arguments[required(promoDescriptionParameter)]);
    return succeed(true);
  });
}

}  // namespace

std::vector<Endpoint> profileEndpoints(UserContext& context) {
  const auto at = handlersIn(context);
  return {
      post("/api/users/search", Access::session, at(search),
           {searchedParameter, nextIdParameter, limitParameter}),
      post("/api/users/edit-profile", Access::member, at(editProfile),
           {newNameParameter, required(dobParameter), required(genderParameter),
            required(aboutParameter), pictureParameter}),
      post("/api/users/update-promo-code", Access::member, at(updatePromoCode),
           {required(promoCodeParameter), required(promoDescriptionParameter)}),
  };
}

}  // namespace zavelo::sandbox
