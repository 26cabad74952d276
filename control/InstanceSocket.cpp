#include "control/InstanceSocket.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace control {
namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::string InstanceSocket::defaultPath() {
  if (const auto runtime = environment("XDG_RUNTIME_DIR"); !runtime.empty())
    return (std::filesystem::path(runtime) / "orvane-instance").string();
  const std::string uid = std::to_string(::getuid());
  std::error_code error;
  if (const std::filesystem::path run = "/run/user/" + uid;
      std::filesystem::is_directory(run, error))
    return (run / "orvane-instance").string();
  const auto temporary = environment("TMPDIR");
  return (std::filesystem::path(temporary.empty() ? "/tmp" : temporary) /
          ("orvane-instance-" + uid))
      .string();
}

}  // namespace control
