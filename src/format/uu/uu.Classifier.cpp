#include "format/uu/uu.Classifier.h"

#include <vector>

#include "algorithm/uu/uu.Line.h"
#include "format/format.Number.h"
#include "format/uu/uu.Header.h"
#include "stream/stream.Array.h"
#include "stream/stream.LineInput.h"

namespace format::uu {

Classifier::Classifier() : format::Classifier(number::uu, 3000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "begin "); }

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    Header header;
    header.read(in, false);
    if (!header.valid()) return false;
    stream::LineInput lines(in);
    std::vector<char> line(Header::maxLine);
    int length = lines.readLine(line.data(), Header::maxLine);
    return length > 0 && algorithm::uu::uuencodedLine(line.data(), static_cast<uint32_t>(length));
}

unsigned Classifier::candidate(unsigned from) const { return find(from, 'b'); }

}  // namespace format::uu
