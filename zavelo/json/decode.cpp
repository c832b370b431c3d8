#include <bit>
#include <cmath>
#include <utility>

#include "zavelo/json/blocks_internal.hpp"
#include "zavelo/json/decoder_internal.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/json/scalars_internal.hpp"
#include "zavelo/json/tokens_internal.hpp"

namespace zavelo::json::detail {
namespace {

// What is read past the end is padding.
bool hasBackslash(std::string_view raw) noexcept {
  for (std::size_t at = 0; at < raw.size(); at += sizeof(Chars)) {
    Chars chars;
    std::memcpy(&chars, raw.data() + at, sizeof chars);
    const std::uint64_t marks = highestBits(reinterpret_cast<Chars>(chars == '\\'));
    if (marks != 0) return at + static_cast<std::size_t>(std::countr_zero(marks)) < raw.size();
  }
  return false;
}

/// Compared by words, not by a call.
template <std::size_t N>
bool isWord(std::string_view token, const char (&word)[N]) noexcept {
  return token.size() == N - 1 && std::memcmp(token.data(), word, N - 1) == 0;
}

/// Reads the tokens of one text into one value. Each function is given the place of its value and
/// returns the place behind it, or null at the first fault, which `error` describes; the callers
/// put their keys before its path on the way out, so that a path costs nothing as long as all is
/// well.
class Decoder {
 public:
  Decoder(const TokenList& tokens, Error& error, std::size_t depth = 0)
      : tokens_(tokens), error_(error), depth_(depth) {}

  Place value(Place at, const Codec& codec, void* out) {
    switch (codec.kind) {
      case Codec::Kind::flag:
        return flag(at, *static_cast<bool*>(out));
      case Codec::Kind::integer:
        return integer(at, *static_cast<std::int64_t*>(out));
      case Codec::Kind::number:
        return number(at, *static_cast<double*>(out));
      case Codec::Kind::text:
        return text(at, *static_cast<std::string*>(out));
      case Codec::Kind::code:
        return code(at, codec, out);
      case Codec::Kind::value:
        return any(at, *static_cast<Value*>(out));
      case Codec::Kind::list:
        return list(at, codec, out);
      case Codec::Kind::record:
        return record(at, codec.record(), out);
      case Codec::Kind::reference:
        return value(at, *codec.inner, codec.make(out));
      case Codec::Kind::optional:
        break;
    }
    return orAbsent(at, codec, out);
  }

  Place fail(std::string reason) {
    error_ = Error{{}, std::move(reason)};
    return nullptr;
  }

 private:
  /// A fault where a value of one type was to be read: another type, or no JSON at all.
  Place mismatch(Place at, const char* expected) {
    return canBeValue(at) ? fail(std::string("expected ") + expected) : notJson();
  }
  Place notJson() { return fail("invalid JSON"); }
  Place malformed(const char* expected) {
    return fail(std::string("invalid JSON: expected ") + expected);
  }

  bool canBeValue(Place at) const {
    const std::string_view token = tokens_.whole(at);
    const char c = token.empty() ? '\0' : token.front();
    return c == '{' || c == '[' || c == '"' || token == "true" || token == "false" ||
           token == "null" || isNumber(token);
  }

  Place flag(Place at, bool& out) {
    const std::string_view token = tokens_.whole(at);
    out = isWord(token, "true");
    return out || isWord(token, "false") ? at + 1 : mismatch(at, "flag");
  }

  Place integer(Place at, std::int64_t& out) {
    const std::string_view token = tokens_.whole(at);
    if (const auto plain = plainInteger(token)) {
      out = *plain;
      return at + 1;
    }
    switch (exactInteger(token, out)) {
      case IntegerFault::none:
        return at + 1;
      case IntegerFault::outOfRange:
        return fail("integer out of range");
      default:
        return mismatch(at, "integer");
    }
  }

  Place number(Place at, double& out) {
    const auto value = real(tokens_.whole(at));
    if (!value) return mismatch(at, "number");
    if (std::isinf(*value)) return fail("number out of range");
    out = *value;
    return at + 1;
  }

  /// What stands between the quotes of a token that is a text.
  std::string_view rawText(Place at) const {
    const std::string_view token = tokens_.whole(at);
    return token.substr(1, token.size() - 2);
  }

  Place text(Place at, std::string& out) {
    if (tokens_.first(at) != '"') return mismatch(at, "text");
    const std::string_view raw = rawText(at);
    if (!hasBackslash(raw))
      out.assign(raw);
    else if (!unescape(raw, out))
      return fail(noSuchEscape);
    return at + 1;
  }

