#include "CoreData/Model/VersionHashes.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "Foundation/Internal/Hexadecimal.h"
#include "Foundation/Values/FatalError.h"

// entity       := text("entity/1") text(name) flag(abstract)
//                 count attribute* count relationship*
// attribute    := text(name) type:u16 flag(optional) text(modifier)
// relationship := text(name) text(destination) flag(toMany) flag(optional) text(inverse)
// flag(ordered) model        := text("model/1") count (text(name) hash:32)* text         := count
// bytes count        := u32
//
// A hash is the SHA-256 of one `entity`, the fingerprint that of the `model`. Integers are
// little-endian, a flag is one byte, 0 or 1; lists stand in the byte order of their names.
// Transient attributes have no column and stand in no list. Every text carries its length, so that
// no two models share their bytes.

namespace coredata {
namespace {

class CanonicalBytes {
 public:
  void addText(std::string_view text) {
    addCount(text.size());
    bytes_.append(text);
  }
  void addFlag(bool flag) { bytes_ += flag ? '\1' : '\0'; }
  void addU16(std::uint16_t number) { addLittleEndian(number, 2); }
  void addCount(std::size_t count) { addLittleEndian(count, 4); }
  void addHash(const VersionHash& hash) { bytes_.append(hash.begin(), hash.end()); }

  [[nodiscard]] VersionHash digest() const {
    VersionHash hash{};
    unsigned int size = 0;
    const int done =
        EVP_Digest(bytes_.data(), bytes_.size(), hash.data(), &size, EVP_sha256(), nullptr);
    if (done != 1 || size != hash.size()) {
      foundation::fatalError("the cryptography library gives no SHA-256");
    }
    return hash;
  }

 private:
  void addLittleEndian(std::uint64_t number, int size) {
    for (int i = 0; i < size; ++i) bytes_ += static_cast<char>((number >> (8 * i)) & 0xff);
  }

  std::string bytes_;
};

void addAttribute(CanonicalBytes& bytes, const AttributeSource& attribute) {
  bytes.addText(attribute.name);
  bytes.addU16(static_cast<std::uint16_t>(attribute.type));
  bytes.addFlag(attribute.optional);
  bytes.addText(attribute.hashModifier);
}

void addRelationship(CanonicalBytes& bytes, const RelationshipSource& relationship) {
  bytes.addText(relationship.name);
  bytes.addText(relationship.destination);
  bytes.addFlag(relationship.toMany);
  bytes.addFlag(relationship.optional);
  bytes.addText(relationship.inverse);
  bytes.addFlag(false);  // No relationship is ordered yet; the place is kept for the day one is.
}

VersionHash fingerprintOf(const ModelSource& model, const std::vector<VersionHash>& hashes) {
  CanonicalBytes bytes;
  bytes.addText("model/1");
  bytes.addCount(hashes.size());
  for (std::size_t i = 0; i < hashes.size(); ++i) {
    bytes.addText(model.entities[i].name);
    bytes.addHash(hashes[i]);
  }
  return bytes.digest();
}

}  // namespace

VersionHash versionHash(const EntitySource& entity) {
  CanonicalBytes bytes;
  bytes.addText("entity/1");
  bytes.addText(entity.name);
  bytes.addFlag(entity.abstract);
  const auto isStored = [](const AttributeSource& attribute) { return !attribute.transient; };
  bytes.addCount(static_cast<std::size_t>(std::ranges::count_if(entity.attributes, isStored)));
  for (const auto& attribute : entity.attributes) {
    if (isStored(attribute)) addAttribute(bytes, attribute);
  }
  bytes.addCount(entity.relationships.size());
  for (const auto& relationship : entity.relationships) addRelationship(bytes, relationship);
  return bytes.digest();
}

VersionHashes versionHashes(const ModelSource& model) {
  VersionHashes hashes;
  for (const auto& entity : model.entities) hashes.entities.push_back(versionHash(entity));
  hashes.fingerprint = fingerprintOf(model, hashes.entities);
  return hashes;
}

std::string hexadecimal(const VersionHash& hash) { return foundation::hexadecimal(hash); }

}  // namespace coredata
