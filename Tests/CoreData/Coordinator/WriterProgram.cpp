// Another process that writes to a store, on demand: each line of its input is one save, answered
// by the number of the transaction. "die" saves too, but is killed after the commit, before the
// bell.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "Tests/CoreData/Coordinator/WatchedGarden.h"
#include "Tests/Support/ForwardingFileSystem.h"

namespace {

class DyingFileSystem final : public support::ForwardingFileSystem {
 public:
  foundation::FileResult<void> touch(int, const char*) override {
    std::raise(SIGKILL);
    return std::unexpected(EINTR);
  }
};

void serve(const foundation::URL& url, garden::Opening opening) {
  const auto container = garden::open(url, opening);
  std::cout << "ready" << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    if (line == "die") {
      const DyingFileSystem dying;
      garden::savePlant(*container);
    }
    std::cout << garden::savePlant(*container) << std::endl;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    garden::Opening opening;
    opening.isWatched = false;
    opening.tracksHistory = argc < 3;
    serve(foundation::URL::fileURL(argv[1]), opening);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "the writer failed: %s\n", error.what());
    return 1;
  }
}
