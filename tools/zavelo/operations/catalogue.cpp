#include "tools/zavelo/operations/catalogue.hpp"

namespace zavelo::command {

const std::vector<Group>& catalogue() {
  static const std::vector<Group> groups{userGroup(),    settingGroup(), streamGroup(),
                                         productGroup(), giftGroup(),    callGroup()};
  return groups;
}

}  // namespace zavelo::command
