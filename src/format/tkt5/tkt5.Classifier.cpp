#include "format/tkt5/tkt5.Classifier.h"

#include "format/format.Number.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "stream/stream.Array.h"
#include "un/un.exception.h"

namespace format::tkt5 {

Classifier::Classifier() : format::Classifier(number::tkt5, 4000) {}

bool Classifier::recognizes(unsigned offset) const {
    const char* text = ArchiveHeader::artifact1Text.data();
    const char* second = ArchiveHeader::artifact2Text.data();
    if (!holds(offset, text, static_cast<unsigned>(ArchiveHeader::artifact1Text.size())) ||
        !holds(offset + ArchiveHeader::artifact2Offset, second, ArchiveHeader::artifact2Compared))
        return false;
    const unsigned char* year = bytes() + offset + ArchiveHeader::yearOffset;
    for (int i = 0; i < 4; ++i)
        if (year[i] < '0' || year[i] > '9') return false;
    return true;
}

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    ArchiveHeader header;
    try {
        header.read(in, false);
    } catch (const un::exception&) {
        return false;
    }
    if (!header.valid()) return false;
    encrypted((header.flags() & ArchiveHeader::passwordFlag) != 0);
    return true;
}

}  // namespace format::tkt5
