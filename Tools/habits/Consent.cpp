#include "Tools/habits/Consent.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "Tools/habits/Failures.h"

namespace habits {

std::optional<bool> askedInTerminal(const std::string& question) {
  if (isatty(STDIN_FILENO) != 1) return std::nullopt;
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::string reply;
  std::getline(std::cin, reply);
  return reply == "y" || reply == "Y" || reply == "yes";
}

void requireConsent(bool isGiven, const std::string& question) {
  if (isGiven) return;
  const auto reply = askedInTerminal(question + " This cannot be undone.");
  if (!reply) throw Refusal(question + " This cannot be undone: say --yes if it shall be done.");
  if (!*reply) throw Refusal("Nothing was changed.");
}

}  // namespace habits
