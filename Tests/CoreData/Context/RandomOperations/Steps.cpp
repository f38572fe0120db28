#include "Tests/CoreData/Context/RandomOperations/Steps.h"

#include <random>

namespace graph {

namespace {

struct Weight {
  Operation operation;
  const char* name;
  std::uint32_t weight;
};

constexpr std::array kWeights = {
    Weight{Operation::insert, "insert", 14},
    Weight{Operation::set, "set", 20},
    Weight{Operation::relate, "relate", 20},
    Weight{Operation::unrelate, "unrelate", 5},
    Weight{Operation::addMember, "addMember", 6},
    Weight{Operation::removeMember, "removeMember", 4},
    Weight{Operation::setMembers, "setMembers", 3},
    Weight{Operation::erase, "erase", 8},
    Weight{Operation::save, "save", 9},
    Weight{Operation::rollback, "rollback", 2},
    Weight{Operation::refreshAll, "refreshAll", 4},
    Weight{Operation::refreshOne, "refreshOne", 4},
    Weight{Operation::forget, "forget", 3},
    Weight{Operation::fetch, "fetch", 12},
    Weight{Operation::switchPolicy, "switchPolicy", 1},
};

Operation anOperation(std::mt19937_64& random) {
  std::uint32_t total = 0;
  for (const Weight& one : kWeights) total += one.weight;
  auto left = static_cast<std::uint32_t>(random() % total);
  for (const Weight& one : kWeights) {
    if (left < one.weight) return one.operation;
    left -= one.weight;
  }
  return Operation::insert;
}

const char* nameOf(Operation operation) {
  for (const Weight& one : kWeights) {
    if (one.operation == operation) return one.name;
  }
  return "";
}

}  // namespace

Sequence randomSequence(std::uint64_t seed) {
  std::mt19937_64 random(seed);
  Sequence sequence;
  for (std::size_t actor = 0; actor < 2; ++actor) {
    sequence.mergesAutomatically[actor] = random() % 2 == 0;
    sequence.changesHereWin[actor] = random() % 3 != 0;
  }
  const std::size_t length = 60 + random() % 141;
  for (std::size_t i = 0; i < length; ++i) {
    Step step;
    step.actor = random() % 2;
    step.operation = anOperation(random);
    for (std::uint32_t& choice : step.choices) choice = static_cast<std::uint32_t>(random());
    sequence.steps.push_back(step);
  }
  return sequence;
}

std::string description(const Sequence& sequence) {
  std::string text;
  for (std::size_t actor = 0; actor < 2; ++actor) {
    text += std::string("context ") + (actor == 0 ? "A" : "B") +
            (sequence.mergesAutomatically[actor] ? " merges by itself" : " is refreshed") +
            (sequence.changesHereWin[actor] ? ", its changes win\n" : ", conflicts are errors\n");
  }
  for (const Step& step : sequence.steps) {
    text += std::string("  ") + (step.actor == 0 ? "A " : "B ") + nameOf(step.operation);
    for (const std::uint32_t choice : step.choices) text += " " + std::to_string(choice);
    text += "\n";
  }
  return text;
}

}  // namespace graph
