#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tallix/TallixPageViewTarget.h"

namespace tallix {

class TallixPageViewCounter;

// What both page-view delegates do with each call: hand it on to the application's delegate,
// count a page view when a page was shown or selected, and print the debug line, prefixed with
// the delegate's class name. Nothing thrown on the way reaches the application.
class TallixPageViewForwarder : public TallixPageViewTargetDelegate {
 public:
  void didShow(TallixPageViewTarget& navigation, const TallixPage& page, bool animated) override;
  void willShow(TallixPageViewTarget& navigation, const TallixPage& page, bool animated) override;
  bool shouldSelect(TallixPageViewTarget& tabBar, const TallixPage& page) override;
  void didSelect(TallixPageViewTarget& tabBar, const TallixPage& page) override;
  void willBeginCustomizing(TallixPageViewTarget& tabBar,
                            const std::vector<TallixPage>& pages) override;
  void willEndCustomizing(TallixPageViewTarget& tabBar, const std::vector<TallixPage>& pages,
                          bool changed) override;
  void didEndCustomizing(TallixPageViewTarget& tabBar, const std::vector<TallixPage>& pages,
                         bool changed) override;

  // The application's delegate as the log lines print it: its type, or "(null)".
  static std::string describe(const TallixPageViewTargetDelegate* delegate);
  // Only navigation and tab bar targets have page views to count.
  static bool showsPages(const TallixPageViewTarget* target);

 protected:
  TallixPageViewForwarder(const char* className, TallixPageViewCounter& counter);
  virtual std::shared_ptr<TallixPageViewTargetDelegate> applicationDelegate() const = 0;

 private:
  const char* className_;
  TallixPageViewCounter& counter_;
};

}  // namespace tallix
