#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "Foundation/Values/Value.h"

namespace foundation {

/// The base of every error that is thrown or reported: which area it comes from, which case it is,
/// and what to tell a person. Domains compare as texts; codes are the domain's own.
///
/// Copies share their content, so that an error may be thrown, kept and handed on unchanged.
class Error : public std::exception {
 public:
  Error(std::string domain, std::int64_t code, std::string message, ValueDictionary userInfo = {},
        std::shared_ptr<const Error> underlying = nullptr);

  [[nodiscard]] const std::string& domain() const noexcept;
  [[nodiscard]] std::int64_t code() const noexcept;
  /// What happened, to what, and where it helps what to do about it.
  [[nodiscard]] const std::string& message() const noexcept;
  [[nodiscard]] const ValueDictionary& userInfo() const noexcept;
  [[nodiscard]] const Error* underlying() const noexcept;

  /// The one textual rendering: `Error Domain=<domain> Code=<n> "<message>"` with user info
  /// appended. Error enumerations of ours override it with `Type.case` or `Type.case(payload)`.
  [[nodiscard]] virtual std::string description() const;
  [[nodiscard]] const char* what() const noexcept override;
  /// A copy that keeps the subclass, for holding on to what was caught.
  [[nodiscard]] virtual std::shared_ptr<const Error> clone() const;
  [[noreturn]] virtual void raise() const;

 private:
  struct Content;
  std::shared_ptr<const Content> content_;
};

/// The code, in the domain `kCocoaErrorDomain`, of key-value access to a key that an object or a
/// value does not have.
inline constexpr std::int64_t kUnknownKeyErrorCode = 5004;

/// The domain of the object-graph engine's and the file manager's own errors.
inline constexpr std::string_view kCocoaErrorDomain = "NSCocoaErrorDomain";
/// The domain of SQLite's failures; the code is SQLite's extended result code.
inline constexpr std::string_view kSQLiteErrorDomain = "NSSQLiteErrorDomain";
/// The domain of the operating system's failures; the code is `errno`.
inline constexpr std::string_view kPosixErrorDomain = "NSPOSIXErrorDomain";

}  // namespace foundation
