#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "Foundation/Internal/ManualClock.h"
#include "Foundation/Internal/RandomSource.h"
#include "Tests/Golden/GoldenStore.h"
#include "Tests/Support/ScopedSettings.h"
#include "Tests/Support/StoreDump.h"

/// Makes the golden store and the text of what it holds in the directory given, which must not have
/// them yet: what was kept once is never made anew.
int main(int count, char** arguments) try {
  if (count != 2) {
    std::fputs("usage: make-golden-store DIRECTORY\n", stderr);
    return 2;
  }
  const std::filesystem::path directory(arguments[1]);
  const std::filesystem::path store = directory / "Tessaline 7.sqlite";
  if (std::filesystem::exists(store)) {
    std::fprintf(stderr, "%s is there already; golden stores are kept, not replaced.\n",
                 store.c_str());
    return 1;
  }
  const foundation::ManualClock clock(731080800.123456);
  const foundation::SeededRandomSource random(7);
  const support::ScopedSettings settings("en_US", "UTC");
  const auto container = golden::opened(store.string());
  const auto context = container->newBackgroundContext();
  context->setTransactionAuthor("golden");
  context->performBlockAndWait([&] {
    golden::fill(*context);
    std::ofstream(directory / "Tessaline 7.txt") << support::dumpOf(*context);
  });
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
