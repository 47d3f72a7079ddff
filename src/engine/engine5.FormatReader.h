#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "io/io.macdrive.Adapter.h"

namespace stream::random {
class Input;
}
namespace io {
class File;
namespace random {
class File;
}
}  // namespace io
namespace tuckett5 {
class Reader;
}

namespace engine5 {

// The base of every format's expander. It owns what all formats decide alike:
// how a stored name becomes a path inside the output folder, what happens when
// that path is taken or illegal, how often creating an output is tried, and
// whether files come out as MacBinary.
class FormatReader {
public:
    // Stores `position` as the archive's position and the place behind it as
    // the reader's next position.
    FormatReader(uint32_t position, tuckett5::Reader& reader);
    FormatReader(const FormatReader&) = delete;
    FormatReader& operator=(const FormatReader&) = delete;
    virtual ~FormatReader();

    // Lists the items and raises their events without writing anything. The
    // forms with the file serve formats that need it beside the stream.
    virtual void scan(stream::random::Input& archive, io::random::File& file);
    virtual void scan(stream::random::Input& archive);
    virtual void decode(stream::random::Input& archive, io::random::File& file);
    virtual void decode(stream::random::Input& archive);

    static constexpr int defaultTries = 256;
    static constexpr uint32_t uniqueLimit = 999;

protected:
    // Always for 1, never for 0, the format's own choice otherwise.
    void makeMacBinaryOutputDecision(bool formatDefault);
    // A stored item name to a full path inside the output folder.
    std::string preprocessName(const std::string& name);
    // Makes a file's path legal and free, tells the listeners of a change, and
    // creates the folders above it.
    void postprocessName(std::string& path);
    // The same for a folder, which it does not create.
    void postprocessFolderName(std::string& path);
    // Create under a legal, free name, trying up to `tries` times; `path`
    // holds the name that was used.
    void createOutputFile(io::File& file, std::string& path, int tries);
    void createOutputFile(io::random::File& file, std::string& path, int tries);
    void createOutputFolder(std::string& path, int tries);

    bool macBinaryOutput = false;
    tuckett5::Reader& reader;
    io::macdrive::Adapter macDrive;
    // The top-level path an archive asked for, to the path used for it.
    std::map<std::string, std::string> topLevelNames;

private:
    void tellChangedName(const std::string& path);
};

}  // namespace engine5
