#include <cmath>

#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"
#include "zavelo/json/text_writer_internal.hpp"

namespace zavelo::json {
namespace {

/// Writes one value. Each function says false on the first thing that JSON cannot say, which
/// `error` describes; the callers put their keys before its path on the way out.
class Encoder {
 public:
  Encoder(detail::TextWriter& out, Error& error) : out_(out), error_(error) {}

  bool value(const Codec& codec, const void* value) {
    switch (codec.kind) {
      case Codec::Kind::flag:
        return flag(*static_cast<const bool*>(value));
      case Codec::Kind::integer:
        return integer(*static_cast<const std::int64_t*>(value));
      case Codec::Kind::number:
        return number(*static_cast<const double*>(value));
      case Codec::Kind::text:
        return text(*static_cast<const std::string*>(value));
      case Codec::Kind::code:
        return integer(codec.readCode(value));
      case Codec::Kind::value:
        return any(*static_cast<const Value*>(value));
      case Codec::Kind::list:
        return list(codec, value);
      case Codec::Kind::record:
        return record(codec.view ? codec.view(value) : RecordView{&codec.record(), value});
      case Codec::Kind::reference:
      case Codec::Kind::optional:
        break;
    }
    const void* target = codec.target(value);
    return target != nullptr ? this->value(*codec.inner, target) : null();
  }

 private:
  bool fail(const char* reason) {
    error_ = Error{{}, reason};
    return false;
  }
  bool null() {
    out_.padded("null\0\0\0", 4);
    return true;
  }
  bool flag(bool value) {
    value ? out_.padded("true\0\0\0", 4) : out_.padded("false\0\0", 5);
    return true;
  }
  bool integer(std::int64_t value) {
    out_.number(value);
    return true;
  }
  bool number(double value) {
    if (!std::isfinite(value)) return fail("not a finite number");
    out_.number(value);
    return true;
  }
  bool text(std::string_view value) { return out_.quoted(value) || fail("invalid UTF-8"); }

  bool record(const RecordView& view) {
    out_.raw('{');
    std::size_t skipped = 1;  // the first key has no comma before it
    const bool writeNull = view.record->absentFields() == AbsentFields::null;
    for (const Field& field : view.record->fields()) {
      const void* holder = static_cast<const std::byte*>(view.object) + field.offset;
      const Codec& codec = *field.codec;
      const bool canBeAbsent = codec.target != nullptr;
      const void* target = canBeAbsent ? targetOf(codec, holder) : holder;
      if (target == nullptr && !writeNull) continue;
      out_.padded(field.writtenKey.data() + skipped, field.writtenKeySize() - skipped);
      skipped = 0;
      if (target == nullptr) {
        null();
      } else if (!this->value(canBeAbsent ? *codec.inner : codec, target)) {
        error_.prepend(field.name);
        return false;
      }
    }
    out_.raw('}');
    return true;
  }

  /// The common holders without an indirection; the others as their codec says.
  static const void* targetOf(const Codec& codec, const void* holder) {
    const auto held = [&]<class T>(std::optional<T>*) -> const void* {
      const auto& optional = *static_cast<const std::optional<T>*>(holder);
      return optional ? &*optional : nullptr;
    };
    if (codec.kind == Codec::Kind::optional) {
      const auto kind = codec.inner->kind;
      if (kind == Codec::Kind::integer)
        return held(static_cast<std::optional<std::int64_t>*>(nullptr));
      if (kind == Codec::Kind::text) return held(static_cast<std::optional<std::string>*>(nullptr));
      if (kind == Codec::Kind::flag) return held(static_cast<std::optional<bool>*>(nullptr));
    }
    return codec.target(holder);
  }

  bool list(const Codec& codec, const void* value) {
    const auto* element = static_cast<const std::byte*>(codec.first(value));
    const std::size_t count = codec.count(value);
    return elements(count, [&](std::size_t index) {
      return this->value(*codec.inner, element + index * codec.stride);
    });
  }

  template <class Each>
  bool elements(std::size_t count, const Each& each) {
    out_.raw('[');
    for (std::size_t index = 0; index < count; ++index) {
      if (!each(index)) {
        error_.prepend(index);
        return false;
      }
      out_.raw(',');
    }
    close(']');
    return true;
  }

  // The last element's comma gives its place to the bracket.
  void close(char bracket) {
    if (out_.last() == ',') out_.unwrite();
    out_.raw(bracket);
  }

  bool any(const Value& value) {
    return std::visit([this](const auto& held) { return anyOf(held); }, value.data());
  }
  bool anyOf(std::nullptr_t) { return null(); }
  bool anyOf(bool value) { return flag(value); }
  bool anyOf(std::int64_t value) { return integer(value); }
  bool anyOf(double value) { return number(value); }
  bool anyOf(const std::string& value) { return text(value); }
  bool anyOf(const Array& values) {
    return elements(values.size(), [&](std::size_t index) { return any(values[index]); });
  }
  bool anyOf(const Object& members) {
    out_.raw('{');
    for (const auto& [key, member] : members) {
      if (!text(key)) return false;
      out_.raw(':');
      if (!any(member)) {
        error_.prepend(key);
        return false;
      }
      out_.raw(',');
    }
    close('}');
    return true;
  }

  detail::TextWriter& out_;
  Error& error_;
};

/// Lays compact JSON out in lines, two blanks a level.
std::string indented(std::string_view compact) {
  std::string out;
  std::size_t depth = 0;
  bool quoted = false;
  const auto line = [&] { out.append("\n").append(depth * 2, ' '); };
  for (std::size_t i = 0; i < compact.size(); ++i) {
    const char c = compact[i];
    if (quoted) {
      out += c;
      if (c == '\\') out += compact[++i];
      quoted = c != '"';
      continue;
    }
    const bool empty = i + 1 < compact.size() && (compact[i + 1] == '}' || compact[i + 1] == ']');
    if (c == '}' || c == ']') {
      if (compact[i - 1] != '{' && compact[i - 1] != '[') {
        --depth;
        line();
      }
    }
    out += c;
    quoted = c == '"';
    if (c == ':') out += ' ';
    if (c == ',') line();
    if ((c == '{' || c == '[') && !empty) {
      ++depth;
      line();
    }
  }
  return out;
}

}  // namespace

namespace detail {

Result<std::string, Error> encodeFrom(const Codec& codec, const void* value) {
  static thread_local TextWriter out;
  out.restart();
  Error error;
  const bool written = Encoder(out, error).value(codec, value);
  std::string text = written ? out.text() : std::string();
  out.shrink();
  if (!written) return Failure{std::move(error)};
  return text;
}

}  // namespace detail

std::string prettyText(const Value& value) {
  const auto compact = encode(value);
  return compact ? indented(*compact) : std::string();
}

}  // namespace zavelo::json
