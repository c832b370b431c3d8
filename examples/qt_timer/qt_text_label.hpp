#pragma once

#include <QLabel>
#include <QPointer>
#include <functional>
#include <utility>

#include "zavelo/platform/text_label.hpp"

/// A label of Qt as the library sees it. The label may go first.
class QtTextLabel final : public zavelo::TextLabel {
 public:
  /// `shown` is called after each text.
  QtTextLabel(QLabel* label, std::function<void()> shown)
      : label_(label), shown_(std::move(shown)) {}

  void setText(const std::string& text) override {
    if (!label_) return;
    label_->setText(QString::fromStdString(text));
    shown_();
  }

 private:
  const QPointer<QLabel> label_;
  const std::function<void()> shown_;
};
