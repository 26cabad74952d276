#include "analytics/crash/capture/TallixCrashSignalText.h"

#include <cstddef>

namespace tallix::crash {

namespace {

struct Entry {
  int value;
  const char* text;
};

template <std::size_t N>
const char* lookup(const Entry (&entries)[N], int value, const char* otherwise) {
  for (const Entry& entry : entries)
    if (entry.value == value)
      return entry.text;
  return otherwise;
}

constexpr Entry kSignals[] = {
    {SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"},   {SIGILL, "SIGILL"}, {SIGFPE, "SIGFPE"},
    {SIGABRT, "SIGABRT"}, {SIGTRAP, "SIGTRAP"}, {SIGSYS, "SIGSYS"},
};

// Codes any signal can carry: who sent it.
constexpr Entry kSenders[] = {
    {SI_USER, "SI_USER"},   {SI_KERNEL, "SI_KERNEL"}, {SI_QUEUE, "SI_QUEUE"},
    {SI_TIMER, "SI_TIMER"}, {SI_TKILL, "SI_TKILL"},   {SI_ASYNCIO, "SI_ASYNCIO"},
};

constexpr Entry kSegv[] = {{SEGV_MAPERR, "SEGV_MAPERR"},
                           {SEGV_ACCERR, "SEGV_ACCERR"},
                           {SEGV_BNDERR, "SEGV_BNDERR"},
                           {SEGV_PKUERR, "SEGV_PKUERR"}};
constexpr Entry kBus[] = {{BUS_ADRALN, "BUS_ADRALN"},
                          {BUS_ADRERR, "BUS_ADRERR"},
                          {BUS_OBJERR, "BUS_OBJERR"},
                          {BUS_MCEERR_AR, "BUS_MCEERR_AR"},
                          {BUS_MCEERR_AO, "BUS_MCEERR_AO"}};
constexpr Entry kIll[] = {{ILL_ILLOPC, "ILL_ILLOPC"}, {ILL_ILLOPN, "ILL_ILLOPN"},
                          {ILL_ILLADR, "ILL_ILLADR"}, {ILL_ILLTRP, "ILL_ILLTRP"},
                          {ILL_PRVOPC, "ILL_PRVOPC"}, {ILL_PRVREG, "ILL_PRVREG"},
                          {ILL_COPROC, "ILL_COPROC"}, {ILL_BADSTK, "ILL_BADSTK"}};
constexpr Entry kFpe[] = {{FPE_INTDIV, "FPE_INTDIV"}, {FPE_INTOVF, "FPE_INTOVF"},
                          {FPE_FLTDIV, "FPE_FLTDIV"}, {FPE_FLTOVF, "FPE_FLTOVF"},
                          {FPE_FLTUND, "FPE_FLTUND"}, {FPE_FLTRES, "FPE_FLTRES"},
                          {FPE_FLTINV, "FPE_FLTINV"}, {FPE_FLTSUB, "FPE_FLTSUB"}};
constexpr Entry kTrap[] = {{TRAP_BRKPT, "TRAP_BRKPT"}, {TRAP_TRACE, "TRAP_TRACE"}};

}  // namespace

const char* TallixCrashSignalText::name(int signal) {
  return lookup(kSignals, signal, "UNKNOWN");
}

const char* TallixCrashSignalText::code(int signal, int code) {
  if (code <= 0 || code == SI_KERNEL)
    return lookup(kSenders, code, "UNKNOWN");
  switch (signal) {
    case SIGSEGV:
      return lookup(kSegv, code, "UNKNOWN");
    case SIGBUS:
      return lookup(kBus, code, "UNKNOWN");
    case SIGILL:
      return lookup(kIll, code, "UNKNOWN");
    case SIGFPE:
      return lookup(kFpe, code, "UNKNOWN");
    case SIGTRAP:
      return lookup(kTrap, code, "UNKNOWN");
    default:
      return "UNKNOWN";
  }
}

}  // namespace tallix::crash
