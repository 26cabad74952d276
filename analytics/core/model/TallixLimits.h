#pragma once

#include <cstddef>

namespace tallix {

// How much one session keeps. Counting goes on past the event log's limit, so the counts stay
// true while the log is capped.
inline constexpr std::size_t kMaxParametersPerEvent = 10;
inline constexpr std::size_t kMaxDistinctEventNames = 100;
inline constexpr std::size_t kMaxLoggedEvents = 1000;
inline constexpr std::size_t kMaxLoggedErrors = 10;
inline constexpr int kDefaultMaxSavedSessions = 50;

}  // namespace tallix
