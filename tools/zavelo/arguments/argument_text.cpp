#include "tools/zavelo/arguments/argument_text.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "tools/zavelo/arguments/argument_note.hpp"
#include "tools/zavelo/terminal/standard_input.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

using Reading = Result<json::Value, std::string>;

Failure<std::string> expected(std::string_view what, const std::string& text) {
  return Failure{"expected " + std::string(what) + ", got \"" + text + "\""};
}

Reading integerValue(const std::string& text) {
  const auto integer = integerOf(text);
  if (integer) return json::Value(*integer);
  return expected("an integer of at most 64 bits", text);
}

Reading numberValue(const std::string& text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size() && std::isfinite(number))
    return json::Value(number);
  return expected("a number", text);
}

Reading flagValue(const std::string& text) {
  if (text == "true" || text == "false") return json::Value(text == "true");
  return expected("true or false", text);
}

Reading jsonValue(const std::string& text) {
  auto value = json::decode<json::Value>(text);
  if (value) return std::move(*value);
  return Failure{"not valid JSON: " + value.error().text()};
}

Reading valueOf(ArgumentKind kind, const std::string& text) {
  switch (kind) {
    case ArgumentKind::integer:
      return integerValue(text);
    case ArgumentKind::number:
      return numberValue(text);
    case ArgumentKind::flag:
      return flagValue(text);
    case ArgumentKind::json:
      return jsonValue(text);
    case ArgumentKind::text:
    case ArgumentKind::texts:
    case ArgumentKind::choice:
    case ArgumentKind::bytes:
    case ArgumentKind::image:
      break;
  }
  return json::Value(text);
}

Result<std::string, std::string> fromStandardInput(const Argument& argument) {
  return noteOf(argument.name).isSecret ? readSecretLine(argument.name) : readStandardInput();
}

Reading typedValue(const Argument& argument, const std::vector<std::string>& texts) {
  if (argument.type.kind == ArgumentKind::texts)
    return json::Value(json::Array(texts.begin(), texts.end()));
  const bool mayBeRead = noteOf(argument.name).isSecret || argument.type.kind == ArgumentKind::json;
  if (texts.front() != "-" || !mayBeRead) return valueOf(argument.type.kind, texts.front());
  const auto text = fromStandardInput(argument);
  if (!text) return Failure{text.error()};
  return valueOf(argument.type.kind, *text);
}

}  // namespace

Result<json::Object, ArgumentError> jsonArguments(const std::vector<Argument>& arguments,
                                                  const std::vector<TypedArgument>& typed) {
  json::Object object;
  for (const auto& argument : arguments) {
    const auto given = std::ranges::find(typed, &argument, &TypedArgument::argument);
    if (given != typed.end()) {
      auto value = typedValue(argument, given->texts);
      if (!value) return Failure{ArgumentError{std::string(argument.name), value.error()}};
      object.set(std::string(argument.name), std::move(*value));
    } else if (argument.type.kind == ArgumentKind::texts) {
      object.set(std::string(argument.name), json::Array{});
    } else if (const auto byDefault = noteOf(argument.name).byDefault) {
      object.set(std::string(argument.name), byDefault());
    }
  }
  return object;
}

std::optional<std::int64_t> integerOf(std::string_view text) {
  std::int64_t integer = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), integer);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return integer;
}

std::string placeholderOf(const ArgumentType& type) {
  switch (type.kind) {
    case ArgumentKind::integer:
      return "INTEGER";
    case ArgumentKind::number:
      return "NUMBER";
    case ArgumentKind::flag:
      return "true|false";
    case ArgumentKind::json:
      return "JSON";
    case ArgumentKind::bytes:
    case ArgumentKind::image:
      return "FILE";
    case ArgumentKind::choice: {
      std::string choices;
      for (const auto& choice : type.choices)
        choices += (choices.empty() ? "" : "|") + std::string(choice);
      return choices;
    }
    case ArgumentKind::text:
    case ArgumentKind::texts:
      break;
  }
  return "TEXT";
}

}  // namespace zavelo::command
