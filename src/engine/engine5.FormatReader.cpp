#include "engine/engine5.FormatReader.h"

#include "engine/t5.Reader.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.SafePath.h"

namespace engine5 {

FormatReader::FormatReader(uint32_t position, tuckett5::Reader& reader) : reader(reader) {
    reader.archiveInfo.position = position;
    reader.nextPosition = position + 1;
}

FormatReader::~FormatReader() = default;

void FormatReader::scan(stream::random::Input&, io::random::File&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::scan()");
}

void FormatReader::scan(stream::random::Input&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::scan()");
}

void FormatReader::decode(stream::random::Input&, io::random::File&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::decode()");
}

void FormatReader::decode(stream::random::Input&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::decode()");
}

void FormatReader::makeMacBinaryOutputDecision(bool formatDefault) {
    int32_t option = reader.macBinaryOutput();
    if (option == 1)
        macBinaryOutput = true;
    else if (option == 0)
        macBinaryOutput = false;
    else
        macBinaryOutput = formatDefault;
}

std::string FormatReader::preprocessName(const std::string& name) {
    std::string folder = reader.outputFolder();
    io::Path::makeAbsolute(folder);
    while (folder.size() > 1 && folder.back() == io::Path::separator) folder.pop_back();

    // The safe path drops ".", "..", drive letters and leading separators, and
    // steps around links planted in the folder, so the result stays inside it.
    std::string path = io::safePath(folder, name);
    std::string prefix = folder;
    if (prefix.back() != io::Path::separator) prefix += io::Path::separator;
    if (path.size() <= prefix.size() || path.compare(0, prefix.size(), prefix) != 0) return path;

    std::string::size_type end = path.find(io::Path::separator, prefix.size());
    std::string top = path.substr(0, end);
    std::string rest = end == std::string::npos ? std::string() : path.substr(end);

    auto entry = topLevelNames.find(top);
    if (io::Path::exists(top) && io::Path::directory(top)) {
        if (entry == topLevelNames.end()) {
            // The first item that falls into a folder that was there before
            // this run opens a fresh folder beside it; its siblings follow.
            std::string original = top;
            io::Path::makeUnique(top, uniqueLimit);
            topLevelNames[original] = top;
        } else {
            top = entry->second;
        }
    } else if (entry == topLevelNames.end()) {
        topLevelNames[top] = top;
    }
    return top + rest;
}

void FormatReader::tellChangedName(const std::string& path) { reader.fireFileChangedName(path.c_str()); }

void FormatReader::postprocessName(std::string& path) {
    bool changed = io::Path::normalize(path) || io::Path::makeUnique(path, uniqueLimit) ||
                   io::Path::truncate(path, io::Path::maxSize);
    if (changed) tellChangedName(path);
    io::Path::createDirectoryFor(path);
}

void FormatReader::postprocessFolderName(std::string& path) {
    bool known = topLevelNames.find(path) != topLevelNames.end();
    bool changed = io::Path::normalize(path);
    // A folder the map knows is an accepted top-level folder, not a conflict.
    if (!changed && !known) changed = io::Path::makeUnique(path, uniqueLimit);
    if (!changed) changed = io::Path::truncate(path, io::Path::maxSize);
    if (changed) tellChangedName(path);
}

namespace {

// Only a failure of the creation itself starts another try: a name that cannot
// be made legal fails at once.
template <typename F, typename Postprocess>
void createFile(F& file, std::string& path, int tries, Postprocess postprocess) {
    std::string original = path;
    for (int i = 0; i < tries; ++i) {
        path = original;
        postprocess(path);
        try {
            file.create(path);
            return;
        } catch (const un::exception&) {
        }
    }
    throw tuckett5::exception::Output("cannot create an output file in engine5::FormatReader::createOutputFile");
}

}  // namespace

void FormatReader::createOutputFile(io::File& file, std::string& path, int tries) {
    createFile(file, path, tries, [this](std::string& p) { postprocessName(p); });
}

void FormatReader::createOutputFile(io::random::File& file, std::string& path, int tries) {
    createFile(file, path, tries, [this](std::string& p) { postprocessName(p); });
}

void FormatReader::createOutputFolder(std::string& path, int tries) {
    std::string original = path;
    for (int i = 0; i < tries; ++i) {
        path = original;
        postprocessFolderName(path);
        try {
            io::Path::createDirectory(path);
            return;
        } catch (const un::exception&) {
        }
    }
    throw tuckett5::exception::Output("cannot create an output file in engine5::FormatReader::createOutputFolder");
}

}  // namespace engine5
