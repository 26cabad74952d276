#include "analytics/core/session/TallixSessionSaver.h"

#include "analytics/core/session/TallixSession.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/DispatchQueue.h"
#include "foundation/KeyedArchiver.h"

namespace tallix {

TallixSessionSaver::TallixSessionSaver(foundation::DispatchQueue& queue,
                                       std::chrono::milliseconds window)
    : queue_(queue), window_(window) {}

void TallixSessionSaver::scheduleSave(std::shared_ptr<const TallixSession> session,
                                      std::filesystem::path path) {
  const bool alreadyScheduled = pending_.has_value();
  pending_ = Pending{std::move(session), std::move(path)};
  if (alreadyScheduled)
    return;
  queue_.asyncAfter(window_, [this, generation = generation_] {
    if (generation == generation_)
      flush();
  });
}

void TallixSessionSaver::flush() {
  if (!pending_)
    return;
  const Pending pending = std::move(*pending_);
  pending_.reset();
  ++generation_;
  if (!foundation::KeyedArchiver::archiveRootObject(*pending.session, pending.path))
    TallixLog::debug("TallixSession: session not saved to disk at path[%s]", pending.path.c_str());
}

void TallixSessionSaver::removeFile(const std::filesystem::path& path) {
  pending_.reset();
  ++generation_;
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

}  // namespace tallix
