#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "fuzz/fuzz.hpp"

void zavelo::fuzz::require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", property);
  std::abort();
}

#ifdef ZAVELO_FUZZ

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zavelo::fuzz::run({reinterpret_cast<const char*>(data), size});
  return 0;
}

#else

int main(int count, char** folders) {
  std::set<std::filesystem::path> files;
  for (int i = 1; i < count; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(folders[i]))
      files.insert(entry.path());
  for (const auto& file : files) {
    std::printf("%s\n", file.c_str());  // the last one is the one that failed
    std::fflush(stdout);
    std::ifstream stream(file, std::ios::binary);
    const std::string input(std::istreambuf_iterator<char>(stream), {});
    zavelo::fuzz::run(input);
  }
  zavelo::fuzz::run({});
  return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}

#endif
