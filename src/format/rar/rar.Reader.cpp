#include "format/rar/rar.Reader.h"

#include <archive.h>

namespace engine5::rar {

namespace {

void supportRar(struct archive* parser) {
    archive_read_support_format_rar(parser);
    archive_read_support_format_rar5(parser);
}

const tar::Reader::Dialect rarDialect{"rar", supportRar, "encrypted RAR archives not supported by rar reader"};

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : tar::Reader(position, reader, rarDialect) {}

}  // namespace engine5::rar
