#include "analytics/crash/capture/TallixCrashReportBuilder.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cstring>

#include "analytics/crash/capture/TallixCrashArena.h"
#include "analytics/crash/capture/TallixCrashImageList.h"
#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/TallixCrashProcessSnapshot.h"
#include "analytics/crash/capture/TallixCrashSignalText.h"
#include "analytics/crash/capture/TallixCrashSymbolizer.h"
#include "analytics/crash/capture/TallixCrashTerminateHook.h"
#include "analytics/crash/capture/TallixCrashThreads.h"
#include "analytics/crash/capture/unwind/TallixCrashCodeRange.h"
#include "analytics/crash/capture/unwind/TallixCrashFrameUnwinder.h"

namespace tallix::crash {

namespace {

struct RegisterName {
  int index;
  const char* name;
};

constexpr RegisterName kRegisters[] = {
    {REG_RAX, "rax"},       {REG_RBX, "rbx"},    {REG_RCX, "rcx"}, {REG_RDX, "rdx"},
    {REG_RSI, "rsi"},       {REG_RDI, "rdi"},    {REG_RBP, "rbp"}, {REG_RSP, "rsp"},
    {REG_R8, "r8"},         {REG_R9, "r9"},      {REG_R10, "r10"}, {REG_R11, "r11"},
    {REG_R12, "r12"},       {REG_R13, "r13"},    {REG_R14, "r14"}, {REG_R15, "r15"},
    {REG_RIP, "rip"},       {REG_EFL, "rflags"}, {REG_CR2, "cr2"}, {REG_ERR, "err"},
    {REG_TRAPNO, "trapno"},
};

// "<prefix><id>/<leaf>" without the formatting functions a signal handler may not use.
void procPath(const char* prefix, pid_t id, const char* leaf, char (&path)[64]) {
  char digits[16];
  int count = 0;
  for (unsigned value = static_cast<unsigned>(id); count == 0 || value; value /= 10)
    digits[count++] = static_cast<char>('0' + value % 10);
  char* out = path;
  while (*prefix)
    *out++ = *prefix++;
  while (count)
    *out++ = digits[--count];
  *out++ = '/';
  while (*leaf && out < path + sizeof path - 1)
    *out++ = *leaf++;
  *out = '\0';
}

// Reads a small /proc file into `buffer`; its length, 0 when it cannot be read.
std::size_t readSmallFile(const char* path, char* buffer, std::size_t size) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0)
    return 0;
  const ssize_t length = read(file, buffer, size - 1);
  close(file);
  buffer[length > 0 ? length : 0] = '\0';
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

std::uint64_t parseHex(const char*& text) {
  while (*text == ' ')
    ++text;
  if (text[0] == '0' && text[1] == 'x')
    text += 2;
  std::uint64_t value = 0;
  for (;; ++text) {
    const char c = *text;
    const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    if (digit < 0)
      return value;
    value = value * 16 + static_cast<std::uint64_t>(digit);
  }
}

// A thread that never answered is usually blocked in a system call with signals masked; the
// kernel still shows its stack pointer and pc there ("nr args... sp pc", or "-1 sp pc").
bool kernelView(pid_t tid, TallixCrashRegisters& registers) {
  char path[64];
  char text[256];
  procPath("/proc/self/task/", tid, "syscall", path);
  if (!readSmallFile(path, text, sizeof text) || text[0] == 'r')
    return false;
  std::uint64_t values[9] = {};
  int count = 0;
  const char* cursor = text;
  while (*cursor && *cursor != '\n' && count < 9) {
    while (*cursor == ' ')
      ++cursor;
    if (*cursor == '-') {
      while (*cursor && *cursor != ' ')
        ++cursor;
      values[count++] = 0;
      continue;
    }
    values[count++] = parseHex(cursor);
  }
  if (count < 3)
    return false;
  registers.value[TallixCrashRegisters::kSp] = values[count - 2];
  registers.value[TallixCrashRegisters::kPc] = values[count - 1];
  registers.known = (1u << TallixCrashRegisters::kSp) | (1u << TallixCrashRegisters::kPc);
  return true;
}

}  // namespace

template <typename Message>
Message* TallixCrashReportBuilder::message(void (*init)(Message*)) {
  Message* made = arena_.make<Message>();
  if (made)
    init(made);
  return made;
}

Tlxcrsh__CrashReport* TallixCrashReportBuilder::build(const TallixCrashMoment& moment,
                                                      const TallixCrashMemory& memory) {
  auto* report = message(&tlxcrsh__crash_report__init);
  if (!report)
    return nullptr;
  TallixCrashImageList images;
  images.scan(memory, process_, arena_);
  describeSystem(*report, moment);
  describeProcess(*report);
  describeImages(*report, images);
  describeThreads(*report, moment, images, memory);
  if (moment.signal)
    describeSignal(*report, *moment.signal);
  describeException(*report);
  describeReport(*report, moment);
  return report;
}

