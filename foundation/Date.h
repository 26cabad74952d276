#pragma once

#include <compare>
#include <string>

namespace foundation {

// A point in wall-clock time, held as seconds since the Unix epoch. Seconds as a double is
// what session times, time-outs and reports all reason in.
class Date {
 public:
  constexpr Date() = default;
  static Date now();
  static constexpr Date fromTimeIntervalSince1970(double seconds) { return Date(seconds); }

  constexpr double timeIntervalSince1970() const { return secondsSinceEpoch_; }
  constexpr double timeIntervalSince(Date other) const {
    return secondsSinceEpoch_ - other.secondsSinceEpoch_;
  }
  constexpr Date dateByAddingTimeInterval(double seconds) const {
    return Date(secondsSinceEpoch_ + seconds);
  }

  // "2026-11-22 10:04:05 +0000": UTC, second precision, as logs show dates.
  std::string description() const;

  constexpr auto operator<=>(const Date&) const = default;

 private:
  constexpr explicit Date(double seconds) : secondsSinceEpoch_(seconds) {}
  double secondsSinceEpoch_ = 0;
};

}  // namespace foundation
