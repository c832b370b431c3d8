#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <memory>
#include <mutex>
#include <utility>

#include "zavelo/platform/main_queue.hpp"

/// While this object lives, the library's main queue is a part of the event loop of the thread that
/// made it: completions come between the application's own events.
class QtMainQueue {
 public:
  QtMainQueue() {
    zavelo::MainQueue::shared()->setExecutor([way = way_](zavelo::QueueTask task) {
      const std::lock_guard lock(way->mutex);
      // Posted while this object went: it waits for the next caller that drives the queue.
      if (!way->receiver) return zavelo::MainQueue::shared()->post(std::move(task));
      QMetaObject::invokeMethod(
          way->receiver.get(), [task = std::move(task)]() mutable { task(); },
          Qt::QueuedConnection);
    });
  }
  /// What is on its way still runs.
  ~QtMainQueue() {
    zavelo::MainQueue::shared()->setExecutor({});
    std::unique_lock lock(way_->mutex);
    const auto receiver = std::move(way_->receiver);
    lock.unlock();
    QCoreApplication::sendPostedEvents(receiver.get());
  }
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;

 private:
  struct Way {
    std::mutex mutex;
    std::unique_ptr<QObject> receiver = std::make_unique<QObject>();
  };
  const std::shared_ptr<Way> way_ = std::make_shared<Way>();
};
