#pragma once

#include <cstdint>

#include "Foundation/Values/Data.h"
#include "Foundation/Values/Value.h"

namespace foundation {

/// The codes, in the domain `kCocoaErrorDomain`, of reading and writing JSON. The messages tell a
/// place but none of the text, which is the user's.
enum class JSONErrorCode : std::int64_t {
  unreadable = 3840,  ///< bytes that are not JSON, or not a list or object
  unwritable = 3841,  ///< a value that JSON cannot say
  tooDeep = 3842,     ///< more than `NSJSONSerialization::kMaximumDepth` levels
};

/// JSON and the values that it says: objects are dictionaries, arrays lists, null is absent.
///
/// Threading: safe on any thread.
class NSJSONSerialization {
 public:
  /// The deepest nesting that is read or written: deeper texts are made to harm their readers.
  static constexpr int kMaximumDepth = 512;

  /// A list or dictionary as compact UTF-8, "/" as "\/", control characters escaped, all else
  /// beyond ASCII as it is.
  ///
  /// Throws `Error` with a `JSONErrorCode` for another top value, for text that is not UTF-8, for a
  /// number that is not finite, and for values of other kinds.
  [[nodiscard]] static Data data(const Value& withJSONObject);

  /// The list or dictionary that UTF-8 text says; a byte order mark is passed over. Of equal keys
  /// the last one counts. Whole numbers of 64 bits stay whole.
  ///
  /// Throws `Error` with a `JSONErrorCode` for anything else: no bytes, more behind the end, a bare
  /// text or number, a number beyond a double.
  [[nodiscard]] static Value JSONObject(const Data& withData);
};

}  // namespace foundation
