#include "zavelo/core/attributed_string.hpp"

#include <algorithm>
#include <utility>

#include "zavelo/platform/unicode.hpp"

namespace zavelo {
namespace {

using Run = ZVAttributedString::Run;

/// Goes through runs once, from the first unit to the last.
class RunReader {
 public:
  explicit RunReader(const std::vector<Run>& runs) : runs_(runs) {}

  /// The attributes at the next unit, of which there must be one.
  [[nodiscard]] const ZVAttributedString::Attributes& attributes() const {
    return runs_[index_].attributes;
  }

  /// Hands the next `length` units to `take`, stretch by stretch.
  template <class Take>
  void read(std::size_t length, Take take) {
    while (length > 0) {
      const std::size_t stretch = std::min(length, runs_[index_].length - used_);
      take(stretch, runs_[index_].attributes);
      length -= stretch;
      used_ += stretch;
      if (used_ == runs_[index_].length) {
        ++index_;
        used_ = 0;
      }
    }
  }

  void skip(std::size_t length) {
    read(length, [](std::size_t, const auto&) {});
  }

 private:
  const std::vector<Run>& runs_;
  std::size_t index_ = 0;
  std::size_t used_ = 0;  // of the run at the index
};

}  // namespace

ZVAttributedString::ZVAttributedString(std::string text, Attributes attributes)
    : text_(std::move(text)) {
  appendRun(unicode::utf16Length(text_), attributes);
}

void ZVAttributedString::appendRun(std::size_t length, const Attributes& attributes) {
  if (length == 0) return;
  length_ += length;
  if (!runs_.empty() && runs_.back().attributes == attributes)
    runs_.back().length += length;
  else
    runs_.push_back({length, attributes});
}

void ZVAttributedString::append(std::string_view text, const Attributes& attributes) {
  const std::size_t length = unicode::utf16Length(text);
  text_ += text;
  appendRun(length, attributes);
}

bool ZVAttributedString::setAttributes(ZVTextRange range, const Attributes& attributes) {
  if (range.location > length_ || range.length > length_ - range.location) return false;
  const Attributes kept = attributes;  // may live in one of the runs that go
  const auto old = std::exchange(runs_, {});
  const std::size_t rest = std::exchange(length_, 0) - range.location - range.length;
  const auto copy = [this](std::size_t length, const Attributes& of) { appendRun(length, of); };
  RunReader reader(old);
  reader.read(range.location, copy);
  reader.skip(range.length);
  appendRun(range.length, kept);
  reader.read(rest, copy);
  return true;
}

std::optional<ZVAttributedString> ZVAttributedString::replacing(
    const std::vector<Replacement>& replacements) const {
  ZVAttributedString result;
  RunReader reader(runs_);
  std::string_view rest = text_;
  std::size_t done = 0;
  const auto copy = [&result](std::size_t length, const Attributes& of) {
    result.appendRun(length, of);
  };
  for (const auto& [range, text] : replacements) {
    if (range.location < done || range.length == 0) return std::nullopt;
    const auto kept = unicode::utf16PrefixSize(rest, range.location - done);
    if (!kept) return std::nullopt;
    const auto replaced = unicode::utf16PrefixSize(rest.substr(*kept), range.length);
    if (!replaced) return std::nullopt;
    result.text_ += rest.substr(0, *kept);
    reader.read(range.location - done, copy);
    result.append(text, reader.attributes());
    reader.skip(range.length);
    rest.remove_prefix(*kept + *replaced);
    done = range.location + range.length;
  }
  result.text_ += rest;
  reader.read(length_ - done, copy);
  return result;
}

}  // namespace zavelo
