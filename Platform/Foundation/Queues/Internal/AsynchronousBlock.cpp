#include "Foundation/Queues/Internal/AsynchronousBlock.h"

#include <exception>
#include <new>
#include <string>

#include "Foundation/Values/FatalError.h"

namespace foundation {

void runAsynchronousBlock(Block& block) noexcept {
  try {
    block();
  } catch (const std::bad_alloc&) {
    fatalError("memory ran out in an asynchronous block");
  } catch (const std::exception& error) {
    fatalError(std::string("an exception left an asynchronous block: ") + error.what());
  } catch (...) {
    fatalError("an exception of an unknown kind left an asynchronous block");
  }
}

}  // namespace foundation
