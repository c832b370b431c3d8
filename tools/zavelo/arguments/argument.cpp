#include "tools/zavelo/arguments/argument.hpp"

#include <algorithm>

#include "tools/zavelo/terminal/file_bytes.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/platform/jpeg.hpp"

namespace zavelo::command {
namespace {

ArgumentKind kindOf(const json::Codec& codec) {
  using Kind = json::Codec::Kind;
  switch (codec.kind) {
    case Kind::flag:
      return ArgumentKind::flag;
    case Kind::integer:
      return ArgumentKind::integer;
    case Kind::number:
      return ArgumentKind::number;
    case Kind::text:
      return ArgumentKind::text;
    case Kind::list:
      return codec.inner->kind == Kind::text ? ArgumentKind::texts : ArgumentKind::json;
    case Kind::optional:
      return kindOf(*codec.inner);
    case Kind::code:
    case Kind::value:
    case Kind::record:
    case Kind::reference:
      break;
  }
  return ArgumentKind::json;
}

std::optional<std::string> readBytes(const json::Value& value, void* out) {
  const auto* path = value.as<std::string>();
  if (path == nullptr) return "expected the path of a file";
  auto file = fileBytes(*path);
  if (!file) return file.error();
  *static_cast<std::vector<std::byte>*>(out) = std::move(*file);
  return {};
}

std::optional<std::string> readImage(const json::Value& value, void* out) {
  std::vector<std::byte> file;
  if (auto error = readBytes(value, &file)) return error;
  auto image = decodeJpeg(file);
  if (!image) return *value.as<std::string>() + " is not a JPEG that can be read";
  *static_cast<std::optional<ZVImage>*>(out) = std::move(image);
  return {};
}

}  // namespace

ArgumentType argumentTypeOf(const json::Codec& codec) {
  const auto read = [&codec](const json::Value& value, void* out) -> std::optional<std::string> {
    const auto text = json::encode(value);
    if (!text) return text.error().text();
    const auto error = json::detail::decodeInto(*text, codec, out);
    return error ? std::optional(error->text()) : std::nullopt;
  };
  return {kindOf(codec), codec.kind == json::Codec::Kind::optional, read};
}

Result<std::size_t, std::string> chosenCase(const json::Value& value,
                                            std::span<const std::string_view> names,
                                            std::span<const std::int64_t> codes) {
  std::string all;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto code = std::to_string(codes[i]);
    if (value == json::Value(codes[i]) || value == json::Value(code) ||
        value == json::Value(std::string(names[i])))
      return i;
    all += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + std::string(names[i]);
  }
  return Failure{"expected " + all};
}

template <>
ArgumentType argumentType<std::vector<std::byte>>() {
  return {ArgumentKind::bytes, false, readBytes};
}

template <>
ArgumentType argumentType<std::optional<ZVImage>>() {
  return {ArgumentKind::image, true, readImage};
}

std::optional<ArgumentError> readArguments(std::span<const Argument> arguments,
                                           const json::Object& given,
                                           std::span<void* const> values) {
  for (const auto& [key, value] : given)
    if (std::ranges::find(arguments, key, &Argument::name) == arguments.end())
      return ArgumentError{key, "unknown argument"};
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto& [name, type] = arguments[i];
    const json::Value* value = given.find(name);
    if (value == nullptr || value->isNull()) {
      if (!type.isOptional) return ArgumentError{std::string(name), "missing"};
    } else if (auto reason = type.read(*value, values[i])) {
      return ArgumentError{std::string(name), std::move(*reason)};
    }
  }
  return {};
}

}  // namespace zavelo::command
