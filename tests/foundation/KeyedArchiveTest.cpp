#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <thread>

#include "ArchiveFixtures.h"
#include "TemporaryDirectory.h"

namespace foundation {
namespace {

// Every scalar type the archiver knows, written and read back through a file.
struct Scalars : Archivable {
  static constexpr std::string_view kArchiveClassName = "Scalars";
  bool flag = false;
  std::int32_t small = 0;
  std::int64_t large = 0;
  double real = 0;
  std::string text;
  Date when;
  Value::Bytes data;

  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(KeyedArchiver& coder) const override {
    coder.encodeBool("flag", flag);
    coder.encodeInt32("small", small);
    coder.encodeInt64("large", large);
    coder.encodeDouble("real", real);
    coder.encodeString("text", text);
    coder.encodeDate("when", when);
    coder.encodeBytes("data", data);
  }
  static std::shared_ptr<Scalars> initWithCoder(KeyedUnarchiver& coder) {
    auto s = std::make_shared<Scalars>();
    s->flag = coder.decodeBool("flag").value_or(false);
    s->small = coder.decodeInt32("small").value_or(0);
    s->large = coder.decodeInt64("large").value_or(0);
    s->real = coder.decodeDouble("real").value_or(0);
    s->text = coder.decodeString("text").value_or("");
    s->when = coder.decodeDate("when").value_or(Date());
    s->data = coder.decodeBytes("data").value_or(Value::Bytes{});
    return s;
  }
};

class KeyedArchiveTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory;
  std::filesystem::path file = directory.path() / "archive.json";

  template <Unarchivable T>
  std::shared_ptr<T> roundTrip(const T& object) {
    EXPECT_TRUE(KeyedArchiver::archiveRootObject(object, file));
    return KeyedUnarchiver::unarchiveObjectWithFile<T>(file);
  }
  void writeRaw(std::string_view text) { std::ofstream(file, std::ios::binary) << text; }
};

TEST_F(KeyedArchiveTest, ScalarsRoundTripAtTheirLimits) {
  Scalars original;
  original.flag = true;
  original.small = std::numeric_limits<std::int32_t>::min();
  original.large = std::numeric_limits<std::int64_t>::max();
  original.real = -0.1;
  original.text = std::string("naïve \"quoted\" \\ text\n\0with nul", 31);
  original.when = Date::fromTimeIntervalSince1970(1795000000.123456);
  original.data = {0, 1, 2, 0xfe, 0xff};

  const auto read = roundTrip(original);
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->flag);
  EXPECT_EQ(read->small, original.small);
  EXPECT_EQ(read->large, original.large);
  EXPECT_EQ(read->real, original.real);
  EXPECT_EQ(read->text, original.text);
  EXPECT_EQ(read->when, original.when);
  EXPECT_EQ(read->data, original.data);

  // Neither has a JSON form of its own.
  original.text = "\xff\xfe broken \xc3";
  original.real = -INFINITY;
  const auto tagged = roundTrip(original);
  EXPECT_EQ(tagged->text, original.text);
  EXPECT_EQ(tagged->real, -INFINITY);
}

TEST_F(KeyedArchiveTest, ValuesNestedObjectsAndObjectListsRoundTrip) {
  Journal original;
  original.attributes = Value(Value::Dictionary{
      {"$date", Value("a key that looks like a tag")},
      {"$$", Value(Value::Array{Value(), Value(false), Value(1.5), Value(-3)})},
      {"\xff-key", Value(Value::Bytes{9, 8})},
      {"when", Value(Date::fromTimeIntervalSince1970(1.25))},
      {"empty", Value(Value::Dictionary{})},
  });
  original.headline = std::make_shared<Entry>();
  original.headline->name = "head";
  for (int i = 0; i < 3; ++i) {
    auto entry = std::make_shared<Entry>();
    entry->name = "entry" + std::to_string(i);
    entry->count = i;
    original.entries.push_back(entry);
  }

  const auto read = roundTrip(original);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->attributes, original.attributes);
  ASSERT_TRUE(read->headline);
  EXPECT_EQ(read->headline->name, "head");
  ASSERT_EQ(read->entries.size(), 3u);
  EXPECT_EQ(read->entries[2]->name, "entry2");
  EXPECT_EQ(read->entries[2]->count, 2);
}

