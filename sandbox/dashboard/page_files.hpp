#pragma once

#include <span>
#include <string_view>

namespace zavelo::sandbox {

/// A file of the page, which the build puts into the program (cmake/EmbedFiles.cmake).
struct PageFile {
  std::string_view name;
  std::string_view hash;  ///< changes with the content
  std::string_view content;
};

[[nodiscard]] std::span<const PageFile> pageFiles() noexcept;

}  // namespace zavelo::sandbox
