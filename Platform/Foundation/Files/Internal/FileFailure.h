#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Foundation/Internal/FileSystem.h"
#include "Foundation/Values/Error.h"

namespace foundation {

/// The error, in the domain `kPosixErrorDomain`, of something that a call to the system could not
/// do to a path: `what` is "removed", "read" and the like.
[[nodiscard]] Error fileFailure(int number, std::string_view path, std::string_view what);

/// How directories and files are made: for their owner alone.
inline constexpr mode_t kPrivateDirectory = S_IRWXU;
inline constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;

/// What a call gave; its failure is thrown.
template <typename T>
T required(FileResult<T> result, std::string_view path, std::string_view what) {
  if (!result) throw fileFailure(result.error(), path, what);
  if constexpr (!std::is_void_v<T>) return *std::move(result);
}

/// Of an open file; `path` is for the error.
[[nodiscard]] struct stat statusOf(const FileDescriptor& file, std::string_view path);

}  // namespace foundation
