#include "Tests/Support/FileFaults.h"

namespace support {

FileFaults::FileFaults(const FileTrouble& trouble) : FileFaults(trouble, 0, {}) {}

FileFaults::FileFaults(const FileTrouble& trouble, std::size_t point, const FileOperationCount& of)
    : override_(sqlite_.name()),
      others_(trouble.fault, point > of.sqlite ? point - of.sqlite : 0, trouble.errorNumber) {
  sqlite_.watch(trouble.watched);
  if (point == 0 || point > of.sqlite) return;
  if (trouble.fault == FileFault::killProcess) {
    sqlite_.killAt(point);
  } else {
    sqlite_.failAt(point, trouble.sqliteCode, trouble.fault == FileFault::failFromThenOn);
  }
}

FileOperationCount FileFaults::count() const { return {sqlite_.count(), others_.changes()}; }

}  // namespace support
