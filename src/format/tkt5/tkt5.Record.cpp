#include "format/tkt5/tkt5.Record.h"

#include <vector>

#include "stream/check/crc.Streams.h"
#include "stream/stream.ByteOrder.h"
#include "stream/stream.Vector.h"

namespace format::tkt5 {

void writeChecked(stream::Output& out, uint32_t offset, const std::function<void(stream::Output&)>& body) {
    std::vector<char> buffer;
    stream::random::VectorOutput memory(buffer);
    HeaderCRC crc;
    {
        algorithm::crc::CRC16Output checked(memory, crc);
        body(checked);
    }
    memory.seek(offset);
    stream::BigEndianOutput be(memory);
    be.u16(crc.value());
    out.write(buffer.data(), static_cast<uint32_t>(buffer.size()));
}

uint16_t readStoredCRC(stream::Input& raw, algorithm::crc::CRC16& crc) {
    stream::BigEndianInput be(raw);
    uint16_t stored = be.u16();
    crc.update(char(0));
    crc.update(char(0));
    return stored;
}

uint32_t readFully(stream::Input& in, char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        uint32_t n = in.read(buffer + done, count - done);
        if (n == 0) break;
        done += n;
    }
    return done;
}

} // namespace format::tkt5
