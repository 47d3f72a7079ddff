#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "algorithm/algorithm.Password.h"
#include "engine/t5.Events.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Info.h"
#include "un/un.property.h"

namespace engine5 {
class FormatWriter;
}

namespace tuckett5 {

// The engine's public class for creation. A client sets the format and the
// options, adds listeners and calls create once with the paths to store. The
// writer checks the request, names and creates the archive file, and hands
// the run to the one engine5::FormatWriter of the format; it knows nothing of
// any format itself. Events and exceptions are the reader's.
class Writer : public event::ArchiveChangedNameDispatcher,
               public event::ArchiveCreateBeginDispatcher,
               public event::ArchiveCreateEndDispatcher,
               public event::ArchiveSizeDispatcher,
               public event::ErrorDispatcher,
               public event::FileDeleteDispatcher,
               public event::FileEncodeBeginDispatcher,
               public event::FileEncodeEndDispatcher,
               public event::FileScanStepDispatcher,
               public event::FolderEncodeBeginDispatcher,
               public event::FolderEncodeEndDispatcher,
               public event::FolderScanStepDispatcher,
               public event::ProgressFilesBeginDispatcher,
               public event::ProgressFilesEndDispatcher,
               public event::ProgressFilesMoveDispatcher,
               public event::ProgressSizeBeginDispatcher,
               public event::ProgressSizeEndDispatcher,
               public event::ProgressSizeMoveDispatcher {
public:
    static constexpr uint32_t defaultSegmentSpan = 65536;
    // The compression option's value that lets the format choose.
    static constexpr int32_t defaultCompression = -1;

    Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    virtual ~Writer();

    // One add and remove for each kind of listener, so a client writes
    // writer.add(static_cast<FileEncodeBeginListener*>(this)).
    using event::ArchiveChangedNameDispatcher::add;
    using event::ArchiveChangedNameDispatcher::remove;
    using event::ArchiveCreateBeginDispatcher::add;
    using event::ArchiveCreateBeginDispatcher::remove;
    using event::ArchiveCreateEndDispatcher::add;
    using event::ArchiveCreateEndDispatcher::remove;
    using event::ArchiveSizeDispatcher::add;
    using event::ArchiveSizeDispatcher::remove;
    using event::ErrorDispatcher::add;
    using event::ErrorDispatcher::remove;
    using event::FileDeleteDispatcher::add;
    using event::FileDeleteDispatcher::remove;
    using event::FileEncodeBeginDispatcher::add;
    using event::FileEncodeBeginDispatcher::remove;
    using event::FileEncodeEndDispatcher::add;
    using event::FileEncodeEndDispatcher::remove;
    using event::FileScanStepDispatcher::add;
    using event::FileScanStepDispatcher::remove;
    using event::FolderEncodeBeginDispatcher::add;
    using event::FolderEncodeBeginDispatcher::remove;
    using event::FolderEncodeEndDispatcher::add;
    using event::FolderEncodeEndDispatcher::remove;
    using event::FolderScanStepDispatcher::add;
    using event::FolderScanStepDispatcher::remove;
    using event::ProgressFilesBeginDispatcher::add;
    using event::ProgressFilesBeginDispatcher::remove;
    using event::ProgressFilesEndDispatcher::add;
    using event::ProgressFilesEndDispatcher::remove;
    using event::ProgressFilesMoveDispatcher::add;
    using event::ProgressFilesMoveDispatcher::remove;
    using event::ProgressSizeBeginDispatcher::add;
    using event::ProgressSizeBeginDispatcher::remove;
    using event::ProgressSizeEndDispatcher::add;
    using event::ProgressSizeEndDispatcher::remove;
    using event::ProgressSizeMoveDispatcher::add;
    using event::ProgressSizeMoveDispatcher::remove;

    // Writes the archive of `paths` (empty entries are passed over). An empty
    // list does nothing at all. The archive is archiveInfo.path, or, when that
    // is empty, the first path with the format's suffix; the name actually
    // used is in archiveInfo.path afterwards.
    virtual void create(const std::list<std::string>& paths);
    virtual bool canCreate(int format) const;

    // Options.
    un::property<bool> tuckedFlagC{false};
    un::property<int32_t> textLineEnding{3};
    // -1 lets the format choose; otherwise the format's own method number.
    un::property<int32_t> compression{defaultCompression};
    un::property<bool> tuckedFlagE{false};
    un::property<uint32_t> segmentSpan{defaultSegmentSpan};
    un::property<bool> tuckedFlagD{false};
    // The archive's comment, for the formats that keep one.
    un::property<std::string> archiveNote;

    algorithm::Password password;
    // The random key that enciphers every fork beside the password; made by
    // the format when it is empty and a password is set.
    std::string key;
    int32_t error = 0;

    // What the scan of the inputs is at: the file or folder in hand.
    un::property<std::string> currentFile;
    un::property<std::string> currentFolder;

    ArchiveInfo archiveInfo;
    FileInfo fileInfo;
    FolderInfo folderInfo;

    std::unique_ptr<engine5::FormatWriter> formatWriter;

protected:
    // Refuses a folder for a format without folders, and a third input for a
    // format of single inputs.
    void validateArguments(const std::list<std::string>& paths) const;
    // The writer of a format number, or null when the engine has none.
    virtual std::unique_ptr<engine5::FormatWriter> makeFormatWriter(int format);
};

}  // namespace tuckett5
