#include "analytics/core/upload/TallixDataSenderIndex.h"

#include <algorithm>
#include <set>

#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/StringFormat.h"

namespace tallix {

namespace {

bool olderFirst(const std::shared_ptr<TallixDataSenderBlockInfo>& left,
                const std::shared_ptr<TallixDataSenderBlockInfo>& right) {
  return left->creationDate() < right->creationDate();
}

}  // namespace

std::string TallixDataSenderIndex::dataKeyFor(const std::string& apiKey) {
  return foundation::stringWithFormat(
      "Data_%lu_%d",
      static_cast<unsigned long>(static_cast<std::uint32_t>(TallixFilePaths::apiKeyHash(apiKey))),
      TallixAgentVersion::kVersion);
}

std::unique_ptr<TallixDataSenderIndex> TallixDataSenderIndex::instantiatedIndex(
    const std::filesystem::path& directory, const std::string& dataKey) {
  const auto path = directory / kFileName;
  auto loaded = foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixDataSenderIndex>(path);
  if (!loaded && std::filesystem::exists(path))
    TallixLog::debug(
        "TallixDataSenderIndex: index at path[%s] unreadable, rebuilt from the "
        "stored blocks",
        path.c_str());
  auto index = std::unique_ptr<TallixDataSenderIndex>(new TallixDataSenderIndex());
  if (loaded) {
    index->indexMap_ = std::move(loaded->indexMap_);
    index->sentReportSuccessfully_ = loaded->sentReportSuccessfully_;
  }
  index->directory_ = directory;
  index->setupForCurrentDataKey(dataKey);
  return index;
}

void TallixDataSenderIndex::setupForCurrentDataKey(const std::string& dataKey) {
  dataKey_ = dataKey;
  Blocks& current = indexMap_[dataKey_];
  for (auto& [key, blocks] : indexMap_) {
    if (key != dataKey_)
      current.insert(current.end(), blocks.begin(), blocks.end());
  }
  std::erase_if(indexMap_, [&](const auto& entry) { return entry.first != dataKey_; });
  adoptUnlistedBlockFiles();
  std::stable_sort(current.begin(), current.end(), olderFirst);
  saveState();
}

void TallixDataSenderIndex::adoptUnlistedBlockFiles() {
  Blocks& current = indexMap_[dataKey_];
  std::set<std::string, std::less<>> listed;
  std::erase_if(current, [&](const auto& block) {
    const bool present = std::filesystem::exists(directory_ / block->identifier());
    if (present)
      listed.insert(block->identifier());
    return !present;
  });
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory_, error)) {
    if (!entry.is_regular_file() || !TallixDataSenderBlockInfo::looksLikeBlockFile(entry.path()) ||
        listed.contains(entry.path().filename().string()))
      continue;
    if (auto block = TallixDataSenderBlockInfo::adopt(entry.path()))
      current.push_back(std::move(block));
  }
}

std::optional<std::string> TallixDataSenderIndex::storeData(const Bytes& data,
                                                            foundation::Date now) {
  auto block = TallixDataSenderBlockInfo::initWithData(directory_, data, now);
  if (!block)
    return std::nullopt;
  indexMap_[dataKey_].push_back(block);
  saveState();
  return block->identifier();
}

void TallixDataSenderIndex::removeStoredDataWithIdentifier(const std::string& identifier) {
  auto& blocks = indexMap_[dataKey_];
  const auto found = std::find_if(blocks.begin(), blocks.end(), [&](const auto& block) {
    return block->identifier() == identifier;
  });
  if (found == blocks.end())
    return;
  (*found)->deletePersistentData(directory_);
  blocks.erase(found);
  saveState();
}

const TallixDataSenderIndex::Blocks& TallixDataSenderIndex::notSentBlocks() const {
  static const Blocks none;
  const auto found = indexMap_.find(dataKey_);
  return found == indexMap_.end() ? none : found->second;
}

std::optional<TallixDataSenderIndex::Bytes> TallixDataSenderIndex::dataOf(
    const TallixDataSenderBlockInfo& block) const {
  return block.data(directory_);
}

void TallixDataSenderIndex::discardOutdatedBlocks() {
  auto& blocks = indexMap_[dataKey_];
  if (blocks.size() <= kMaxBlocksPerDataKey)
    return;
  const auto excess = static_cast<std::ptrdiff_t>(blocks.size() - kMaxBlocksPerDataKey);
  for (auto block = blocks.begin(); block != blocks.begin() + excess; ++block)
    (*block)->deletePersistentData(directory_);
  blocks.erase(blocks.begin(), blocks.begin() + excess);
  saveState();
}

void TallixDataSenderIndex::setSentReportSuccessfully() {
  if (sentReportSuccessfully_)
    return;
  sentReportSuccessfully_ = true;
  saveState();
}

void TallixDataSenderIndex::saveState() const {
  if (!foundation::KeyedArchiver::archiveRootObject(*this, directory_ / kFileName))
    TallixLog::debug("TallixDataSenderIndex: index not saved to disk in [%s]", directory_.c_str());
}

void TallixDataSenderIndex::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  foundation::Value::Dictionary index;
  for (const auto& [key, blocks] : indexMap_) {
    foundation::Value::Array entries;
    for (const auto& block : blocks)
      entries.push_back(block->archivedValue());
    index.emplace(key, std::move(entries));
  }
  coder.encodeValue("index", foundation::Value(std::move(index)));
  coder.encodeBool("TallixSentReportSuccessfulKey", sentReportSuccessfully_);
}

std::shared_ptr<TallixDataSenderIndex> TallixDataSenderIndex::initWithCoder(
    foundation::KeyedUnarchiver& coder) {
  auto index = std::shared_ptr<TallixDataSenderIndex>(new TallixDataSenderIndex());
  index->sentReportSuccessfully_ =
      coder.decodeBool("TallixSentReportSuccessfulKey").value_or(false);
  const auto archived = coder.decodeValue("index");
  if (!archived || !archived->dictionary()) {
    coder.fail();
    return nullptr;
  }
  for (const auto& [key, entries] : *archived->dictionary()) {
    if (!entries.array())
      return coder.fail(), nullptr;
    Blocks& blocks = index->indexMap_[key];
    for (const auto& entry : *entries.array()) {
      auto block = TallixDataSenderBlockInfo::fromArchivedValue(entry);
      if (!block)
        return coder.fail(), nullptr;
      blocks.push_back(std::move(block));
    }
  }
  return index;
}

}  // namespace tallix
