#include "tools/tallix-collector/TallixCookieChunk.h"

namespace tallix {

namespace {

// The agent skips the 32-bit value and the two bytes after it, so zeros carry nothing.
constexpr std::size_t kSkippedBytes = 4 + 2;

}  // namespace

std::string TallixCookieChunk::encode(const TallixAnswerSettings::Cookies& cookies) {
  std::string chunk;
  if (cookies.empty())
    return chunk;
  appendUshort(kChunkType, chunk);
  chunk.append(kSkippedBytes, '\0');
  appendUshort(cookies.size(), chunk);
  for (const auto& [key, value] : cookies) {
    appendShortText(key, chunk);
    appendShortText(value, chunk);
  }
  return chunk;
}

void TallixCookieChunk::appendUshort(std::size_t value, std::string& chunk) {
  chunk.push_back(static_cast<char>((value >> 8) & 0xFF));
  chunk.push_back(static_cast<char>(value & 0xFF));
}

void TallixCookieChunk::appendShortText(const std::string& text, std::string& chunk) {
  appendUshort(text.size(), chunk);
  chunk += text;
}

}  // namespace tallix
