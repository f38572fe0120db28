#include "Tools/habits/StackSetup.h"

#include "Foundation/Queues/MainQueue.h"

namespace habits {

void setUp(coredatastack::CoreDataStack& stack) {
  std::expected<bool, coredatastack::Failure> outcome;
  stack.setup([&](const auto& told) {
    outcome = told;
    foundation::stopMainQueue();
  });
  // A migration is told of by another thread; otherwise this returns at once.
  foundation::runMainQueue();
  if (!outcome) outcome.error()->raise();
}

}  // namespace habits
