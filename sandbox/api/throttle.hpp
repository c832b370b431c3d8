#pragma once

#include <semaphore>

namespace zavelo::sandbox {

/// Lets through few at a time of what takes much memory and time, like password hashes and picture
/// decoding; the calls that need neither pass by.
class Throttle {
 public:
  template <class Work>
  auto run(Work&& work) {
    slots_.acquire();
    const Release release{slots_};
    return work();
  }

 private:
  using Slots = std::counting_semaphore<>;
  struct Release {
    Slots& slots;
    ~Release() { slots.release(); }
  };
  Slots slots_{2};
};

}  // namespace zavelo::sandbox
