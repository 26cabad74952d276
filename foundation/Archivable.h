#pragma once

#include <concepts>
#include <memory>
#include <string_view>

namespace foundation {

class KeyedArchiver;
class KeyedUnarchiver;

// An object that writes itself into a keyed archive. Its archive is tagged with its class
// name, so a file of another class, or of none, is never read back as this one.
class Archivable {
 public:
  virtual ~Archivable() = default;
  virtual std::string_view archiveClassName() const = 0;
  virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};

// A class that can be read back from a keyed archive: it names its archive class and builds
// itself from a coder, returning null (or failing the coder) when the contents do not fit.
template <typename T>
concept Unarchivable = requires(KeyedUnarchiver& coder) {
  { T::kArchiveClassName } -> std::convertible_to<std::string_view>;
  { T::initWithCoder(coder) } -> std::convertible_to<std::shared_ptr<T>>;
};

}  // namespace foundation
