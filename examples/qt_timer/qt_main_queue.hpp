#pragma once

#include <QCoreApplication>
#include <QMetaObject>

#include "zavelo/platform/main_queue.hpp"

/// The library's main queue becomes a part of Qt's event loop while this object lives: completions
/// come on the thread of the application, between its own events.
class QtMainQueue {
 public:
  explicit QtMainQueue(QCoreApplication& app) {
    zavelo::MainQueue::shared()->setExecutor([&app](zavelo::QueueTask task) {
      QMetaObject::invokeMethod(
          &app, [task = std::move(task)]() mutable { task(); }, Qt::QueuedConnection);
    });
  }
  /// What is posted from now on waits for whoever drives the queue next.
  ~QtMainQueue() { zavelo::MainQueue::shared()->setExecutor({}); }
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;
};
