#include "sandbox/streams/stream_plan.hpp"

#include <algorithm>

namespace zavelo::sandbox {

std::vector<Parameter> planParameters(Parameter::Presence others) {
  std::vector<Parameter> parameters{
      required(text("streamTitle", 1, 500)),
      required(integer("tagId", 0, 1'000'000)),
      number("latitude", -90, 90),
      number("longitude", -180, 180),
      text("address", 0, 500),
      integer("resolution", 0, 100'000),
      text("countryCode", 0, 10),
      integer("screenType", 0, 1),
      integer("streamType", 0, 5),
  };
  for (auto& parameter : parameters) {
    if (parameter.presence == Parameter::Presence::optional) parameter.presence = others;
  }
  parameters.push_back(integer("roomType", 0, 1'000'000));
  return parameters;
}

Result<StreamPlan, Problem> planFrom(const Arguments& arguments, const Settings& settings) {
  const auto tag = std::ranges::find(settings.tags, *arguments.integer("tagId"), &Tag::id);
  if (tag == settings.tags.end()) {
    return Failure{parameterProblem("tagId", "there is no such tag")};
  }
  return StreamPlan{.title = *arguments.text("streamTitle"),
                    .tag = tag->name,
                    .latitude = arguments.number("latitude").value_or(0),
                    .longitude = arguments.number("longitude").value_or(0),
                    .address = arguments.text("address").value_or(""),
                    .resolution = arguments.integer("resolution").value_or(0),
                    .countryCode = arguments.text("countryCode").value_or(""),
                    .screenType = arguments.integer("screenType").value_or(0),
                    .streamType = arguments.integer("streamType").value_or(0),
                    .roomType = arguments.integer("roomType")};
}

}  // namespace zavelo::sandbox
