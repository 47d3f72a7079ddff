#include "format/tktseg/tktseg.Classifier.h"

#include "format/format.Number.h"
#include "format/tktseg/tktseg.ArchiveHeader.h"
#include "stream/stream.Array.h"

namespace format::tktseg {

namespace {

// Reads the header at the start of the block and tells the classifier the
// segment's number and the total.
bool confirmsSegment(const format::Classifier& classifier, bool first) {
    const std::vector<char>& block = *classifier.data;
    if (block.size() < ArchiveHeader::min_size) return false;
    stream::ArrayInput in(block.data(), static_cast<uint32_t>(block.size()));
    ArchiveHeader header;
    header.read(in, false);
    if (!header.valid() || (header.segmentNumber == 1) != first) return false;
    classifier.segmentTotal(header.segmentTotal);
    classifier.segmentNumber(header.segmentNumber);
    return true;
}

}  // namespace

Classifier::Classifier() : format::Classifier(number::tktseg, 3000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0; }

bool Classifier::confirms(unsigned) const { return confirmsSegment(*this, true); }

ClassifierN::ClassifierN() : format::Classifier(number::tktsegN, 3000) {}

bool ClassifierN::recognizes(unsigned offset) const { return offset == 0; }

bool ClassifierN::confirms(unsigned) const { return confirmsSegment(*this, false); }

}  // namespace format::tktseg
