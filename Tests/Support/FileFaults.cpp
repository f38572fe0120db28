#include "Tests/Support/FileFaults.h"

namespace support {

FileFaults::FileFaults(const FileTrouble& trouble) : FileFaults(trouble, 0, {}) {}

FileFaults::FileFaults(const FileTrouble& trouble, std::size_t point, const FileOperationCount& of)
    : trouble_(trouble),
      override_(sqlite_.name()),
      others_(trouble.fault, 0, trouble.errorNumber, trouble.watched) {
  sqlite_.setSpace(&space_);
  others_.setSpace(&space_);
  others_.setTornBytes(static_cast<std::size_t>(trouble.tornBytes));
  sqlite_.watch(trouble.watched);
  if (trouble.room) space_.limit(*trouble.room);
  restart(point, of);
}

void FileFaults::restart(std::size_t point, const FileOperationCount& of) {
  sqlite_.reset();
  others_.restart(point > of.sqlite ? point - of.sqlite : 0);
  if (point != 0 && point <= of.sqlite) setSQLitePoint(point);
}

void FileFaults::setSQLitePoint(std::size_t point) {
  switch (trouble_.fault) {
    case FileFault::failOnce:
    case FileFault::failFromThenOn:
      sqlite_.failAt(point, trouble_.sqliteCode, trouble_.fault == FileFault::failFromThenOn);
      return;
    case FileFault::killProcess:
      sqlite_.killAt(point);
      return;
    case FileFault::tearOnce:
      sqlite_.tearAt(point, trouble_.tornBytes, trouble_.sqliteCode);
      return;
    case FileFault::tearAndKill:
      sqlite_.tearAndKillAt(point, trouble_.tornBytes);
      return;
  }
}

FileOperationCount FileFaults::count() const {
  return {sqlite_.count(), others_.count(), space_.most()};
}

bool FileFaults::wasReached() const { return sqlite_.faultWasReached() || others_.wasReached(); }

void FileFaults::mend() {
  restart(0, {});
  space_.lift();
}

}  // namespace support
