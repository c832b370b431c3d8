#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// A stream's figures from one moment on.
struct CurvePoint {
  Time at{};
  std::int64_t viewers = 0;
  std::int64_t likes = 0;
  std::int64_t gold = 0;
};

/// What became of streams while the sandbox ran, in bounded memory: the more there is to keep of a
/// stream, the coarser its past. For one thread at a time.
class Curves {
 public:
  static constexpr std::size_t mostStreams = 200;
  static constexpr std::size_t mostPoints = 600;

  /// Notes the point if anything changed. False when it did not.
  bool note(std::int64_t stream, const CurvePoint& point);
  [[nodiscard]] std::vector<CurvePoint> of(std::int64_t stream) const;

 private:
  std::map<std::int64_t, std::vector<CurvePoint>> streams_;
};

}  // namespace zavelo::sandbox
