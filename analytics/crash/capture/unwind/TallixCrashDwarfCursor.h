#pragma once

#include <cstdint>

#include "analytics/crash/capture/TallixCrashMemory.h"

namespace tallix::crash {

// Pointer encodings of the unwind tables (DW_EH_PE_*).
namespace pointer_encoding {
inline constexpr std::uint8_t kOmit = 0xff;
inline constexpr std::uint8_t kFormatMask = 0x0f;
inline constexpr std::uint8_t kApplicationMask = 0x70;
inline constexpr std::uint8_t kPcRelative = 0x10;
inline constexpr std::uint8_t kDataRelative = 0x30;
inline constexpr std::uint8_t kIndirect = 0x80;
inline constexpr std::uint8_t kSigned4 = 0x0b;
}  // namespace pointer_encoding

// Sequential reads of DWARF data in the process's memory, never past `end`. The first failed
// read poisons the cursor: later reads return 0 and ok() stays false, so a parser can read a
// whole record and check once.
class TallixCrashDwarfCursor {
 public:
  TallixCrashDwarfCursor(const TallixCrashMemory& memory, std::uintptr_t position,
                         std::uintptr_t end);

  template <typename T>
  T fixed() {
    T value{};
    if (!ok_ || end_ - position_ < sizeof value || !memory_.read(position_, value)) {
      fail();
      return T{};
    }
    position_ += sizeof value;
    return value;
  }
  std::uint8_t byte() { return fixed<std::uint8_t>(); }
  std::uint64_t uleb();
  std::int64_t sleb();
  // A pointer in `encoding`; data-relative ones are taken from `dataBase`.
  std::uint64_t encoded(std::uint8_t encoding, std::uintptr_t dataBase);
  // A value in the format part of `encoding` only, as FDE address ranges are stored.
  std::uint64_t encodedFormat(std::uint8_t encoding);
  void skip(std::uint64_t size);
  // Moves to `position`, which must not lie past the end.
  void seek(std::uintptr_t position);

  bool ok() const { return ok_; }
  bool atEnd() const { return !ok_ || position_ >= end_; }
  std::uintptr_t position() const { return position_; }
  std::uintptr_t end() const { return end_; }
  void fail() { ok_ = false; }

 private:
  const TallixCrashMemory& memory_;
  std::uintptr_t position_;
  std::uintptr_t end_;
  bool ok_ = true;
};

}  // namespace tallix::crash
