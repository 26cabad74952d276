#include "analytics/crash/capture/unwind/TallixCrashDwarfCursor.h"

namespace tallix::crash {

namespace {

// A LEB128 number of a 64-bit value never needs more bytes than this.
constexpr int kMaxLebBytes = 10;

}  // namespace

TallixCrashDwarfCursor::TallixCrashDwarfCursor(const TallixCrashMemory& memory,
                                               std::uintptr_t position, std::uintptr_t end)
    : memory_(memory), position_(position), end_(end), ok_(position <= end) {}

std::uint64_t TallixCrashDwarfCursor::uleb() {
  std::uint64_t value = 0;
  for (int i = 0; i < kMaxLebBytes; ++i) {
    const std::uint8_t next = byte();
    value |= static_cast<std::uint64_t>(next & 0x7f) << (7 * i);
    if ((next & 0x80) == 0) {
      return ok_ ? value : 0;
    }
  }
  fail();
  return 0;
}

std::int64_t TallixCrashDwarfCursor::sleb() {
  std::uint64_t value = 0;
  for (int i = 0; i < kMaxLebBytes; ++i) {
    const std::uint8_t next = byte();
    value |= static_cast<std::uint64_t>(next & 0x7f) << (7 * i);
    if ((next & 0x80) == 0) {
      const int width = 7 * (i + 1);
      if (width < 64 && (next & 0x40) != 0) {
        value |= ~std::uint64_t{0} << width;
      }
      return ok_ ? static_cast<std::int64_t>(value) : 0;
    }
  }
  fail();
  return 0;
}

std::uint64_t TallixCrashDwarfCursor::encodedFormat(std::uint8_t encoding) {
  switch (encoding & pointer_encoding::kFormatMask) {
    case 0x00:  // absptr
    case 0x04:  // udata8
    case 0x0c:  // sdata8
      return fixed<std::uint64_t>();
    case 0x01:
      return uleb();
    case 0x02:
      return fixed<std::uint16_t>();
    case 0x03:
      return fixed<std::uint32_t>();
    case 0x09:
      return static_cast<std::uint64_t>(sleb());
    case 0x0a:
      return static_cast<std::uint64_t>(std::int64_t{fixed<std::int16_t>()});
    case 0x0b:
      return static_cast<std::uint64_t>(std::int64_t{fixed<std::int32_t>()});
    default:
      fail();
      return 0;
  }
}

std::uint64_t TallixCrashDwarfCursor::encoded(std::uint8_t encoding, std::uintptr_t dataBase) {
  const std::uintptr_t start = position_;
  std::uint64_t value = encodedFormat(encoding);
  if (!ok_ || value == 0) {
    return value;  // a zero pointer stays zero, whatever its base
  }
  switch (encoding & pointer_encoding::kApplicationMask) {
    case 0x00:
      break;
    case pointer_encoding::kPcRelative:
      value += start;
      break;
    case pointer_encoding::kDataRelative:
      if (dataBase == 0) {
        fail();
      }
      value += dataBase;
      break;
    default:  // text-, function-relative and aligned do not occur in x86-64 tables
      fail();
      return 0;
  }
  if ((encoding & pointer_encoding::kIndirect) != 0 && !memory_.read(value, value)) {
    fail();
  }
  return ok_ ? value : 0;
}

void TallixCrashDwarfCursor::skip(std::uint64_t size) {
  if (!ok_ || end_ - position_ < size) {
    fail();
    return;
  }
  position_ += size;
}

void TallixCrashDwarfCursor::seek(std::uintptr_t position) {
  if (position > end_) {
    fail();
    return;
  }
  position_ = position;
}

}  // namespace tallix::crash
