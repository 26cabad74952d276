#include "tools/tallix-collector/TallixCrashReportJson.h"

#include <string>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/format/TallixCrashReportHex.h"
#include "analytics/crash/format/TallixCrashReportLocation.h"
#include "analytics/crash/format/TallixCrashReportTextFormatter.h"
#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

namespace {

using Hex = TallixCrashReportHex;
using Json = TallixJsonValues;

// Report texts are whatever the crashed process held, so they go through the UTF-8 check.
json_t* text(const std::string& value) {
  return Json::text(value);
}

json_t* optionalText(const std::optional<std::string>& value) {
  return value ? text(*value) : json_null();
}

json_t* application(const TallixCrashReportApplication& application) {
  return json_pack("{s:o, s:o}", "identifier", text(application.identifier), "version",
                   text(application.version));
}

json_t* signal(const std::optional<TallixCrashReportSignal>& signal) {
  if (!signal)
    return json_null();
  return json_pack("{s:o, s:o, s:o, s:o}", "name", text(signal->name), "code", text(signal->code),
                   "address", text(Hex::address(signal->address)), "number",
                   signal->number ? json_integer(*signal->number) : json_null());
}

json_t* exception(const std::optional<TallixCrashReportException>& exception) {
  if (!exception)
    return json_null();
  return json_pack("{s:o, s:o}", "name", text(exception->name), "reason", text(exception->reason));
}

json_t* frame(const TallixCrashReport& report, const TallixCrashReportFrame& frame) {
  const auto location = TallixCrashReportLocation::of(report, frame);
  return json_pack("{s:o, s:o, s:o, s:o}", "pc", text(Hex::address(frame.pc)), "module",
                   optionalText(location.module), "offset",
                   location.module ? text(Hex::offset(location.moduleOffset)) : json_null(),
                   "symbol", optionalText(location.symbol));
}

json_t* crashedThread(const TallixCrashReport& report) {
  const TallixCrashReportThread* thread = report.crashedThread();
  if (!thread)
    return json_null();
  json_t* frames = json_array();
  for (const auto& each : thread->frames)
    json_array_append_new(frames, frame(report, each));
  return json_pack("{s:I, s:o, s:o, s:o}", "number", static_cast<json_int_t>(thread->number), "tid",
                   thread->tid ? json_integer(*thread->tid) : json_null(), "name",
                   text(thread->name), "frames", frames);
}

json_t* readable(const TallixCrashReport& report) {
  return json_pack("{s:o, s:b, s:o, s:o, s:o, s:o, s:I, s:I, s:o}", "application",
                   application(report.application()), "live", report.isLive(), "reportId",
                   text(report.info().uuid), "signal", signal(report.signal()), "exception",
                   exception(report.exception()), "crashedThread", crashedThread(report), "threads",
                   static_cast<json_int_t>(report.threads().size()), "images",
                   static_cast<json_int_t>(report.images().size()), "text",
                   text(TallixCrashReportTextFormatter::format(report)));
}

}  // namespace

json_t* TallixCrashReportJson::decode(std::span<const std::uint8_t> bytes) {
  std::string error;
  const auto report = TallixCrashReport::parse(bytes, error);
  return report ? readable(*report) : json_pack("{s:o}", "error", text(error));
}

}  // namespace tallix
