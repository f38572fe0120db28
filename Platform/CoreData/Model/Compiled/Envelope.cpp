#include "CoreData/Model/Compiled/Envelope.h"

#include <algorithm>
#include <string>

#include "CoreData/Model/Compiled/ByteReader.h"
#include "CoreData/Model/Compiled/ByteWriter.h"
#include "CoreData/Model/Compiled/Checksum.h"

// file := magic:4 format:u16 content checksum:u32
//
// Integers are little-endian. The checksum is the CRC-32 of all that stands before it.

namespace coredata {
namespace {

constexpr std::size_t kHeadSize = sizeof(Envelope::magic) + sizeof(Envelope::format);
constexpr std::size_t kChecksumSize = sizeof(std::uint32_t);

void checkHead(const Envelope& envelope, std::span<const std::uint8_t> file) {
  ByteReader head(file);
  if (!std::ranges::equal(head.takeBytes(envelope.magic.size()), envelope.magic)) {
    ByteReader::fail("it does not begin as one");
  }
  const auto format = head.take<std::uint16_t>();
  if (format > envelope.format) {
    throw modelError(ModelErrorCode::newerFormat, "The compiled file is in format " +
                                                      std::to_string(format) +
                                                      ", which a newer compiler writes.");
  }
  if (format != envelope.format) ByteReader::fail("there is no format " + std::to_string(format));
}

}  // namespace

std::vector<std::uint8_t> sealed(const Envelope& envelope, std::span<const std::uint8_t> content) {
  ByteWriter bytes;
  bytes.addBytes(envelope.magic);
  bytes.add(envelope.format);
  bytes.addBytes(content);
  bytes.add(checksum(bytes.bytes()));
  return std::move(bytes).take();
}

std::span<const std::uint8_t> unsealed(const Envelope& envelope,
                                       std::span<const std::uint8_t> file) {
  checkHead(envelope, file);
  if (file.size() < kHeadSize + kChecksumSize) ByteReader::fail("it ends too early");
  ByteReader tail(file.last(kChecksumSize));
  if (tail.take<std::uint32_t>() != checksum(file.first(file.size() - kChecksumSize))) {
    ByteReader::fail("its checksum is wrong");
  }
  return file.subspan(kHeadSize, file.size() - kHeadSize - kChecksumSize);
}

}  // namespace coredata
