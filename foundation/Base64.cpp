#include "foundation/Base64.h"

#include <array>

namespace foundation {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kInvalid = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDecodeTable() {
  std::array<std::uint8_t, 256> table{};
  table.fill(kInvalid);
  for (std::uint8_t i = 0; i < 64; ++i)
    table[static_cast<unsigned char>(kAlphabet[i])] = i;
  return table;
}
constexpr auto kDecodeTable = makeDecodeTable();

}  // namespace

std::string Base64::encode(std::span<const std::uint8_t> data) {
  std::string out;
  out.reserve((data.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= data.size(); i += 3) {
    const std::uint32_t group = data[i] << 16 | data[i + 1] << 8 | data[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6)
      out += kAlphabet[(group >> shift) & 0x3F];
  }
  const std::size_t rest = data.size() - i;
  if (rest > 0) {
    const std::uint32_t group = data[i] << 16 | (rest == 2 ? data[i + 1] << 8 : 0);
    out += kAlphabet[(group >> 18) & 0x3F];
    out += kAlphabet[(group >> 12) & 0x3F];
    out += rest == 2 ? kAlphabet[(group >> 6) & 0x3F] : '=';
    out += '=';
  }
  return out;
}

std::optional<std::vector<std::uint8_t>> Base64::decode(std::string_view text) {
  if (text.size() % 4 != 0)
    return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
    ++padding;
  }
  std::vector<std::uint8_t> out;
  out.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  const std::size_t significant = text.size() - padding;
  for (std::size_t i = 0; i < significant; ++i) {
    const std::uint8_t sextet = kDecodeTable[static_cast<unsigned char>(text[i])];
    if (sextet == kInvalid)
      return std::nullopt;
    group = group << 6 | sextet;
    if (i % 4 == 3) {
      out.push_back(group >> 16);
      out.push_back(group >> 8 & 0xFF);
      out.push_back(group & 0xFF);
      group = 0;
    }
  }
  const std::size_t tail = significant % 4;
  if (tail == 1)
    return std::nullopt;
  if (tail == 2) {
    if (group & 0xF)
      return std::nullopt;  // non-canonical: bits that padding must clear
    out.push_back(group >> 4);
  } else if (tail == 3) {
    if (group & 0x3)
      return std::nullopt;
    out.push_back(group >> 10);
    out.push_back(group >> 2 & 0xFF);
  }
  return out;
}

}  // namespace foundation
