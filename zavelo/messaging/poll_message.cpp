#include "zavelo/messaging/poll_message.hpp"

#include <array>
#include <utility>

#include "zavelo/json/record.hpp"

namespace zavelo {

namespace json {

const Record& RecordOf<ZVPoll>::get() {
  using T = ZVPoll;
  static const Record record =
      fieldsOf<T, &T::id, &T::title, &T::question, &T::option1, &T::option2, &T::option3,
               &T::status, &T::numOption1, &T::numOption2, &T::numOption3, &T::total>();
  return record;
}

const Record& RecordOf<ZVPollMessage>::get() {
  using T = ZVPollMessage;
  static const Record record = subclassFieldsOf<T, ZVStreamMessage, &T::pollData>();
  return record;
}

}  // namespace json

double ZVPollOption::percent() const noexcept {
  return total == 0 ? 0 : static_cast<double>(numOption) / static_cast<double>(total) * 100;
}

std::vector<ZVPollOption> ZVPoll::options() const {
  const std::array answers{std::pair{&option1, &numOption1}, std::pair{&option2, &numOption2},
                           std::pair{&option3, &numOption3}};
  std::vector<ZVPollOption> options;
  std::int64_t position = 0;
  for (const auto& [text, votes] : answers) {
    ++position;
    if (text->value_or("").empty()) continue;
    options.push_back({position, **text, votes->value_or(0), total.value_or(0)});
  }
  return options;
}

json::RecordView ZVPollMessage::asRecord() const {
  return json::viewOf(*this);
}

}  // namespace zavelo
