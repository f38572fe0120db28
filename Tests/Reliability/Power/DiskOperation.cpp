#include "Tests/Reliability/Power/DiskOperation.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>
#include <utility>

#include "Tests/Support/StoreFiles.h"

// record    := operation*
// operation := kind:u8 number:i64 pathSize:u64 bytesSize:u64 path bytes
// Integers are in the order of this machine, which is also the one to read it.

namespace power {

namespace {

template <typename Integer>
void put(std::string& text, Integer value) {
  text.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool isAtEnd() const noexcept { return rest_.empty(); }
  template <typename Integer>
  Integer integer() {
    Integer value{};
    text(sizeof(value)).copy(reinterpret_cast<char*>(&value), sizeof(value));
    return value;
  }
  std::string_view text(std::size_t size) {
    if (size > rest_.size()) throw std::runtime_error("the record of the disk is cut off");
    const std::string_view result = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return result;
  }

 private:
  std::string_view rest_;
};

}  // namespace

DiskRecorder::DiskRecorder(const std::filesystem::path& directory,
                           const std::filesystem::path& record)
    : directory_(std::filesystem::canonical(directory).string()),
      file_(::open(record.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600)) {
  if (file_ < 0) throw std::runtime_error("no file for the record of the disk");
}

DiskRecorder::~DiskRecorder() { ::close(file_); }

bool DiskRecorder::shorten(std::string& path) const {
  if (path == directory_) {
    path.clear();
    return true;
  }
  if (!path.starts_with(directory_ + '/')) return false;
  path.erase(0, directory_.size() + 1);
  return true;
}

void DiskRecorder::add(DiskOperation operation) {
  if (!shorten(operation.path)) return;
  if (operation.kind == DiskOperation::Kind::rename && !shorten(operation.bytes)) {
    throw std::logic_error("a file has left the recorded directory");
  }
  append(operation);
}

void DiskRecorder::mark(int number) { append({DiskOperation::Kind::mark, {}, number}); }

void DiskRecorder::append(const DiskOperation& operation) const {
  std::string text;
  put(text, operation.kind);
  put(text, operation.number);
  put(text, std::uint64_t{operation.path.size()});
  put(text, std::uint64_t{operation.bytes.size()});
  text += operation.path;
  text += operation.bytes;
  // In one call: nobody else's operation gets in between.
  if (::write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the record of the disk cannot be written");
  }
}

std::vector<DiskOperation> operationsIn(const std::filesystem::path& record) {
  const std::string text = support::bytesOf(record);
  Reader reader(text);
  std::vector<DiskOperation> operations;
  while (!reader.isAtEnd()) {
    const auto kind = reader.integer<DiskOperation::Kind>();
    const auto number = reader.integer<std::int64_t>();
    const auto pathSize = reader.integer<std::uint64_t>();
    const auto bytesSize = reader.integer<std::uint64_t>();
    std::string path(reader.text(pathSize));
    std::string bytes(reader.text(bytesSize));
    operations.push_back({kind, std::move(path), number, std::move(bytes)});
  }
  return operations;
}

}  // namespace power
