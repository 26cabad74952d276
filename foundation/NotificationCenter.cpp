#include "foundation/NotificationCenter.h"

#include "foundation/CallbackGate.h"

namespace foundation {

struct NotificationCenter::Observer {
  Observer(Token token, std::string name, const void* owner, const void* object, Callback callback)
      : token(token),
        name(std::move(name)),
        owner(owner),
        object(object),
        callback(std::move(callback)) {}

  Token token;
  std::string name;
  const void* owner;
  const void* object;
  Callback callback;
  CallbackGate gate;

  bool accepts(const Notification& notification) const {
    return name == notification.name && (!object || object == notification.object);
  }
};

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never destroyed: observers may still post while statics are torn down at exit.
  static auto* center = new NotificationCenter;
  return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string name, const void* owner,
                                                          Callback callback, const void* object) {
  std::lock_guard lock(mutex_);
  const Token token = nextToken_++;
  observers_.push_back(
      std::make_shared<Observer>(token, std::move(name), owner, object, std::move(callback)));
  return token;
}

void NotificationCenter::removeObserver(Token token) {
  remove([token](const Observer& observer) { return observer.token == token; });
}

void NotificationCenter::removeObserver(const void* owner) {
  remove([owner](const Observer& observer) { return observer.owner == owner; });
}

void NotificationCenter::remove(const std::function<bool(const Observer&)>& matches) {
  std::vector<std::shared_ptr<Observer>> removed;
  {
    std::lock_guard lock(mutex_);
    std::erase_if(observers_, [&](const std::shared_ptr<Observer>& observer) {
      if (!matches(*observer))
        return false;
      removed.push_back(observer);
      return true;
    });
  }
  // Outside the lock: a callback in flight elsewhere may itself be adding or posting.
  for (const auto& observer : removed)
    observer->gate.close();
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<std::shared_ptr<Observer>> recipients;
  {
    std::lock_guard lock(mutex_);
    for (const auto& observer : observers_) {
      if (observer->accepts(notification))
        recipients.push_back(observer);
    }
  }
  for (const auto& observer : recipients) {
    CallbackGate::Pass pass(observer->gate);
    if (pass.admitted())
      observer->callback(notification);
  }
}

void NotificationCenter::post(std::string name, const void* object, Value userInfo) {
  post(Notification{std::move(name), object, std::move(userInfo)});
}

}  // namespace foundation
