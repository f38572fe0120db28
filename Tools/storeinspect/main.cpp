// Shows what a store is and what it holds, and whether it is whole, without changing anything; or
// makes a new store of what can be read of a damaged one.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <string_view>

#include "Foundation/Values/URL.h"
#include "Tools/storeinspect/Answer.h"
#include "Tools/storeinspect/Program.h"
#include "Tools/storeinspect/SalvageCommand.h"

namespace {

using storeinspect::ExitStatus;
using storeinspect::Questions;

constexpr const char* kAbout =
    "Shows what a store of any version is and holds, and checks all of it: the file, every row,\n"
    "every relationship and the history. It is opened for reading only. Nothing is changed, made\n"
    "or removed, and programs that have it open may go on.\n"
    "\n"
    "\"storeinspect salvage DAMAGED OUT\" makes a new store of what can be read of a damaged one;\n"
    "\"storeinspect salvage --help\" tells more.";
constexpr const char* kStatuses =
    "Without more than a store everything is shown; the options choose parts of it. All of it is\n"
    "checked in any case.\n"
    "\n"
    "Exit status:\n"
    "  0  the store is sound, though there may be warnings\n"
    "  1  something is wrong with it\n"
    "  2  a wrong command line\n"
    "  3  it cannot be read: it is missing, no store, damaged beyond telling its version, of a\n"
    "     later version, or nobody may read it";
constexpr int kUsualTransactions = 10;
constexpr int kMostTransactions = 1'000'000;

struct Options {
  std::string store;
  bool json = false;
  int transactions = 0;
  Questions questions;
};

void declare(CLI::App& app, Options& options) {
  app.footer(kStatuses);
  app.add_option("store", options.store, "The store's file")->required();
  app.add_flag("--json", options.json, "Answer in JSON");
  app.add_flag("--check", options.questions.check, "Show what is wrong");
  app.add_option("--history", options.transactions,
                 "Show the history and its last N transactions, 10 when not given")
      ->expected(0, 1)
      ->default_str(std::to_string(kUsualTransactions))
      ->check(CLI::Range(0, kMostTransactions))
      ->option_text("[N]");
  app.add_flag("--sizes", options.questions.sizes, "Show how much room what takes");
  app.add_flag("--hash", options.questions.hash,
               "Show a text that is equal for stores that hold the same");
}

/// Everything when nothing was chosen, with the ends of the history alone.
void completeQuestions(const CLI::App& app, Options& options) {
  Questions& asked = options.questions;
  asked.history = app.count("--history") > 0;
  if (asked.history || asked.check || asked.sizes || asked.hash) return;
  asked = {
      .metadata = true, .rows = true, .history = true, .sizes = true, .hash = true, .check = true};
}

ExitStatus inspect(const Options& options) {
  const storecheck::Report report = storecheck::check(
      foundation::URL::fileURL(options.store), static_cast<std::size_t>(options.transactions));
  const Questions& asked = options.questions;
  const std::string answer = options.json ? json(report, asked) : text(report, asked);
  std::printf("%s\n", answer.c_str());
  if (report.isSound()) return storeinspect::sound;
  if (!asked.check) std::fputs("storeinspect: The store is not sound; --check says why.\n", stderr);
  return storeinspect::unsound;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::string_view(argv[1]) == storeinspect::kSalvage)
    return storeinspect::salvageCommand(argc - 1, argv + 1);
  CLI::App app(kAbout, "storeinspect");
  Options options;
  declare(app, options);
  return storeinspect::run(app, argc, argv, [&] {
    completeQuestions(app, options);
    return inspect(options);
  });
}
