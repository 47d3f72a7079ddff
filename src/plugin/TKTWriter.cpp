#include "plugin/TKTWriter.h"

#include <list>
#include <string>

#include "format/format.Number.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FSObject_Win.h"
#include "util/util.System.h"

TKTWriter::TKTWriter(bool progress) : showProgress(progress) {
    add(static_cast<tuckett5::event::ErrorListener*>(this));
    add(static_cast<tuckett5::event::ArchiveCreateBeginListener*>(this));
    add(static_cast<tuckett5::event::ArchiveCreateEndListener*>(this));
    add(static_cast<tuckett5::event::FileDeleteListener*>(this));
    add(static_cast<tuckett5::event::FileEncodeBeginListener*>(this));
    add(static_cast<tuckett5::event::FileEncodeEndListener*>(this));
    add(static_cast<tuckett5::event::FolderEncodeBeginListener*>(this));
    add(static_cast<tuckett5::event::FolderEncodeEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeBeginListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesBeginListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesEndListener*>(this));
    add(static_cast<tuckett5::event::ProgressFilesMoveListener*>(this));
}

TKTWriter::~TKTWriter() = default;

// The one table of the suffixes of the formats that the plug-in creates.
const char* TKTWriter::ArchiveSuffix(int format) {
    switch (format) {
        case format::number::tkt5:
            return ".tkt";
        case format::number::zip:
            return ".zip";
        case format::number::gz:
            return ".gz";
        case format::number::tar:
            return ".tar";
        default:
            return "";
    }
}

void TKTWriter::swcreate() {
    if (!sourceFSO || sourceFSO->pathLength == 0 || !destinationFSO) return;
    if (destinationFSO->pathLength == 0) {
        // The name is built in a text of the buffers' size.
        std::string text = std::string(sourceFSO->path) + ArchiveSuffix(archiveInfo.format);
        destinationFSO->SetObject(text.substr(0, FSObject::kBufferSize - 1).c_str());
    }
    // Whatever has the archive's name goes first, before the request is checked.
    destinationFSO->ObjectDelete();
    archiveInfo.path = destinationFSO->pathString;
    create(std::list<std::string>{sourceFSO->pathString});
}

bool TKTWriter::errorEvent(int32_t) { return true; }
bool TKTWriter::archiveCreateBeginEvent() { return true; }
void TKTWriter::archiveCreateEndEvent() {}
bool TKTWriter::fileDeleteEvent() { return true; }

bool TKTWriter::fileEncodeBeginEvent() {
    if (showProgress) {
        Crwk::ui().curScanName(fileInfo.name.c_str());
        Crwk::ui().itemsLeft(itemsLeft);
        --itemsLeft;
    }
    return true;
}

void TKTWriter::fileEncodeEndEvent() {}

// Only files are counted: folders leave the count alone.
bool TKTWriter::folderEncodeBeginEvent() { return true; }
void TKTWriter::folderEncodeEndEvent() {}

void TKTWriter::progressSizeBeginEvent(uint32_t total) {
    if (!showProgress) return;
    if (!Crwk::ui().display()) throw tuckett5::exception::Evacuation();
    Crwk::ui().archiveName(sourceFSO ? sourceFSO->name : "");
    Crwk::ui().begin(total);
}

void TKTWriter::progressSizeEndEvent() {
    if (showProgress) Crwk::ui().destroy();
}

bool TKTWriter::progressSizeMoveEvent(uint32_t position) {
    util::System::yield();
    if (!showProgress) return true;
    Crwk::ui().move(position);
    canceled = Crwk::ui().canceled();
    return !canceled;
}

void TKTWriter::progressFilesBeginEvent(uint32_t count) { itemsLeft = count; }
void TKTWriter::progressFilesEndEvent() {}
bool TKTWriter::progressFilesMoveEvent(uint32_t) { return true; }
