#include "Tools/habits/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace habits {

Progress::Progress(std::string what, std::size_t steps)
    : what_(std::move(what)), steps_(steps), isShown_(isatty(STDERR_FILENO) == 1) {
  show(what_ + " ...");
}

Progress::~Progress() { show(""); }

void Progress::advance() { reach(done_ + 1); }

void Progress::reach(std::size_t steps) {
  done_ = steps;
  const std::size_t percent = done_ * 100 / steps_;
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  show(what_ + " ... " + std::to_string(percent) + " %");
}

void Progress::goOnWith(const std::string& what) const { show(what + " ..."); }

void Progress::show(const std::string& line) const {
  constexpr const char* kEraseLine = "\r\033[K";
  if (isShown_) std::fprintf(stderr, "%s%s", kEraseLine, line.c_str());
}

}  // namespace habits
