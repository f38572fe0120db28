#include "Tools/salvage/PageFile.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/Error.h"

namespace salvage {

namespace {
[[noreturn]] void fail(const std::string& path, int number) {
  throw foundation::Error(std::string(foundation::kPosixErrorDomain), number,
                          "The copy " + path + " cannot be read.");
}
}  // namespace

PageFile::PageFile(const std::string& path, std::size_t pageSize) : pageSize_(pageSize) {
  const auto file = foundation::FileDescriptor::open(AT_FDCWD, path.c_str(), O_RDONLY);
  if (!file) fail(path, file.error());
  const auto status = foundation::FileSystem::current().status(file->get(), "", AT_EMPTY_PATH);
  if (!status) fail(path, status.error());
  const auto pages = static_cast<std::uint64_t>(status->st_size) / pageSize;
  if (pages == 0) return;
  // The format numbers no more than these.
  constexpr std::uint64_t kMostPages = std::numeric_limits<PageNumber>::max() - 1;
  pageCount_ = static_cast<PageNumber>(std::min(pages, kMostPages));
  size_ = pageCount_ * pageSize;
  void* const content = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file->get(), 0);
  if (content == MAP_FAILED) fail(path, errno);
  content_ = content;
}

PageFile::~PageFile() {
  if (content_ != nullptr) munmap(content_, size_);
}

Bytes PageFile::page(PageNumber number) const noexcept {
  if (number == 0 || number > pageCount_) return {};
  return Bytes(static_cast<const std::uint8_t*>(content_), size_)
      .subspan((number - std::size_t{1}) * pageSize_, pageSize_);
}

bool PageSet::add(PageNumber page) {
  if (page == 0 || page >= has_.size() || has_[page]) return false;
  has_[page] = true;
  return true;
}

}  // namespace salvage
