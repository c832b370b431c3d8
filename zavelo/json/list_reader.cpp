#include "zavelo/json/list_reader.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "zavelo/json/decoder_internal.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::json {
namespace {

using detail::Place;

// Large enough that what it costs to begin a window does not show, small enough for the cache.
constexpr std::size_t firstWindow = std::size_t{256} * 1024;

bool isSpace(char c) {
  return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// Looks at the text through a window that begins at an element and ends, if all goes well, at the
/// comma behind another. Where that was a comma inside an element, or of a text, the window does
/// not read as whole elements: then it is tried again, larger, from the first element that did not.
/// So a fault is one for certain only in the window that has the end of the text.
class ListReader {
 public:
  ListReader(TextSource& source, const Codec& element, detail::ElementSink& sink)
      : source_(source), element_(element), sink_(sink) {}

  std::optional<Error> read() {
    while (fill()) {
      if (!started_ && !start()) break;
      if (readWindow()) break;
    }
    if (error_.reason.empty()) return std::nullopt;
    return error_;
  }

 private:
  bool fail(std::string reason) {
    error_ = Error{{}, std::move(reason)};
    return false;
  }

  /// Brings what is left of the window to its beginning and reads on behind it.
  bool fill() {
    if (begin_ > 0) std::memmove(window_.data(), window_.data() + begin_, filled_ - begin_);
    filled_ -= std::exchange(begin_, 0);
    window_.resize(std::max(window_.size(), size_ + paddingBytes));
    while (!ended_ && filled_ < size_) {
      const auto got = source_.read(window_.data() + filled_, size_ - filled_);
      if (!got) return fail("the text cannot be read");
      ended_ = *got == 0;
      filled_ += *got;
    }
    return true;
  }

  bool start() {
    begin_ += detail::byteOrderMarkSize({window_.data(), filled_});
    while (begin_ < filled_ && isSpace(window_[begin_])) ++begin_;
    started_ = begin_ < filled_ && window_[begin_] == '[';
    if (started_) ++begin_;
    return started_ || fail("expected list");
  }

  /// The comma behind the last element in the window, as far as that can be seen: what looks like
  /// "}, {". Null where there is none.
  [[nodiscard]] char* lastBoundary() {
    const char* const begin = window_.data() + begin_;
    for (char* at = window_.data() + filled_; at > begin; --at) {
      if (at[-1] != '{') continue;
      char* comma = beforeSpace(at - 1);
      if (comma <= begin || comma[-1] != ',') continue;
      const char* brace = beforeSpace(comma - 1);
      if (brace > begin && brace[-1] == '}') return comma - 1;
    }
    return nullptr;
  }
  [[nodiscard]] char* beforeSpace(char* at) const {
    while (at > window_.data() + begin_ && isSpace(at[-1])) --at;
    return at;
  }

  /// True once there is nothing more to read.
  bool readWindow() {
    char* const comma = ended_ ? nullptr : lastBoundary();
    if (!ended_ && comma == nullptr) return widen();
    char* const end = comma ? comma : window_.data() + filled_;
    *end = '\0';  // as the reader of tokens finds it at the end of a text
    const bool done = readElements(static_cast<std::size_t>(end - window_.data()));
    if (comma) *comma = ',';
    return done;
  }

  /// The first element of the window needs more text than it has.
  bool widen() {
    size_ *= 2;
    return false;
  }

  bool readElements(std::size_t end) {
    Input text(std::string_view(window_).substr(begin_, end - begin_));
    text.capacity = text.size + paddingBytes;
    if (auto fault = tokens_.load(text)) return ended_ ? !fail(std::move(*fault)) : widen();
    const std::size_t base = begin_;
    Place at = tokens_.begin();
    if (count_ == 0 && tokens_.first(at) == ']') return close(at);
    for (;; ++at) {
      begin_ = base + *at;
      at = element(at);
      if (at == nullptr) return ended_ || retry(begin_ > base);
      sink_.end();
      ++count_;
      if (at == tokens_.end()) break;
      if (tokens_.first(at) == ']') return close(at);
    }
    begin_ = end + 1;
    size_ = firstWindow;
    return false;
  }

  /// Reads one element, and looks at what stands behind it.
  Place element(Place at) {
    const Place behind = decodeValue(tokens_, at, element_, sink_.begin(), 1, error_);
    if (behind == nullptr) {
      error_.prepend(count_);
      return nullptr;
    }
    const bool cut = behind == tokens_.end() && !ended_;
    const char c = tokens_.first(behind);
    if (cut || c == ',' || c == ']') return behind;
    fail("invalid JSON: expected ',' or ']'");
    return nullptr;
  }

  /// What looks like a fault may be none with more text behind it.
  bool retry(bool hasProgressed) {
    error_ = {};
    if (!hasProgressed) return widen();
    size_ = firstWindow;
    return false;
  }

  bool close(Place bracket) {
    // A window that does not have the end of the text ends before a comma.
    if (!ended_ || bracket + 1 != tokens_.end())
      fail("invalid JSON: trailing characters after the value");
    return true;
  }

  TextSource& source_;
  const Codec& element_;
  detail::ElementSink& sink_;
  detail::Tokens tokens_;
  std::string window_;
  std::size_t size_ = firstWindow;
  std::size_t begin_ = 0;   // of what is not read yet
  std::size_t filled_ = 0;  // behind the last byte that came from the source
  std::size_t count_ = 0;
  bool started_ = false;
  bool ended_ = false;
  Error error_;
};

}  // namespace

std::optional<std::size_t> TextInMemory::read(char* room, std::size_t size) {
  const std::size_t count = std::min(size, rest_.size());
  std::memcpy(room, rest_.data(), count);
  rest_.remove_prefix(count);
  return count;
}

std::optional<Error> detail::decodeElements(TextSource& source, const Codec& element,
                                            ElementSink& sink) {
  return ListReader(source, element, sink).read();
}

}  // namespace zavelo::json
