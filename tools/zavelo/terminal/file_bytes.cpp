#include "tools/zavelo/terminal/file_bytes.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace zavelo::command {
namespace {

constexpr std::size_t sizeLimit = std::size_t{64} * 1024 * 1024;
constexpr std::size_t chunk = std::size_t{64} * 1024;

}  // namespace

Result<std::vector<std::byte>, std::string> fileBytes(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) return Failure{"cannot open " + path + ": " + std::strerror(errno)};
  std::vector<std::byte> bytes;
  for (std::size_t got = chunk; got == chunk;) {
    const std::size_t before = bytes.size();
    if (before > sizeLimit) return Failure{path + " is larger than 64 MiB"};
    bytes.resize(before + chunk);
    got = std::fread(bytes.data() + before, 1, chunk, file.get());
    bytes.resize(before + got);
  }
  if (std::ferror(file.get()) != 0)
    return Failure{"cannot read " + path + ": " + std::strerror(errno)};
  return bytes;
}

}  // namespace zavelo::command
