#include "sandbox/streams/stream_plan.hpp"

#include <algorithm>

namespace zavelo::sandbox {

std::vector<Parameter> planParameters(Parameter::Presence others) {
  std::vector<Parameter> parameters{
      streamTitleParameter,     tagIdParameter,      streamLatitudeParameter,
      streamLongitudeParameter, addressParameter,    resolutionParameter,
      countryCodeParameter,     screenTypeParameter, streamTypeParameter,
  };
  for (auto& parameter : parameters) {
    if (parameter.presence == Parameter::Presence::optional) parameter.presence = others;
  }
  parameters.push_back(roomTypeParameter);
  return parameters;
}

Result<StreamPlan, Problem> planFrom(const Arguments& arguments, const Settings& settings) {
  const auto tag = std::ranges::find(settings.tags, arguments[tagIdParameter], &Tag::id);
  if (tag == settings.tags.end()) {
    return Failure{parameterProblem(tagIdParameter.name, "there is no such tag")};
  }
  return StreamPlan{.title = arguments[streamTitleParameter],
                    .tag = tag->name,
                    .latitude = arguments[streamLatitudeParameter].value_or(0),
                    .longitude = arguments[streamLongitudeParameter].value_or(0),
                    .address = arguments[addressParameter].value_or(""),
                    .resolution = arguments[resolutionParameter].value_or(0),
                    .countryCode = arguments[countryCodeParameter].value_or(""),
                    .screenType = arguments[screenTypeParameter].value_or(0),
                    .streamType = arguments[streamTypeParameter].value_or(0),
                    .roomType = arguments[roomTypeParameter]};
}

}  // namespace zavelo::sandbox