Tlxcrsh__CrashReport__Processor* TallixCrashReportBuilder::processor() {
  auto* made = message(&tlxcrsh__crash_report__processor__init);
  if (made) {
    made->encoding = TLXCRSH__CRASH_REPORT__PROCESSOR__TYPE_ENCODING__ELF_MACHINE;
    made->type = EM_X86_64;
  }
  return made;
}

void TallixCrashReportBuilder::describeSystem(Tlxcrsh__CrashReport& report,
                                              const TallixCrashMoment& moment) {
  if (auto* system = message(&tlxcrsh__crash_report__system_info__init)) {
    system->operating_system = TLXCRSH__CRASH_REPORT__SYSTEM_INFO__OPERATING_SYSTEM__LINUX;
    system->os_version = const_cast<char*>(process_.osRelease);
    system->os_build = const_cast<char*>(process_.osBuild);
    system->kernel_name = const_cast<char*>(process_.osName);
    system->timestamp = moment.realTimeNs / 1'000'000'000;
    report.system_info = system;
  }
  auto* machine = message(&tlxcrsh__crash_report__machine_info__init);
  if (machine && (machine->processor = processor())) {
    machine->model = const_cast<char*>(process_.machineModel);
    machine->processor_count = process_.processorCount;
    machine->logical_processor_count = process_.onlineProcessorCount;
    report.machine_info = machine;
  }
  if (auto* application = message(&tlxcrsh__crash_report__application_info__init)) {
    application->identifier = const_cast<char*>(process_.applicationIdentifier);
    application->version = const_cast<char*>(process_.applicationVersion);
    report.application_info = application;
  }
}

void TallixCrashReportBuilder::describeProcess(Tlxcrsh__CrashReport& report) {
  auto* info = message(&tlxcrsh__crash_report__process_info__init);
  if (!info)
    return;
  info->process_name = const_cast<char*>(process_.processName);
  info->process_id = static_cast<std::uint32_t>(process_.processId);
  info->process_path = const_cast<char*>(process_.processPath);
  info->parent_process_id = static_cast<std::uint32_t>(getppid());
  char path[64];
  char name[64];
  // The parent's name is read now: it may have changed since the start.
  procPath("/proc/", static_cast<pid_t>(info->parent_process_id), "comm", path);
  const std::size_t length = readSmallFile(path, name, sizeof name);
  info->parent_process_name = arena_.copy(name, length ? length - 1 : 0);
  info->has_start_time = process_.processStartTime != 0;
  info->start_time = process_.processStartTime;
  report.process_info = info;
}

void TallixCrashReportBuilder::describeImages(Tlxcrsh__CrashReport& report,
                                              const TallixCrashImageList& images) {
  report.binary_images = arena_.make<Tlxcrsh__CrashReport__BinaryImage*>(images.size());
  if (!report.binary_images)
    return;
  for (const TallixCrashImage& image : images) {
    auto* described = message(&tlxcrsh__crash_report__binary_image__init);
    if (!described)
      return;
    described->base_address = image.start;
    described->size = image.end - image.start;
    described->name = const_cast<char*>(image.name);
    described->has_build_id = image.buildIdSize != 0;
    described->build_id = {image.buildIdSize, const_cast<std::uint8_t*>(image.buildId)};
    described->has_load_bias = 1;
    described->load_bias = image.bias;
    described->code_type = processor();
    report.binary_images[report.n_binary_images++] = described;
  }
}

void TallixCrashReportBuilder::describeThreads(Tlxcrsh__CrashReport& report,
                                               const TallixCrashMoment& moment,
                                               const TallixCrashImageList& images,
                                               const TallixCrashMemory& memory) {
  report.threads = arena_.make<Tlxcrsh__CrashReport__Thread*>(moment.otherThreadCount + 1);
  auto* ranges = arena_.make<TallixCrashCodeRange>(images.size());
  if (!report.threads || !ranges)
    return;
  std::size_t rangeCount = 0;
  for (const TallixCrashImage& image : images)
    ranges[rangeCount++] = {image.start, image.end, image.ehFrameHdr};
  codeRanges_ = {ranges, rangeCount};
  auto add = [&](Tlxcrsh__CrashReport__Thread* thread) {
    if (!thread)
      return;
    thread->thread_number = static_cast<std::uint32_t>(report.n_threads);
    report.threads[report.n_threads++] = thread;
  };
  Tlxcrsh__CrashReport__Thread* main =
      describeThread(moment.mainThread, moment.mainContext, moment.mainPcIsExact, images, memory);
  if (main)
    main->crashed = moment.signal != nullptr;
  add(main);
  for (std::size_t i = 0; i < moment.otherThreadCount; ++i) {
    const TallixCrashThreadSlot& slot = moment.otherThreads[i];
    const pid_t tid = slot.tid.load(std::memory_order_acquire);
    if (tid == 0)
      continue;
    const bool answered = slot.answered.load(std::memory_order_acquire) != 0;
    add(describeThread(tid, answered ? &slot.context : nullptr, true, images, memory));
  }
}

