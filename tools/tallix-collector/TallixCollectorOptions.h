#pragma once

#include <filesystem>
#include <string>

#include "tools/tallix-collector/TallixAnswerSettings.h"

namespace tallix {

// The collector's command line.
struct TallixCollectorOptions {
  static constexpr const char* kUsage =
      "usage: tallix-collector --store DIR [--host HOST] [--port N] [--status N]\n"
      "                        [--delay-ms N] [--cookies key=value,...]\n"
      "                        [--config FILE] [--callback-status N]\n";

  std::string host = "127.0.0.1";
  int port = 0;
  std::filesystem::path store;
  TallixAnswerSettings answer;
  bool help = false;

  // Throws std::invalid_argument naming the option at fault.
  static TallixCollectorOptions parse(int argc, const char* const* argv);

 private:
  void take(const std::string& option, const std::string& value);
  static int integer(const std::string& option, const std::string& value);
};

}  // namespace tallix
