#pragma once

#include <string>

#include "Fuzz/Support/Input.h"

namespace fuzz {

/// Changes bytes as an input says, so that a few bytes of it reach any place of a large file.
//
// edits := count:u8 edit{count}
// edit  := kind:u8 at:u24 (bytes | bit | copy | cut)      kind modulo 4 tells which
// bytes := count:u8 byte{1 + count modulo 16}             written over what is there
// bit   := number:u8                                      flipped, modulo 8
// copy  := from:u24 size:u16                              what lies elsewhere, over what is there
// cut   :=                                                everything from here on
//
// Integers are little-endian; places count modulo the size.
void applyEdits(Input& input, std::string& bytes);

}  // namespace fuzz
