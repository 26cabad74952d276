#pragma once

namespace tallix {

// Where the page-view delegates count what they see: the current session, debounced there.
// Called from the application's UI thread; the count itself happens on the agent queue.
class TallixPageViewCounter {
 public:
  virtual ~TallixPageViewCounter() = default;
  virtual void maybeIncrementPageView() = 0;
};

}  // namespace tallix
