#pragma once

#include <memory>
#include <string>
#include <vector>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace foundation {

// A small archivable record with a nested object list, shaped like the agent's session logs.
struct Entry : Archivable {
  static constexpr std::string_view kArchiveClassName = "Entry";
  std::string name;
  std::int32_t count = 0;

  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(KeyedArchiver& coder) const override {
    coder.encodeString("name", name);
    coder.encodeInt32("count", count);
  }
  static std::shared_ptr<Entry> initWithCoder(KeyedUnarchiver& coder) {
    auto entry = std::make_shared<Entry>();
    entry->name = coder.decodeString("name").value_or("");
    entry->count = coder.decodeInt32("count").value_or(0);
    return entry;
  }
};

struct Journal : Archivable {
  static constexpr std::string_view kArchiveClassName = "Journal";
  Value attributes;
  std::shared_ptr<Entry> headline;
  std::vector<std::shared_ptr<Entry>> entries;

  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(KeyedArchiver& coder) const override {
    coder.encodeValue("attributes", attributes);
    if (headline)
      coder.encodeObject("headline", *headline);
    coder.encodeObjects("entries", entries);
  }
  static std::shared_ptr<Journal> initWithCoder(KeyedUnarchiver& coder) {
    auto journal = std::make_shared<Journal>();
    journal->attributes = coder.decodeValue("attributes").value_or(Value());
    journal->headline = coder.decodeObject<Entry>("headline");
    journal->entries = coder.decodeObjects<Entry>("entries").value_or(decltype(entries){});
    return journal;
  }
};

// Two archives of the same shape and size but different content, for crash tests.
inline Value largeDictionary(const std::string& marker, int entries) {
  Value::Dictionary dictionary;
  for (int i = 0; i < entries; ++i) {
    dictionary.emplace("key" + std::to_string(i), Value(marker + std::to_string(i)));
  }
  return Value(std::move(dictionary));
}

}  // namespace foundation
