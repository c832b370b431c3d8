#include <array>
#include <variant>

#include "bench/chat_events.hpp"
#include "bench/rapidjson_fields.hpp"

namespace zavelo::bench {
namespace {

struct Read : ZVStreamMessageFields, ZVPollMessageFields {};

}  // namespace

template <>
struct FieldsOf<Read> : FieldsOf<ZVPollMessage> {};

namespace {

/// Where the value behind a key goes.
using Slot = std::variant<std::monostate, std::optional<std::int64_t>*, std::optional<bool>*,
                          std::optional<std::string>*, std::shared_ptr<ZVPoll>*>;

/// The slot of the key, which is looked for from the field on that comes next in the list.
template <class Record>
Slot slotOf(Record& record, std::string_view key, std::size_t& expected) {
  Slot slot;
  std::size_t index = 0;
  FieldsOf<Record>::forEach(record, [&](auto name, auto& field) {
    if (index >= expected && slot.index() == 0 && name == key) {
      slot = &field;
      expected = index + 1;
    }
    ++index;
  });
  if (slot.index() != 0 || expected == 0) return slot;
  expected = 0;
  return slotOf(record, key, expected);
}

/// Reads a list of events, each as a poll first, as nobody knows its kind before its end.
class Events : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Events> {
 public:
  bool StartObject() {
    if (++depth_ == 1) {
      read_ = {};
    } else if (const auto poll = std::get_if<std::shared_ptr<ZVPoll>*>(&slot_)) {
      **poll = std::make_shared<ZVPoll>();
      inPoll_ = depth_ == 2;
    }
    expected_[inPoll_ ? 1 : 0] = 0;
    return true;
  }
  bool EndObject(rapidjson::SizeType) {
    if (--depth_ == 0) keep();
    inPoll_ = false;
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType size, bool) {
    const std::string_view key(text, size);
    slot_ = {};
    if (inPoll_)
      slot_ = slotOf(*read_.pollData, key, expected_[1]);
    else if (depth_ == 1)
      slot_ = slotOf(read_, key, expected_[0]);
    return true;
  }
  bool Null() { return true; }
  bool Bool(bool value) { return put<bool>(value); }
  bool Int(int value) { return put<std::int64_t>(value); }
  bool Uint(unsigned value) { return put<std::int64_t>(value); }
  bool Int64(std::int64_t value) { return put<std::int64_t>(value); }
  bool String(const char* text, rapidjson::SizeType size, bool) {
    return put<std::string>(std::string_view(text, size));
  }

  RecordedEvents all() && {
    events_.insert(events_.end(), polls_.begin(), polls_.end());
    return std::move(events_);
  }

 private:
  template <class T, class V>
  bool put(const V& value) {
    if (const auto field = std::get_if<std::optional<T>*>(&slot_)) (*field)->emplace(value);
    return slot_.index() == 0 || std::holds_alternative<std::optional<T>*>(slot_);
  }
  void keep() {
    const auto type = read_.messageType;
    ZVStreamMessageFields& fields = read_;
    if (type == rawValue(ZVMessageType::startPoll) || type == rawValue(ZVMessageType::stopPoll)) {
      auto poll = std::make_shared<ZVPollMessage>(std::move(fields));
      poll->pollData = std::move(read_.pollData);
      polls_.push_back(std::move(poll));
    } else {
      events_.push_back(std::make_shared<ZVStreamMessage>(std::move(fields)));
    }
  }

  RecordedEvents events_;
  RecordedEvents polls_;
  Read read_;
  Slot slot_;
  int depth_ = 0;
  bool inPoll_ = false;
  std::array<std::size_t, 2> expected_{};
};

RecordedEvents decode(const std::string& file) {
  rapidjson::Reader reader;
  rapidjson::StringStream text(file.c_str());
  Events events;
  reader.Parse<rapidjson::kParseValidateEncodingFlag>(text, events);
  return std::move(events).all();
}

}  // namespace

const RecordedContender rapidjsonSaxRecorded{"RapidJSON SAX", &decode};

}  // namespace zavelo::bench
