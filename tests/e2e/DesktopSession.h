#pragma once

#include <QImage>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "Keyboard.h"
#include "Pointer.h"
#include "PrivateSoundServer.h"
#include "SignalAnalysis.h"
#include "SourceRecorder.h"
#include "TemporaryDirectory.h"
#include "VirtualMicrophone.h"
#include "XvfbDisplay.h"

namespace e2e {

// A desk of Orvane's own: a virtual screen without a window manager, a private sound server whose
// default output is an announcement speaker (recorded from its monitor) and whose default input is
// a microphone hearing `speech` in a loop, and private XDG directories, so Orvane meets neither the
// user's server nor a running Orvane. Everything it starts ends with it.
class DesktopSession {
 public:
  // The server lives in `soundServerDirectory`: a test gives one that CTest can clean up after a
  // crash; none means one of the session's own.
  DesktopSession(const audio::testing::Signal& speech,
                 const std::optional<std::filesystem::path>& soundServerDirectory = {});
  ~DesktopSession();

  // Starts Orvane with the arguments added and returns once it has painted its first frame, with
  // the time that took from just before it was started.
  Clock::duration startOrvane(const std::vector<std::string>& arguments = {});
  // Ends Orvane and waits until it has gone.
  void quitOrvane();
  // Sends Orvane the signal; its exit status if it ends within `limit`.
  std::optional<int> signalOrvane(int signal, Clock::duration limit);
  // orvanectl run against this desk's Orvane, to its end (bounded); how it ended and what it
  // wrote.
  struct RemoteRun {
    int status;
    std::string output;
    std::string errors;
  };
  // `environment` adds to (or overrides) the desk's own.
  RemoteRun runRemote(const std::vector<std::string>& arguments,
                      const std::map<std::string, std::string>& environment = {}) const;
  // Where Orvane answers its remote.
  std::filesystem::path instanceSocket() const;
  // Orvane's private XDG directory of that name: "data", "cache" or "config".
  std::filesystem::path orvaneDirectory(const char* name) const;
  // Returns once Orvane's Talk button has turned from grey to white: the engine is ready and the
  // controls can be used.
  void waitUntilTalkEnabled() const;
  // Orvane's standard output so far.
  const CapturedStream& orvaneOutput() const;
  // What Orvane has written to its standard error so far.
  std::string orvaneErrors() const;
  // Its standard output and error, and how it ended if it has, for a failure message.
  std::string orvaneTranscript();

  // The mouse over Orvane's window; there once Orvane has started.
  const Pointer& pointer() const { return *pointer_; }
  // The keyboard, typing into whichever window has the focus.
  const Keyboard& keyboard() const { return keyboard_; }
  // Holds Talk down with the mouse, or holds a key down, and waits until Orvane shows it is
  // recording; returns when the press was sent.
  Clock::time_point pressTalk();
  Clock::time_point pressTalkKey(const std::string& key);
  const SourceRecorder& speaker() const { return *speaker_; }
  const VirtualMicrophone& microphone() const { return *microphone_; }

  const std::string& displayName() const { return display_.name(); }
  void saveScreenshot(const std::filesystem::path& file) const;
  QImage screenshot() const;

 private:
  std::map<std::string, std::string> orvaneEnvironment() const;
  Clock::time_point awaitRecording(Clock::time_point pressed) const;

  foundation::TemporaryDirectory directory_;
  const std::filesystem::path soundServerDirectory_;
  XvfbDisplay display_;
  Keyboard keyboard_;
  PrivateSoundServer soundServer_;
  std::optional<VirtualMicrophone> microphone_;
  std::optional<SourceRecorder> speaker_;
  std::optional<ChildProcess> orvane_;
  std::optional<Pointer> pointer_;
};

}  // namespace e2e
