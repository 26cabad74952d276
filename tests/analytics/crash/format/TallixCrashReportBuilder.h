#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "crash_report.pb-c.h"

namespace tallix {

// A sample crash report built with protobuf-c as the capture side builds one: process "orvane"
// ended by an escaped std::runtime_error; thread 0 "main" blocked in poll with its context not
// captured; thread 1 "audio" crashed with SIGSEGV in a C++ method of /usr/bin/orvane, then in
// libc, then at an address no module holds. The images are listed out of address order, as
// nothing obliges the writer to sort them. Tests change the message before bytes().
class TallixCrashReportBuilder {
 public:
  static constexpr std::uint64_t kAppBase = 0x555500000000;
  static constexpr std::uint64_t kLibcBase = 0x7f0000000000;

  // The message points into the builder itself.
  TallixCrashReportBuilder(const TallixCrashReportBuilder&) = delete;
  TallixCrashReportBuilder& operator=(const TallixCrashReportBuilder&) = delete;

  TallixCrashReportBuilder() {
    system_.os_version = const_cast<char*>("6.1.0");
    system_.timestamp = 1700000000;
    application_.identifier = const_cast<char*>("com.orvane.app");
    application_.version = const_cast<char*>("2.1");
    info_.uuid = {uuid_.size(), uuid_.data()};
    for (std::uint8_t i = 0; i < uuid_.size(); ++i)
      uuid_[i] = i;
    mangled_.name = const_cast<char*>("_ZN6orvane6Engine4playEv");
    mangled_.start_address = kAppBase + 0x1200;
    poll_.name = const_cast<char*>("poll");
    poll_.start_address = kLibcBase + 0x500;
    setFrame(crashedFrames_[0], kAppBase + 0x1234, &mangled_);
    setFrame(crashedFrames_[1], kLibcBase + 0x1000, nullptr);
    setFrame(crashedFrames_[2], 0x1000, nullptr);
    setFrame(mainFrames_[0], kLibcBase + 0x520, &poll_);
    setThread(main_, 0, "main", mainFramePointers_, mainFrames_);
    main_.has_context_captured = true;
    main_.context_captured = false;
    setThread(audio_, 1, "audio", crashedFramePointers_, crashedFrames_);
    audio_.crashed = true;
    registers_[0].name = const_cast<char*>("rip");
    registers_[0].value = kAppBase + 0x1234;
    registers_[1].name = const_cast<char*>("rsp");
    registers_[1].value = 0x7ffc0000;
    audio_.n_registers = 2;
    audio_.registers = registerPointers_.data();
    setImage(app_, kAppBase, "/usr/bin/orvane");
    app_.has_build_id = true;
    app_.build_id = {buildId_.size(), buildId_.data()};
    setImage(libc_, kLibcBase, "/usr/lib/libc.so.6");
    signal_.name = const_cast<char*>("SIGSEGV");
    signal_.code = const_cast<char*>("SEGV_MAPERR");
    signal_.address = 0x10;
    signal_.has_number = true;
    signal_.number = 11;
    process_.process_name = const_cast<char*>("orvane");
    process_.process_id = 4242;
    exception_.name = const_cast<char*>("std::runtime_error");
    exception_.reason = const_cast<char*>("no output device");
    report_.process_info = &process_;
    report_.exception = &exception_;
    report_.system_info = &system_;
    report_.application_info = &application_;
    report_.report_info = &info_;
    report_.signal = &signal_;
    report_.n_threads = threads_.size();
    report_.threads = threads_.data();
    report_.n_binary_images = images_.size();
    report_.binary_images = images_.data();
  }

  Tlxcrsh__CrashReport& message() { return report_; }

  // A snapshot the program asked for: no signal, no crashed thread.
  void makeLive() {
    report_.signal = nullptr;
    audio_.crashed = false;
    info_.user_requested = true;
  }

  // The file: header, then the packed message.
  std::vector<std::uint8_t> bytes() const {
    std::vector<std::uint8_t> file = {'t', 'l', 'x', 'c', 'r', 's', 'h', 1};
    const std::size_t headerSize = file.size();
    file.resize(headerSize + tlxcrsh__crash_report__get_packed_size(&report_));
    tlxcrsh__crash_report__pack(&report_, file.data() + headerSize);
    return file;
  }

 private:
  using Frame = Tlxcrsh__CrashReport__Thread__StackFrame;