  // The text is made where it stays, which costs half of assigning it.
  Place optionalText(Place at, std::optional<std::string>& out) {
    if (tokens_.first(at) != '"') return mismatch(at, "text");
    const std::string_view raw = rawText(at);
    if (hasBackslash(raw)) return text(at, out.emplace());
    out.emplace(raw);
    return at + 1;
  }

  Place code(Place at, const Codec& codec, void* out) {
    std::int64_t raw = 0;
    at = integer(at, raw);
    if (at == nullptr || codec.assignCode(out, raw)) return at;
    return fail("unknown code " + std::to_string(raw));
  }

  /// What can be absent, as it is when null stands there.
  Place orAbsent(Place at, const Codec& codec, void* out) {
    if (tokens_.first(at) != 'n') return value(at, *codec.inner, codec.make(out));
    codec.clear(out);
    return null(at);
  }

  Place null(Place at) { return isWord(tokens_.whole(at), "null") ? at + 1 : notJson(); }

  Place list(Place at, const Codec& codec, void* out) {
    if (tokens_.first(at) != '[') return mismatch(at, "list");
    codec.clear(out);
    return elements(at,
                    [&](Place element) { return value(element, *codec.inner, codec.make(out)); });
  }

  template <class Each>
  Place elements(Place at, const Each& each) {
    const Nesting nesting(depth_);
    if (!nesting) return fail(tooDeep);
    if (tokens_.first(++at) == ']') return at + 1;
    for (std::size_t index = 0;; ++index, ++at) {
      at = each(at);
      if (at == nullptr) {
        error_.prepend(index);
        return nullptr;
      }
      const char c = tokens_.first(at);
      if (c == ']') return at + 1;
      if (c != ',') return malformed("',' or ']'");
    }
  }

  /// Reads an object; member() is given the place of each key and reads the value as well.
  template <class Member>
  Place members(Place at, const Member& member) {
    const Nesting nesting(depth_);
    if (!nesting) return fail(tooDeep);
    if (tokens_.first(++at) == '}') return at + 1;
    for (;; ++at) {
      if (tokens_.first(at) != '"') return malformed("a key");
      if (tokens_.first(at + 1) != ':') return malformed("':'");
      at = member(at);
      if (at == nullptr) return nullptr;
      const char c = tokens_.first(at);
      if (c == '}') return at + 1;
      if (c != ',') return malformed("',' or '}'");
    }
  }

  Place record(Place at, const Record& record, void* out) {
    if (tokens_.first(at) != '{') return mismatch(at, "object");
    const auto fields = record.fields();
    std::uint64_t missing = record.requiredFields();
    std::size_t expected = 0;
    const Place after = members(at, [&](Place key) {
      const std::size_t index = identify(key, record, expected);
      if (index == Record::unknown) return passOver(key);
      const Field& field = fields[index];
      expected = index + 1;
      if (missing != 0 && index < 64) missing &= ~(std::uint64_t{1} << index);
      const Place next = member(key + 2, field, static_cast<std::byte*>(out) + field.offset);
      if (next == nullptr) error_.prepend(field.name);
      return next;
    });
    if (after == nullptr || missing == 0) return after;
    const auto first = static_cast<std::size_t>(std::countr_zero(missing));
    error_ = Error{std::string(fields[first].name), "missing"};
    return nullptr;
  }

  /// The index of the field that the key names. A sender that keeps the declared order costs one
  /// comparison.
  std::size_t identify(Place key, const Record& record, std::size_t expected) const {
    const auto fields = record.fields();
    if (expected < fields.size()) {
      const Field& next = fields[expected];
      if (beginsWith(tokens_.start(key), next.quotedName(), next.name.size() + 2)) return expected;
    }
    const std::string_view raw = rawText(key);
    if (!hasBackslash(raw)) return record.indexOf(raw.data() - 1, raw.size());
    std::string name;
    if (!unescape(raw, name)) return Record::unknown;
    const std::string quoted = '"' + name + '"' + std::string(8, '\0');
    return record.indexOf(quoted.data(), name.size());
  }

  /// The common members without an indirection; the others as their codec says.
  Place member(Place at, const Field& field, void* out) {
    const Codec& codec = *field.codec;
    if (field.holder == Holder::always) return value(at, codec, out);
    if (tokens_.first(at) == 'n') return orAbsent(at, codec, out);
    switch (field.holder) {
      case Holder::integer:
        return integer(at, static_cast<std::optional<std::int64_t>*>(out)->emplace());
      case Holder::flag:
        return flag(at, static_cast<std::optional<bool>*>(out)->emplace());
      case Holder::text:
        return optionalText(at, *static_cast<std::optional<std::string>*>(out));
      default:
        return value(at, *codec.inner, codec.make(out));
    }
  }

