#include "examples/qt_timer/timer_window.hpp"

#include <QComboBox>
#include <QGridLayout>

#include "examples/qt_timer/qt_text_label.hpp"

using zavelo::ZVTimerLabel;

TimerWindow::TimerWindow()
    : timer_(ZVTimerLabel::create({.label = std::make_shared<QtTextLabel>(label_, [this] {
                                     if (shown_) shown_();
                                   })})) {
  setWindowTitle(tr("On air"));
  label_->setAlignment(Qt::AlignCenter);
  auto large = label_->font();
  large.setPointSize(48);
  label_->setFont(large);
  timer_->reset();  // a new label shows nothing before this

  startOrStop_->setText(tr("Start"));
  connect(startOrStop_, &QPushButton::clicked, this, &TimerWindow::startOrStop);
  auto* const reset = new QPushButton(tr("Reset"), this);
  connect(reset, &QPushButton::clicked, this, [this] { timer_->reset(); });
  auto* const style = new QComboBox(this);
  style->addItems({tr("Hours"), tr("Minutes"), tr("Seconds")});
  connect(style, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (const auto chosen = zavelo::fromRawValue<ZVTimerLabel::TimeStyle>(index))
      timer_->setTimeStyle(*chosen);
  });

  auto* const grid = new QGridLayout(this);
  grid->addWidget(label_, 0, 0, 1, 3);
  grid->addWidget(startOrStop_, 1, 0);
  grid->addWidget(reset, 1, 1);
  grid->addWidget(style, 1, 2);
}

void TimerWindow::startOrStop() {
  timer_->isRunning() ? timer_->stop() : timer_->start();
  startOrStop_->setText(timer_->isRunning() ? tr("Stop") : tr("Start"));
}
