// Archives made by the engine's writer and read back by its reader: every
// method, sizes around the Stored threshold, large files, trees, forks with
// Finder information, names, passwords; the byte layout of what is written;
// the writer's checks, naming and events; and inputs that fight back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "engine/t5.Writer.h"
#include "format/format.Number.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tkt5/tkt5.ItemHeader.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/stream.Array.h"
#include "support/failure.h"
#include "support/scratch.h"
#include "support/streams.h"

namespace {

namespace fs = std::filesystem;
namespace ex = tuckett5::exception;
using test::Scratch;
using Tree = std::map<std::string, std::string>;  // relative path, content; a folder ends in "/"
using test::treeOf;

std::string readFile(const std::string& path) { return Scratch::read(path); }

std::string pattern(size_t n, uint32_t seed, bool text) { return text ? test::words(n, seed) : test::noise(n, seed); }

// A writer that writes down its events and can say "no" at any of them.
class Recording : public tuckett5::Writer,
                  public tuckett5::event::ArchiveChangedNameListener,
                  public tuckett5::event::ArchiveCreateBeginListener,
                  public tuckett5::event::ArchiveCreateEndListener,
                  public tuckett5::event::FileEncodeBeginListener,
                  public tuckett5::event::FileEncodeEndListener,
                  public tuckett5::event::FolderEncodeBeginListener,
                  public tuckett5::event::FolderEncodeEndListener,
                  public tuckett5::event::FileScanStepListener,
                  public tuckett5::event::FolderScanStepListener,
                  public tuckett5::event::ProgressFilesBeginListener,
                  public tuckett5::event::ProgressFilesEndListener,
                  public tuckett5::event::ProgressFilesMoveListener,
                  public tuckett5::event::ProgressSizeBeginListener,
                  public tuckett5::event::ProgressSizeEndListener,
                  public tuckett5::event::ProgressSizeMoveListener {
public:
    Recording() {
        add(static_cast<ArchiveChangedNameListener*>(this));
        add(static_cast<ArchiveCreateBeginListener*>(this));
        add(static_cast<ArchiveCreateEndListener*>(this));
        add(static_cast<FileEncodeBeginListener*>(this));
        add(static_cast<FileEncodeEndListener*>(this));
        add(static_cast<FolderEncodeBeginListener*>(this));
        add(static_cast<FolderEncodeEndListener*>(this));
        add(static_cast<FileScanStepListener*>(this));
        add(static_cast<FolderScanStepListener*>(this));
        add(static_cast<ProgressFilesBeginListener*>(this));
        add(static_cast<ProgressFilesEndListener*>(this));
        add(static_cast<ProgressFilesMoveListener*>(this));
        add(static_cast<ProgressSizeBeginListener*>(this));
        add(static_cast<ProgressSizeEndListener*>(this));
        add(static_cast<ProgressSizeMoveListener*>(this));
    }
    void archiveChangedNameEvent(const std::string& path) override {
        log("renamed " + fs::path(path).filename().string());
    }
    bool archiveCreateBeginEvent() override { return log("create"); }
    void archiveCreateEndEvent() override { log("create end"); }
    bool fileEncodeBeginEvent() override {
        log("file " + fs::path(fileInfo.name).filename().string());
        if (onFile) onFile(fileInfo.name);
        return refuse.empty() || fs::path(fileInfo.name).filename() != refuse;
    }
    void fileEncodeEndEvent() override { log("file end"); }
    bool folderEncodeBeginEvent() override { return log("folder " + fs::path(folderInfo.name).filename().string()); }
    void folderEncodeEndEvent() override { log("folder end"); }
    bool fileScanStepEvent() override { return true; }
    bool folderScanStepEvent() override { return true; }
    void progressFilesBeginEvent(uint32_t n) override { log("files " + std::to_string(n)); }
    void progressFilesEndEvent() override { log("files end"); }
    bool progressFilesMoveEvent(uint32_t n) override { return log("files " + std::to_string(n)); }
    void progressSizeBeginEvent(uint32_t n) override { log("size " + std::to_string(n)); }
    void progressSizeEndEvent() override { log("size end"); }
    bool progressSizeMoveEvent(uint32_t n) override {
        if (onProgress) onProgress(n);
        return cancelAt == 0 || n < cancelAt;
    }

    bool log(const std::string& line) {
        events.push_back(line);
        return true;
    }
    std::vector<std::string> events;
    std::string refuse;
    uint32_t cancelAt = 0;
    std::function<void(const std::string&)> onFile;
    std::function<void(uint32_t)> onProgress;
};

// One header of a written archive, as it lies in the file.
struct Stored {
    std::string name;
    bool folder = false, marker = false;
    uint16_t flags = 0;
    uint8_t method = 0, resourceMethod = 0;
    uint32_t size = 0, compressed = 0;
    std::string key;
    uint32_t previous = 0, next = 0, parent = 0, firstChild = 0;
    uint32_t offset = 0;
};

// Walks the archive in its physical order, header after header and the
// forks between them, which must fill it exactly.
std::vector<Stored> layout(const std::string& bytes) {
    stream::ArrayInput in(bytes.data(), uint32_t(bytes.size()));
    format::tkt5::ArchiveHeader archive;
    archive.read(in, true);
    EXPECT_EQ(archive.archiveSize(), bytes.size());
    std::vector<Stored> items;
    uint64_t at = archive.size();
    while (at < bytes.size()) {
        stream::ArrayInput item(bytes.data() + at, uint32_t(bytes.size() - at));
        format::tkt5::ItemHeader header;
        header.read(item, true);
        Stored s;
        s.name = header.name();
        s.folder = header.folder();
        s.marker = header.endFolder();
        s.flags = header.itemFlags();
        s.previous = header.previous();
        s.next = header.next();
        s.parent = header.parent();
        s.offset = uint32_t(at);
        at += header.size();
        if (header.folder()) {
            s.firstChild = header.folderInfo().firstChild();
        } else {
            s.method = header.forkInfo().method();
            s.size = header.forkInfo().uncompressedSize();
            s.compressed = header.forkInfo().compressedSize();
            s.key = header.forkInfo().key();
            if (header.mac() && header.macHeader().hasResourceFork()) {
                s.resourceMethod = header.macHeader().resourceFork().method();
                at += header.macHeader().resourceFork().compressedSize();
            }
            at += s.compressed;
        }
        items.push_back(s);
    }
    EXPECT_EQ(at, bytes.size());
    return items;
}

class Tkt5Writer : public ::testing::Test {
protected:
    // Writes the archive of `sources` to archive.tkt and answers its path.
    std::string tuck(const std::vector<std::string>& sources, Recording& writer, const std::string& password = "") {
        writer.archiveInfo.path = scratch.path("archive.tkt");
        writer.password = password;
        writer.create(std::list<std::string>(sources.begin(), sources.end()));
        return writer.archiveInfo.path;
    }
    // Expands the archive into a fresh folder `out` and answers the reader's archive info.
    tuckett5::ArchiveInfo expand(const std::string& archive, const std::string& password = "") {
        std::error_code ignored;
        fs::remove_all(scratch.path("out"), ignored);
        fs::create_directories(scratch.path("out"));
        tuckett5::Reader reader;
        reader.outputFolder(scratch.path("out"));
        reader.open(archive);
        try {
            reader.scan();
            reader.password = password;
            reader.decode();
        } catch (...) {
            reader.close();
            throw;
        }
        reader.close();
        return reader.archiveInfo;
    }
    std::string in(const std::string& relative) const { return scratch.path("in/" + relative); }

