#include "bench/peak_memory.hpp"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace zavelo::bench {
namespace {

/// A line of the process's status, in bytes.
std::size_t memory(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != key + ":") continue;
    std::size_t kilobytes = 0;
    status >> kilobytes;
    return kilobytes * 1024;
  }
  return 0;
}

std::size_t measure(const std::function<void()>& work) {
  malloc_trim(0);  // or the work would find room that others left
  std::ofstream("/proc/self/clear_refs") << "5";
  const std::size_t before = memory("VmRSS");
  work();
  const std::size_t peak = memory("VmHWM");
  return peak > before ? peak - before : 0;
}

}  // namespace

std::size_t extraPeakMemory(const std::function<void()>& work) {
  int ends[2];
  if (pipe(ends) != 0) return 0;
  std::size_t bytes = 0;
  const pid_t child = fork();
  if (child == 0) {
    bytes = measure(work);
    _exit(write(ends[1], &bytes, sizeof bytes) == sizeof bytes ? 0 : 1);
  }
  close(ends[1]);
  if (child > 0 && read(ends[0], &bytes, sizeof bytes) != sizeof bytes) bytes = 0;
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return bytes;
}

}  // namespace zavelo::bench