  // An unknown value must be well-formed, but is not worth building.
  Place passOver(Place key) {
    if (!isText(key)) return fail("invalid JSON: no such escape in a key");
    const Place next = skip(key + 2);
    if (next == nullptr) error_.prepend(keyText(key));
    return next;
  }

  Place skip(Place at) {
    switch (tokens_.first(at)) {
      case '{':
        return members(at, [&](Place key) -> Place {
          if (!isText(key)) return fail(noSuchEscape);
          const Place next = skip(key + 2);
          if (next == nullptr) error_.prepend(keyText(key));
          return next;
        });
      case '[':
        return elements(at, [&](Place element) { return skip(element); });
      case '"':
        return isText(at) ? at + 1 : fail(noSuchEscape);
      case 't':
      case 'f': {
        bool ignored = false;
        return flag(at, ignored);
      }
      case 'n':
        return null(at);
      default:
        break;
    }
    // A number may be larger than any that could be kept.
    const std::string_view token = tokens_.whole(at);
    return plainInteger(token) || isNumber(token) ? at + 1 : notJson();
  }

  /// Whether the escapes of a token in quotes are such.
  bool isText(Place at) const {
    const std::string_view raw = rawText(at);
    if (!hasBackslash(raw)) return true;
    std::string ignored;
    return unescape(raw, ignored);
  }
  std::string keyText(Place key) const {
    std::string text;
    static_cast<void>(unescape(rawText(key), text));
    return text;
  }

  Place any(Place at, Value& out) {
    switch (tokens_.first(at)) {
      case '{':
        return anyObject(at, out);
      case '[':
        return keep(out, Array(), [&](Array& values) {
          return elements(at, [&](Place element) { return any(element, values.emplace_back()); });
        });
      case '"':
        return keep(out, std::string(), [&](std::string& held) { return text(at, held); });
      case 't':
      case 'f':
        return keep(out, false, [&](bool& held) { return flag(at, held); });
      case 'n':
        return null(at);
      default:
        break;
    }
    if (const auto integer = plainInteger(tokens_.whole(at)))
      return keep(out, *integer, [&](std::int64_t&) { return at + 1; });
    return keep(out, 0.0, [&](double& held) { return number(at, held); });
  }

  template <class T, class Read>
  Place keep(Value& out, T held, const Read& read) {
    const Place next = read(held);
    if (next != nullptr) out = std::move(held);
    return next;
  }

  Place anyObject(Place at, Value& out) {
    std::vector<Object::Member> kept;
    const Place after = members(at, [&](Place key) {
      auto& [name, value] = kept.emplace_back();
      if (text(key, name) == nullptr) return Place{};
      const Place next = any(key + 2, value);
      if (next == nullptr) error_.prepend(name);
      return next;
    });
    if (after != nullptr) out = Object(std::move(kept));
    return after;
  }

  static constexpr const char* noSuchEscape = "invalid JSON: no such escape in a text";
  static constexpr const char* tooDeep = "nested too deeply";

  /// Counts one level for as long as it lives.
  class Nesting {
   public:
    explicit Nesting(std::size_t& depth) : depth_(depth) { ++depth_; }
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    explicit operator bool() const noexcept { return depth_ <= depthLimit; }

   private:
    std::size_t& depth_;
  };

  const TokenList tokens_;
  Error& error_;
  std::size_t depth_;
};

}  // namespace

Place decodeValue(const TokenList& tokens, Place at, const Codec& codec, void* out,
                  std::size_t depth, Error& error) {
  return Decoder(tokens, error, depth).value(at, codec, out);
}

std::optional<Error> decodeInto(Input text, const Codec& codec, void* out) {
  static thread_local Tokens tokens;
  const std::size_t mark = byteOrderMarkSize({text.data, text.size});
  text.data += mark;
  text.size -= mark;
  text.capacity -= mark;
  Error error;
  if (auto fault = tokens.load(text)) {
    error.reason = std::move(*fault);
  } else {
    const Place after = decodeValue(tokens, tokens.begin(), codec, out, 0, error);
    if (after != nullptr && after != tokens.end())
      error.reason = "invalid JSON: trailing characters after the value";
  }
  tokens.shrink();
  if (error.reason.empty()) return std::nullopt;
  return error;
}

}  // namespace zavelo::json::detail
