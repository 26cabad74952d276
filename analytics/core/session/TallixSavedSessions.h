#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "foundation/Value.h"

namespace tallix {

class TallixGlobalVariableStorage;
class TallixSession;

// The report records of finished sessions not yet handed to the uploader, oldest first, in
// one file. Capped, so a machine that never reaches the server keeps only the newest.
class TallixSavedSessions {
 public:
  using Record = foundation::Value::Bytes;
  using RecordWriter = std::function<std::optional<Record>(TallixSession&)>;

  TallixSavedSessions(std::filesystem::path path, const TallixGlobalVariableStorage& settings,
                      RecordWriter recordOf);

  // Empty when the file is missing or unreadable.
  std::vector<Record> savedSessions() const;
  void setSavedSessions(const std::vector<Record>& records);
  void addToSavedSessions(TallixSession& session);

 private:
  void removeOldSessionsIfNecessary(std::vector<Record>& records) const;

  const std::filesystem::path path_;
  const TallixGlobalVariableStorage& settings_;
  const RecordWriter recordOf_;
};

}  // namespace tallix
