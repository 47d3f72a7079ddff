#include "engine/engine5.WriterScanner.h"

#include "engine/t5.Writer.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"

namespace engine5 {

bool WriterScanner::stored(const tuckett5::Writer& writer, const std::string& path) {
    return path != writer.archiveInfo.path && !io::ntfs::Rsrc::isSidecar(path);
}

void WriterScanner::scanFile(const std::string& path) {
    if (!stored(writer, path)) return;
    writer.currentFile(path);
    writer.fireFileScanStep();
    io::FolderScanner::scanFile(path);
}

void WriterScanner::scanDirectory(const std::string& path) {
    std::string absolute = path;
    io::Path::makeAbsolute(absolute);
    writer.currentFolder(absolute);
    writer.fireFolderScanStep();
    io::FolderScanner::scanDirectory(absolute);
}

}  // namespace engine5
