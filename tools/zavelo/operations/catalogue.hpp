#pragma once

#include <string_view>
#include <vector>

#include "tools/zavelo/operations/operation.hpp"

namespace zavelo::command {

/// Operations that belong together: those of a service.
struct Group {
  std::string_view name;
  std::string_view help;
  std::vector<Operation> operations;
};

/// Every operation of the library, group by group: the subcommands and their help come from here.
[[nodiscard]] const std::vector<Group>& catalogue();

[[nodiscard]] Group userGroup();
[[nodiscard]] Group settingGroup();
[[nodiscard]] Group streamGroup();
[[nodiscard]] Group productGroup();
[[nodiscard]] Group giftGroup();
[[nodiscard]] Group callGroup();

}  // namespace zavelo::command
