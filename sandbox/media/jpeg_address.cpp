#include "sandbox/media/jpeg_address.hpp"

#include <sodium.h>

namespace zavelo::sandbox {
namespace {

constexpr std::string_view beginning = "data:image/jpeg;base64,";
constexpr int variant = sodium_base64_VARIANT_ORIGINAL;

}  // namespace

std::string jpegAddress(std::string_view content) {
  std::string address(beginning);
  const std::size_t size = sodium_base64_encoded_len(content.size(), variant);
  address.resize(beginning.size() + size);
  sodium_bin2base64(address.data() + beginning.size(), size,
                    reinterpret_cast<const unsigned char*>(content.data()), content.size(),
                    variant);
  address.pop_back();  // the NUL
  return address;
}

std::optional<std::string> jpegAt(std::string_view address) {
  if (!address.starts_with(beginning)) return {};
  const auto text = address.substr(beginning.size());
  std::string content(text.size(), '\0');
  std::size_t size = 0;
  if (sodium_base642bin(reinterpret_cast<unsigned char*>(content.data()), content.size(),
                        text.data(), text.size(), nullptr, &size, nullptr, variant) != 0) {
    return {};
  }
  content.resize(size);
  return content;
}

}  // namespace zavelo::sandbox
