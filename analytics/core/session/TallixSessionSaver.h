#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace foundation {
class DispatchQueue;
}

namespace tallix {

class TallixSession;

// Saves the current session after its changes, at most once per window: at tens of thousands
// of events a second, one archive write per event would be the agent's whole cost. A change is
// on disk within the window plus one write, so a kill loses no more than that. Runs on the
// agent queue only.
class TallixSessionSaver {
 public:
  static constexpr std::chrono::milliseconds kDefaultWindow{15};

  TallixSessionSaver(foundation::DispatchQueue& queue,
                     std::chrono::milliseconds window = kDefaultWindow);

  void scheduleSave(std::shared_ptr<const TallixSession> session, std::filesystem::path path);
  // Writes the pending save now, if there is one.
  void flush();
  // Drops a pending save and deletes the file, so a session already reported is never
  // written back and mistaken for one that did not end.
  void removeFile(const std::filesystem::path& path);

 private:
  struct Pending {
    std::shared_ptr<const TallixSession> session;
    std::filesystem::path path;
  };

  foundation::DispatchQueue& queue_;
  const std::chrono::milliseconds window_;
  std::optional<Pending> pending_;
  std::uint64_t generation_ = 0;
};

}  // namespace tallix
