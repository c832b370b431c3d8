#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/error.hpp"

namespace zavelo::json {

/// Where a long text comes from, piece by piece.
class TextSource {
 public:
  virtual ~TextSource() = default;
  /// Fills the room, or the beginning of it, and says how much; 0 is the end of the text. No value
  /// when it cannot be read on.
  [[nodiscard]] virtual std::optional<std::size_t> read(char* room, std::size_t size) = 0;
};

/// A text that is in memory already, and stays there.
class ZAVELO_EXPORT TextInMemory final : public TextSource {
 public:
  explicit TextInMemory(std::string_view text) : rest_(text) {}
  [[nodiscard]] std::optional<std::size_t> read(char* room, std::size_t size) override;

 private:
  std::string_view rest_;
};

namespace detail {

/// Takes the elements of a list as they are read.
class ElementSink {
 public:
  /// Where the next element is to be read into, as new. What was begun and not ended is void.
  virtual void* begin() = 0;
  virtual void end() = 0;

 protected:
  ~ElementSink() = default;
};

[[nodiscard]] ZAVELO_EXPORT std::optional<Error> decodeElements(TextSource& source,
                                                                const Codec& element,
                                                                ElementSink& sink);
}  // namespace detail

/// Reads a JSON list and hands each element, a T, to `each(T&)` as soon as it is read, as strictly
/// as `decode` of the whole list would. Of the text no more than a window is in memory, however
/// long the list is. After an error the elements handed over so far are those before the fault.
template <class T, class Each>
[[nodiscard]] std::optional<Error> decodeEach(TextSource& source, Each each) {
  struct Sink final : detail::ElementSink {
    explicit Sink(Each& consumer) : consume(consumer) {}
    void* begin() override { return &element.emplace(); }
    void end() override { consume(*element); }
    Each& consume;
    std::optional<T> element;
  };
  Sink sink(each);
  return detail::decodeElements(source, codecOf<T>, sink);
}

}  // namespace zavelo::json
