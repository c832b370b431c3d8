#include "tools/zavelo/chat/chat_recording.hpp"

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

constexpr std::string_view listEnd = "\n]\n";

bool write(std::FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

}  // namespace

Result<ChatRecording, std::string> ChatRecording::create(const std::string& path) {
  File file(std::fopen(path.c_str(), "wbx"));
  if (!file) return Failure{"cannot create " + path + ": " + std::strerror(errno)};
  ChatRecording recording(std::move(file), path);
  if (!recording.append("[")) return Failure{"cannot write " + path + ": " + std::strerror(errno)};
  return recording;
}

bool ChatRecording::append(const std::string& element) {
  if (std::fseek(file_.get(), behindLast_, SEEK_SET) != 0) return false;
  if (!write(file_.get(), element) || !write(file_.get(), listEnd)) return false;
  behindLast_ += static_cast<long>(element.size());
  return std::fflush(file_.get()) == 0;
}

std::optional<std::string> ChatRecording::add(std::int64_t type, const ZVStreamMessage& event,
                                              std::int64_t time) {
  const auto written = json::decode<json::Value>(event.toJsonString().value_or("{}"));
  json::Object element = *written->as<json::Object>();
  element.set("messageType", type);
  element.set("recordedTime", time);
  const auto text = json::encode(json::Value(std::move(element)));
  const bool isFirst = behindLast_ == 1;
  if (text && append((isFirst ? "\n" : ",\n") + *text)) return {};
  return "cannot write " + path_ + ": " + std::strerror(errno);
}

}  // namespace zavelo::command
