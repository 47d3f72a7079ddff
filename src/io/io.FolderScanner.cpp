#include "io/io.FolderScanner.h"

#include "io/io.File.h"
#include "io/io.Folder.h"
#include "io/io.Path.h"
#include "io/io.macdrive.Adapter.h"
#include "io/io.macdrive.Rsrc.h"

namespace io {

void FolderScanner::scan(const std::string& path) {
    if (Path::directory(path))
        scanDirectory(path);
    else
        scanFile(path);
    scanned_ = true;
}

void FolderScanner::scan(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) scan(path);
}

void FolderScanner::scanFile(const std::string& path) {
    File file;
    file.open(path);
    ++files_;
    dataTotal_ += file.size();
    file.close();
    if (adapter_ != nullptr && adapter_->isFileOnMacDriveVolume(path.c_str()) == 1) {
        macdrive::Rsrc fork;
        fork.open(path);
        resourceTotal_ += fork.size();
        fork.close();
    }
}

void FolderScanner::scanDirectory(const std::string& path) {
    std::string prefix = path;
    if (!prefix.empty() && prefix.back() != Path::separator) prefix += Path::separator;
    for (const Folder::Entry& entry : Folder::list(path)) {
        if (entry.directory) {
            if (!entry.link) scanDirectory(prefix + entry.name);
        } else {
            scanFile(prefix + entry.name);
        }
    }
}

} // namespace io
