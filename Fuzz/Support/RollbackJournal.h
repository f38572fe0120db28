#pragma once

#include <string>
#include <string_view>

namespace fuzz {

/// The journal that a process leaves which dies in a transaction that has changed every page: it
/// takes any database back to the one of these bytes.
//
// journal := magic:8 records:u32 nonce:u32 pages:u32 sectorSize:u32 pageSize:u32 0* record*
// record  := page:u32 byte{pageSize} checksum:u32
//
// Integers are big-endian; the head fills a sector; the checksum is the nonce and every 200th byte
// from the end of the page.
[[nodiscard]] std::string rollbackJournal(std::string_view database);

}  // namespace fuzz
