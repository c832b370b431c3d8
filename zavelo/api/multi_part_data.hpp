#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zavelo {

/// One file of a multipart upload (RFC 7578).
struct ZVMultiPartData {
  std::vector<std::byte> data = {};
  std::string name = {};  ///< of the form field
  std::string mimeType = {};
  std::string fileName = {};
};

}  // namespace zavelo
