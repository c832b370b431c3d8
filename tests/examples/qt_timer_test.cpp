#include <gtest/gtest.h>

#include <QImage>
#include <set>

#include "support/child_process.hpp"
#include "support/temporary_folder.hpp"

namespace zavelo::test {
namespace {

TEST(QtTimer, CountsInAWindow) {
  const TemporaryFolder folder;
  const auto file = (folder / "window.png").string();
  ChildProcess timer(
      {XVFB_RUN, "--auto-servernum", ZAVELO_QT_TIMER, "--screenshot", file, "--after-ticks", "3"});
  EXPECT_EQ(timer.readLine(), "00:00:03");
  EXPECT_EQ(timer.wait(), 0);
  const QImage picture(QString::fromStdString(file));
  ASSERT_FALSE(picture.isNull());
  // The digits stand in the upper half: dark and light, and the shades of their edges.
  std::set<QRgb> colours;
  for (int y = 0; y < picture.height() / 2; ++y)
    for (int x = 0; x < picture.width(); ++x) colours.insert(picture.pixel(x, y));
  EXPECT_GT(colours.size(), 8U);
}

}  // namespace
}  // namespace zavelo::test
