#pragma once

#include <filesystem>
#include <string>

namespace tallix {

// A part of the agent that starts with it and follows its sessions: reachability and the
// file cache start with the agent, the configuration check and the partner callbacks follow
// session starts and ends.
class TallixAgentService {
 public:
  virtual ~TallixAgentService() = default;
  // The agent keeps its files in agentDirectory.
  virtual void agentDidStart(const std::string& apiKey,
                             const std::filesystem::path& agentDirectory) {
    (void)apiKey;
    (void)agentDirectory;
  }
  virtual void sessionDidStart(const std::string& apiKey, const std::string& sessionId) {
    (void)apiKey;
    (void)sessionId;
  }
  virtual void sessionDidEnd() {}
};

}  // namespace tallix
