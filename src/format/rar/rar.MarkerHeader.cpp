#include "format/rar/rar.MarkerHeader.h"

#include <cstring>

#include "format/format.Exception.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace format::rar {

namespace {
const char marker[] = {'R', 'a', 'r', '!', 0x1A, 0x07, 0x00};
const char oldMarker[] = {'R', 'E', '~', '^'};
}  // namespace

void MarkerHeader::read(stream::Input& in, bool strict) {
    valid_ = false;
    char bytes[markerSize];
    uint32_t count = in.read(bytes, oldMarkerSize);
    if (count == oldMarkerSize && std::memcmp(bytes, oldMarker, oldMarkerSize) == 0) {
        old_ = true;
        valid_ = true;
        return;
    }
    old_ = false;
    if (count == oldMarkerSize) count += in.read(bytes + oldMarkerSize, markerSize - oldMarkerSize);
    valid_ = count == markerSize && std::memcmp(bytes, marker, markerSize) == 0;
    if (!valid_ && strict) throw Exception("bad marker in format::rar::MarkerHeader::read");
}

void MarkerHeader::write(stream::Output& out) const {
    if (old_)
        out.write(oldMarker, oldMarkerSize);
    else
        out.write(marker, markerSize);
}

}  // namespace format::rar
