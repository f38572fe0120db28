#include "Tools/storeinspect/SalvageCommand.h"

#include "Foundation/Values/URL.h"
#include "Tools/salvage/Salvage.h"

namespace storeinspect {

using foundation::URL;

namespace {
constexpr const char* kAbout =
    "Makes a new store of what can be read of a damaged one, row by row, and says what was lost.\n"
    "The damaged store is read only, and nothing is made beside it.";
constexpr const char* kStatuses =
    "Exit status:\n"
    "  0  all of it was brought back\n"
    "  1  something was lost, or may have been\n"
    "  2  a wrong command line\n"
    "  3  nothing was made: there is no store to be read, or something else at the new one's place";
}  // namespace

ExitStatus salvageCommand(int argc, char** argv) {
  CLI::App app(kAbout, "storeinspect salvage");
  app.footer(kStatuses);
  std::string damaged;
  std::string to;
  bool asJson = false;
  app.add_option("damaged", damaged, "The damaged store's file")->required();
  app.add_option("out", to, "The new store, which must not be there yet")->required();
  app.add_flag("--json", asJson, "Answer in JSON");
  return run(app, argc, argv, [&] {
    const salvage::SalvageReport report =
        salvage::salvageStore(URL::fileURL(damaged), URL::fileURL(to));
    std::printf("%s\n", (asJson ? json(report) : text(report)).c_str());
    return report.isWhole() ? sound : unsound;
  });
}

}  // namespace storeinspect
