#include "zavelo/platform/jpeg.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace zavelo {
namespace {

ZVImage gradient(std::uint32_t width, std::uint32_t height) {
  ZVImage image{width, height, {}};
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      image.pixels.push_back(static_cast<std::byte>(x * 255 / width));
      image.pixels.push_back(static_cast<std::byte>(y * 255 / height));
      image.pixels.push_back(static_cast<std::byte>(128));
      image.pixels.push_back(static_cast<std::byte>(x));
    }
  }
  return image;
}

double meanError(const ZVImage& a, const ZVImage& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    if (i % 4 == 3) continue;
    sum += std::abs(std::to_integer<int>(a.pixels[i]) - std::to_integer<int>(b.pixels[i]));
  }
  return sum / static_cast<double>(a.pixels.size() / 4 * 3);
}

TEST(Jpeg, ReadsBackWhatItWroteOpaquely) {
  TurboJpegEncoder encoder;
  const auto image = gradient(65, 33);
  const auto file = encoder.encode(image, 0.9);
  ASSERT_TRUE(file);
  const auto decoded = decodeJpeg(*file);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->width, 65U);
  EXPECT_EQ(decoded->height, 33U);
  ASSERT_EQ(decoded->pixels.size(), image.pixels.size());
  EXPECT_LT(meanError(image, *decoded), 4);
  EXPECT_EQ(decoded->pixels[3], std::byte{255});
}

TEST(Jpeg, RefusesPicturesThatCannotBeEncoded) {
  TurboJpegEncoder encoder;
  auto tooFewPixels = gradient(8, 8);
  tooFewPixels.pixels.pop_back();
  const ZVImage tooWide{70000, 1, std::vector<std::byte>(70000 * 4)};
  EXPECT_FALSE(encoder.encode(tooFewPixels, 0.5));
  EXPECT_FALSE(encoder.encode(tooWide, 0.5));
  EXPECT_FALSE(encoder.encode(ZVImage(), 0.5));
  EXPECT_FALSE(encoder.encode(gradient(8, 8), std::numeric_limits<double>::quiet_NaN()));
}

TEST(Jpeg, RefusesFilesThatAreNotSound) {
  const auto file = TurboJpegEncoder().encode(gradient(64, 64), 0.8).value();
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{3}, file.size() / 2, file.size() - 2}) {
    EXPECT_FALSE(decodeJpeg(std::span(file).first(size))) << size;
  }
  const std::vector<std::byte> garbage(1000, std::byte{'x'});
  EXPECT_FALSE(decodeJpeg(garbage));
}

/// 32 x 16 pixels, a quarter of which each is of the colour A, B (top), C or D.
std::vector<std::byte> quarters() {
  ZVImage image{32, 16, {}};
  for (std::uint32_t i = 0; i < 32 * 16; ++i) {
    const bool isRight = i % 32 >= 16;
    const bool isBottom = i / 32 >= 8;
    for (const int value : {isRight ? 255 : 0, isBottom ? 255 : 0, 0, 255})
      image.pixels.push_back(static_cast<std::byte>(value));
  }
  return TurboJpegEncoder().encode(image, 1).value();
}

/// The colours of the quarters, "ABCD" when upright.
std::string colours(const ZVImage& image) {
  std::string names;
  for (const auto& [x, y] : {std::pair(1U, 1U), {3U, 1U}, {1U, 3U}, {3U, 3U}}) {
    const auto* pixel = &image.pixels.at(
        std::size_t{4} * (y * image.height / 4 * image.width + x * image.width / 4));
    const int right = std::to_integer<int>(pixel[0]) > 127;
    names += static_cast<char>('A' + right + (std::to_integer<int>(pixel[1]) > 127 ? 2 : 0));
  }
  return names;
}

/// A TIFF number of two or four bytes.
std::string tiff(bool isBigEndian, std::uint32_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i)
    bytes += static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - i : i) & 0xff);
  return bytes;
}

std::string exif(bool big, std::uint32_t orientation, std::uint32_t directory = 8,
                 std::uint32_t entries = 2, std::uint32_t type = 3) {
  const auto entry = [&](std::uint32_t tag, std::uint32_t itsType, std::uint32_t value) {
    return tiff(big, tag, 2) + tiff(big, itsType, 2) + tiff(big, 1, 4) + tiff(big, value, 2) +
           tiff(big, 0, 2);
  };
  return std::string("Exif\0\0", 6) + (big ? "MM" : "II") + tiff(big, 42, 2) +
         tiff(big, directory, 4) + tiff(big, entries, 2) + entry(0x0100, 3, 32) +
         entry(0x0112, type, orientation);
}

std::optional<ZVImage> decodedWith(const std::string& segment) {
  auto file = quarters();
  const std::string app1 =
      "\xff\xe1" + tiff(true, static_cast<std::uint32_t>(segment.size() + 2), 2) + segment;
  std::vector<std::byte> bytes(app1.size());
  std::memcpy(bytes.data(), app1.data(), app1.size());
  file.insert(file.begin() + 2, bytes.begin(), bytes.end());
  return decodeJpeg(file);
}

TEST(Jpeg, IsTurnedUpright) {
  const std::array expected{"ABCD", "BADC", "DCBA", "CDAB", "ACBD", "CADB", "DBCA", "BDAC"};
  for (const bool isBigEndian : {false, true}) {
    for (std::uint32_t orientation = 1; orientation <= 8; ++orientation) {
      const auto image = decodedWith(exif(isBigEndian, orientation));
      ASSERT_TRUE(image);
      EXPECT_EQ(image->width, orientation < 5 ? 32U : 16U);
      EXPECT_EQ(colours(*image), expected.at(orientation - 1)) << orientation;
    }
  }
}

TEST(Jpeg, IgnoresMalformedExif) {
  const auto whole = exif(true, 6);
  std::vector<std::string> segments{exif(true, 0),
                                    exif(true, 9),
                                    exif(true, 6, 0xffffffff),
                                    exif(false, 6, 9),
                                    exif(false, 6, 8, 0),
                                    exif(false, 6, 8, 2, 4),
                                    "Exif",
                                    exif(true, 6, 8, 1)};
  for (std::size_t size = 0; size < whole.size() - 2; ++size)
    segments.push_back(whole.substr(0, size));
  for (const auto& segment : segments) {
    const auto image = decodedWith(segment);
    ASSERT_TRUE(image);
    EXPECT_EQ(colours(*image), "ABCD") << segment.size();
  }
}

TEST(Jpeg, ChecksTheSizeBeforeItAllocates) {
  auto file = TurboJpegEncoder().encode(gradient(64, 64), 0.8).value();
  EXPECT_FALSE(decodeJpeg(file, 64 * 64 - 1));
  EXPECT_TRUE(decodeJpeg(file, 64 * 64));
  // Height and width stand behind the marker of the frame (ITU-T T.81, B.2.2): 65,500 squared.
  const std::vector marker{std::byte{0xff}, std::byte{0xc0}};
  const auto frame = std::search(file.begin(), file.end(), marker.begin(), marker.end());
  ASSERT_NE(frame, file.end());
  for (const int offset : {5, 7}) {
    frame[offset] = std::byte{0xff};
    frame[offset + 1] = std::byte{0xdc};
  }
  EXPECT_FALSE(decodeJpeg(file));
}

}  // namespace
}  // namespace zavelo
