#include <gtest/gtest.h>

#include <string>

#include "analytics/core/report/TallixErrorRecord.h"
#include "analytics/core/report/TallixEventRecord.h"

namespace tallix {
namespace {

using foundation::Date;
using foundation::Value;
using Bytes = Value::Bytes;

const Date kSessionStart = Date::fromTimeIntervalSince1970(1700000000);

Bytes eventRecord(const TallixEvent& event) {
  Bytes data;
  TallixEventRecord::appendRelativeToSessionStart(event, kSessionStart, data);
  return data;
}

Bytes errorRecord(const TallixError& error) {
  Bytes data;
  TallixErrorRecord::appendToData(error, data);
  return data;
}

TEST(EventRecordTest, TimedEventCarriesItsParametersAsTextAndItsTimesAsMilliseconds) {
  TallixEvent event("tap", true, Value::Dictionary{{"k", "v"}, {"n", 42}, {"x", 2.5}},
                    kSessionStart.dateByAddingTimeInterval(1.25), 3);
  event.end(kSessionStart.dateByAddingTimeInterval(3.5));
  EXPECT_EQ(eventRecord(event),
            (Bytes{0x00, 0x03,                                         // event log id
                   0x00, 0x03, 't',  'a',  'p',                        // name
                   0x00, 0x03,                                         // parameter count
                   0x00, 0x01, 'k',  0x00, 0x01, 'v',                  //
                   0x00, 0x01, 'n',  0x00, 0x02, '4',  '2',            //
                   0x00, 0x01, 'x',  0x00, 0x03, '2',  '.',  '5',      //
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0xE2,     // start offset 1250
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x08, 0xCA}));  // duration 2250
}

TEST(EventRecordTest, EventWithoutParametersOrDurationWritesZerosAndItsIdAs16Bits) {
  const Bytes expected{0x00, 0x01,                                       // event log id 0x10001
                       0x00, 0x01, 'e',                                  // name
                       0x00, 0x00,                                       // no parameters
                       0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0A,   // start offset 10
                       0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};  // duration 0
  const Date started = kSessionStart.dateByAddingTimeInterval(0.010);
  TallixEvent untimed("e", false, Value(), started, 0x10001);
  untimed.end(started.dateByAddingTimeInterval(5));
  EXPECT_EQ(eventRecord(untimed), expected);
  // A timed event still running has no duration yet either.
  EXPECT_EQ(eventRecord(TallixEvent("e", true, Value::Dictionary{}, started, 0x10001)), expected);
}

TEST(ErrorRecordTest, ReportFollowsItsFlagAsLargeDataOnlyWhenThereIsOne) {
  const TallixError plain(2, Date::fromTimeIntervalSince1970(1700000000.25), "E1", "m", "",
                          TallixError::Exception, {});
  EXPECT_EQ(errorRecord(plain),
            (Bytes{0x00, 0x02,                                      // error log id
                   0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0xFA,  // time 1700000000250
                   0x00, 0x02, 'E',  '1',                           // error id
                   0x00, 0x01, 'm',                                 // message
                   0x00, 0x00,                                      // exception
                   0x02,                                            // type
                   0x00}));                                         // no report
  const TallixError crash(1, Date::fromTimeIntervalSince1970(0), "", "", "x", TallixError::Crash,
                          Bytes{0xDE, 0xAD});
  EXPECT_EQ(errorRecord(crash), (Bytes{0x00, 0x01,  // error log id
                                       0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // time 0
                                       0x00, 0x00, 0x00, 0x00,                 // error id, message
                                       0x00, 0x01, 'x',                        // exception
                                       0x03,                                   // type
                                       0x01,                                   // has report
                                       0x00, 0x00, 0x00, 0x02, 0xDE, 0xAD}));  // report
}

}  // namespace
}  // namespace tallix
