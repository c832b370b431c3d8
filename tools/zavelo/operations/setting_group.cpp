#include "tools/zavelo/operations/catalogue.hpp"
#include "zavelo/services/setting_service.hpp"

namespace zavelo::command {

Group settingGroup() {
  using S = ZVSettingService;
  return {"setting",
          "Show the settings that the backend has for every app",
          {
              operation<&S::getNaughtyWords>("Fetch the banned words, and keep them in the store"),
              operation<&S::getSettingConfigV1>("Show which features are switched on"),
              operation<&S::getSettingConfigV2>("The same in its second version"),
          }};
}

}  // namespace zavelo::command
