#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// A picture in memory: rows from the top, 4 bytes a pixel (red, green, blue, alpha), no padding.
struct ZVImage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::byte> pixels = {};  ///< width * height * 4 bytes
};

/// Turns pictures into JPEG (ITU-T T.81).
class JpegEncoder {
 public:
  virtual ~JpegEncoder() = default;
  /// `quality` from 0 (smallest) to 1 (best). No value when the picture cannot be encoded.
  virtual std::optional<std::vector<std::byte>> encode(const ZVImage& image, double quality) = 0;
};

}  // namespace zavelo
