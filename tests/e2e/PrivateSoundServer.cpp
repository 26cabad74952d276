#include "PrivateSoundServer.h"

#include <cstdio>
#include <fstream>

#include "ChildProcess.h"

namespace e2e {
namespace {

Command script(const std::string& action, const std::filesystem::path& directory) {
  return {{ORVANE_PRIVATE_PULSE_SCRIPT, action, directory.string()}, {}};
}

}  // namespace

PrivateSoundServer::PrivateSoundServer(std::filesystem::path directory,
                                       const std::string& extraLines)
    : directory_(std::filesystem::absolute(directory)) {
  std::filesystem::create_directories(directory_);
  const auto extra = directory_ / "extra.pa";
  std::ofstream(extra) << extraLines;
  auto start = script("start", directory_);
  start.arguments.push_back(extra.string());
  runToEnd(start);
}

PrivateSoundServer::~PrivateSoundServer() {
  try {
    runToEnd(script("stop", directory_));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());  // a destructor can only tell
  }
}

std::string PrivateSoundServer::address() const {
  return "unix:" + (directory_ / "native").string();
}

std::map<std::string, std::string> PrivateSoundServer::environment() const {
  return {{"PULSE_SERVER", address()},
          {"PULSE_CLIENTCONFIG", (directory_ / "client.conf").string()}};
}

}  // namespace e2e
