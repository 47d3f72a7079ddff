#pragma once

#include <string>

#include "io/io.FolderScanner.h"

namespace tuckett5 {
class Writer;
}

namespace engine5 {

// Walks the inputs of a writer before they are stored, to learn the number of
// files and their total size. Each file and folder is first shown to the
// writer's scan-step listeners, whose "no" evacuates the run. What the
// writers never store is passed over here too: the archive being written, and
// the AppleDouble files that carry other files' forks on POSIX.
class WriterScanner : public io::FolderScanner {
public:
    WriterScanner(tuckett5::Writer& writer, io::macdrive::Adapter* adapter = nullptr)
        : io::FolderScanner(adapter), writer(writer) {}

    void scanFile(const std::string& path) override;
    void scanDirectory(const std::string& path) override;

    // Whether a writer stores the file at `path` (an absolute path) when it
    // meets it inside a folder.
    static bool stored(const tuckett5::Writer& writer, const std::string& path);

protected:
    tuckett5::Writer& writer;
};

}  // namespace engine5
