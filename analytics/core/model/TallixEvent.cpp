#include "analytics/core/model/TallixEvent.h"

#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

namespace {

// What the report can carry of a parameter value. On the phone a boolean is a number, so it
// is kept as one and written as 1 or 0.
std::optional<Value> reportable(const Value& value) {
  if (const auto flag = value.boolean())
    return Value(*flag ? 1 : 0);
  if (value.string() || value.isNumber())
    return value;
  return std::nullopt;
}

}  // namespace

TallixEvent::TallixEvent(std::string name, bool timed, Date started, int eventLogId)
    : name_(std::move(name)), timed_(timed), started_(started), eventLogId_(eventLogId) {}

TallixEvent::TallixEvent(std::string name, bool timed, const Value& parameters, Date started,
                         int eventLogId)
    : TallixEvent(std::move(name), timed, started, eventLogId) {
  updateParameters(parameters);
}

std::optional<Date> TallixEvent::ended() const {
  std::lock_guard lock(mutex_);
  return ended_;
}

bool TallixEvent::automaticallyEnded() const {
  std::lock_guard lock(mutex_);
  return automaticallyEnded_;
}

Value TallixEvent::parameters() const {
  std::lock_guard lock(mutex_);
  return parameters_;
}

bool TallixEvent::isUnterminated() const {
  return timed_ && !ended();
}

std::int64_t TallixEvent::duration() const {
  const auto end = ended();
  return timed_ && end ? timeIntervalFrom(started_, end) : 0;
}

std::int64_t TallixEvent::startOffsetFromSessionStart(Date sessionStart) const {
  return timeIntervalFrom(sessionStart, started_);
}

void TallixEvent::updateParameters(const Value& update) {
  const Value::Dictionary* entries = update.dictionary();
  if (!entries || entries->empty())
    return;
  std::lock_guard lock(mutex_);
  Value::Dictionary merged = *parameters_.dictionary();
  for (const auto& [key, value] : *entries) {
    if (auto kept = reportable(value))
      merged.insert_or_assign(key, std::move(*kept));
  }
  if (merged.size() <= kMaxParametersPerEvent)
    parameters_ = std::move(merged);
}

void TallixEvent::end(Date at) {
  std::lock_guard lock(mutex_);
  ended_ = at;
}

void TallixEvent::endAutomatically(Date at) {
  std::lock_guard lock(mutex_);
  ended_ = at;
  automaticallyEnded_ = true;
}

void TallixEvent::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  std::lock_guard lock(mutex_);
  coder.encodeString("name", name_);
  coder.encodeDate("started", started_);
  if (ended_)
    coder.encodeDate("ended", *ended_);
  coder.encodeBool("timed", timed_);
  coder.encodeValue("parameters", parameters_);
  coder.encodeBool("automaticallyEnded", automaticallyEnded_);
  coder.encodeInt32("eventLogId", eventLogId_);
}

std::shared_ptr<TallixEvent> TallixEvent::initWithCoder(foundation::KeyedUnarchiver& coder) {
  const auto name = coder.decodeString("name");
  const auto started = coder.decodeDate("started");
  if (!name || !started) {
    coder.fail();
    return nullptr;
  }
  auto event = std::shared_ptr<TallixEvent>(
      new TallixEvent(*name, coder.decodeBool("timed").value_or(false), *started,
                      coder.decodeInt32("eventLogId").value_or(0)));
  const auto parameters = coder.decodeValue("parameters");
  if (parameters && parameters->dictionary())
    event->parameters_ = *parameters;
  event->ended_ = coder.decodeDate("ended");
  event->automaticallyEnded_ = coder.decodeBool("automaticallyEnded").value_or(false);
  return event;
}

}  // namespace tallix
