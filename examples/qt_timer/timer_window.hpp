#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <memory>
#include <utility>

#include "zavelo/ui/timer_label.hpp"

/// A clock that can be started, stopped, set back, and shown in each style.
class TimerWindow final : public QWidget {
 public:
  TimerWindow();

  void startOrStop();
  [[nodiscard]] QString text() const { return label_->text(); }
  /// Is called after each change of the text.
  void onText(std::function<void()> shown) { shown_ = std::move(shown); }

 private:
  QLabel* const label_ = new QLabel(this);
  QPushButton* const startOrStop_ = new QPushButton(this);
  std::function<void()> shown_;
  const std::shared_ptr<zavelo::ZVTimerLabel> timer_;
};
