#pragma once

namespace foundation {

class Object;

/// Makes every weak handle to a dying object empty. Called once by the destructor of an object that
/// was held weakly, while its memory is still its own.
void clearWeakCell(const Object* dying) noexcept;

}  // namespace foundation
