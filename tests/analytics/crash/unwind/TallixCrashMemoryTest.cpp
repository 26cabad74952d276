#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "analytics/crash/capture/TallixCrashMemory.h"

namespace tallix::crash {
namespace {

// Pages of our own: `readable` read-write ones, then one PROT_NONE page, then an unmapped one.
class Pages {
 public:
  explicit Pages(std::size_t readable) : readable_(readable), size_(pageSize() * (readable + 2)) {
    base_ = static_cast<unsigned char*>(
        mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    for (std::size_t page = 0; page < readable; ++page) {
      std::memset(at(page), static_cast<int>(page + 1), pageSize());
    }
    mprotect(at(readable), pageSize(), PROT_NONE);
    munmap(at(readable + 1), pageSize());
  }
  ~Pages() { munmap(base_, size_); }

  static std::size_t pageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
  unsigned char* at(std::size_t page) const { return base_ + page * pageSize(); }
  std::uintptr_t address(std::size_t page) const {
    return reinterpret_cast<std::uintptr_t>(at(page));
  }
  std::uintptr_t protectedPage() const { return address(readable_); }
  std::uintptr_t unmappedPage() const { return address(readable_ + 1); }

 private:
  std::size_t readable_;
  std::size_t size_;
  unsigned char* base_ = nullptr;
};

TEST(TallixCrashMemoryTest, RefusesProtectedAndUnmappedBytesWithoutFaulting) {
  const Pages pages(1);
  const TallixCrashMemory memory;
  std::uint64_t value = 0;
  EXPECT_FALSE(memory.read(pages.protectedPage(), value));
  EXPECT_FALSE(memory.read(pages.unmappedPage() + 16, value));
  EXPECT_FALSE(memory.read(0, value));
  // A read is all or nothing: its last bytes on the protected page fail it.
  EXPECT_FALSE(memory.read(pages.protectedPage() - 4, value));
  EXPECT_FALSE(memory.read(UINTPTR_MAX - 3, value));
  // The readable page just before stays readable, also after the failures.
  EXPECT_TRUE(memory.read(pages.protectedPage() - 8, value));
  EXPECT_EQ(value, 0x0101010101010101u);
}

TEST(TallixCrashMemoryTest, ReadsAcrossPagesAndSeesTheCurrentContentsOfCachedPages) {
  constexpr std::size_t kPages = 40;  // more than the reader remembers
  const Pages pages(kPages);
  const TallixCrashMemory memory;
  for (int round = 0; round < 2; ++round) {
    for (std::size_t page = 1; page < kPages; ++page) {
      std::array<unsigned char, 4> across{};
      ASSERT_TRUE(memory.read(pages.address(page) - 2, across.data(), across.size()));
      EXPECT_EQ(across,
                (std::array<unsigned char, 4>{
                    static_cast<unsigned char>(page), static_cast<unsigned char>(page),
                    static_cast<unsigned char>(page + 1), static_cast<unsigned char>(page + 1)}));
    }
  }
  unsigned char before = 0, after = 0;
  ASSERT_TRUE(memory.read(pages.address(0) + 5, before));
  pages.at(0)[5] = 0xab;
  ASSERT_TRUE(memory.read(pages.address(0) + 5, after));
  EXPECT_EQ(before, 1);
  EXPECT_EQ(after, 0xab);
}

}  // namespace
}  // namespace tallix::crash
