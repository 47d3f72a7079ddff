#pragma once

#include <cstdint>
#include <functional>

#include "stream/check/crc.CRC.h"

namespace stream {
class Input;
class Output;
} // namespace stream

namespace format::tkt5 {

// The check value of every tkt5 header, item and platform record.
class HeaderCRC : public algorithm::crc::BisyncCRC {
public:
    HeaderCRC() : algorithm::crc::BisyncCRC(0xA001, 0) {}
};

// Lays a record out in memory behind a HeaderCRC, with zero in the two bytes
// at `offset`, then stores the CRC there high byte first and copies the whole
// record to `out`. `body` writes the record with a placeholder in that place.
void writeChecked(stream::Output& out, uint32_t offset, const std::function<void(stream::Output&)>& body);

// Reads a stored CRC from `raw`, behind the back of the filter that feeds
// `crc`, and feeds two zero bytes to `crc` in its place.
uint16_t readStoredCRC(stream::Input& raw, algorithm::crc::CRC16& crc);

// Reads up to `count` bytes, going on after short reads until the end of
// the input; answers the number read.
uint32_t readFully(stream::Input& in, char* buffer, uint32_t count);

// A stored CRC of zero means that no check is made.
inline bool crcAccepts(uint16_t stored, uint16_t computed) { return stored == 0 || stored == computed; }

} // namespace format::tkt5
