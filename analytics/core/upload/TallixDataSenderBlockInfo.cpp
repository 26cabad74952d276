#include "analytics/core/upload/TallixDataSenderBlockInfo.h"

#include <regex>

#include "analytics/core/device/TallixDeviceIdentifiers.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/AtomicFile.h"

namespace tallix {

using foundation::Date;

TallixDataSenderBlockInfo::TallixDataSenderBlockInfo(std::string identifier, std::uint64_t dataSize,
                                                     Date creationDate)
    : identifier_(std::move(identifier)), dataSize_(dataSize), creationDate_(creationDate) {}

std::shared_ptr<TallixDataSenderBlockInfo> TallixDataSenderBlockInfo::initWithData(
    const std::filesystem::path& directory, const Bytes& data, Date now) {
  const std::string identifier = TallixDeviceIdentifiers::generateUUID();
  const auto path = directory / identifier;
  const std::string_view contents(reinterpret_cast<const char*>(data.data()), data.size());
  if (identifier.empty() || directory.empty() || foundation::AtomicFile::write(path, contents)) {
    TallixLog::debug("Failed to create TallixDataSenderBlockInfo for data size %lu",
                     static_cast<unsigned long>(data.size()));
    return nullptr;
  }
  return std::shared_ptr<TallixDataSenderBlockInfo>(
      new TallixDataSenderBlockInfo(identifier, data.size(), now));
}

bool TallixDataSenderBlockInfo::looksLikeBlockFile(const std::filesystem::path& file) {
  static const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  return std::regex_match(file.filename().string(), uuid);
}

std::shared_ptr<TallixDataSenderBlockInfo> TallixDataSenderBlockInfo::adopt(
    const std::filesystem::path& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (error)
    return nullptr;
  const auto modified = std::filesystem::last_write_time(file, error);
  const auto seconds =
      std::chrono::duration<double>(std::chrono::file_clock::to_sys(modified).time_since_epoch());
  return std::shared_ptr<TallixDataSenderBlockInfo>(new TallixDataSenderBlockInfo(
      file.filename().string(), size, Date::fromTimeIntervalSince1970(seconds.count())));
}

std::optional<TallixDataSenderBlockInfo::Bytes> TallixDataSenderBlockInfo::data(
    const std::filesystem::path& directory) const {
  const auto contents = foundation::AtomicFile::read(directory / identifier_);
  if (!contents)
    return std::nullopt;
  return Bytes(contents->begin(), contents->end());
}

void TallixDataSenderBlockInfo::deletePersistentData(const std::filesystem::path& directory) const {
  std::error_code ignored;
  std::filesystem::remove(directory / identifier_, ignored);
}

foundation::Value TallixDataSenderBlockInfo::archivedValue() const {
  return foundation::Value::Dictionary{{"identifier", identifier_},
                                       {"dataSize", static_cast<std::int64_t>(dataSize_)},
                                       {"creationDate", creationDate_}};
}

std::shared_ptr<TallixDataSenderBlockInfo> TallixDataSenderBlockInfo::fromArchivedValue(
    const foundation::Value& entry) {
  const foundation::Value* identifier = entry.find("identifier");
  const foundation::Value* dataSize = entry.find("dataSize");
  const foundation::Value* creationDate = entry.find("creationDate");
  if (!identifier || !identifier->string() || !looksLikeBlockFile(*identifier->string()) ||
      !dataSize || !dataSize->integer() || !creationDate || !creationDate->date())
    return nullptr;
  return std::shared_ptr<TallixDataSenderBlockInfo>(new TallixDataSenderBlockInfo(
      *identifier->string(), static_cast<std::uint64_t>(*dataSize->integer()),
      *creationDate->date()));
}

}  // namespace tallix
