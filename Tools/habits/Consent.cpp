#include "Tools/habits/Consent.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "Tools/habits/Failures.h"

namespace habits {

void requireConsent(bool isGiven, const std::string& question) {
  if (isGiven) return;
  if (isatty(STDIN_FILENO) != 1) {
    throw Refusal(question + " This cannot be undone: say --yes if it shall be done.");
  }
  std::fprintf(stderr, "%s This cannot be undone. [y/N] ", question.c_str());
  std::string reply;
  std::getline(std::cin, reply);
  if (reply != "y" && reply != "Y" && reply != "yes") throw Refusal("Nothing was changed.");
}

}  // namespace habits
