#include "Tools/storecheck/ContentHash.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <array>
#include <bit>

#include "Foundation/Values/FatalError.h"
#include "Tools/storecheck/ValueCheck.h"

namespace storecheck {

using coredata::NSEntityDescription;
using coredata::Slot;
using coredata::StoredRow;
using coredata::StoredValue;

struct ContentHash::Digest {
  EVP_MD_CTX* const context = EVP_MD_CTX_new();

  Digest() {
    require(context != nullptr && EVP_DigestInit_ex(context, EVP_sha256(), nullptr) == 1);
  }
  ~Digest() { EVP_MD_CTX_free(context); }
  Digest(const Digest&) = delete;
  Digest& operator=(const Digest&) = delete;

  void add(const void* bytes, std::size_t size) const {
    require(EVP_DigestUpdate(context, bytes, size) == 1);
  }
  static void require(bool isDone) {
    if (!isDone) foundation::fatalError("the cryptography library gives no SHA-256");
  }
};

ContentHash::ContentHash() : digest_(std::make_unique<Digest>()) { addText("content/1"); }

ContentHash::~ContentHash() = default;

void ContentHash::begin(const NSEntityDescription& entity) {
  addTag('E');
  addText(entity.name());
  addNumber(entity.slots().size());
  for (const Slot& slot : entity.slots()) addText(slot.property->name());
}

void ContentHash::add(StoredRow row) {
  addTag('R');
  addNumber(static_cast<std::uint64_t>(keyOf(row)));
  for (const StoredValue& value : row.subspan(kFirstSlot)) addValue(value);
}

void ContentHash::addValue(const StoredValue& value) {
  switch (value.kind) {
    case StoredValue::Kind::absent:
      return addTag('N');
    case StoredValue::Kind::integer:
      addTag('I');
      return addNumber(static_cast<std::uint64_t>(value.integer));
    case StoredValue::Kind::real:
      addTag('D');
      return addNumber(std::bit_cast<std::uint64_t>(value.real));
    case StoredValue::Kind::text:
      addTag('T');
      return addText(value.content);
    case StoredValue::Kind::bytes:
      addTag('B');
      return addText(value.content);
  }
}

void ContentHash::addTag(char tag) { digest_->add(&tag, 1); }

void ContentHash::addNumber(std::uint64_t number) {
  std::array<std::uint8_t, 8> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
  digest_->add(bytes.data(), bytes.size());
}

void ContentHash::addText(std::string_view text) {
  addNumber(text.size());
  digest_->add(text.data(), text.size());
}

std::string ContentHash::text() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned int size = 0;
  Digest::require(EVP_DigestFinal_ex(digest_->context, bytes.data(), &size) == 1);
  return fmt::format("{:02x}", fmt::join(bytes.begin(), bytes.begin() + size, ""));
}

}  // namespace storecheck
