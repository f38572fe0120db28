#include "Foundation/Files/Internal/HomeDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace foundation {

std::optional<std::string> absolutePath(const char* text) {
  if (text == nullptr || *text != '/') return std::nullopt;
  std::string path(text);
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

std::optional<std::string> homeInEnvironment() { return absolutePath(::secure_getenv("HOME")); }

std::optional<std::string> homeInUserDatabase() {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> texts(1024);
  int failed = 0;
  while ((failed = ::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found)) ==
         ERANGE) {
    texts.resize(2 * texts.size());
  }
  if (failed != 0 || found == nullptr) return std::nullopt;
  return absolutePath(found->pw_dir);
}

}  // namespace foundation
