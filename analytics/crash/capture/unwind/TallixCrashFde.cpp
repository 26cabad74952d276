#include "analytics/crash/capture/unwind/TallixCrashFde.h"

#include <cstring>

#include "analytics/crash/capture/unwind/TallixCrashDwarfCursor.h"

namespace tallix::crash {

namespace {

// Longer augmentation strings than this are not produced by any x86-64 toolchain.
constexpr std::size_t kMaxAugmentation = 8;
constexpr std::uint32_t kSixtyFourBitLength = 0xffffffff;

}  // namespace

TallixCrashFdeParser::TallixCrashFdeParser(const TallixCrashMemory& memory, std::uintptr_t dataBase)
    : memory_(memory), dataBase_(dataBase) {}

bool TallixCrashFdeParser::entryBounds(std::uintptr_t address, std::uintptr_t& body,
                                       std::uintptr_t& end) const {
  TallixCrashDwarfCursor cursor(memory_, address, UINTPTR_MAX);
  std::uint64_t length = cursor.fixed<std::uint32_t>();
  if (length == kSixtyFourBitLength) {
    length = cursor.fixed<std::uint64_t>();
  }
  body = cursor.position();
  end = body + length;
  return cursor.ok() && length != 0 && end > body;
}

bool TallixCrashFdeParser::parse(std::uintptr_t address, TallixCrashFde& fde) const {
  std::uintptr_t body = 0, end = 0;
  if (!entryBounds(address, body, end)) {
    return false;
  }
  TallixCrashDwarfCursor cursor(memory_, body, end);
  // The CIE pointer counts back from its own position; 0 would make this entry a CIE.
  const std::uint32_t cieDistance = cursor.fixed<std::uint32_t>();
  if (!cursor.ok() || cieDistance == 0 || cieDistance > body ||
      !parseCie(body - cieDistance, fde.cie)) {
    return false;
  }
  fde.pcBegin = cursor.encoded(fde.cie.pointerEncoding, dataBase_);
  fde.pcEnd = fde.pcBegin + cursor.encodedFormat(fde.cie.pointerEncoding);
  if (fde.cie.hasAugmentationData) {
    cursor.skip(cursor.uleb());
  }
  fde.instructions = cursor.position();
  fde.instructionsEnd = end;
  return cursor.ok();
}

bool TallixCrashFdeParser::parseCie(std::uintptr_t address, TallixCrashCie& cie) const {
  std::uintptr_t body = 0, end = 0;
  if (!entryBounds(address, body, end)) {
    return false;
  }
  TallixCrashDwarfCursor cursor(memory_, body, end);
  const std::uint32_t id = cursor.fixed<std::uint32_t>();
  const std::uint8_t version = cursor.byte();
  char augmentation[kMaxAugmentation + 1] = {};
  for (std::size_t i = 0;; ++i) {
    if (i == kMaxAugmentation) {
      return false;
    }
    augmentation[i] = static_cast<char>(cursor.byte());
    if (augmentation[i] == '\0' || !cursor.ok()) {
      break;
    }
  }
  if (id != 0 || (version != 1 && version != 3 && version != 4)) {
    return false;
  }
  if (version == 4) {
    cursor.skip(2);  // address and segment selector sizes
  }
  cie.codeAlignment = cursor.uleb();
  cie.dataAlignment = cursor.sleb();
  cie.returnColumn = version == 1 ? cursor.byte() : cursor.uleb();
  if (!readAugmentation(cursor, augmentation, cie)) {
    return false;
  }
  cie.instructions = cursor.position();
  cie.instructionsEnd = end;
  return cursor.ok();
}

bool TallixCrashFdeParser::readAugmentation(TallixCrashDwarfCursor& cursor,
                                            const char* augmentation, TallixCrashCie& cie) const {
  cie.pointerEncoding = 0;
  cie.isSignalFrame = false;
  cie.hasAugmentationData = augmentation[0] == 'z';
  if (augmentation[0] == '\0') {
    return true;
  }
  if (augmentation[0] != 'z') {
    return false;  // without "z" the unknown data cannot be skipped
  }
  const std::uint64_t dataLength = cursor.uleb();
  const std::uintptr_t dataEnd = cursor.position() + dataLength;
  // An unknown letter ends the interpretation; the data length still lets the rest be skipped.
  bool known = true;
  for (const char* letter = augmentation + 1; *letter != '\0' && known && cursor.ok(); ++letter) {
    switch (*letter) {
      case 'R':
        cie.pointerEncoding = cursor.byte();
        break;
      case 'L':
        cursor.byte();  // the LSDA's encoding: exception tables are not the walker's business
        break;
      case 'P':
        cursor.encodedFormat(cursor.byte());  // the personality routine, likewise
        break;
      case 'S':
        cie.isSignalFrame = true;
        break;
      default:
        known = false;
        break;
    }
  }
  if (!cursor.ok() || cursor.position() > dataEnd) {
    return false;
  }
  cursor.skip(dataEnd - cursor.position());
  return cursor.ok();
}

}  // namespace tallix::crash
