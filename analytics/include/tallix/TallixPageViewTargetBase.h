#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "tallix/TallixPageViewTarget.h"

namespace tallix {

// The delegate slot and its observers, for targets that have no slot of their own: a target
// adds only its kind and description.
class TallixPageViewTargetBase : public TallixPageViewTarget {
 public:
  std::shared_ptr<TallixPageViewTargetDelegate> delegate() const override {
    std::lock_guard lock(mutex_);
    return delegate_;
  }

  void setDelegate(std::shared_ptr<TallixPageViewTargetDelegate> delegate) override {
    std::vector<DelegateObserver> observers;
    {
      std::lock_guard lock(mutex_);
      delegate_ = std::move(delegate);
      for (const auto& [id, observer] : observers_)
        observers.push_back(observer);
    }
    // Outside the lock: an observer may set the slot again.
    for (const DelegateObserver& observer : observers)
      observer();
  }

  ObserverId observeDelegate(DelegateObserver observer) override {
    std::lock_guard lock(mutex_);
    observers_.emplace(nextId_, std::move(observer));
    return nextId_++;
  }

  void stopObservingDelegate(ObserverId id) override {
    std::lock_guard lock(mutex_);
    observers_.erase(id);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<TallixPageViewTargetDelegate> delegate_;
  std::map<ObserverId, DelegateObserver> observers_;
  ObserverId nextId_ = 0;
};

}  // namespace tallix
