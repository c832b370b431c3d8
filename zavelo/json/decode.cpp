#define SIMDJSON_EXCEPTIONS 0
#include <simdjson.h>

#include <bit>
#include <cstring>

#include "zavelo/json/json.hpp"
#include "zavelo/json/number_token_internal.hpp"
#include "zavelo/json/record.hpp"

namespace zavelo::json::detail {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

static_assert(paddingBytes >= simdjson::SIMDJSON_PADDING);

// Memory that a parser keeps for the next text; a bigger text gets one of its own.
constexpr std::size_t keptCapacity = std::size_t{4} * 1024 * 1024;

std::string_view trimmed(std::string_view token) noexcept {
  const auto last = token.find_last_not_of(" \t\r\n");
  return last == std::string_view::npos ? std::string_view{} : token.substr(0, last + 1);
}

/// Reads one text into one value. Each function consumes the value whole and says false on the
/// first fault, which `error` describes; the callers put their keys before its path on the way out.
class Decoder {
 public:
  explicit Decoder(Error& error) : error_(error) {}

  bool value(ondemand::value source, const Codec& codec, void* out) {
    switch (codec.kind) {
      case Codec::Kind::flag:
        return flag(source, *static_cast<bool*>(out));
      case Codec::Kind::integer:
        return integer(source, *static_cast<std::int64_t*>(out));
      case Codec::Kind::number:
        return number(source, *static_cast<double*>(out));
      case Codec::Kind::text:
        return text(source, *static_cast<std::string*>(out));
      case Codec::Kind::code:
        return code(source, codec, out);
      case Codec::Kind::value:
        return any(source, static_cast<Value*>(out));
      case Codec::Kind::list:
        return list(source, codec, out);
      case Codec::Kind::record:
        return record(source, codec.record(), out);
      case Codec::Kind::reference:
        return this->value(source, *codec.inner, codec.make(out));
      case Codec::Kind::optional:
        return optional(source, codec, out);
    }
    return false;
  }

  bool syntax(error_code code) {
    if (code == simdjson::UTF8_ERROR) return fail("invalid UTF-8");
    return fail(std::string("invalid JSON: ") + simdjson::error_message(code));
  }

 private:
  bool fail(std::string reason) {
    error_ = Error{{}, std::move(reason)};
    return false;
  }
  bool mismatch(error_code code, const char* expected) {
    if (code == simdjson::INCORRECT_TYPE || code == simdjson::NUMBER_OUT_OF_RANGE)
      return fail(std::string("expected ") + expected);
    return syntax(code);
  }

  bool flag(ondemand::value& source, bool& out) {
    const error_code code = source.get_bool().get(out);
    return code == simdjson::SUCCESS || wrongScalar(source, code, "flag");
  }

  // The parser calls any scalar that is not what was asked for a type error, sound or not.
  bool wrongScalar(ondemand::value& source, error_code code, const char* expected) {
    const std::string_view token = trimmed(source.raw_json_token());
    const bool word =
        !token.empty() && std::string_view("tfn").find(token.front()) != std::string_view::npos;
    if (word && token != "true" && token != "false" && token != "null")
      return syntax(simdjson::TAPE_ERROR);
    return mismatch(code, expected);
  }

  bool integer(ondemand::value& source, std::int64_t& out) {
    const error_code code = source.get_int64().get(out);
    if (code == simdjson::SUCCESS) return true;
    const std::string_view token = trimmed(source.raw_json_token());
    const auto exact = exactInteger(token);
    if (!exact) return wrongScalar(source, numberFault(token, code), "integer");
    out = *exact;
    double passedOver;  // moves the parser past the token
    return source.get_double().get(passedOver) == simdjson::SUCCESS ||
           mismatch(simdjson::NUMBER_OUT_OF_RANGE, "integer");
  }

  static error_code numberFault(std::string_view token, error_code code) {
    const bool isNumber =
        !token.empty() && (token.front() == '-' || (token.front() >= '0' && token.front() <= '9'));
    return isNumber ? simdjson::NUMBER_OUT_OF_RANGE : code;
  }

  bool number(ondemand::value& source, double& out) {
    const error_code code = source.get_double().get(out);
    return code == simdjson::SUCCESS || wrongScalar(source, code, "number");
  }

  bool text(ondemand::value& source, std::string& out) {
    const std::string_view token = trimmed(source.raw_json_token());
    if (token.size() < 2 || token.front() != '"' || token.back() != '"')
      return wrongScalar(source, simdjson::INCORRECT_TYPE, "text");
    const std::string_view raw = token.substr(1, token.size() - 2);
    if (std::memchr(raw.data(), '\\', raw.size()) == nullptr) {
      out.assign(raw);
      return source.get_raw_json_string().error() == simdjson::SUCCESS;
    }
    std::string_view unescaped;
    if (const error_code code = source.get_string().get(unescaped)) return mismatch(code, "text");
    out.assign(unescaped);
    return true;
  }

