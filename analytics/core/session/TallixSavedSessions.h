#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "foundation/Value.h"

namespace tallix {

class TallixGlobalVariableStorage;
class TallixSession;

// The report records of finished sessions not yet handed to the uploader, oldest first. The
// file is read once, when the list is made; after that the list lives here and every change
// rewrites the file whole and atomically, so a kill at any moment leaves the old list or the
// new one. Capped, so a machine that never reaches the server keeps only the newest. Used on
// the agent queue only.
class TallixSavedSessions {
 public:
  using Record = foundation::Value::Bytes;
  using RecordWriter = std::function<std::optional<Record>(TallixSession&)>;

  TallixSavedSessions(std::filesystem::path path, const TallixGlobalVariableStorage& settings,
                      RecordWriter recordOf);

  const std::vector<Record>& savedSessions() const { return records_; }
  void setSavedSessions(const std::vector<Record>& records);
  void addToSavedSessions(TallixSession& session);

 private:
  // Empty when the file is missing or unreadable; a damaged entry is left out, not the rest.
  std::vector<Record> readFile() const;
  void removeOldSessionsIfNecessary();
  void writeFile() const;

  const std::filesystem::path path_;
  const TallixGlobalVariableStorage& settings_;
  const RecordWriter recordOf_;
  std::vector<Record> records_;
};

}  // namespace tallix
