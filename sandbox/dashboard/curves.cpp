#include "sandbox/dashboard/curves.hpp"

namespace zavelo::sandbox {
namespace {

bool standsSame(const CurvePoint& a, const CurvePoint& b) {
  return a.viewers == b.viewers && a.likes == b.likes && a.gold == b.gold;
}

/// Drops every other point, but neither the first nor the last.
void thinOut(std::vector<CurvePoint>& points) {
  std::size_t kept = 1;
  for (std::size_t i = 2; i < points.size(); i += 2) points[kept++] = points[i];
  if (points.size() % 2 == 0) points[kept++] = points.back();
  points.resize(kept);
}

}  // namespace

bool Curves::note(std::int64_t stream, const CurvePoint& point) {
  auto& points = streams_[stream];
  // The newest streams have the greatest ids.
  if (streams_.size() > mostStreams) streams_.erase(streams_.begin());
  if (!streams_.contains(stream)) return false;
  if (!points.empty() && standsSame(points.back(), point)) return false;
  if (points.size() == mostPoints) thinOut(points);
  points.push_back(point);
  return true;
}

std::vector<CurvePoint> Curves::of(std::int64_t stream) const {
  const auto found = streams_.find(stream);
  return found == streams_.end() ? std::vector<CurvePoint>() : found->second;
}

}  // namespace zavelo::sandbox
