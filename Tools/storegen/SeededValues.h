#pragma once

#include <cstddef>
#include <cstdint>

#include "CoreData/Model/NSAttributeDescription.h"
#include "Foundation/Values/Value.h"
#include "Tools/storegen/SeededContent.h"

namespace storegen {

class Draw;

/// Where a value belongs.
struct ValuePlace {
  const coredata::NSAttributeDescription& attribute;
  std::size_t position;
  const SeededContent& content;
};

/// The values of one attribute: such as the application writes where the attribute's name says what
/// it holds, any of the attribute's kind otherwise.
class SeededValues {
 public:
  /// `content` must outlive it.
  SeededValues(const coredata::NSAttributeDescription& attribute, const SeededContent& content);

  [[nodiscard]] foundation::Value at(std::size_t position) const;

  using Maker = foundation::Value (*)(Draw& draw, const ValuePlace& place);

 private:
  const coredata::NSAttributeDescription& attribute_;
  const SeededContent& content_;
  std::uint64_t stream_;
  Maker maker_;
  int absentPercent_;
};

}  // namespace storegen
