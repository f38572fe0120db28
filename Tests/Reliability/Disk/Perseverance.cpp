#include "Tests/Reliability/Disk/Perseverance.h"

#include <string>

namespace reliability {

using foundation::Error;
using support::FileFaults;

void Perseverance::work(const support::FileTrouble& trouble, std::size_t point,
                        const support::FileOperationCount& count) {
  {
    FileFaults faults(trouble, point, count);
    store_.persevere([&](int number) { saved(number, faults); },
                     [&](int number, const Error& error) {
                       hasFailed_ = true;
                       faults.mend();
                       witness_.expectCause(error, trouble);
                       return failed(number, error);
                     });
  }
  if (!hasFailed_) witness_.note("unharmed");
  witness_.expectClosed();
}

void Perseverance::saved(int number, const FileFaults& faults) {
  const bool wasHit = number > 0 && faults.wasReached() && !wasReached_;
  if (hitSavesFail_ && wasHit) witness_.problem("a save returned that met the trouble");
  wasReached_ = faults.wasReached();
}

WorkedStore::Sequel Perseverance::failed(int number, const Error& error) {
  witness_.note("failed with " + error.domain() + ' ' + std::to_string(error.code()));
  witness_.expectUnlocked();
  expectWhole(number);
  if (number == 0 || savesSeen() < number) return WorkedStore::Sequel::again;
  witness_.note("there all the same");
  return WorkedStore::Sequel::next;
}

/// As it would be found were everybody to die now. Asked of a process of its own: whoever reads a
/// file that it has open gives its locks away.
void Perseverance::expectWhole(int number) const {
  const auto outcome = support::runInChild([&](const auto& done) {
    if (const auto found = store_.savesIn()) done.send(std::to_string(*found));
  });
  const auto& found = outcome.acknowledged;
  const bool isWhole = found.size() == 1 && (found.front() == std::to_string(number) ||
                                             found.front() == std::to_string(number - 1));
  if (number > 0 && !isWhole) witness_.problem("the store holds part of a save");
}

/// As it is to all who have the store open. A log may end with a commit that is none to them, and
/// over which the next one is written. The first transaction is that of making the store.
int Perseverance::savesSeen() {
  return std::stoi(witness_.ask("SELECT max(number) FROM _transaction")) - 1;
}

}  // namespace reliability
