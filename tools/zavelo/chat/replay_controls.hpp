#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/zavelo/chat/paced_replay.hpp"
#include "tools/zavelo/terminal/typed_lines.hpp"

namespace zavelo::command {

/// The keys of a player: space pauses and goes on, the arrows seek by ten seconds, + and - double
/// and halve the pace. Others do nothing.
class ReplayControls {
 public:
  /// The replay outlives the controls.
  explicit ReplayControls(PacedReplay& replay) : replay_(replay) {}
  void take(std::string_view keys);

 private:
  PacedReplay& replay_;
  EscapeSequence escape_;
};

/// "[######............] 00:00:12 / 00:00:40 x10 paused", as much of it as fits in so many columns.
[[nodiscard]] std::string progressText(const PacedReplay& replay, std::size_t columns);

}  // namespace zavelo::command
