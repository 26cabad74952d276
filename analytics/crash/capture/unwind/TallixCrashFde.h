#pragma once

#include <cstdint>

#include "analytics/crash/capture/TallixCrashMemory.h"

namespace tallix::crash {

class TallixCrashDwarfCursor;

// What the CFA program of a function needs from its CIE.
struct TallixCrashCie {
  std::uint64_t codeAlignment = 1;
  std::int64_t dataAlignment = 1;
  std::uint64_t returnColumn = 0;
  std::uint8_t pointerEncoding = 0;  // of the FDE's addresses and of DW_CFA_set_loc
  bool isSignalFrame = false;        // augmentation "S": the caller's pc is exact
  bool hasAugmentationData = false;  // augmentation "z": FDEs carry a data block too
  std::uintptr_t instructions = 0, instructionsEnd = 0;
};

// One function's unwind description: the code it covers and its CFA program.
struct TallixCrashFde {
  TallixCrashCie cie;
  std::uintptr_t pcBegin = 0, pcEnd = 0;
  std::uintptr_t instructions = 0, instructionsEnd = 0;
};

// Parses a CIE and FDE pair of an .eh_frame section in place.
class TallixCrashFdeParser {
 public:
  // `dataBase` resolves data-relative pointers: the module's .eh_frame_hdr.
  TallixCrashFdeParser(const TallixCrashMemory& memory, std::uintptr_t dataBase);

  // The FDE at `address`; false when it is malformed or is a CIE.
  bool parse(std::uintptr_t address, TallixCrashFde& fde) const;

 private:
  bool parseCie(std::uintptr_t address, TallixCrashCie& cie) const;
  bool readAugmentation(TallixCrashDwarfCursor& cursor, const char* augmentation,
                        TallixCrashCie& cie) const;
  // The span of the entry at `address` after its length field.
  bool entryBounds(std::uintptr_t address, std::uintptr_t& body, std::uintptr_t& end) const;

  const TallixCrashMemory& memory_;
  std::uintptr_t dataBase_;
};

}  // namespace tallix::crash
