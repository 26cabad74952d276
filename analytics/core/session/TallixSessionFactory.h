#pragma once

#include <memory>
#include <string>
#include <vector>

#include "analytics/core/model/TallixPreCacheEvent.h"
#include "foundation/Date.h"

namespace tallix {

class TallixSession;
struct TallixSessionContext;

// Makes the current session. The first one of a run first reports the session a killed or
// crashed run left on disk; a later one takes over the events its predecessor still held.
// Runs on the agent queue.
class TallixSessionFactory {
 public:
  explicit TallixSessionFactory(std::shared_ptr<const TallixSessionContext> context);

  std::shared_ptr<TallixSession> sessionWithApiKey(const std::string& apiKey,
                                                   foundation::Date startTime,
                                                   std::vector<TallixPreCacheEvent> preCached);
  std::shared_ptr<TallixSession> sessionWithNewEventsWithApiKey(
      TallixSession& previous, const std::string& apiKey, foundation::Date startTime,
      std::vector<TallixPreCacheEvent> preCached);

 private:
  void saveFormerSession();
  void attachPendingCrashReport(TallixSession& former);

  std::shared_ptr<const TallixSessionContext> context_;
};

}  // namespace tallix
