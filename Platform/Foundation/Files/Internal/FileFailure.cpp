#include "Foundation/Files/Internal/FileFailure.h"

#include <fcntl.h>

#include <string>
#include <system_error>

namespace foundation {

Error fileFailure(int number, std::string_view path, std::string_view what) {
  std::string message = "\"";
  message.append(path).append("\" cannot be ").append(what).append(": ");
  message.append(std::generic_category().message(number)).append(".");
  return Error(std::string(kPosixErrorDomain), number, std::move(message));
}

struct stat statusOf(const FileDescriptor& file, std::string_view path) {
  return required(FileSystem::current().status(file.get(), "", AT_EMPTY_PATH), path, "examined");
}

}  // namespace foundation
