#include "analytics/core/device/TallixDeviceIdentifiers.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "foundation/AtomicFile.h"

namespace tallix {
namespace {

using Id128 = std::array<unsigned char, 16>;

std::optional<Id128> id128FromHex(std::string_view hex) {
  Id128 id{};
  if (hex.size() != 2 * id.size())
    return std::nullopt;
  for (std::size_t index = 0; index < id.size(); ++index) {
    const char* digits = hex.data() + 2 * index;
    const auto result = std::from_chars(digits, digits + 2, id[index], 16);
    if (result.ec != std::errc{} || result.ptr != digits + 2)
      return std::nullopt;
  }
  // An all-zero id is what an unset machine id reads as; every machine would share it.
  if (std::all_of(id.begin(), id.end(), [](unsigned char byte) { return byte == 0; }))
    return std::nullopt;
  return id;
}

std::string uuidText(const Id128& id) {
  char text[37];
  ::uuid_unparse_upper(id.data(), text);
  return text;
}

// In our own spelling, whatever the spelling of the text; none for anything that is no UUID.
std::optional<std::string> canonicalUuid(const std::string& text) {
  Id128 id{};
  if (::uuid_parse(text.c_str(), id.data()) != 0)
    return std::nullopt;
  return uuidText(id);
}

}  // namespace

TallixDeviceIdentifiers::TallixDeviceIdentifiers(std::filesystem::path agentDirectory,
                                                 std::string applicationIdentifier,
                                                 std::filesystem::path root)
    : agentDirectory_(std::move(agentDirectory)),
      applicationIdentifier_(std::move(applicationIdentifier)),
      files_(std::move(root)) {}

// Systemd's application-specific machine ids are made the same way: an HMAC keyed with the
// machine id, so that nobody holding the result can get back to the machine id.
std::optional<std::string> TallixDeviceIdentifiers::identifierForVendor() const {
  std::optional<Id128> machineId;
  for (const char* file : {"/etc/machine-id", "/var/lib/dbus/machine-id"}) {
    const auto line = files_.firstLine(file);
    if (line && (machineId = id128FromHex(*line)))
      break;
  }
  if (!machineId)
    return std::nullopt;

  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int digestLength = 0;
  const auto* message = reinterpret_cast<const unsigned char*>(applicationIdentifier_.data());
  if (!::HMAC(::EVP_sha256(), machineId->data(), static_cast<int>(machineId->size()), message,
              applicationIdentifier_.size(), digest, &digestLength))
    return std::nullopt;

  Id128 id{};
  std::copy_n(digest, id.size(), id.begin());
  id[6] = (id[6] & 0x0F) | 0x40;  // version 4
  id[8] = (id[8] & 0x3F) | 0x80;  // RFC 4122 variant
  return uuidText(id);
}

std::string TallixDeviceIdentifiers::generateUUID() {
  Id128 id{};
  ::uuid_generate_random(id.data());
  return uuidText(id);
}

std::string TallixDeviceIdentifiers::tallixId() {
  if (tallixId_)
    return *tallixId_;
  tallixId_ = storedTallixId();
  if (!tallixId_) {
    tallixId_ = generateUUID();
    // If it cannot be kept, it still holds for the rest of this run; the next run tries again.
    foundation::AtomicFile::write(tallixIdFile(), *tallixId_);
  }
  return *tallixId_;
}

// The design allows the machine id's hash above as the only identifier derived from the
// hardware, so nothing that identifies the person is collected beyond it: no network address.
std::optional<std::string> TallixDeviceIdentifiers::macUID() const {
  return std::nullopt;
}

std::optional<std::string> TallixDeviceIdentifiers::storedTallixId() const {
  const auto stored = foundation::AtomicFile::read(tallixIdFile());
  return stored ? canonicalUuid(*stored) : std::nullopt;
}

std::filesystem::path TallixDeviceIdentifiers::tallixIdFile() const {
  return agentDirectory_ / "tallix-device-id";
}

}  // namespace tallix
