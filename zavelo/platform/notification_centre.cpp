#include "zavelo/platform/notification_centre.hpp"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace zavelo {

/// Observers by name. A list is never changed once it is there, only replaced: a post holds on to
/// the one that it found, and with it to every observer that may be running.
class NotificationCentre::Impl {
 public:
  using Observers = std::vector<std::shared_ptr<ObserverToken::Registration>>;

  void add(const std::shared_ptr<ObserverToken::Registration>& registration);
  void remove(const ObserverToken::Registration& registration) noexcept;

  std::shared_ptr<const Observers> find(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto entry = observers_.find(name);
    return entry == observers_.end() ? nullptr : entry->second;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<const Observers>, std::less<>> observers_;
};

class ObserverToken::Registration : public std::enable_shared_from_this<Registration> {
 public:
  Registration(std::weak_ptr<NotificationCentre::Impl> centre, std::string_view name,
               NotificationCentre::Observer observer)
      : centre_(std::move(centre)), name_(name), observer_(std::move(observer)) {}

  [[nodiscard]] const std::string& name() const { return name_; }

  Registration(std::weak_ptr<NotificationCentre::Impl> centre, std::string_view name,
               std::weak_ptr<Queue> queue, NotificationCentre::TaskMaker makeTask)
      : Registration(std::move(centre), name,
                     [this, queue = std::move(queue),
                      makeTask = std::move(makeTask)](const Notification& notification) {
                       post(queue.lock(), makeTask(notification));
                     }) {}

  void notify(const Notification& notification) const {
    if (isActive()) observer_(notification);
  }

  void end() noexcept {
    active_.store(false, std::memory_order_release);
    if (const auto centre = centre_.lock()) centre->remove(*this);
  }

 private:
  [[nodiscard]] bool isActive() const { return active_.load(std::memory_order_acquire); }
  void post(const std::shared_ptr<Queue>& queue, QueueTask task) {
    if (!queue || !task) return;
    queue->post([self = shared_from_this(), task = std::move(task)]() mutable {
      if (self->isActive()) task();
    });
  }

  const std::weak_ptr<NotificationCentre::Impl> centre_;
  const std::string name_;
  const NotificationCentre::Observer observer_;
  std::atomic<bool> active_{true};
};

void NotificationCentre::Impl::add(
    const std::shared_ptr<ObserverToken::Registration>& registration) {
  std::shared_ptr<const Observers> old;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  auto& list = observers_[registration->name()];
  auto longer = list ? std::make_shared<Observers>(*list) : std::make_shared<Observers>();
  longer->push_back(registration);
  old = std::exchange(list, std::move(longer));
}

void NotificationCentre::Impl::remove(const ObserverToken::Registration& registration) noexcept {
  std::shared_ptr<const Observers> old;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  const auto entry = observers_.find(registration.name());
  if (entry == observers_.end()) return;
  auto shorter = std::make_shared<Observers>(*entry->second);
  std::erase_if(*shorter, [&](const auto& other) { return other.get() == &registration; });
  old = std::exchange(entry->second, std::move(shorter));
  if (entry->second->empty()) observers_.erase(entry);
}

ObserverToken::ObserverToken(std::shared_ptr<Registration> registration)
    : registration_(std::move(registration)) {}

ObserverToken& ObserverToken::operator=(ObserverToken&& other) noexcept {
  if (this != &other) {
    reset();
    registration_ = std::move(other.registration_);
  }
  return *this;
}

ObserverToken::~ObserverToken() {
  reset();
}

void ObserverToken::reset() noexcept {
  if (const auto registration = std::exchange(registration_, nullptr)) registration->end();
}

NotificationCentre::NotificationCentre() : impl_(std::make_shared<Impl>()) {}

NotificationCentre::~NotificationCentre() = default;

ObserverToken NotificationCentre::addObserver(std::string_view name, Observer observer) {
  return add(std::make_shared<ObserverToken::Registration>(impl_, name, std::move(observer)));
}

ObserverToken NotificationCentre::addObserver(std::string_view name,
                                              const std::shared_ptr<Queue>& queue,
                                              TaskMaker makeTask) {
  return add(
      std::make_shared<ObserverToken::Registration>(impl_, name, queue, std::move(makeTask)));
}

ObserverToken NotificationCentre::add(std::shared_ptr<ObserverToken::Registration> registration) {
  impl_->add(registration);
  return ObserverToken(std::move(registration));
}

void NotificationCentre::post(std::string_view name, const NotificationInfo& userInfo) {
  const auto observers = impl_->find(name);
  if (!observers) return;
  const Notification notification{name, userInfo};
  for (const auto& observer : *observers) observer->notify(notification);
}

}  // namespace zavelo
