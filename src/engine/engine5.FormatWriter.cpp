#include "engine/engine5.FormatWriter.h"

#include "engine/t5.Exception.h"
#include "io/io.Path.h"

namespace engine5 {

FormatWriter::FormatWriter(tuckett5::Writer& writer) : writer(writer) {}

FormatWriter::~FormatWriter() = default;

void FormatWriter::create(const std::list<std::string>&, stream::random::Output&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatWriter::create()");
}

void FormatWriter::create(const std::list<std::string>&, stream::random::Output&, io::random::File&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatWriter::create()");
}

void FormatWriter::generateArchiveName(std::string& name, const std::string& base, const std::string& suffix) {
    if (name.empty()) {
        name = base;
        while (!name.empty() && name.back() == '.') name.pop_back();
        name += suffix;
    }
    io::Path::makeAbsolute(name);
}

}  // namespace engine5
