#include "analytics/crash/format/TallixCrashReportTextFormatter.h"

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <vector>

#include "analytics/crash/format/TallixCrashReportHex.h"
#include "analytics/crash/format/TallixCrashReportLocation.h"

namespace tallix {

namespace {

using Hex = TallixCrashReportHex;

constexpr int kLabelWidth = 14;
constexpr int kRegistersPerLine = 3;
constexpr const char* kUnknown = "???";

std::string utcTime(std::int64_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  char text[32];
  if (!gmtime_r(&time, &parts) ||
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts) == 0)
    return std::to_string(seconds) + " s since 1970";
  return text;
}

std::string withNumber(const std::string& name, const std::optional<std::int32_t>& number) {
  const std::string shown = name.empty() ? kUnknown : name;
  return number ? shown + " (" + std::to_string(*number) + ")" : shown;
}

std::string processText(const TallixCrashReportProcess& process) {
  std::string text =
      (process.name.empty() ? kUnknown : process.name) + " [" + std::to_string(process.id) + "]";
  if (!process.path.empty())
    text += "  " + process.path;
  return text;
}

std::string systemText(const TallixCrashReportSystem& system) {
  std::string text = system.kernelName.empty() ? system.operatingSystem : system.kernelName;
  text += " " + system.osVersion;
  if (!system.osBuild.empty())
    text += " (" + system.osBuild + ")";
  return text;
}

std::string machineText(const TallixCrashReportMachine& machine) {
  const auto& processor = machine.processor;
  std::string text = machine.model.empty() ? "" : machine.model + ", ";
  text += processor.encoding == TallixCrashReportProcessor::Encoding::ElfMachine
              ? "ELF machine " + std::to_string(processor.type)
              : "processor type " + std::to_string(processor.type);
  return text + ", " + std::to_string(machine.processorCount) + " processors (" +
         std::to_string(machine.logicalProcessorCount) + " logical)";
}

std::string threadTitle(const TallixCrashReportThread& thread) {
  std::string title = "Thread " + std::to_string(thread.number);
  if (!thread.name.empty())
    title += " \"" + thread.name + "\"";
  if (thread.tid)
    title += " (tid " + std::to_string(*thread.tid) + ")";
  if (thread.crashed)
    title += " crashed";
  title += ":";
  if (!thread.contextCaptured)
    title += "  [context not captured: frames as the kernel shows the blocked thread]";
  return title;
}

std::string moduleColumn(const TallixCrashReportLocation& location) {
  return location.module ? *location.module + "+" + Hex::offset(location.moduleOffset) : kUnknown;
}

std::string symbolColumn(const TallixCrashReportLocation& location) {
  if (!location.symbol)
    return kUnknown;
  return location.symbolOffset ? *location.symbol + "+" + Hex::offset(*location.symbolOffset)
                               : *location.symbol;
}

std::string imageEnd(const TallixCrashReportImage& image) {
  return Hex::address(image.size ? image.base + image.size - 1 : image.base);
}

}  // namespace

std::string TallixCrashReportTextFormatter::format(const TallixCrashReport& report) {
  std::ostringstream out;
  TallixCrashReportTextFormatter formatter(report, out);
  formatter.header();
  formatter.cause();
  formatter.threads();
  formatter.images();
  return out.str();
}

void TallixCrashReportTextFormatter::line(const char* label, const std::string& value) {
  out_ << std::left << std::setw(kLabelWidth) << label << value << '\n';
}

void TallixCrashReportTextFormatter::header() {
  out_ << (report_.isLive() ? "Live report (a snapshot asked for by the program)" : "Crash report")
       << "\n\n";
  const auto& application = report_.application();
  line("Application:", application.identifier + " " + application.version);
  if (const auto& process = report_.process()) {
    line("Process:", processText(*process));
    line("Parent:", (process->parentName.empty() ? kUnknown : process->parentName) + " [" +
                        std::to_string(process->parentId) + "]");
  }
  line("OS:", systemText(report_.system()));
  if (const auto& machine = report_.machine())
    line("Machine:", machineText(*machine));
  line("Time:", utcTime(report_.system().timestamp));
  line("Report ID:", report_.info().uuid);
}

void TallixCrashReportTextFormatter::cause() {
  if (const auto& signal = report_.signal())
    line("Signal:", withNumber(signal->name, signal->number) + ", code " +
                        withNumber(signal->code, signal->codeNumber) + ", fault address " +
                        Hex::address(signal->address));
  if (const auto& exception = report_.exception())
    line("Exception:", exception->name + ": " + exception->reason);
}

void TallixCrashReportTextFormatter::threads() {
  const TallixCrashReportThread* crashed = report_.crashedThread();
  if (crashed) {
    thread(*crashed);
    registers(*crashed);
  }
  for (const auto& other : report_.threads())
    if (&other != crashed)
      thread(other);
}

void TallixCrashReportTextFormatter::thread(const TallixCrashReportThread& thread) {
  out_ << '\n' << threadTitle(thread) << '\n';
  frames(thread);
  if (thread.truncated)
    out_ << "  ... (the walk stopped at the frame limit)\n";
}

void TallixCrashReportTextFormatter::frames(const TallixCrashReportThread& thread) {
  std::vector<TallixCrashReportLocation> locations;
  std::size_t moduleWidth = 0;
  for (const auto& frame : thread.frames) {
    locations.push_back(TallixCrashReportLocation::of(report_, frame));
    moduleWidth = std::max(moduleWidth, moduleColumn(locations.back()).size());
  }
  const int numberWidth = static_cast<int>(std::to_string(thread.frames.size()).size()) + 1;
  for (std::size_t index = 0; index < thread.frames.size(); ++index) {
    out_ << "  " << std::left << std::setw(numberWidth) << ("#" + std::to_string(index)) << "  "
         << Hex::address(thread.frames[index].pc) << "  "
         << std::setw(static_cast<int>(moduleWidth)) << moduleColumn(locations[index]) << "  "
         << symbolColumn(locations[index]) << '\n';
  }
}

void TallixCrashReportTextFormatter::registers(const TallixCrashReportThread& thread) {
  if (thread.registers.empty())
    return;
  out_ << "\nRegisters of thread " << thread.number << ":\n";
  for (std::size_t index = 0; index < thread.registers.size(); ++index) {
    const auto& reg = thread.registers[index];
    out_ << std::right << std::setw(8) << reg.name << " " << Hex::address(reg.value);
    const bool lineEnds =
        (index + 1) % kRegistersPerLine == 0 || index + 1 == thread.registers.size();
    out_ << (lineEnds ? "\n" : "  ");
  }
}

void TallixCrashReportTextFormatter::images() {
  out_ << "\nBinary images:\n";
  std::size_t nameWidth = 0;
  for (const auto& image : report_.images())
    nameWidth = std::max(nameWidth, image.name.size());
  for (const auto& image : report_.images())
    out_ << "  " << Hex::address(image.base) << " - " << imageEnd(image) << "  " << std::left
         << std::setw(static_cast<int>(nameWidth)) << image.name << "  "
         << (image.buildId.empty() ? "(no build id)" : image.buildId) << '\n';
}

}  // namespace tallix
