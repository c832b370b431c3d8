#include "tools/zavelo/chat/replay_controls.hpp"

#include <algorithm>

#include "tools/zavelo/terminal/clock_text.hpp"
#include "zavelo/base/number_text.hpp"

namespace zavelo::command {
namespace {

constexpr std::int64_t seekStep = 10'000;  // milliseconds
// What + and - can reach; a pace that was asked for may be beyond.
constexpr double slowest = 1.0 / 8;
constexpr double fastest = 1024;
constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 4;

std::string barText(const PacedReplay& replay, std::size_t width) {
  const auto begin = static_cast<double>(replay.begin());
  const double length = static_cast<double>(replay.end()) - begin;
  const double share = length > 0 ? (static_cast<double>(replay.position()) - begin) / length : 1.0;
  const double done = std::clamp(share, 0.0, 1.0) * static_cast<double>(width);
  std::string bar(width, '.');
  std::fill_n(bar.begin(), static_cast<std::size_t>(done), '#');
  return "[" + bar + "] ";
}

/// "2" and not "2.0"
std::string paceText(double speed) {
  const std::string text = numberText(speed);
  return text.ends_with(".0") ? text.substr(0, text.size() - 2) : text;
}

}  // namespace

void ReplayControls::take(std::string_view keys) {
  for (const char key : keys) {
    if (escape_.take(key)) {
      if (escape_.finished() == 'C') replay_.seekBy(seekStep);
      if (escape_.finished() == 'D') replay_.seekBy(-seekStep);
    } else if (key == ' ') {
      replay_.togglePause();
    } else if (key == '+' || key == '=') {  // one key on many keyboards
      replay_.setSpeed(std::max(replay_.speed(), std::min(replay_.speed() * 2, fastest)));
    } else if (key == '-') {
      replay_.setSpeed(std::min(replay_.speed(), std::max(replay_.speed() / 2, slowest)));
    }
  }
}

std::string progressText(const PacedReplay& replay, std::size_t columns) {
  std::string text = clockText(replay.position()) + " / " + clockText(replay.end());
  if (replay.speed() != 1) text += " x" + paceText(replay.speed());
  if (replay.isPaused()) text += " paused";
  const std::size_t frame = 3;  // "[] "
  if (columns >= text.size() + frame + narrowestBar)
    text.insert(0, barText(replay, std::min(widestBar, columns - text.size() - frame)));
  return text.substr(0, columns);
}

}  // namespace zavelo::command