  bool code(ondemand::value& source, const Codec& codec, void* out) {
    std::int64_t raw = 0;
    if (!integer(source, raw)) return false;
    return codec.assignCode(out, raw) || fail("unknown code " + std::to_string(raw));
  }

  bool list(ondemand::value& source, const Codec& codec, void* out) {
    ondemand::array array;
    if (const error_code code = source.get_array().get(array))
      return wrongScalar(source, code, "list");
    codec.clear(out);
    return elements(array, [&](ondemand::value element) {
      return value(element, *codec.inner, codec.make(out));
    });
  }

  template <class Each>
  bool elements(ondemand::array& array, const Each& each) {
    const Nesting nesting(*this);
    if (!nesting) return fail(tooDeep);
    std::size_t index = 0;
    for (auto slot : array) {
      ondemand::value element;
      if (const error_code code = slot.get(element)) return syntax(code);
      if (!each(element)) {
        error_.prepend(index);
        return false;
      }
      ++index;
    }
    return true;
  }

  bool optional(ondemand::value& source, const Codec& codec, void* out) {
    bool null = false;
    if (const error_code code = source.is_null().get(null)) return syntax(code);
    if (!null) return value(source, *codec.inner, codec.make(out));
    codec.clear(out);
    return true;
  }

  bool record(ondemand::value& source, const Record& record, void* out) {
    ondemand::object object;
    if (const error_code code = source.get_object().get(object))
      return wrongScalar(source, code, "object");
    const Nesting nesting(*this);
    if (!nesting) return fail(tooDeep);
    const auto fields = record.fields();
    std::size_t expected = 0;
    std::uint64_t missing = record.requiredFields();
    for (auto slot : object) {
      ondemand::field entry;
      if (const error_code code = std::move(slot).get(entry)) return syntax(code);
      const Field* field = nullptr;
      if (!identify(entry, record, expected, field)) return false;
      if (field == nullptr) {
        if (!passOver(entry)) return false;
        continue;
      }
      const auto index = static_cast<std::size_t>(field - fields.data());
      expected = index + 1;
      if (missing != 0 && index < 64) missing &= ~(std::uint64_t{1} << index);
      if (!member(entry.value(), *field, static_cast<std::byte*>(out) + field->offset)) {
        error_.prepend(field->name);
        return false;
      }
    }
    if (missing == 0) return true;
    error_ = Error{std::string(fields[static_cast<std::size_t>(std::countr_zero(missing))].name),
                   "missing"};
    return false;
  }

  /// Finds the field that the key names, or null. A sender that keeps the declared order costs one
  /// comparison.
  bool identify(ondemand::field& entry, const Record& record, std::size_t expected,
                const Field*& field) {
    const char* raw = entry.key().raw();
    const auto fields = record.fields();
    if (expected < fields.size()) {
      const std::string_view name = fields[expected].name;
      if (std::memcmp(raw, name.data(), name.size()) == 0 && raw[name.size()] == '"') {
        field = &fields[expected];
        return true;
      }
    }
    const std::size_t size = std::strcspn(raw, "\\\"");
    if (raw[size] == '"') {
      field = record.find({raw, size}, expected);
      return true;
    }
    std::string_view key;
    if (const error_code code = entry.unescaped_key().get(key)) return syntax(code);
    field = record.find(key, expected);
    return true;
  }

  bool member(ondemand::value source, const Field& field, void* out) {
    const Codec& codec = *field.codec;
    if (codec.target == nullptr) return value(source, codec, out);
    // null is absent, whichever way the member can be.
    if (source.raw_json_token().front() == 'n') {
      bool null = false;
      if (const error_code code = source.is_null().get(null)) return syntax(code);
      if (null) {
        codec.clear(out);
        return true;
      }
    }
    return value(source, *codec.inner, codec.make(out));
  }

  // An unknown value must be sound, but is not worth building.
  bool passOver(ondemand::field& entry) {
    const char* raw = entry.key().raw();
    if (any(entry.value(), nullptr)) return true;
    error_.prepend(std::string_view(raw, std::strcspn(raw, "\"")));
    return false;
  }

  /// Reads whatever stands there; into `out` unless that is null.
  bool any(ondemand::value source, Value* out) {
    switch (source.raw_json_token().front()) {
      case '{':
        return anyObject(source, out);
      case '[':
        return anyArray(source, out);
      case '"':
        return anyOf(out, std::string(), [&](std::string& held) { return text(source, held); });
      case 't':
      case 'f':
        return anyOf(out, false, [&](bool& held) { return flag(source, held); });
      case 'n': {
        bool null = false;
        if (const error_code code = source.is_null().get(null)) return syntax(code);
        return null || syntax(simdjson::N_ATOM_ERROR);
      }
      default:
        return anyNumber(source, out);
    }
  }

  template <class T, class Read>
  bool anyOf(Value* out, T held, const Read& read) {
    if (!read(held)) return false;
    if (out != nullptr) *out = std::move(held);
    return true;
  }

