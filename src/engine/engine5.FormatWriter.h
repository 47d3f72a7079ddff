#pragma once

#include <list>
#include <string>

#include "io/io.macdrive.Adapter.h"

namespace stream::random {
class Output;
}
namespace io::random {
class File;
}
namespace tuckett5 {
class Writer;
}

namespace engine5 {

// The base of every format's creator.
class FormatWriter {
public:
    explicit FormatWriter(tuckett5::Writer& writer);
    FormatWriter(const FormatWriter&) = delete;
    FormatWriter& operator=(const FormatWriter&) = delete;
    virtual ~FormatWriter();

    virtual void create(const std::list<std::string>& items, stream::random::Output& archive);
    virtual void create(const std::list<std::string>& items, stream::random::Output& archive, io::random::File& file);
    // The suffix of the format's files, with its dot.
    virtual std::string ext() const = 0;

    // An empty `name` becomes `base` without trailing dots, with `suffix`; the
    // name is then made absolute in every case.
    static void generateArchiveName(std::string& name, const std::string& base, const std::string& suffix);

protected:
    tuckett5::Writer& writer;
    io::macdrive::Adapter macDrive;
};

}  // namespace engine5