    Scratch scratch;
};

struct MethodCase {
    int32_t compression;
    uint8_t method;  // what files of 3 bytes and more are stored with
    const char* name;
};

class Tkt5WriterMethods : public Tkt5Writer, public ::testing::WithParamInterface<MethodCase> {};

TEST_P(Tkt5WriterMethods, RoundTripATreeExactly) {
    Tree tree = {
        {"top/", ""},
        {"top/empty", ""},
        {"top/one", "x"},
        {"top/two", "ab"},
        {"top/three", "abc"},
        // Beyond ISP's memory threshold and over several Arsenic blocks.
        {"top/large.txt", pattern(2300000, 1, true)},
        {"top/noise", pattern(70001, 2, false)},
        {"top/nothing/", ""},
        {"top/a/", ""},
        {"top/a/b/", ""},
        {"top/a/b/c/", ""},
        {"top/a/b/c/deep.txt", pattern(5000, 3, true)},
        {"top/a/b/after/", ""},
    };
#if !defined(_WIN32)
    // Names on Windows are in the ANSI code page, not UTF-8.
    tree["top/Gr\xC3\xBC\xC3\x9F" "e \xE2\x84\xA2.txt"] = "umlauts";
#endif
    for (const auto& [path, content] : tree) {
        if (path.back() == '/')
            fs::create_directories(in(path));
        else
            scratch.write("in/" + path, content);
    }
    scratch.write("in/loose", "a file at the top");
    for (const std::string password : {"", "open sesame"}) {
        Recording writer;
        writer.compression(GetParam().compression);
        const std::string archive = tuck({in("top"), in("loose")}, writer, password);
        const tuckett5::ArchiveInfo info = expand(archive, password);
        EXPECT_EQ(info.encrypted, !password.empty());
        Tree expected = tree;
        expected["loose"] = "a file at the top";
        EXPECT_EQ(treeOf(scratch.path("out")), expected) << password;

        for (const Stored& item : layout(readFile(archive))) {
            if (item.folder) continue;
            EXPECT_EQ(item.method, item.size < 3 ? 0 : GetParam().method) << item.name;
            if (item.size == 0) {
                EXPECT_EQ(item.compressed, 0u);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Tkt5WriterMethods,
                         ::testing::Values(MethodCase{-1, 15, "Default"}, MethodCase{0, 0, "Stored"},
                                           MethodCase{13, 13, "ISP"}, MethodCase{15, 15, "Arsenic"},
                                           MethodCase{7, 15, "Other"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Tkt5Writer, LayoutLinksTheTreeAndMarksEveryFolderEnd) {
    fs::create_directories(in("f/empty"));
    scratch.write("in/f/x", "xxxx");
    scratch.write("in/g", "gg");
    Recording writer;
    const std::vector<Stored> items = layout(readFile(tuck({in("f"), in("g")}, writer, "pw")));
    ASSERT_EQ(items.size(), 6u);
    // f, f/empty, its marker, f/x, f's marker, g.
    const Stored &f = items[0], &empty = items[1], &emptyEnd = items[2], &x = items[3], &fEnd = items[4], &g = items[5];
    EXPECT_TRUE(f.folder && empty.folder && emptyEnd.marker && fEnd.marker && !x.folder && !g.folder);
    EXPECT_EQ(f.offset, 106u);  // behind the header and its password hash
    EXPECT_EQ(std::vector<uint32_t>({f.previous, f.next, f.parent, f.firstChild}),
              std::vector<uint32_t>({0, g.offset, 0, empty.offset}));
    EXPECT_EQ(std::vector<uint32_t>({empty.previous, empty.next, empty.parent, empty.firstChild}),
              std::vector<uint32_t>({f.offset, x.offset, f.offset, emptyEnd.offset}));
    EXPECT_EQ(std::vector<uint32_t>({emptyEnd.previous, emptyEnd.next, emptyEnd.parent}),
              std::vector<uint32_t>({empty.offset, 0, empty.offset}));
    EXPECT_EQ(std::vector<uint32_t>({x.previous, x.next, x.parent}),
              std::vector<uint32_t>({empty.offset, fEnd.offset, f.offset}));
    EXPECT_EQ(std::vector<uint32_t>({fEnd.previous, fEnd.next, fEnd.parent}),
              std::vector<uint32_t>({x.offset, 0, f.offset}));
    EXPECT_EQ(std::vector<uint32_t>({g.previous, g.next, g.parent}), std::vector<uint32_t>({f.offset, 0, 0}));
    // The password flag is on every file and folder, never on a marker; the
    // key is on the data fork alone, five bytes, the same for all.
    for (const Stored& item : items) EXPECT_EQ((item.flags & 0x20) != 0, !item.marker) << item.name;
    EXPECT_EQ(x.key.size(), 5u);
    EXPECT_EQ(g.key, x.key);
    EXPECT_EQ(x.method, 15);
    EXPECT_EQ(g.method, 0);
}

namespace {

// A file with a resource fork and Finder information, beside a plain one.
std::string writeForkedFile(Scratch& scratch, const std::string& resource) {
    const std::string path = scratch.write("in/Read Me", pattern(3000, 5, true));
    io::ntfs::Rsrc fork(path);
    fork.create();
    fork.write(resource.data(), uint32_t(resource.size()));
    fork.close();
    format::data::FileInfo info;
    info.type(format::data::OSType("TEXT"));
    info.creator(format::data::OSType("ttxt"));
    info.flags(0x0100);
    fork.fileInfo(info);
    scratch.write("in/plain", "no fork here");
    return path;
}

}  // namespace

TEST_F(Tkt5Writer, ForksAndFinderInformationTravelWithTheirFiles) {
    for (int32_t compression : {-1, 0, 15}) {
        const std::string resource = pattern(9000, 6, false);
        const std::string path = writeForkedFile(scratch, resource);
        Recording writer;
        writer.compression(compression);
        const std::string archive = tuck({in("Read Me"), in("plain")}, writer);
        const std::vector<Stored> items = layout(readFile(archive));
        ASSERT_EQ(items.size(), 2u);  // the AppleDouble file is no item of its own
        EXPECT_EQ(items[0].resourceMethod, compression == 0 ? 0 : 15);
        expand(archive);
        const std::string out = scratch.path("out/Read Me");
        EXPECT_EQ(readFile(out), readFile(path));
        io::ntfs::Rsrc fork(out);
        fork.open();
        std::string back(fork.size(), '\0');
        fork.read(back.data(), uint32_t(back.size()));
        fork.close();
        EXPECT_EQ(back, resource);
        EXPECT_EQ(fork.fileInfo().type().stringValue(), "TEXT");
        EXPECT_EQ(fork.fileInfo().creator().stringValue(), "ttxt");
        EXPECT_EQ(fork.fileInfo().flags(), 0x0100);
        EXPECT_EQ(readFile(scratch.path("out/plain")), "no fork here");
        EXPECT_FALSE(io::ntfs::Rsrc::hasInfo(scratch.path("out/plain")));
        test::removeTree(scratch.path("in"));
        test::removeTree(scratch.path("out"));
        fs::remove(archive);
    }
}

TEST_F(Tkt5Writer, AResourceForkUnderAPasswordCarriesNoKey) {
    // The data fork's record holds the archive's key; the resource fork's
    // record holds none, though its bytes are enciphered under the same key.
    // A reader forms a shorter key for it, so the fork does not decode.
    writeForkedFile(scratch, pattern(9000, 6, false));
    Recording writer;
    writer.compression(0);
    const std::string archive = tuck({in("Read Me")}, writer, "pw");
    EXPECT_EQ(test::failureOf([&] { expand(archive, "pw"); }),
              "Bad data: CRC mismatch in tkt5 reader; data is invalid");
}

#if !defined(_WIN32)
// Names on disk are UTF-8 here; on Windows they are in the ANSI code page.
TEST_F(Tkt5Writer, NamesKeepTheirCharacters) {
    // UTF-8 names are stored as UTF-8; a name that is no UTF-8 is stored as
    // it stands and marked local, and so reads back as Mac OS Roman.
    scratch.write("in/caf\xC3\xA9 \xE2\x80\x94 \xE2\x84\xA2", "unicode");
    Recording writer;
    std::vector<Stored> items = layout(readFile(tuck({in("caf\xC3\xA9 \xE2\x80\x94 \xE2\x84\xA2")}, writer)));
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].name, "caf\xC3\xA9 \xE2\x80\x94 \xE2\x84\xA2");
    EXPECT_EQ(items[0].flags & 0x0100, 0);
    fs::remove(scratch.path("archive.tkt"));
    scratch.write("in/caf\x8E", "mac roman");
    Recording local;
    const std::string archive = tuck({in("caf\x8E")}, local);
    items = layout(readFile(archive));
    EXPECT_EQ(items[0].name, "caf\x8E");
    EXPECT_EQ(items[0].flags & 0x0100, 0x0100);
    expand(archive);
    EXPECT_EQ(readFile(scratch.path("out/caf\xC3\xA9")), "mac roman");
}
#endif

TEST_F(Tkt5Writer, WrongPasswordIsRefused) {
    scratch.write("in/secret", pattern(1000, 7, true));
    Recording writer;
    const std::string archive = tuck({in("secret")}, writer, "right");
    EXPECT_EQ(test::failureOf([&] { expand(archive, "wrong"); }), "Bad password: password mismatch in tkt5 reader");
    // An existing key is used as it stands, whatever its length.
    Recording keyed;
    keyed.key = "a longer key";
    fs::remove(archive);
    const std::string again = tuck({in("secret")}, keyed, "right");
    EXPECT_EQ(layout(readFile(again))[0].key, "a longer key");
    expand(again, "right");
    EXPECT_EQ(readFile(scratch.path("out/secret")), pattern(1000, 7, true));
}

TEST_F(Tkt5Writer, EventsComeInTheirOrder) {
    scratch.write("in/d/a", "alpha");
    fs::create_directories(in("d/e"));
    scratch.write("in/b", "bb");
    Recording writer;
    tuck({in("d"), in("b")}, writer);
    EXPECT_EQ(writer.events,
              (std::vector<std::string>{"create", "size 7", "files 2", "files 0", "folder d", "file a", "file end",
                                        "files 1", "folder e", "folder end", "folder end", "file b", "file end",
                                        "files 2", "size end", "files end", "create end"}));
}

TEST_F(Tkt5Writer, RequestsThatCannotBeWritten) {
    scratch.write("in/f", "data");
    fs::create_directories(in("d"));
    struct Case {
        int format;
        std::vector<std::string> paths;
        std::string kind, message;
    } cases[] = {
        {format::number::gz, {in("d")}, "Bad argument", "gz format does not support storage of directories"},
        {format::number::gz, {in("f")}, "Unsupported format", "archive format is not supported"},
        {format::number::tar, {in("d")}, "Unsupported format", "archive format is not supported"},
        {format::number::tktsegN, {in("f")}, "Unsupported format", "archive format is not supported"},
        // Two inputs pass a single-input format, the third does not.
        {format::number::compress,
         {in("f"), "", in("f"), in("f")},
         "Bad argument",
         "compress format does not support storage of multiple files"},
    };
    for (const Case& c : cases) {
        Recording writer;
        writer.archiveInfo.format = c.format;
        writer.archiveInfo.path = scratch.path("never.out");
        EXPECT_EQ(test::failureOf([&] { writer.create(std::list<std::string>(c.paths.begin(), c.paths.end())); }),
                  c.kind + ": " + c.message);
        EXPECT_TRUE(writer.events.empty());
        EXPECT_FALSE(fs::exists(scratch.path("never.out")));
    }
    Recording none;
    none.create({});
    EXPECT_TRUE(none.events.empty());
}

TEST_F(Tkt5Writer, ArchiveNamesComeFromTheFirstItemAndAreNeverReused) {
    scratch.write("in/report...", "r");
    scratch.write("in/report.tkt", "someone else's");
    Recording writer;
    writer.create({in("report...")});
    EXPECT_EQ(fs::path(writer.archiveInfo.path), fs::path(in("report_1.tkt")));
    EXPECT_EQ(writer.events.front(), "renamed report_1.tkt");
    EXPECT_EQ(readFile(in("report.tkt")), "someone else's");

    Recording blocked;
    scratch.write("in/file", "a file where a folder should be");
    blocked.archiveInfo.path = in("file/below/x.tkt");
    EXPECT_EQ(test::failureOf([&] { blocked.create({in("report...")}); }),
              "Output: cannot create an output file in engine5::arc::Writer");
}

TEST_F(Tkt5Writer, NoAtABeginEventOrProgressStopsTheRun) {
    scratch.write("in/a", pattern(300000, 8, false));
    scratch.write("in/b", "bbbb");
    for (int stop : {0, 1}) {
        Recording writer;
        if (stop == 0) writer.refuse = "b";
        if (stop == 1) writer.cancelAt = 100000;
        EXPECT_THROW(tuck({in("a"), in("b")}, writer), ex::Evacuation);
        fs::remove(scratch.path("archive.tkt"));
    }
}

TEST_F(Tkt5Writer, TheArchiveIsNeverStoredInItself) {
    scratch.write("in/a", "alpha");
    Recording writer;
    writer.archiveInfo.path = in("inside.tkt");
    writer.create({in("")});
    expand(in("inside.tkt"));
    EXPECT_EQ(treeOf(scratch.path("out")), (Tree{{"in/", ""}, {"in/a", "alpha"}}));
}

TEST_F(Tkt5Writer, FilesThatChangeWhileTheyAreStored) {
    // A file that grows keeps the size it was measured at; one that shrinks
    // keeps what could still be read. Either way the archive reads back.
    const std::string start = pattern(400000, 9, false);
    for (bool grow : {true, false}) {
        const std::string path = scratch.write("in/moving", start);
        Recording writer;
        bool done = false;
        writer.onProgress = [&](uint32_t) {
            if (done) return;
            done = !grow;
            if (grow) {
                std::ofstream(path, std::ios::binary | std::ios::app) << pattern(100000, 10, false);
            } else {
                fs::resize_file(path, 1000);
            }
        };
        writer.compression(0);
        const std::string archive = tuck({path}, writer);
        expand(archive);
        const std::string back = readFile(scratch.path("out/moving"));
        if (grow)
            EXPECT_EQ(back, start);
        else
            EXPECT_EQ(back, start.substr(0, back.size()));
        fs::remove(archive);
    }
}

TEST_F(Tkt5Writer, FilesThatCannotBeReadFailTheRun) {
    scratch.write("in/gone", "here for the scan");
    Recording writer;
    writer.onFile = [](const std::string& path) { fs::remove(path); };
    std::string path = in("gone");
    io::Path::makeAbsolute(path);
    EXPECT_EQ(test::failureOf([&] { tuck({in("gone")}, writer); }), "I/O: io::File::open() cannot open " + path);
}

#if !defined(_WIN32)
TEST_F(Tkt5Writer, SymbolicLinksToFoldersAreNotFollowed) {
    scratch.write("in/d/a", "alpha");
    fs::create_directory_symlink("..", in("d/up"));
    fs::create_symlink("loop", in("loop"));
    Recording writer;
    expand(tuck({in("d")}, writer));
    EXPECT_EQ(treeOf(scratch.path("out")), (Tree{{"d/", ""}, {"d/a", "alpha"}}));
    fs::remove(scratch.path("archive.tkt"));
    Recording looped;
    EXPECT_EQ(test::failureOf([&] { tuck({in("loop")}, looped); }), "I/O: io::File::open() cannot open " + in("loop"));
}
#endif

}  // namespace