  bool anyArray(ondemand::value& source, Value* out) {
    ondemand::array array;
    if (const error_code code = source.get_array().get(array)) return syntax(code);
    return anyOf(out, Array(), [&](Array& values) {
      return elements(array, [&](ondemand::value element) {
        return any(element, out != nullptr ? &values.emplace_back() : nullptr);
      });
    });
  }

  bool anyObject(ondemand::value& source, Value* out) {
    ondemand::object object;
    if (const error_code code = source.get_object().get(object)) return syntax(code);
    const Nesting nesting(*this);
    if (!nesting) return fail(tooDeep);
    std::vector<Object::Member> members;
    for (auto slot : object) {
      ondemand::field entry;
      if (const error_code code = std::move(slot).get(entry)) return syntax(code);
      std::string_view key;
      if (const error_code code = entry.unescaped_key().get(key)) return syntax(code);
      auto& member = members.emplace_back(std::string(key), Value());
      if (!any(entry.value(), out != nullptr ? &member.second : nullptr)) {
        error_.prepend(member.first);
        return false;
      }
      if (out == nullptr) members.clear();
    }
    if (out != nullptr) *out = Object(std::move(members));
    return true;
  }

  bool anyNumber(ondemand::value& source, Value* out) {
    std::int64_t integer = 0;
    if (source.get_int64().get(integer) == simdjson::SUCCESS) {
      if (out != nullptr) *out = integer;
      return true;
    }
    return anyOf(out, 0.0, [&](double& held) {
      const error_code code = source.get_double().get(held);
      return code == simdjson::SUCCESS || syntax(code);
    });
  }

  static constexpr const char* tooDeep = "nested too deeply";

  /// Counts one level for as long as it lives.
  class Nesting {
   public:
    explicit Nesting(Decoder& decoder) : depth_(decoder.depth_) { ++depth_; }
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    explicit operator bool() const noexcept { return depth_ <= depthLimit; }

   private:
    std::size_t& depth_;
  };

  Error& error_;
  std::size_t depth_ = 0;
};

/// Text in a buffer that the parser may read past the end of.
simdjson::padded_string_view padded(Input text, std::string& copy) {
  if (text.capacity - text.size >= simdjson::SIMDJSON_PADDING)
    return simdjson::padded_string_view(text.data, text.size, text.capacity);
  copy.reserve(text.size + simdjson::SIMDJSON_PADDING);
  copy.assign(text.data, text.size);
  return simdjson::padded_string_view(copy.data(), copy.size(), copy.capacity());
}

bool isScalar(Input text) {
  const std::string_view content(text.data, text.size);
  const auto first = content.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && content[first] != '{' && content[first] != '[';
}

bool readToEnd(ondemand::document& document) {
  return document.current_location().error() == simdjson::OUT_OF_BOUNDS;
}

bool decodeDocument(ondemand::parser& parser, simdjson::padded_string_view text, const Codec& codec,
                    void* out, Decoder& decoder) {
  ondemand::document document;
  ondemand::value root;
  if (const error_code code = parser.iterate(text).get(document)) return decoder.syntax(code);
  if (const error_code code = document.get_value().get(root)) return decoder.syntax(code);
  if (!decoder.value(root, codec, out)) return false;
  return readToEnd(document) || decoder.syntax(simdjson::TRAILING_CONTENT);
}

// The parser hands out scalars only from inside a list.
bool decodeScalar(ondemand::parser& parser, Input text, const Codec& codec, void* out,
                  Decoder& decoder) {
  std::string list;
  list.reserve(text.size + 2 + simdjson::SIMDJSON_PADDING);
  list.append("[").append(text.data, text.size).append("]");
  ondemand::document document;
  ondemand::array array;
  if (const error_code code = parser.iterate(list).get(document)) return decoder.syntax(code);
  if (const error_code code = document.get_array().get(array)) return decoder.syntax(code);
  std::size_t count = 0;
  for (auto slot : array) {
    ondemand::value only;
    if (const error_code code = slot.get(only)) return decoder.syntax(code);
    if (++count > 1) return decoder.syntax(simdjson::TRAILING_CONTENT);
    if (!decoder.value(only, codec, out)) return false;
  }
  return readToEnd(document) || decoder.syntax(simdjson::TRAILING_CONTENT);
}

}  // namespace

std::optional<Error> decodeInto(Input text, const Codec& codec, void* out) {
  Error error;
  Decoder decoder(error);
  const bool kept = text.size <= keptCapacity;
  static thread_local ondemand::parser keptParser(keptCapacity);
  static thread_local std::string keptCopy;
  std::optional<ondemand::parser> ownParser;
  std::string ownCopy;
  ondemand::parser& parser = kept ? keptParser : ownParser.emplace();
  const bool sound =
      isScalar(text)
          ? decodeScalar(parser, text, codec, out, decoder)
          : decodeDocument(parser, padded(text, kept ? keptCopy : ownCopy), codec, out, decoder);
  if (sound) return std::nullopt;
  return error;
}

}  // namespace zavelo::json::detail