  static void setFrame(Frame& frame, std::uint64_t pc, Tlxcrsh__CrashReport__Symbol* symbol) {
    frame.pc = pc;
    frame.symbol = symbol;
  }
  template <std::size_t N>
  static void setThread(Tlxcrsh__CrashReport__Thread& thread, std::uint32_t number,
                        const char* name, std::array<Frame*, N>& pointers,
                        std::array<Frame, N>& frames) {
    for (std::size_t i = 0; i < N; ++i)
      pointers[i] = &frames[i];
    thread.thread_number = number;
    thread.has_thread_id = true;
    thread.thread_id = 100 + number;
    thread.name = const_cast<char*>(name);
    thread.n_frames = N;
    thread.frames = pointers.data();
  }
  static void setImage(Tlxcrsh__CrashReport__BinaryImage& image, std::uint64_t base,
                       const char* name) {
    image.base_address = base;
    image.size = 0x200000;
    image.name = const_cast<char*>(name);
  }

  Tlxcrsh__CrashReport report_ = TLXCRSH__CRASH_REPORT__INIT;
  Tlxcrsh__CrashReport__SystemInfo system_ = TLXCRSH__CRASH_REPORT__SYSTEM_INFO__INIT;
  Tlxcrsh__CrashReport__ApplicationInfo application_ =
      TLXCRSH__CRASH_REPORT__APPLICATION_INFO__INIT;
  Tlxcrsh__CrashReport__ReportInfo info_ = TLXCRSH__CRASH_REPORT__REPORT_INFO__INIT;
  Tlxcrsh__CrashReport__Signal signal_ = TLXCRSH__CRASH_REPORT__SIGNAL__INIT;
  Tlxcrsh__CrashReport__ProcessInfo process_ = TLXCRSH__CRASH_REPORT__PROCESS_INFO__INIT;
  Tlxcrsh__CrashReport__Exception exception_ = TLXCRSH__CRASH_REPORT__EXCEPTION__INIT;
  std::array<std::uint8_t, 16> uuid_{};
  std::array<std::uint8_t, 4> buildId_ = {0xde, 0xad, 0xbe, 0xef};
  Tlxcrsh__CrashReport__Symbol mangled_ = TLXCRSH__CRASH_REPORT__SYMBOL__INIT;
  Tlxcrsh__CrashReport__Symbol poll_ = TLXCRSH__CRASH_REPORT__SYMBOL__INIT;
  std::array<Frame, 3> crashedFrames_ = {{TLXCRSH__CRASH_REPORT__THREAD__STACK_FRAME__INIT,
                                          TLXCRSH__CRASH_REPORT__THREAD__STACK_FRAME__INIT,
                                          TLXCRSH__CRASH_REPORT__THREAD__STACK_FRAME__INIT}};
  std::array<Frame*, 3> crashedFramePointers_{};
  std::array<Frame, 1> mainFrames_ = {{TLXCRSH__CRASH_REPORT__THREAD__STACK_FRAME__INIT}};
  std::array<Frame*, 1> mainFramePointers_{};
  std::array<Tlxcrsh__CrashReport__Thread__RegisterValue, 2> registers_ = {
      {TLXCRSH__CRASH_REPORT__THREAD__REGISTER_VALUE__INIT,
       TLXCRSH__CRASH_REPORT__THREAD__REGISTER_VALUE__INIT}};
  std::array<Tlxcrsh__CrashReport__Thread__RegisterValue*, 2> registerPointers_ = {&registers_[0],
                                                                                   &registers_[1]};
  Tlxcrsh__CrashReport__Thread main_ = TLXCRSH__CRASH_REPORT__THREAD__INIT;
  Tlxcrsh__CrashReport__Thread audio_ = TLXCRSH__CRASH_REPORT__THREAD__INIT;
  std::array<Tlxcrsh__CrashReport__Thread*, 2> threads_ = {&main_, &audio_};
  Tlxcrsh__CrashReport__BinaryImage app_ = TLXCRSH__CRASH_REPORT__BINARY_IMAGE__INIT;
  Tlxcrsh__CrashReport__BinaryImage libc_ = TLXCRSH__CRASH_REPORT__BINARY_IMAGE__INIT;
  std::array<Tlxcrsh__CrashReport__BinaryImage*, 2> images_ = {&libc_, &app_};
};

}  // namespace tallix
