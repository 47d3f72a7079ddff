#include "format/zip/zip.EndHeader.h"

#include <vector>

#include "format/format.Exception.h"
#include "format/zip/zip.Strings.h"
#include "stream/stream.ByteOrder.h"
#include "un/un.assert.h"

namespace format::zip {

EndHeader::EndHeader() : artifact(artifactPattern) {
    un_assert(size() == 22);
    un_assert(max_size() == 22 + 65535);
}

bool EndHeader::valid() const { return artifact() == artifactPattern; }

void EndHeader::read(stream::Input& input, bool check) {
    stream::LittleEndianInput in(input);
    artifact(in.u32());
    if (check && artifact() != artifactPattern) throw Exception("bad header artfact in format::zip::EndHeader::read()");
    thisDisk(in.u16());
    directoryDisk(in.u16());
    entriesOnDisk(in.u16());
    entries(in.u16());
    directorySize(in.u32());
    directoryOffset(in.u32());
    const uint16_t commentLength = in.u16();
    comment(readString(input, commentLength));
}

void EndHeader::write(stream::Output& output) const {
    if (comment().size() > 65535) throw Exception("file comment is too long in format::zip::CentralHeader::write()");
    stream::LittleEndianOutput out(output);
    out << artifactPattern << thisDisk() << directoryDisk() << entriesOnDisk() << entries() << directorySize()
        << directoryOffset() << static_cast<uint16_t>(comment().size());
    writeString(output, comment());
}

uint32_t EndHeader::size() const { return fixed_size + static_cast<uint32_t>(comment().size()); }

unsigned long long EndHeader::locate(stream::random::Input& in) {
    const uint64_t total = in.size();
    if (total == stream::all || total < fixed_size) return notFound;

    // An archive without a comment ends in the record.
    in.seek(total - fixed_size);
    read(in, false);
    if (valid()) return total - fixed_size;

    const uint64_t span = total < uint64_t(max_size()) ? total : uint64_t(max_size());
    const uint64_t base = total - span;
    std::vector<char> buffer(static_cast<size_t>(span));
    in.seek(base);
    uint32_t done = 0;
    while (done < span) {
        const uint32_t n = in.read(buffer.data() + done, static_cast<uint32_t>(span) - done);
        if (n == 0) break;
        done += n;
    }
    if (done < fixed_size) return notFound;
    for (uint32_t i = done - fixed_size + 1; i-- > 0;) {
        if (buffer[i] == 'P' && buffer[i + 1] == 'K' && buffer[i + 2] == 5 && buffer[i + 3] == 6) return base + i;
    }
    return notFound;
}

} // namespace format::zip