Tlxcrsh__CrashReport__Thread* TallixCrashReportBuilder::describeThread(
    pid_t tid, const ucontext_t* context, bool pcIsExact, const TallixCrashImageList& images,
    const TallixCrashMemory& memory) {
  auto* thread = message(&tlxcrsh__crash_report__thread__init);
  if (!thread)
    return nullptr;
  thread->has_thread_id = 1;
  thread->thread_id = static_cast<std::uint32_t>(tid);
  char path[64];
  char name[32];
  procPath("/proc/self/task/", tid, "comm", path);
  const std::size_t nameLength = readSmallFile(path, name, sizeof name);
  thread->name = arena_.copy(name, nameLength ? nameLength - 1 : 0);
  thread->has_context_captured = 1;
  thread->context_captured = context != nullptr;

  TallixCrashFrame frame;
  frame.pcIsExact = pcIsExact;
  if (context) {
    frame.registers = TallixCrashRegisters::fromContext(*context);
    thread->registers =
        arena_.make<Tlxcrsh__CrashReport__Thread__RegisterValue*>(std::size(kRegisters));
    for (std::size_t i = 0; thread->registers && i < std::size(kRegisters); ++i) {
      auto* value = message(&tlxcrsh__crash_report__thread__register_value__init);
      if (!value)
        break;
      value->name = const_cast<char*>(kRegisters[i].name);
      value->value = static_cast<std::uint64_t>(context->uc_mcontext.gregs[kRegisters[i].index]);
      thread->registers[thread->n_registers++] = value;
    }
  } else if (!kernelView(tid, frame.registers)) {
    return thread;
  }

  const TallixCrashFrameUnwinder unwinder(memory, codeRanges_);
  const TallixCrashSymbolizer symbolizer(symbols_, symbolSources_);
  thread->frames = arena_.make<Tlxcrsh__CrashReport__Thread__StackFrame*>(kMaxFrames);
  for (bool more = thread->frames != nullptr; more; more = unwinder.step(frame)) {
    if (thread->n_frames == kMaxFrames) {
      thread->has_truncated = thread->truncated = 1;
      break;
    }
    auto* stackFrame = message(&tlxcrsh__crash_report__thread__stack_frame__init);
    if (!stackFrame)
      break;
    const std::uintptr_t pc = frame.registers.value[TallixCrashRegisters::kPc];
    stackFrame->pc = pc;
    // A return address points after the call; the call itself is one byte back.
    const std::uintptr_t lookup = frame.pcIsExact ? pc : pc - 1;
    TallixCrashSymbol symbol;
    const TallixCrashImage* image = images.find(lookup);
    if (image && symbolizer.lookup(*image, lookup, symbol)) {
      if (auto* named = message(&tlxcrsh__crash_report__symbol__init)) {
        named->name = const_cast<char*>(symbol.name);
        named->start_address = symbol.start;
        named->has_end_address = symbol.end > symbol.start;
        named->end_address = symbol.end;
        stackFrame->symbol = named;
      }
    }
    thread->frames[thread->n_frames++] = stackFrame;
  }
  return thread;
}

void TallixCrashReportBuilder::describeSignal(Tlxcrsh__CrashReport& report,
                                              const siginfo_t& signal) {
  auto* described = message(&tlxcrsh__crash_report__signal__init);
  if (!described)
    return;
  described->name = const_cast<char*>(TallixCrashSignalText::name(signal.si_signo));
  described->code = const_cast<char*>(TallixCrashSignalText::code(signal.si_signo, signal.si_code));
  // Only a fault has an address; in a sent signal the same bytes hold the sender's pid.
  described->address = signal.si_code > 0 ? reinterpret_cast<std::uintptr_t>(signal.si_addr) : 0;
  described->has_number = described->has_code_number = 1;
  described->number = signal.si_signo;
  described->code_number = signal.si_code;
  report.signal = described;
}

void TallixCrashReportBuilder::describeException(Tlxcrsh__CrashReport& report) {
  const char* type = TallixCrashTerminateHook::exceptionType();
  if (!*type)
    return;
  if (auto* exception = message(&tlxcrsh__crash_report__exception__init)) {
    exception->name = const_cast<char*>(type);
    exception->reason = const_cast<char*>(TallixCrashTerminateHook::exceptionReason());
    report.exception = exception;
  }
}

void TallixCrashReportBuilder::describeReport(Tlxcrsh__CrashReport& report,
                                              const TallixCrashMoment& moment) {
  auto* info = message(&tlxcrsh__crash_report__report_info__init);
  auto* uuid = arena_.make<std::uint8_t>(16);
  if (!info || !uuid)
    return;
  if (getrandom(uuid, 16, GRND_NONBLOCK) != 16)
    std::memcpy(uuid, &moment.realTimeNs, sizeof moment.realTimeNs);
  // Version 4, variant 1, like any random UUID.
  uuid[6] = static_cast<std::uint8_t>((uuid[6] & 0x0f) | 0x40);
  uuid[8] = static_cast<std::uint8_t>((uuid[8] & 0x3f) | 0x80);
  info->user_requested = moment.signal == nullptr;
  info->uuid = {16, uuid};
  info->has_capture_time_ns = 1;
  info->capture_time_ns = moment.realTimeNs;
  report.report_info = info;
}

}  // namespace tallix::crash
