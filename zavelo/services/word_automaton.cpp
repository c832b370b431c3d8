#include <algorithm>
#include <numeric>

#include "zavelo/services/word_automaton_internal.hpp"

namespace zavelo::detail {

WordAutomaton::WordAutomaton(const std::vector<std::string>& words) {
  for (std::size_t i = 0; i < words.size(); ++i) add(words[i], i);
  link();
}

void WordAutomaton::add(std::string_view word, std::size_t index) {
  if (word.empty()) return;
  Index at = root;
  for (const char byte : word) {
    const auto [child, isNew] =
        children_.try_emplace(edge(at, byte), static_cast<Index>(nodes_.size()));
    if (isNew) nodes_.push_back({.depth = nodes_[at].depth + 1, .parent = at, .byte = byte});
    at = child->second;
  }
  if (nodes_[at].word == noWord) nodes_[at].word = index;
}

void WordAutomaton::link() {
  std::vector<Index> shallowFirst(nodes_.size());
  std::iota(shallowFirst.begin(), shallowFirst.end(), root);
  std::ranges::stable_sort(shallowFirst, {}, [this](Index node) { return nodes_[node].depth; });
  for (const Index index : shallowFirst) {
    Node& node = nodes_[index];
    if (node.depth > 1) node.suffix = next(nodes_[node.parent].suffix, node.byte);
    const Node& suffix = nodes_[node.suffix];
    node.wordAlong = suffix.word != noWord ? node.suffix : suffix.wordAlong;
  }
}

WordAutomaton::Index WordAutomaton::next(Index node, char byte) const {
  for (;; node = nodes_[node].suffix) {
    if (const auto child = children_.find(edge(node, byte)); child != children_.end())
      return child->second;
    if (node == root) return root;
  }
}

void WordAutomaton::search(std::string_view text,
                           const std::function<void(const Place&)>& found) const {
  Index at = root;
  for (std::size_t i = 0; i < text.size(); ++i) {
    at = next(at, text[i]);
    for (Index word = nodes_[at].word != noWord ? at : nodes_[at].wordAlong; word != root;
         word = nodes_[word].wordAlong)
      found({nodes_[word].word, i + 1 - nodes_[word].depth, i + 1});
  }
}

}  // namespace zavelo::detail
