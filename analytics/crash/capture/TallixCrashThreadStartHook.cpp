#include "analytics/crash/capture/TallixCrashThreadStartHook.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <new>

#include "analytics/crash/capture/TallixCrashAltStack.h"

namespace tallix::crash {

namespace {

std::atomic<bool> hookActive{false};

using ThreadStart = void* (*)(void*);
using PthreadCreate = int (*)(pthread_t*, const pthread_attr_t*, ThreadStart, void*);

struct Launch {
  ThreadStart start;
  void* argument;
};

// Taken down when the start routine returns, calls pthread_exit or is cancelled: all three
// unwind through this frame.
struct ThreadAltStack {
  ThreadAltStack() { TallixCrashAltStack::installOnCurrentThread(); }
  ~ThreadAltStack() { TallixCrashAltStack::removeFromCurrentThread(); }
};

void* startWithAltStack(void* raw) {
  const Launch launch = *static_cast<Launch*>(raw);
  delete static_cast<Launch*>(raw);
  ThreadAltStack stack;
  return launch.start(launch.argument);
}

PthreadCreate nextPthreadCreate() {
  static const auto next = reinterpret_cast<PthreadCreate>(dlsym(RTLD_NEXT, "pthread_create"));
  return next;
}

}  // namespace

void TallixCrashThreadStartHook::activate() {
  nextPthreadCreate();
  hookActive.store(true, std::memory_order_release);
}

bool TallixCrashThreadStartHook::active() {
  return hookActive.load(std::memory_order_acquire);
}

}  // namespace tallix::crash

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              tallix::crash::ThreadStart start, void* argument) {
  using namespace tallix::crash;
  const PthreadCreate next = nextPthreadCreate();
  if (!TallixCrashThreadStartHook::active())
    return next(thread, attributes, start, argument);
  auto* launch = new (std::nothrow) Launch{start, argument};
  if (!launch)
    return next(thread, attributes, start, argument);
  const int result = next(thread, attributes, &startWithAltStack, launch);
  if (result != 0)
    delete launch;
  return result;
}
