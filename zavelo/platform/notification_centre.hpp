#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "zavelo/base/export.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// What a notification tells beside its name, by key.
using NotificationInfo = std::map<std::string, std::any, std::less<>>;

struct Notification {
  std::string_view name;
  const NotificationInfo& userInfo;

  /// Null when nothing of that type stands under the key.
  template <class T>
  [[nodiscard]] const T* info(std::string_view key) const {
    const auto entry = userInfo.find(key);
    return entry == userInfo.end() ? nullptr : std::any_cast<T>(&entry->second);
  }
};

/// Ends an observation when it is destroyed or reset; may outlive the centre.
class ZAVELO_EXPORT ObserverToken {
 public:
  class Registration;

  ObserverToken() = default;
  explicit ObserverToken(std::shared_ptr<Registration> registration);
  ObserverToken(ObserverToken&&) noexcept = default;
  ObserverToken& operator=(ObserverToken&& other) noexcept;
  ~ObserverToken();

  /// From now on the observer is not called, not even by a post that is going on in this thread.
  void reset() noexcept;

 private:
  std::shared_ptr<Registration> registration_;
};

/// Passes named notifications to whoever observes them: synchronously, on the posting thread, in
/// the order of registration. Observers may be added and removed from inside an observer; one that
/// is added during a post hears the next one. No lock is held while an observer runs.
class ZAVELO_EXPORT NotificationCentre {
 public:
  using Observer = std::function<void(const Notification&)>;
  /// Makes what shall run on a queue of a notification, on the posting thread; an empty task: the
  /// notification is of no interest.
  using TaskMaker = std::function<QueueTask(const Notification&)>;

  NotificationCentre();
  ~NotificationCentre();
  NotificationCentre(const NotificationCentre&) = delete;
  NotificationCentre& operator=(const NotificationCentre&) = delete;

  [[nodiscard]] ObserverToken addObserver(std::string_view name, Observer observer);
  /// Observes on a queue, which is held weakly. A token that is reset on that queue also ends the
  /// tasks that still wait there.
  [[nodiscard]] ObserverToken addObserver(std::string_view name,
                                          const std::shared_ptr<Queue>& queue, TaskMaker makeTask);
  void post(std::string_view name, const NotificationInfo& userInfo = {});

 private:
  friend class ObserverToken;
  class Impl;
  ObserverToken add(std::shared_ptr<ObserverToken::Registration> registration);
  std::shared_ptr<Impl> impl_;
};

}  // namespace zavelo
