#include "analytics/config/pageviews/TallixPageViewForwarder.h"

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>

#include "analytics/core/ports/TallixPageViewCounter.h"
#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/core/support/TallixLog.h"

namespace tallix {

namespace {

std::string describePages(const std::vector<TallixPage>& pages) {
  std::string text = "(";
  for (const TallixPage& page : pages)
    text += (text.size() > 1 ? ", " : "") + page.description;
  return text + ")";
}

}  // namespace

TallixPageViewForwarder::TallixPageViewForwarder(const char* className,
                                                 TallixPageViewCounter& counter)
    : className_(className), counter_(counter) {}

std::string TallixPageViewForwarder::describe(const TallixPageViewTargetDelegate* delegate) {
  if (!delegate)
    return "(null)";
  const char* mangled = typeid(*delegate).name();
  int status = 0;
  char* readable = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
  std::string name = status == 0 ? readable : mangled;
  std::free(readable);
  return name;
}

bool TallixPageViewForwarder::showsPages(const TallixPageViewTarget* target) {
  return target && target->kind() != TallixPageViewTargetKind::Other;
}

void TallixPageViewForwarder::didShow(TallixPageViewTarget& navigation, const TallixPage& page,
                                      bool animated) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->didShow(navigation, page, animated);
    counter_.maybeIncrementPageView();
    TallixLog::debug("%s: Navigation View [%s], incremented pageViewCount", className_,
                     page.description.c_str());
  });
}

void TallixPageViewForwarder::willShow(TallixPageViewTarget& navigation, const TallixPage& page,
                                       bool animated) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->willShow(navigation, page, animated);
    TallixLog::debug("%s: navigation controller [%s], view controller [%s], animated [%d]",
                     className_, navigation.description().c_str(), page.description.c_str(),
                     animated);
  });
}

bool TallixPageViewForwarder::shouldSelect(TallixPageViewTarget& tabBar, const TallixPage& page) {
  bool should = true;
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      should = delegate->shouldSelect(tabBar, page);
    TallixLog::debug("%s: tabbar controller [%s] view controller [%s]", className_,
                     tabBar.description().c_str(), page.description.c_str());
  });
  return should;
}

void TallixPageViewForwarder::didSelect(TallixPageViewTarget& tabBar, const TallixPage& page) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->didSelect(tabBar, page);
    counter_.maybeIncrementPageView();
    TallixLog::debug("%s:  tabBarController [%s], viewController [%s], incremented pageViewCount",
                     className_, tabBar.description().c_str(), page.description.c_str());
  });
}

void TallixPageViewForwarder::willBeginCustomizing(TallixPageViewTarget& tabBar,
                                                   const std::vector<TallixPage>& pages) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->willBeginCustomizing(tabBar, pages);
    TallixLog::debug("%s: tabBarController [%s], viewController [%s]", className_,
                     tabBar.description().c_str(), describePages(pages).c_str());
  });
}

void TallixPageViewForwarder::willEndCustomizing(TallixPageViewTarget& tabBar,
                                                 const std::vector<TallixPage>& pages,
                                                 bool changed) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->willEndCustomizing(tabBar, pages, changed);
    TallixLog::debug("%s: tabBarController [%s], viewController [%s], changed [%d]", className_,
                     tabBar.description().c_str(), describePages(pages).c_str(), changed);
  });
}

void TallixPageViewForwarder::didEndCustomizing(TallixPageViewTarget& tabBar,
                                                const std::vector<TallixPage>& pages,
                                                bool changed) {
  TallixExceptionHandler::guarded([&] {
    if (auto delegate = applicationDelegate())
      delegate->didEndCustomizing(tabBar, pages, changed);
    TallixLog::debug("%s: tabBarController [%s], viewControllers [%s], changed [%d]", className_,
                     tabBar.description().c_str(), describePages(pages).c_str(), changed);
  });
}

}  // namespace tallix
