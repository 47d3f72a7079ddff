#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "engine/t5.Info.h"
#include "format/format.data.h"
#include "io/io.macdrive.Adapter.h"
#include "un/un.property.h"

namespace stream {
class Output;
namespace random {
class Input;
}
}  // namespace stream
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

// One item as a format reader describes it to the extraction path. The reader
// fills what its format stores; what is left unset is not applied.
struct Entry {
    // A link is a symbolic link; a hardLink a second name of a file that an
    // earlier item of the same archive made.
    enum class Kind { file, folder, link, hardLink };
    Kind kind = Kind::file;
    // The stored name in the local encoding, folders separated by "/", and by
    // "\" too where `backslashSeparates`; elsewhere a "\" is part of a name.
    std::string name;
    // The name that places the item, where it differs from the one reported.
    std::string placeName;
    tuckett5::UnicodeName unicodeName;
    bool backslashSeparates = true;
    un::opt_property<uint64_t> dataSize;
    un::opt_property<uint64_t> resourceSize;
    un::opt_property<uint64_t> compressedSize;
    // Seconds since 1 January 1970.
    un::opt_property<int64_t> modificationTime;
    un::opt_property<int64_t> creationTime;
    // Windows attributes, and POSIX mode bits where the format keeps them.
    un::opt_property<uint32_t> attributes;
    un::opt_property<uint32_t> permissions;
    bool locked = false;
    // The Macintosh Finder information (type, creator, flags, location).
    un::opt_property<format::data::FileInfo> finderInfo;
    // The data fork is text, by its Macintosh type or the format's own mark:
    // the conversion of "text items only" takes it.
    bool text = false;
    // The target of a symbolic link, as stored; empty when the link's data
    // fork holds it. For a hard link, the stored name of the item it joins.
    std::string linkTarget;
    // For listings: the name of the method and the check value of the data.
    std::string method;
    un::opt_property<uint32_t> crc;
    bool encrypted = false;
    // What the format thinks best for MacBinary output when the option leaves
    // it the choice; by default, a file with a resource fork goes as MacBinary.
    un::opt_property<bool> macBinaryDefault;
    // The text of the failure when a fork outgrows its declared size.
    const char* invalidData = "data is invalid";
    // The item is packed by one of the engine's own methods, whose streams
    // are held to the declared sizes and may pack long runs far beyond any
    // fixed ratio: the guard against decompression bombs leaves it alone.
    bool ownMethod = false;
};

// Why an item or a stream was refused by the guard against decompression
// bombs of a reader whose maxRatio is `ratio`.
std::string ratioRefusal(uint32_t ratio);

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
    // The output that no item is refused for, whatever its ratio: 64 KiB. A
    // few bytes that expand to a page of text are no bomb, and even an
    // archive of nothing but such items stays near 1000:1 as a whole, since
    // each Zip entry costs 76 bytes of headers and each tar member 512.
    static constexpr uint64_t ratioFloor = 65536;

protected:
    // The one extraction path. A format reader describes each item with an
    // Entry and writes its forks to the outputs that the path hands out; the
    // path alone names and creates outputs, places forks and Finder
    // information, converts line ends, holds forks to their declared sizes,
    // sets dates, attributes and permissions, and fires the item events:
    //
    //   fileDecodeBegin (a "no" skips the file: its size is counted as done),
    //   [the forks are written], progressFilesMove, fileDecodeEnd, and the
    //   file is closed and dated;
    //   folderDecodeBegin (a "no" ends the run), the folder is made,
    //   progressFilesMove where folders count as items, folderDecodeEnd.

    // Fills the reader's file or folder info from the entry, as scan and
    // decode report an item.
    void describe(const Entry& entry);
    // Expands one file. `write` is called with the outputs open and writes
    // the data fork to dataFork(), then the resource fork to resourceFork().
    // Answers false when the listener skipped the file or it failed on its own
    // and the client asked to go on past such failures.
    bool expandFile(const Entry& entry, const std::function<void()>& write);
    stream::Output& dataFork();
    stream::Output& resourceFork();
    // Makes a folder (or takes the one this run made already under that name)
    // and answers its path, empty for a name that has no place.
    std::string expandFolder(const Entry& entry);
    // Dates and locks a folder once its contents are in place.
    void finishFolder(const std::string& path, const Entry& entry);
    // Says, in a user's words, why the item in hand cannot be expanded, just
    // before the exception that ends it; the tool shows it with the item.
    void explain(const std::string& reason) { reason_ = reason; }
    // Counts the bytes of an item passed over and reports them.
    void passOver(uint64_t bytes);
    // The start of a decode run: the archive's begin event, the size and
    // item progress begun from the scan's totals, and the counts at zero.
    void beginDecode();
    // The most that `compressed` bytes may expand to under the reader's
    // maxRatio, never below ratioFloor; all ones when the guard is off.
    uint64_t ratioLimit(uint64_t compressed) const;

    // Bytes expanded (or passed over) so far in this run: the base of the
    // byte progress that the method readers report.
    uint64_t bytesDone = 0;
    // Items finished so far in this run.
    uint32_t itemsDone = 0;
    // Whether folders count among the items of progressFilesMove.
    bool foldersAreItems = false;
    // Whether the format has hard links: the files made are then remembered
    // by their stored names, which the links name.
    bool hardLinks = false;

    // Always for 1, never for 0, the format's own choice otherwise.
    void makeMacBinaryOutputDecision(bool formatDefault);
    // A stored item name to a full path inside the output folder.
    std::string preprocessName(const std::string& name);
    // The same for an item that is a folder itself; without
    // `backslashSeparates` a "\" in the name is one of its characters.
    std::string preprocessName(const std::string& name, bool folder, bool backslashSeparates = true);
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
    struct OpenFile;
    // Notes the top-level path of the first item made, for the client.
    void noteTop(const std::string& path);
    void tellChangedName(const std::string& path);
    std::string outputName(const Entry& entry);
    void openOutputs(const Entry& entry, const std::string& path);
    void finishFile(const Entry& entry);
    void abandonFile();
    void expandLink(const Entry& entry, const std::string& planned, const std::function<void()>& write);
    // Makes the item a second name of the file that an earlier item made.
    void expandHardLink(const Entry& entry, const std::string& planned);

    // Notes a folder that this run made or found as a real folder, and the
    // folders above it: none of them is looked up again.
    void trustFolder(std::string folder);

    std::unique_ptr<OpenFile> open_;
    std::string reason_;
    // The folders that this run made or found, and that files went into.
    std::set<std::string> knownFolders_;
    // The path of the item in hand when its look-up found nothing there.
    std::string freePath_;
    // The plain files that this run made, by stored name, for hard links.
    struct MadeFile {
        std::string path;
        bool macBinary = false;
    };
    std::map<std::string, MadeFile> madeFiles_;
};

}  // namespace engine5
