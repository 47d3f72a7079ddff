#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "algorithm/algorithm.Password.h"
#include "engine/t5.Events.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Info.h"
#include "un/un.property.h"

namespace io::random {
class File;
class FileInput;
}  // namespace io::random

namespace engine5 {
class FormatReader;
}

namespace tuckett5 {

// The engine's public class for expansion. A client adds listeners and drives
// open, scan (which classifies by itself when needed), decode and close. The
// reader owns the archive file, the options and the description records, and
// picks one engine5::FormatReader by the format number; all reporting goes
// through events and exceptions.
class Reader : public event::ArchiveDecodeBeginDispatcher,
               public event::ArchiveDecodeEndDispatcher,
               public event::ArchiveInfoDispatcher,
               public event::ArchiveNextDispatcher,
               public event::ErrorDispatcher,
               public event::FileChangedNameDispatcher,
               public event::FileDecodeBeginDispatcher,
               public event::FileDecodeEndDispatcher,
               public event::FileDeleteDispatcher,
               public event::FileInfoDispatcher,
               public event::FileNewNameDispatcher,
               public event::FolderDecodeBeginDispatcher,
               public event::FolderDecodeEndDispatcher,
               public event::FolderInfoDispatcher,
               public event::ProgressFilesBeginDispatcher,
               public event::ProgressFilesEndDispatcher,
               public event::ProgressFilesMoveDispatcher,
               public event::ProgressScanBeginDispatcher,
               public event::ProgressScanEndDispatcher,
               public event::ProgressScanStepDispatcher,
               public event::ProgressSizeBeginDispatcher,
               public event::ProgressSizeEndDispatcher,
               public event::ProgressSizeMoveDispatcher {
public:
    static constexpr uint32_t defaultPosition = 0;
    static constexpr uint32_t defaultSpan = 65536;

    // The options: 0 and 1 for always and never, anything else lets the format decide.
    enum MacBinary { macBinaryNever = 0, macBinaryAlways = 1, macBinaryAuto = 2 };
    enum TextConversion { textNone = 0, textAll = 1, textOnlyText = 2 };

    Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    virtual ~Reader();

    // One add and remove for each kind of listener, so a client writes
    // reader.add(static_cast<FileDecodeBeginListener*>(this)).
    using event::ArchiveDecodeBeginDispatcher::add;
    using event::ArchiveDecodeBeginDispatcher::remove;
    using event::ArchiveDecodeEndDispatcher::add;
    using event::ArchiveDecodeEndDispatcher::remove;
    using event::ArchiveInfoDispatcher::add;
    using event::ArchiveInfoDispatcher::remove;
    using event::ArchiveNextDispatcher::add;
    using event::ArchiveNextDispatcher::remove;
    using event::ErrorDispatcher::add;
    using event::ErrorDispatcher::remove;
    using event::FileChangedNameDispatcher::add;
    using event::FileChangedNameDispatcher::remove;
    using event::FileDecodeBeginDispatcher::add;
    using event::FileDecodeBeginDispatcher::remove;
    using event::FileDecodeEndDispatcher::add;
    using event::FileDecodeEndDispatcher::remove;
    using event::FileDeleteDispatcher::add;
    using event::FileDeleteDispatcher::remove;
    using event::FileInfoDispatcher::add;
    using event::FileInfoDispatcher::remove;
    using event::FileNewNameDispatcher::add;
    using event::FileNewNameDispatcher::remove;
    using event::FolderDecodeBeginDispatcher::add;
    using event::FolderDecodeBeginDispatcher::remove;
    using event::FolderDecodeEndDispatcher::add;
    using event::FolderDecodeEndDispatcher::remove;
    using event::FolderInfoDispatcher::add;
    using event::FolderInfoDispatcher::remove;
    using event::ProgressFilesBeginDispatcher::add;
    using event::ProgressFilesBeginDispatcher::remove;
    using event::ProgressFilesEndDispatcher::add;
    using event::ProgressFilesEndDispatcher::remove;
    using event::ProgressFilesMoveDispatcher::add;
    using event::ProgressFilesMoveDispatcher::remove;
    using event::ProgressScanBeginDispatcher::add;
    using event::ProgressScanBeginDispatcher::remove;
    using event::ProgressScanEndDispatcher::add;
    using event::ProgressScanEndDispatcher::remove;
    using event::ProgressScanStepDispatcher::add;
    using event::ProgressScanStepDispatcher::remove;
    using event::ProgressSizeBeginDispatcher::add;
    using event::ProgressSizeBeginDispatcher::remove;
    using event::ProgressSizeEndDispatcher::add;
    using event::ProgressSizeEndDispatcher::remove;
    using event::ProgressSizeMoveDispatcher::add;
    using event::ProgressSizeMoveDispatcher::remove;

    // Opens the archive for reading; an io::Exception becomes exception::Input.
    // An archive already open is not closed.
    virtual void open(const std::string& path);
    virtual void classify();
    virtual void scan();
    virtual void decode();
    // Closes the archive; the format reader stays until the next scan.
    virtual void close();
    virtual bool canClassify(int format) const;
    virtual bool canDecode(int format) const;

    // Options.
    un::property<bool> tuckedFlagA{false};
    un::property<int32_t> textLineEnding{3};
    un::property<bool> tuckedFlagB{false};
    un::property<int32_t> textConversion{textNone};
    un::property<int32_t> macBinaryOutput{macBinaryNever};
    un::property<std::string> outputFolder{std::string(".")};
    un::property<uint32_t> span{defaultSpan};
    // Whether decode goes on past an item that fails on its own (a method
    // without reader, a wrong password for one item, damaged data of one
    // item): its output is removed, it is noted in itemFailures, and the rest
    // expands. Off, the first failure ends the run.
    un::property<bool> continueAfterItemFailure{false};
    std::vector<ItemFailure> itemFailures;
    // Whether a compressed stream that holds an archive (a .tar.gz) comes out
    // as that archive, rather than as its items.
    un::property<bool> firstLayerOnly{false};
    // Whether the "__MACOSX" entries of an archive made on macOS come out as
    // they are stored, rather than as the resource forks and Finder
    // information of the files they belong to.
    un::property<bool> keepAppleDoubleEntries{false};
    // The guard against decompression bombs: an item (or a compressed
    // stream) may expand to at most this many times its compressed size, and
    // to the floor of engine5::FormatReader::ratioFloor whatever its ratio.
    // 0 turns the guard off. Items of the native format in its own methods
    // are never held to it.
    static constexpr uint32_t defaultMaxRatio = 1000;
    un::property<uint32_t> maxRatio{defaultMaxRatio};
    // Items expanded otherwise than stored, with the reason (a link kept as a file).
    std::vector<ItemFailure> itemWarnings;
    // Where the first top-level item of the last decode went: a top folder or
    // file that had to take a free name shows here under that name.
    std::string topPath;

    algorithm::Password password;
    // A key beside the password, and a text behind it, for the formats that
    // take one; empty unless the client sets them.
    std::string key;
    std::string keyText;

    ArchiveInfo archiveInfo;
    FileInfo fileInfo;
    FolderInfo folderInfo;
    // The last classification or format result; 0 for none.
    int32_t error = 0;
    // The archive offset just behind the last decode.
    uint32_t nextPosition = 0;

    std::unique_ptr<engine5::FormatReader> formatReader;
    std::unique_ptr<io::random::File> file;
    std::unique_ptr<io::random::FileInput> input;
    bool isOpen = false;
    bool isClassified = false;
    bool isScanned = false;

protected:
    // The reader of a format number, or null when the engine has none.
    virtual std::unique_ptr<engine5::FormatReader> makeFormatReader(int format);
};

}  // namespace tuckett5
