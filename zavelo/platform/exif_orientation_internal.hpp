#pragma once

#include <cstddef>
#include <span>

#include "zavelo/platform/image.hpp"

namespace zavelo::detail {

/// How a camera was held, from the content of a JPEG's APP1 segment (Exif 2.32, tag 0x0112): 1,
/// which is upright, to 8. Also 1 when the segment is no Exif or is malformed.
[[nodiscard]] int exifOrientation(std::span<const std::byte> segment) noexcept;

/// The picture upright. Throws std::bad_alloc.
[[nodiscard]] ZVImage upright(ZVImage image, int orientation);

}  // namespace zavelo::detail
