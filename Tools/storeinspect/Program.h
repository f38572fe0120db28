#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "Foundation/Values/Error.h"

namespace storeinspect {

enum ExitStatus : int { sound = 0, unsound = 1, usage = 2, unreadable = 3 };

/// Parses the command line and does the work; says what went wrong with either, and gives the
/// program's exit status.
template <typename Work>
[[nodiscard]] ExitStatus run(CLI::App& app, int argc, char** argv, Work&& work) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? sound : usage;
  }
  try {
    return work();
  } catch (const foundation::Error& error) {
    std::fprintf(stderr, "storeinspect: %s\n", error.message().c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "storeinspect: %s\n", error.what());
  }
  return unreadable;
}

}  // namespace storeinspect
