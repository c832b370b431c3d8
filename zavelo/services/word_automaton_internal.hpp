#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zavelo::detail {

/// Finds all places of many words in one walk through a text, overlapping ones too (Aho and
/// Corasick, "Efficient string matching", 1975). Works on bytes.
class WordAutomaton {
 public:
  /// Of equal words the first counts; an empty word is nowhere.
  explicit WordAutomaton(const std::vector<std::string>& words);

  struct Place {
    std::size_t word;
    std::size_t begin;
    std::size_t end;
  };
  /// In the order of their ends.
  void search(std::string_view text, const std::function<void(const Place&)>& found) const;

 private:
  using Index = std::uint32_t;
  static constexpr Index root = 0;
  static constexpr std::size_t noWord = static_cast<std::size_t>(-1);

  struct Node {
    std::size_t word = noWord;
    std::size_t depth = 0;
    Index parent = root;
    char byte = 0;           // that leads here from the parent
    Index suffix = root;     // the longest proper suffix that is a node, too
    Index wordAlong = root;  // the longest such suffix that is a word
  };

  static std::uint64_t edge(Index node, char byte) {
    return std::uint64_t{node} << 8 | static_cast<unsigned char>(byte);
  }
  [[nodiscard]] Index next(Index node, char byte) const;
  void add(std::string_view word, std::size_t index);
  void link();

  std::vector<Node> nodes_ = std::vector<Node>(1);
  std::unordered_map<std::uint64_t, Index> children_;
};

}  // namespace zavelo::detail
