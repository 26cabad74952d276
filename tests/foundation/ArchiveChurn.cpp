// Rewrites one archive forever, alternating two contents, until it is killed. A line on
// standard output follows every completed write.
#include <cstdio>

#include "ArchiveFixtures.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s ARCHIVE\n", argv[0]);
    return 2;
  }
  const foundation::Value contents[] = {foundation::largeDictionary("new", 2000),
                                        foundation::largeDictionary("old", 2000)};
  for (unsigned round = 0;; ++round) {
    if (!foundation::KeyedArchiver::archiveRootValue(contents[round % 2], argv[1]))
      return 1;
    std::puts("written");
    std::fflush(stdout);
  }
}
