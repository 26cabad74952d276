#pragma once

#include <QMessageBox>
#include <QString>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "EventuallyShown.h"
#include "TemporaryDirectory.h"
#include "app/OrvaneServices.h"
#include "app/OrvaneVC.h"
#include "audio/OrvaneEngine.h"
#include "platform/SoundServer.h"
#include "views/CircleButton.h"

// Readable failure messages for texts of the screen.
inline void PrintTo(const QString& text, std::ostream* stream) {
  *stream << '"' << text.toStdString() << '"';
}

namespace app::testing {

using views::eventuallyShown;

using platform::SoundServer;

// An address where no sound server answers: the microphone is refused and there are no outputs.
inline constexpr const char* kNoServer = "unix:/nonexistent/orvane-test-server";

// Main-queue work runs on Qt's event loop while one of these lives.
class MainQueueOnEventLoop {
 public:
  MainQueueOnEventLoop();
  ~MainQueueOnEventLoop();
};

// The engine's capture source and output, as launch lines.
struct EngineDevices {
  std::string source = "audiotestsrc is-live=true wave=sine freq=440 volume=0.5";
  std::string sink = "fakesink sync=true";
};

// The main screen, shown at its designed size, with an engine that records a live 440 Hz tone
// and plays into a fake sink, unless given other devices.
class ScreenHarness {
 public:
  enum class AwaitEngine { Yes, No };

  // Returns once the engine has arrived, unless told not to wait for it.
  explicit ScreenHarness(SoundServer& server, bool demoMode = false,
                         AwaitEngine awaitEngine = AwaitEngine::Yes, EngineDevices devices = {});
  ~ScreenHarness();

  // The engine's devices: the live tone and the fake sink, with takes kept in `documents`.
  static audio::OrvaneEngineConfiguration testDevices(SoundServer& server,
                                                      const std::filesystem::path& documents,
                                                      const EngineDevices& devices = {});

  OrvaneVC& screen() { return *screen_; }
  audio::OrvaneEngine& engine() { return *screen_->orvane(); }
  template <typename Widget>
  Widget& outlet(const char* name) {
    return *screen_->findChild<Widget*>(QString::fromLatin1(name));
  }
  views::CircleButton& button(const char* name) { return outlet<views::CircleButton>(name); }

  // The alerts now open over the screen, oldest first.
  std::vector<QMessageBox*> alerts() const;
  // Taps the alert's button with that title.
  static void tap(QMessageBox& alert, const QString& buttonTitle);

 private:
  MainQueueOnEventLoop mainQueue_;
  foundation::TemporaryDirectory documents_;
  std::unique_ptr<OrvaneVC> screen_;
};

}  // namespace app::testing
