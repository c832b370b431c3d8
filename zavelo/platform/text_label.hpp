#pragma once

#include <string>

namespace zavelo {

/// A label of the app's toolkit: one text on the screen.
class TextLabel {
 public:
  virtual ~TextLabel() = default;
  /// UTF-8. On the main queue, unless the caller says otherwise.
  virtual void setText(const std::string& text) = 0;
};

}  // namespace zavelo
