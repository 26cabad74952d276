#include "analytics/crash/capture/unwind/TallixCrashEhFrameIndex.h"

#include "analytics/crash/capture/unwind/TallixCrashDwarfCursor.h"

namespace tallix::crash {

namespace {

constexpr std::uint8_t kVersion = 1;
constexpr std::uint8_t kTableEncoding =
    pointer_encoding::kDataRelative | pointer_encoding::kSigned4;

}  // namespace

TallixCrashEhFrameIndex::TallixCrashEhFrameIndex(const TallixCrashMemory& memory,
                                                 std::uintptr_t ehFrameHdr)
    : memory_(memory), header_(ehFrameHdr) {}

bool TallixCrashEhFrameIndex::find(std::uintptr_t pc, TallixCrashFde& fde) const {
  std::uintptr_t table = 0;
  std::uint64_t count = 0;
  Entry entry{};
  if (header_ == 0 || !readTable(table, count) || !lastEntryAtOrBefore(pc, table, count, entry)) {
    return false;
  }
  const TallixCrashFdeParser parser(memory_, header_);
  return parser.parse(header_ + static_cast<std::intptr_t>(entry.fde), fde) && pc >= fde.pcBegin &&
         pc < fde.pcEnd;
}

bool TallixCrashEhFrameIndex::readTable(std::uintptr_t& table, std::uint64_t& count) const {
  TallixCrashDwarfCursor cursor(memory_, header_, UINTPTR_MAX);
  const std::uint8_t version = cursor.byte();
  const std::uint8_t ehFrameEncoding = cursor.byte();
  const std::uint8_t countEncoding = cursor.byte();
  const std::uint8_t tableEncoding = cursor.byte();
  if (!cursor.ok() || version != kVersion || tableEncoding != kTableEncoding ||
      countEncoding == pointer_encoding::kOmit || ehFrameEncoding == pointer_encoding::kOmit) {
    return false;
  }
  cursor.encoded(ehFrameEncoding, header_);  // the section's start: the table points past it
  count = cursor.encoded(countEncoding, header_);
  table = cursor.position();
  return cursor.ok() && count > 0;
}

bool TallixCrashEhFrameIndex::lastEntryAtOrBefore(std::uintptr_t pc, std::uintptr_t table,
                                                  std::uint64_t count, Entry& entry) const {
  // Invariant: entries before `low` start at or before pc, entries from `high` on after it.
  // Each round halves the span, so at most 64 rounds.
  std::uint64_t low = 0, high = count;
  while (low < high) {
    const std::uint64_t middle = low + (high - low) / 2;
    Entry probe{};
    if (!memory_.read(table + middle * sizeof(Entry), probe)) {
      return false;
    }
    if (header_ + static_cast<std::intptr_t>(probe.firstPc) <= pc) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low > 0 && memory_.read(table + (low - 1) * sizeof(Entry), entry);
}

}  // namespace tallix::crash
