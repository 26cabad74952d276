#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "TemporaryDirectory.h"

namespace tallix {

// A root directory to fill with the system files a test needs.
class FakeSystem {
 public:
  const std::filesystem::path& root() const { return directory_.path(); }

  void write(const std::filesystem::path& file, const std::string& contents) const {
    const auto path = root() / file.relative_path();
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << contents;
  }
  void link(const std::filesystem::path& link, const std::filesystem::path& target) const {
    const auto path = root() / link.relative_path();
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::create_symlink(target, path);
  }

 private:
  foundation::TemporaryDirectory directory_;
};

// Sets or removes an environment variable for one scope, then puts back what was there.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* old = ::getenv(name))
      old_ = old;
    set(value);
  }
  ~ScopedVariable() { set(old_ ? old_->c_str() : nullptr); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  void set(const char* value) const {
    if (value)
      ::setenv(name_, value, 1);
    else
      ::unsetenv(name_);
  }

  const char* name_;
  std::optional<std::string> old_;
};

}  // namespace tallix
