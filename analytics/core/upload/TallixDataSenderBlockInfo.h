#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// One stored request body: its bytes in a file of their own, named by the block's identifier,
// in the agent's directory. The index keeps only these few facts about it.
class TallixDataSenderBlockInfo {
 public:
  using Bytes = foundation::Value::Bytes;

  // Writes the bytes atomically under a new identifier; nothing when they cannot be written.
  static std::shared_ptr<TallixDataSenderBlockInfo> initWithData(
      const std::filesystem::path& directory, const Bytes& data, foundation::Date now);
  // A block file found on disk that the index does not know: adopted, not lost.
  static std::shared_ptr<TallixDataSenderBlockInfo> adopt(const std::filesystem::path& file);
  static bool looksLikeBlockFile(const std::filesystem::path& file);

  // The index's entry: "identifier", "dataSize", "creationDate". Nothing for an entry that is
  // damaged or names anything but a block file.
  static std::shared_ptr<TallixDataSenderBlockInfo> fromArchivedValue(
      const foundation::Value& entry);
  foundation::Value archivedValue() const;

  const std::string& identifier() const { return identifier_; }
  std::uint64_t dataSize() const { return dataSize_; }
  foundation::Date creationDate() const { return creationDate_; }

  std::optional<Bytes> data(const std::filesystem::path& directory) const;
  void deletePersistentData(const std::filesystem::path& directory) const;

 private:
  TallixDataSenderBlockInfo(std::string identifier, std::uint64_t dataSize,
                            foundation::Date creationDate);

  std::string identifier_;
  std::uint64_t dataSize_;
  foundation::Date creationDate_;
};

}  // namespace tallix
