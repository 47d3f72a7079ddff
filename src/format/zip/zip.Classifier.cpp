#include "format/zip/zip.Classifier.h"

#include "format/format.Number.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "stream/stream.Array.h"
#include "un/un.exception.h"

namespace format::zip {

Classifier::Classifier() : format::Classifier(number::zip, 3000) {}

bool Classifier::recognizes(unsigned offset) const {
    return holds(offset, "PK\x03\x04") || holds(offset, "PK\x05\x06");
}

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    try {
        if (bytes()[offset + 2] == 3) {
            LocalHeader header;
            header.read(in, false);
            if (!header.valid()) return false;
            encrypted((header.flags() & 1) != 0);
            return true;
        }
        // The comment length as stored, not as far as the block reaches.
        if (!within(uint64_t(offset) + 21) || bytes()[offset + 20] != 0 || bytes()[offset + 21] != 0) return false;
        EndHeader header;
        header.read(in, false);
        return header.valid();
    } catch (const un::exception&) {
        return false;
    }
}

}  // namespace format::zip
