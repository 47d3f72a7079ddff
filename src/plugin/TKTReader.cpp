#include "plugin/TKTReader.h"

#include <filesystem>
#include <string>

#include "io/io.Path.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FSObject_Win.h"
#include "util/util.System.h"

TKTReader::TKTReader(bool progress) : showProgress(progress) {
    add(static_cast<tuckett5::event::ErrorListener*>(this));
    add(static_cast<tuckett5::event::ArchiveDecodeBeginListener*>(this));
    add(static_cast<tuckett5::event::ArchiveDecodeEndListener*>(this));
    add(static_cast<tuckett5::event::FileDeleteListener*>(this));
    add(static_cast<tuckett5::event::FileDecodeBeginListener*>(this));
    add(static_cast<tuckett5::event::FileDecodeEndListener*>(this));
    add(static_cast<tuckett5::event::FolderDecodeBeginListener*>(this));
    add(static_cast<tuckett5::event::FolderDecodeEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeBeginListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesBeginListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesMoveListener*>(this));
}

TKTReader::~TKTReader() = default;

void TKTReader::sropen() {
    if (!sourceFSO || sourceFSO->pathLength == 0) return;
    open(sourceFSO->pathString);
    scan();
    itemsLeft = archiveInfo.fileCount;
}

bool TKTReader::errorEvent(int32_t) { return true; }

bool TKTReader::archiveDecodeBeginEvent() {
    if (!destinationFSO) return true;
    if (destinationFSO->pathLength != 0) {
        outputFolder(destinationFSO->pathString);
        return true;
    }

    // The name is built in a text of the buffers' size.
    std::string text = sourceFSO->ParentFolder();
    text += FSObject::kSeparator;
    const std::string& root = archiveInfo.rootName;
    if (root.empty()) {
        text += sourceFSO->baseName;
        if (!sourceFSO->suffix[0]) text += " Folder";
        text = text.substr(0, FSObject::kBufferSize - 1);
        // Without leave to replace, the folder takes the first free name.
        if (!replaceExisting || Untouchable(text)) io::Path::makeUnique(text, 999);
        destinationFSO->SetObject(text.c_str());
        outputFolder(destinationFSO->pathString);
    } else {
        // The archive's items carry their top folder themselves, so the run
        // writes into the parent of the folder named here. What cannot be
        // replaced stays, and the engine gives the items a free name beside it.
        text += root.substr(0, root.find('/'));
        destinationFSO->SetObject(text.substr(0, FSObject::kBufferSize - 1).c_str());
        outputFolder(std::string(destinationFSO->ParentFolder()));
        if (!replaceExisting || Untouchable(destinationFSO->pathString)) return true;
    }
    // Whatever already has the destination's name goes first.
    return destinationFSO->ObjectDelete() == 0;
}

// The archive being read, a folder that holds it, and a link (or anything
// reached through one) are never deleted to make room.
bool TKTReader::Untouchable(const std::string& path) const {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path target(path);
    if (fs::is_symlink(fs::symlink_status(target, error))) return true;
    if (!fs::exists(fs::symlink_status(target, error))) return false;
#ifndef _WIN32
    // A link on the way makes the target something other than it looks.
    if (fs::weakly_canonical(target, error) != fs::absolute(target, error).lexically_normal()) return true;
#endif
    if (!sourceFSO) return false;
    for (fs::path held = fs::absolute(sourceFSO->pathString, error); held.has_relative_path();
         held = held.parent_path()) {
        if (fs::equivalent(held, target, error)) return true;
        if (held == held.parent_path()) break;
    }
    return false;
}

void TKTReader::archiveDecodeEndEvent() {}
bool TKTReader::fileDeleteEvent() { return true; }

bool TKTReader::fileDecodeBeginEvent(uint32_t) {
    if (showProgress) {
        Crwk::ui().curScanName(fileInfo.name.c_str());
        Crwk::ui().itemsLeft(itemsLeft);
        --itemsLeft;
    }
    return true;
}

void TKTReader::fileDecodeEndEvent() {}

// The native formats don't count folders among their items.
bool TKTReader::folderDecodeBeginEvent(uint32_t) {
    int format = archiveInfo.format;
    if (showProgress && format != 3 && format != 29) {
        Crwk::ui().itemsLeft(itemsLeft);
        --itemsLeft;
    }
    return true;
}

void TKTReader::folderDecodeEndEvent() {}

void TKTReader::progressSizeBeginEvent(uint32_t total) {
    if (!showProgress) return;
    if (!Crwk::ui().display()) throw tuckett5::exception::Evacuation();
    Crwk::ui().archiveName(sourceFSO ? sourceFSO->name : "");
    Crwk::ui().begin(total);
}

void TKTReader::progressSizeEndEvent() {
    if (showProgress) Crwk::ui().destroy();
}

bool TKTReader::progressSizeMoveEvent(uint32_t position) {
    util::System::yield();
    if (!showProgress) return true;
    Crwk::ui().move(position);
    canceled = Crwk::ui().canceled();
    return !canceled;
}

void TKTReader::progressFilesBeginEvent(uint32_t) {}
void TKTReader::progressFilesEndEvent() {}
bool TKTReader::progressFilesMoveEvent(uint32_t) { return true; }
