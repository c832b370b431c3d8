#include "zavelo/platform/jpeg.hpp"

// jpeglib.h needs std::FILE and std::size_t to be known.
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "zavelo/platform/exif_orientation_internal.hpp"

namespace zavelo {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr int exifMarker = JPEG_APP0 + 1;
constexpr unsigned longestSegment = 0xffff;
constexpr std::uint32_t longestSide = JPEG_MAX_DIMENSION;

/// libjpeg leaves a failed operation by longjmp. No function that calls setjmp here has an object
/// with a destructor: what needs one belongs to the caller.
struct ErrorExit {
  jpeg_error_mgr manager;
  std::jmp_buf place;
};

[[noreturn]] void leave(j_common_ptr info) {
  std::longjmp(reinterpret_cast<ErrorExit*>(info->err)->place, 1);
}

/// Silence instead of standard error; the count of warnings stays in the manager.
void keepQuiet(j_common_ptr) {}

void setUp(ErrorExit& errors) {
  jpeg_std_error(&errors.manager);
  errors.manager.error_exit = &leave;
  errors.manager.output_message = &keepQuiet;
}

struct Compressor {
  jpeg_compress_struct info{};
  ErrorExit errors{};
  unsigned char* bytes = nullptr;
  unsigned long size = 0;

  Compressor() = default;
  ~Compressor() {
    jpeg_destroy_compress(&info);
    std::free(bytes);
  }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;
};

bool compress(Compressor& jpeg, const ZVImage& image, int quality) {
  setUp(jpeg.errors);
  jpeg.info.err = &jpeg.errors.manager;
  if (setjmp(jpeg.errors.place)) return false;
  jpeg_create_compress(&jpeg.info);
  jpeg_mem_dest(&jpeg.info, &jpeg.bytes, &jpeg.size);
  jpeg.info.image_width = image.width;
  jpeg.info.image_height = image.height;
  jpeg.info.input_components = bytesPerPixel;
  jpeg.info.in_color_space = JCS_EXT_RGBX;
  jpeg_set_defaults(&jpeg.info);
  jpeg_set_quality(&jpeg.info, quality, TRUE);
  jpeg_start_compress(&jpeg.info, TRUE);
  const std::size_t stride = image.width * bytesPerPixel;
  while (jpeg.info.next_scanline < jpeg.info.image_height) {
    // libjpeg's interface wants a row that can be written to; it only reads it.
    auto* row = reinterpret_cast<JSAMPROW>(
        const_cast<std::byte*>(image.pixels.data() + jpeg.info.next_scanline * stride));
    jpeg_write_scanlines(&jpeg.info, &row, 1);
  }
  jpeg_finish_compress(&jpeg.info);
  return true;
}

struct Decompressor {
  jpeg_decompress_struct info{};
  ErrorExit errors{};

  Decompressor() = default;
  ~Decompressor() { jpeg_destroy_decompress(&info); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;
};

bool readHeader(Decompressor& jpeg, std::span<const std::byte> file) {
  setUp(jpeg.errors);
  jpeg.info.err = &jpeg.errors.manager;
  if (setjmp(jpeg.errors.place)) return false;
  jpeg_create_decompress(&jpeg.info);
  jpeg_mem_src(&jpeg.info, reinterpret_cast<const unsigned char*>(file.data()),
               static_cast<unsigned long>(file.size()));
  jpeg_save_markers(&jpeg.info, exifMarker, longestSegment);
  jpeg_read_header(&jpeg.info, TRUE);
  return true;
}

int orientationOf(const jpeg_decompress_struct& info) {
  for (const auto* marker = info.marker_list; marker != nullptr; marker = marker->next) {
    const auto* bytes = reinterpret_cast<const std::byte*>(marker->data);
    const int orientation = detail::exifOrientation({bytes, marker->data_length});
    if (orientation != 1) return orientation;
  }
  return 1;
}

bool isInk(const jpeg_decompress_struct& info) {
  return info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
}

/// Writes rows of `bytesPerPixel` to `pixels`, whose size the caller took from the header.
bool readRows(Decompressor& jpeg, std::byte* pixels) {
  if (setjmp(jpeg.errors.place)) return false;
  jpeg.info.out_color_space = isInk(jpeg.info) ? JCS_CMYK : JCS_EXT_RGBA;
  jpeg_start_decompress(&jpeg.info);
  const std::size_t stride = jpeg.info.output_width * bytesPerPixel;
  while (jpeg.info.output_scanline < jpeg.info.output_height) {
    auto* row = reinterpret_cast<JSAMPROW>(pixels + jpeg.info.output_scanline * stride);
    jpeg_read_scanlines(&jpeg.info, &row, 1);
  }
  jpeg_finish_decompress(&jpeg.info);
  // A cut or corrupt file is filled up with grey and a warning.
  return jpeg.errors.manager.num_warnings == 0;
}

/// Inks to light, in place. Adobe's programs write inks inverted: 0 is full ink.
void inkToLight(std::vector<std::byte>& pixels, bool inverted) {
  if (!inverted) {
    for (auto& ink : pixels) ink = ~ink;
  }
  for (std::size_t i = 0; i + 3 < pixels.size(); i += bytesPerPixel) {
    const auto black = std::to_integer<unsigned>(pixels[i + 3]);
    for (std::size_t c = i; c < i + 3; ++c) {
      pixels[c] = static_cast<std::byte>(std::to_integer<unsigned>(pixels[c]) * black / 255);
    }
    pixels[i + 3] = std::byte{255};
  }
}

}  // namespace

std::optional<std::vector<std::byte>> TurboJpegEncoder::encode(const ZVImage& image,
                                                               double quality) {
  const bool hasSize = image.width > 0 && image.height > 0 && image.width <= longestSide &&
                       image.height <= longestSide;
  if (!hasSize || std::isnan(quality)) return std::nullopt;
  if (image.pixels.size() != std::size_t{image.width} * image.height * bytesPerPixel) {
    return std::nullopt;
  }
  const auto percent = static_cast<int>(std::lround(std::clamp(quality, 0.0, 1.0) * 100));
  Compressor jpeg;
  if (!compress(jpeg, image, percent)) return std::nullopt;
  try {
    const auto* bytes = reinterpret_cast<const std::byte*>(jpeg.bytes);
    return std::vector<std::byte>(bytes, bytes + jpeg.size);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::optional<ZVImage> decodeJpeg(std::span<const std::byte> file, std::size_t pixelLimit) {
  Decompressor jpeg;
  if (file.empty() || !readHeader(jpeg, file)) return std::nullopt;
  ZVImage image{jpeg.info.image_width, jpeg.info.image_height, {}};
  const std::size_t count = std::size_t{image.width} * image.height;
  if (count > pixelLimit) return std::nullopt;
  try {
    image.pixels.resize(count * bytesPerPixel);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  const int orientation =
      orientationOf(jpeg.info);  // libjpeg forgets the markers with the last row
  if (!readRows(jpeg, image.pixels.data())) return std::nullopt;
  if (isInk(jpeg.info)) inkToLight(image.pixels, jpeg.info.saw_Adobe_marker != FALSE);
  try {
    return detail::upright(std::move(image), orientation);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace zavelo
