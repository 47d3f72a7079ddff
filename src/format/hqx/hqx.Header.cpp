#include "format/hqx/hqx.Header.h"

#include "algorithm/hqx/hqx.Codec.h"
#include "format/format.Exception.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::hqx {

void Header::read(stream::Input& in, bool strict) {
    valid_ = false;
    char bytes[longestName + 22];
    const int length = in.read();
    bool whole = length >= 1 && length <= static_cast<int>(longestName);
    const uint32_t rest = whole ? static_cast<uint32_t>(length) + 21 : 0;
    if (whole) {
        bytes[0] = static_cast<char>(length);
        whole = in.read(bytes + 1, rest) == rest;
    }
    if (whole) {
        stream::ArrayInput array(bytes, rest + 1);
        stream::BigEndianInput be(array);
        be.u8();
        name.assign(bytes + 1, static_cast<size_t>(length));
        be.skip(static_cast<uint32_t>(length));
        be >> version;
        type.read(be, false);
        creator.read(be, false);
        be >> finderFlags >> dataLength >> resourceLength >> crc;
        algorithm::hqx::Check check;
        check.update(bytes, rest - 1);
        valid_ = check.value() == crc;
    }
    if (!valid_ && strict) throw Exception("bad BinHex header");
}

void Header::write(stream::Output& out) const {
    char bytes[longestName + 22];
    const uint8_t length = static_cast<uint8_t>(name.size() < longestName ? name.size() : longestName);
    stream::ArrayOutput array(bytes, sizeof bytes);
    stream::BigEndianOutput be(array);
    be << length;
    be.write(name.data(), length);
    be << version;
    type.write(be);
    creator.write(be);
    be << finderFlags << dataLength << resourceLength;
    const uint32_t checked = static_cast<uint32_t>(array.tell());
    algorithm::hqx::Check check;
    check.update(bytes, checked);
    be << check.value();
    out.write(bytes, checked + 2);
}

}  // namespace format::hqx
