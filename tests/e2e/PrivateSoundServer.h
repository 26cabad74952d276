#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace e2e {

// A PulseAudio of our own (scripts/private-pulse) in `directory`, with `extraLines` of
// configuration run after the script's own; stopped when this goes. Its directory is never the
// shared test server's, so the two never meet.
class PrivateSoundServer {
 public:
  PrivateSoundServer(std::filesystem::path directory, const std::string& extraLines);
  ~PrivateSoundServer();
  PrivateSoundServer(const PrivateSoundServer&) = delete;
  PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

  const std::filesystem::path& directory() const { return directory_; }
  // For libpulse's pa_simple and the like.
  std::string address() const;
  // What a program needs in its environment to use this server and no other.
  std::map<std::string, std::string> environment() const;

 private:
  std::filesystem::path directory_;
};

}  // namespace e2e
