#include "format/lha/lha.Reader.h"

#include <archive.h>

namespace engine5::lha {

namespace {

void supportLha(struct archive* parser) { archive_read_support_format_lha(parser); }

const tar::Reader::Dialect lhaDialect{"lha", supportLha, "encrypted LHA archives not supported by lha reader"};

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : tar::Reader(position, reader, lhaDialect) {}

}  // namespace engine5::lha
