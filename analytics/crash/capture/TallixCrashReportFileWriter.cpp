#include "analytics/crash/capture/TallixCrashReportFileWriter.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "analytics/crash/format/TallixCrashReportHeader.h"

namespace tallix::crash {

namespace {

struct ChunkedFile {
  ProtobufCBuffer base;
  int descriptor;
  bool failed;
  std::size_t used;
  std::uint8_t chunk[16 * 1024];
};

bool writeAll(int descriptor, const std::uint8_t* bytes, std::size_t size) {
  while (size) {
    const ssize_t written = ::write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR)
      continue;
    if (written <= 0)
      return false;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

void flush(ChunkedFile& file) {
  if (!file.failed && !writeAll(file.descriptor, file.chunk, file.used))
    file.failed = true;
  file.used = 0;
}

void append(ProtobufCBuffer* buffer, size_t size, const uint8_t* bytes) {
  auto& file = *reinterpret_cast<ChunkedFile*>(buffer);
  while (size) {
    if (file.used == sizeof file.chunk)
      flush(file);
    const std::size_t part = std::min(size, sizeof file.chunk - file.used);
    std::memcpy(file.chunk + file.used, bytes, part);
    file.used += part;
    bytes += part;
    size -= part;
  }
}

}  // namespace

bool TallixCrashReportFileWriter::write(int descriptor, const Tlxcrsh__CrashReport& report) {
  ChunkedFile file{{&append}, descriptor, false, 0, {}};
  append(&file.base, tallix::TallixCrashReportHeader::kSize,
         tallix::TallixCrashReportHeader::bytes());
  protobuf_c_message_pack_to_buffer(&report.base, &file.base);
  flush(file);
  return !file.failed;
}

}  // namespace tallix::crash
