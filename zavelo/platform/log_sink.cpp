#include "zavelo/platform/log_sink.hpp"

#include <string>

namespace zavelo {

void StreamLogSink::write(std::string_view entry) {
  // One call, so that neither another thread's entry nor another process's comes in between; and
  // flushed, so that the last entry before a crash is not the one that is missing.
  std::string line;
  line.reserve(entry.size() + 1);
  line.append(entry).push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stream_);
  std::fflush(stream_);
}

}  // namespace zavelo
