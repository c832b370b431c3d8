// The library's timer label in a window of Qt Widgets.
//   qt_timer [--screenshot FILE [--after-ticks N]]    a picture of the window, and its text on
//                                                     standard output, after so many ticks

#include <QApplication>
#include <QCommandLineParser>
#include <iostream>

#include "examples/qt_timer/qt_main_queue.hpp"
#include "examples/qt_timer/timer_window.hpp"

namespace {

struct Screenshot {
  QString file;
  int afterTicks = 0;
};

/// Ends the program with an explanation when the arguments make no sense.
Screenshot screenshotAskedFor(const QCoreApplication& app) {
  const QCommandLineOption file("screenshot", "Take a picture of the window and end.", "FILE");
  const QCommandLineOption ticks("after-ticks", "When to take it.", "N", "1");
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addOptions({file, ticks});
  parser.process(app);
  bool isNumber = false;
  const int count = parser.value(ticks).toInt(&isNumber);
  if (!isNumber || count < 1) {
    std::cerr << "qt_timer: --after-ticks: expected a number from 1 on\n";
    std::exit(2);
  }
  return {parser.value(file), count};
}

void take(const Screenshot& screenshot, TimerWindow& window) {
  if (!window.grab().save(screenshot.file, "PNG")) {
    std::cerr << "qt_timer: " << screenshot.file.toStdString() << " cannot be written\n";
    return QCoreApplication::exit(1);
  }
  std::cout << window.text().toStdString() << std::endl;
  QCoreApplication::exit(0);
}

}  // namespace

int main(int count, char** arguments) {
  QApplication app(count, arguments);
  const auto screenshot = screenshotAskedFor(app);
  const QtMainQueue queue;
  TimerWindow window;
  if (!screenshot.file.isEmpty())
    window.onText([&, ticks = 0]() mutable {
      // The first text is the one that is set before anything is counted.
      if (ticks++ == screenshot.afterTicks) take(screenshot, window);
    });
  window.show();
  window.startOrStop();
  return QApplication::exec();
}
