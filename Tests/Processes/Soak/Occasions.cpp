#include "Tests/Processes/Soak/Occasions.h"

#include <unistd.h>

#include <csignal>

namespace soak {

OccasionCounter::OccasionCounter(Occasions& occasions)
    : occasions_(occasions), previous_(install(this)) {}

OccasionCounter::~OccasionCounter() { install(previous_); }

void OccasionCounter::reached(foundation::TestPoint point) noexcept {
  ++occasions_.reached[static_cast<std::size_t>(point)];
  if (point == foundation::TestPoint::passBegins) ++passing_;
  if (point == foundation::TestPoint::passEnds) --passing_;
  if (deadly_ == static_cast<int>(point)) ::kill(::getpid(), SIGKILL);
}

}  // namespace soak
