#pragma once

#include "foundation/Value.h"

namespace tallix {

// A dictionary as the report carries it: a 16-bit entry count, then each key and the text of
// its value as strings, in key order. Event parameters and session properties share it.
class TallixDictionaryRecord {
 public:
  // Anything but a dictionary is written as an empty one.
  static void append(const foundation::Value& dictionary, foundation::Value::Bytes& data);
  // Strings as they are, numbers in decimal, other values by their description.
  static void appendValueText(const foundation::Value& value, foundation::Value::Bytes& data);
};

}  // namespace tallix
