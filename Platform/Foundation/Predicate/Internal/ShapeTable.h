#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Foundation/Predicate/PredicateShape.h"

namespace foundation {

/// The process's shapes by their normalised text, with two short cuts to them: by the text as it
/// was written and by the parts of a compound.
///
/// Shapes that nobody else holds are dropped when their number has doubled since the last time,
/// from `kFirstSweep` on; the short cuts are dropped with them.
///
/// Threading: safe on any thread. Hits share a lock; parsing happens outside it.
class ShapeTable {
 public:
  using Handle = std::shared_ptr<const PredicateShape>;

  static constexpr std::size_t kFirstSweep = 1024;

  /// The one table. It is never destroyed: shapes are used until the process ends.
  [[nodiscard]] static ShapeTable& shared();

  [[nodiscard]] Handle forFormat(std::string_view format,
                                 std::span<const std::string_view> keyPaths);
  [[nodiscard]] Handle forCompound(CompoundKind kind, std::span<const Handle> parts);

  [[nodiscard]] std::size_t size() const;

 private:
  struct Written {
    std::string format;
    std::vector<std::string> keyPaths;
    Handle shape;
  };
  struct Compound {
    CompoundKind kind;
    std::vector<std::uint64_t> parts;
    Handle shape;
  };

  [[nodiscard]] Handle findWritten(std::size_t hash, std::string_view format,
                                   std::span<const std::string_view> keyPaths) const;
  [[nodiscard]] Handle findCompound(std::size_t hash, CompoundKind kind,
                                    std::span<const Handle> parts) const;
  [[nodiscard]] Handle intern(std::string_view format, std::span<const std::string_view> keyPaths);
  void sweepIfGrown();

  mutable std::shared_mutex mutex_;
  // Guarded by mutex_, all of them.
  std::unordered_map<std::string_view, Handle> shapes_;
  std::unordered_multimap<std::size_t, Written> written_;
  std::unordered_multimap<std::size_t, Compound> compounds_;
  std::size_t nextSweep_ = kFirstSweep;
  std::uint64_t lastSerial_ = 0;
};

}  // namespace foundation
