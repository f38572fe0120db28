#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Tests/habits/Program.h"

namespace habits {

/// Runs commands of the program over a store of its own.
class ProgramTest : public testing::Test {
 protected:
  /// The answer to a command that must succeed.
  std::string text(const std::vector<std::string>& arguments) const {
    const Outcome outcome = program_.run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.complaint;
    EXPECT_EQ(outcome.complaint, "");
    return outcome.output;
  }
  nlohmann::json data(std::vector<std::string> arguments) const {
    arguments.emplace_back("--json");
    return nlohmann::json::parse(text(arguments));
  }
  void refused(const std::vector<std::string>& arguments, const std::string& why) const {
    fails(arguments, 1, why);
  }
  void misused(const std::vector<std::string>& arguments, const std::string& why) const {
    fails(arguments, 2, why);
  }

  Program program_;

 private:
  void fails(const std::vector<std::string>& arguments, int status, const std::string& why) const {
    const Outcome outcome = program_.run(arguments);
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.complaint, "habits: " + why + "\n");
  }
};

}  // namespace habits
