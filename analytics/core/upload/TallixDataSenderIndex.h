#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analytics/core/upload/TallixDataSenderBlockInfo.h"
#include "foundation/Archivable.h"

namespace tallix {

// Which stored blocks wait to be sent, per data key, oldest first, and whether any report ever
// reached the server. Saved to "TallixSenderIndex.info" after every change. The block files are
// the truth: a block file the index does not list (a kill between storing the block and saving
// the index, or a damaged index) is adopted when the index is loaded. Runs on the agent queue.
class TallixDataSenderIndex : public foundation::Archivable {
 public:
  using Blocks = std::vector<std::shared_ptr<TallixDataSenderBlockInfo>>;
  using Bytes = TallixDataSenderBlockInfo::Bytes;
  static constexpr std::string_view kArchiveClassName = "TallixDataSenderIndex";
  static constexpr const char* kFileName = "TallixSenderIndex.info";
  static constexpr std::size_t kMaxBlocksPerDataKey = 50;

  // "Data_<hash of the API key>_<agent version>".
  static std::string dataKeyFor(const std::string& apiKey);

  // The index of the directory, with every block file in it accounted for under the data key.
  static std::unique_ptr<TallixDataSenderIndex> instantiatedIndex(
      const std::filesystem::path& directory, const std::string& dataKey);

  static std::shared_ptr<TallixDataSenderIndex> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  // The new block's identifier, or nothing when it could not be written.
  std::optional<std::string> storeData(const Bytes& data, foundation::Date now);
  void removeStoredDataWithIdentifier(const std::string& identifier);
  const Blocks& notSentBlocks() const;
  std::optional<Bytes> dataOf(const TallixDataSenderBlockInfo& block) const;
  // Deletes the oldest blocks, files and entries, until the limit holds.
  void discardOutdatedBlocks();

  bool everSentReportSuccessfully() const { return sentReportSuccessfully_; }
  void setSentReportSuccessfully();

 private:
  TallixDataSenderIndex() = default;
  // Blocks of other keys (an older agent version) become this key's, and files the index
  // does not list are adopted, oldest first.
  void setupForCurrentDataKey(const std::string& dataKey);
  void adoptUnlistedBlockFiles();
  void saveState() const;

  std::filesystem::path directory_;
  std::string dataKey_;
  std::map<std::string, Blocks, std::less<>> indexMap_;
  bool sentReportSuccessfully_ = false;
};

}  // namespace tallix
