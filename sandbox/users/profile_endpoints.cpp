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

/// `nextId` is the last id of the page: 0 asks for the first page, and asking behind the last one
/// gives an empty page with the same cursor.
Response search(UserRoom& room, const Call& call) {
  const std::int64_t cursor = *call.arguments.integer("nextId");
  const std::int64_t limit = *call.arguments.integer("limit");
  auto members = room.database.transact([&](Transaction& transaction) {
    return searchMembers(transaction, *call.arguments.text("displayName"), cursor, limit + 1);
  });
  ZVSearchUser page;
  page.isEnd = std::ssize(members) <= limit;
  if (!*page.isEnd) members.pop_back();
  page.nextId = members.empty() ? cursor : members.back().id;
  page.result.emplace();
  for (const auto& member : members) {
    page.result->push_back(std::make_shared<ZVUserInfo>(profileOf(member, room.site)));
  }
  return succeed(page);
}

Response editProfile(UserRoom& room, const Call& call) {
  const FormPart* picture = call.arguments.file("profile");
  return room.database.transact([&](Transaction& transaction) {
    Member member = *memberById(transaction, *call.identity.member);
    member.displayName = *call.arguments.text("displayName");
    member.dob = *call.arguments.text("dob");
    member.gender = *call.arguments.text("gender");
    member.about = *call.arguments.text("about");
    updateMember(transaction, member);
    if (picture != nullptr) keepFile(transaction, profilePictures, member.id, *picture);
    ZVEditUser edited;
    edited.isNewEmail = false;
    edited.isSendVerificationEmail = false;
    edited.userInfo =
        std::make_shared<ZVUserInfo>(profileOf(*memberById(transaction, member.id), room.site));
    return succeed(edited);
  });
}

Response updatePromoCode(UserRoom& room, const Call& call) {
  return room.database.transact([&](Transaction& transaction) {
    setPromoCode(transaction, *call.identity.member, *call.arguments.text("promoCode"),
                 *call.arguments.text("promoCodeDescription"));
    return succeed(true);
  });
}

}  // namespace

std::vector<Endpoint> profileEndpoints(UserRoom& room) {
  const auto at = handlersIn(room);
  return {
      post("/api/users/search", Access::session, at(search),
           {required(displayNameParameter), nextIdParameter, limitParameter}),
      post("/api/users/edit-profile", Access::member, at(editProfile),
           {required(text("displayName", 1, displayNameLimit)), required(dobParameter),
            required(genderParameter), required(aboutParameter), jpeg("profile", pictureLimit)}),
      post("/api/users/update-promo-code", Access::member, at(updatePromoCode),
           {required(promoCodeParameter), required(promoDescriptionParameter)}),
  };
}

}  // namespace zavelo::sandbox