TEST_F(KeyedArchiveTest, RootValuesRoundTripAndMissingKeysReadAsNothing) {
  const Value original = largeDictionary("v", 50);
  ASSERT_TRUE(KeyedArchiver::archiveRootValue(original, file));
  EXPECT_EQ(KeyedUnarchiver::unarchiveValueWithFile(file), original);

  const auto empty = KeyedUnarchiver::unarchiveObjectWithData<Journal>(R"({"$class":"Journal"})");
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->headline, nullptr);
  EXPECT_TRUE(empty->entries.empty());
}

TEST_F(KeyedArchiveTest, DamagedOrForeignFilesReadAsNothing) {
  EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithFile<Entry>(file), nullptr);  // missing

  Entry entry;
  entry.name = "complete";
  const std::string whole = KeyedArchiver::archivedData(entry);
  for (std::size_t cut : {std::size_t{0}, std::size_t{1}, whole.size() / 2, whole.size() - 1}) {
    writeRaw(whole.substr(0, cut));
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithFile<Entry>(file), nullptr) << "cut " << cut;
  }
  const char* const damaged[] = {
      "\x00\x01garbage",
      R"({"$class":"Journal","name":"x"})",           // another class
      R"({"name":"x","count":1})",                    // no class at all
      R"([{"$class":"Entry"}])",                      // not an object
      R"({"$class":"Entry","count":"seven"})",        // wrongly typed key
      R"({"$class":"Entry","count":2.5})",            // a fraction for an integer
      R"({"$class":"Entry","count":4294967296})",     // out of 32-bit range
      R"({"$class":"Entry","name":{"$bytes":"!"}})",  // malformed tagged value
      R"({"$class":"Entry","name":"a","name":"b"})",  // duplicate key
  };
  for (const char* text : damaged) {
    writeRaw(text);
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithFile<Entry>(file), nullptr) << text;
  }
  writeRaw(R"({"$class":"Journal","entries":[{"$class":"Entry"},{"$class":"Other"}]})");
  EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithFile<Journal>(file), nullptr);
  writeRaw(R"({"$class":"Journal","attributes":{"$unknown":1}})");
  EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithFile<Journal>(file), nullptr);
}

TEST_F(KeyedArchiveTest, WritesArePrivateAndLeaveNoTemporaryFiles) {
  Entry entry;
  for (int i = 0; i < 5; ++i)
    ASSERT_TRUE(KeyedArchiver::archiveRootObject(entry, file));
  struct stat info {};
  ASSERT_EQ(::stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);

  EXPECT_FALSE(KeyedArchiver::archiveRootObject(entry, directory.path() / "missing" / "x"));
}

TEST_F(KeyedArchiveTest, AKillAtAnyMomentLeavesTheOldOrTheNewContentNeverATornFile) {
  const Value oldContent = largeDictionary("old", 2000);
  const Value newContent = largeDictionary("new", 2000);
  ASSERT_TRUE(KeyedArchiver::archiveRootValue(oldContent, file));
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      ::dup2(ready[1], STDOUT_FILENO);
      ::execl(ARCHIVE_CHURN_PATH, ARCHIVE_CHURN_PATH, file.c_str(), nullptr);
      ::_exit(127);
    }
    ::close(ready[1]);
    char line[16];
    ASSERT_GT(::read(ready[0], line, sizeof line), 0);  // one write is complete
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
    ::kill(child, SIGKILL);
    ::close(ready[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself";

    const auto read = KeyedUnarchiver::unarchiveValueWithFile(file);
    ASSERT_TRUE(read) << "round " << round << ": torn or missing archive";
    ASSERT_TRUE(*read == oldContent || *read == newContent) << "round " << round;
  }
}

}  // namespace
}  // namespace foundation
