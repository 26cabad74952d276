#include "analytics/crash/reporter/TallixCrashReporter.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "analytics/core/support/TallixLog.h"
#include "analytics/crash/capture/TallixCrashAltStack.h"
#include "analytics/crash/capture/TallixCrashFutex.h"
#include "analytics/crash/capture/TallixCrashProcessSnapshot.h"
#include "analytics/crash/capture/TallixCrashSignalHandler.h"
#include "analytics/crash/capture/TallixCrashSymbolTables.h"
#include "analytics/crash/capture/TallixCrashTerminateHook.h"
#include "analytics/crash/capture/TallixCrashThreadStartHook.h"
#include "analytics/crash/capture/TallixCrashThreads.h"
#include "analytics/crash/capture/TallixCrashWriter.h"

namespace tallix::crash {

namespace {

// How long the threads that existed before enabling get to put up their alternate stacks.
constexpr std::int64_t kAltStackAnswerNs = 50 * TallixCrashFutex::kMillisecond;
constexpr std::int64_t kLiveReportDeadlineNs = 5000 * TallixCrashFutex::kMillisecond;

std::atomic<bool> enabledInProcess{false};

// What the signal handlers and the writer use for the rest of the process's life: made once,
// never freed, as a crash may come at any moment up to the last instruction.
struct EnabledState {
  TallixCrashProcessSnapshot process;
  TallixCrashSymbolTables symbols;
  std::string pendingPath;
  std::string partialPath;
  std::string directory;
};

std::string chooseIdentifier(const std::string& given) {
  if (!given.empty())
    return given;
  const std::string processName =
      program_invocation_short_name ? program_invocation_short_name : "";
  if (processName.empty())
    throw TallixCrashReporterException("Can not determine process identifier or process name");
  TallixLog::debug("[CrashReporter] Warning -- bundle identifier, using process name %s",
                   processName.c_str());
  return processName;
}

std::string chooseVersion(const std::string& given) {
  if (given.empty())
    TallixLog::debug("[CrashReporter] Warning -- bundle version unavailable");
  return given;
}

std::optional<TallixCrashReporter::Bytes> readWholeFile(const std::string& path,
                                                        std::string& error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    error = "Could not open " + path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  TallixCrashReporter::Bytes bytes((std::istreambuf_iterator<char>(file)),
                                   std::istreambuf_iterator<char>());
  if (file.bad()) {
    error = "Could not read " + path;
    return std::nullopt;
  }
  return bytes;
}

}  // namespace

TallixCrashReporter::TallixCrashReporter(TallixCrashReporterConfig config)
    : config_(std::move(config)),
      identifier_(chooseIdentifier(config_.applicationIdentifier())),
      version_(chooseVersion(config_.applicationVersion())),
      paths_(identifier_) {}

bool TallixCrashReporter::enableCrashReporter(std::string& error) {
  error = enable();
  return error.empty();
}

std::string TallixCrashReporter::enable() {
  if (config_.signalHandlerType() == TallixCrashSignalHandlerType::kMach)
    return "Signal handler type 1 (a kernel exception server) does not exist on Linux; use type "
           "0 (POSIX signal handlers)";
  if (enabledInProcess.exchange(true))
    return "The crash reporter has alread been enabled";
  if (!paths_.create())
    return "Could not create the crash report folder " + paths_.directory().string();
  if (!TallixCrashThreads::prepare())
    return "No free real-time signal or memory for stopping threads";
  auto* state = new EnabledState{TallixCrashProcessSnapshot::take(identifier_, version_),
                                 {},
                                 paths_.pendingReport(),
                                 paths_.partialReport(),
                                 paths_.directory()};
  if (!TallixCrashWriter::start({&state->process, &state->symbols, config_.symbolicationStrategy(),
                                 state->pendingPath.c_str(), state->partialPath.c_str(),
                                 state->directory.c_str()}))
    return "Could not start the crash report writer";
  TallixCrashThreadStartHook::activate();
  TallixCrashAltStack::installOnCurrentThread();
  const pid_t skipped[] = {static_cast<pid_t>(syscall(SYS_gettid)), TallixCrashWriter::threadId()};
  TallixCrashThreads::askAll(TallixCrashThreads::Request::kInstallAltStack, skipped, 2,
                             TallixCrashFutex::nowNs() + kAltStackAnswerNs);
  TallixCrashTerminateHook::install();
  return TallixCrashSignalHandler::install();
}

bool TallixCrashReporter::hasPendingCrashReport() const {
  std::error_code error;
  return std::filesystem::is_regular_file(paths_.pendingReport(), error);
}

std::optional<TallixCrashReporter::Bytes> TallixCrashReporter::loadPendingCrashReportData(
    std::string& error) const {
  return readWholeFile(paths_.pendingReport(), error);
}

bool TallixCrashReporter::purgePendingCrashReport() const {
  std::error_code error;
  return std::filesystem::remove(paths_.pendingReport(), error);
}

std::optional<TallixCrashReporter::Bytes> TallixCrashReporter::generateLiveReport(
    std::string& error) const {
  if (!enabledInProcess.load() || !TallixCrashWriter::threadId()) {
    error = "The crash reporter is not enabled";
    return std::nullopt;
  }
  std::string path = paths_.liveReportTemplate();
  const int file = mkstemp(path.data());
  if (file < 0) {
    error = "Could not create " + path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  close(file);
  std::optional<Bytes> report;
  if (TallixCrashWriter::writeLiveReport(path.c_str(),
                                         TallixCrashFutex::nowNs() + kLiveReportDeadlineNs))
    report = readWholeFile(path, error);
  else
    error = "The live report could not be written";
  unlink(path.c_str());
  return report;
}

}  // namespace tallix::crash
