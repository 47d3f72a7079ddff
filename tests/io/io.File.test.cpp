#include "io/io.File.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "io.Scratch.h"
#include "io/io.Folder.h"
#include "io/io.FolderScanner.h"
#include "io/io.random.FileStreams.h"
#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

using iotest::failure;
using iotest::Scratch;

namespace {

// Whether read-only marks are lost on us: the superuser writes anyway, and
// so does Wine when it runs as the superuser, as it maps the mark to mode bits.
bool privileged() {
#ifdef _WIN32
    bool wine = GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
    const char* user = std::getenv("USERNAME");
    return wine && user != nullptr && std::string(user) == "root";
#else
    return ::geteuid() == 0;
#endif
}

TEST(FileErrors, CarryTheirTexts) {
    Scratch scratch;
    std::string missing = scratch.at("missing.bin");
    std::string folder = scratch.at("folder");
    std::filesystem::create_directory(folder);
    io::File file;
    EXPECT_EQ(failure<io::InputException>([&] { file.open(missing); }), "io::File::open() cannot open " + missing);
    EXPECT_EQ(failure<io::InputException>([&] { file.openRW(missing); }), "io::File::openRW() cannot open " + missing);
    EXPECT_EQ(failure<io::InputException>([&] { file.open(folder); }), "io::File::open() cannot open " + folder);
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(folder); }),
              "io::File::create() cannot create " + folder);
    std::string nowhere = scratch.at("no/such/folder/x");
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(nowhere); }),
              "io::File::create() cannot create " + nowhere);
    std::string longName = scratch.at(std::string(300, 'n'));
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(longName); }),
              "io::File::create() cannot create " + longName);
    std::string tooLong = scratch.root();
    while (tooLong.size() <= io::Path::maxSize) tooLong += io::Path::separator + std::string(50, 'd');
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(tooLong); }),
              "io::File::create() cannot create " + tooLong);
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.root()), {}), 1);  // only "folder"

    EXPECT_EQ(failure<io::Exception>([&] { io::File(missing).unlink(true); }),
              "io::File::unlink() cannot delete " + missing);
    io::File(missing).unlink(false);
    EXPECT_EQ(failure<io::Exception>([&] { io::File(missing).modificationTime(); }), "cannot open " + missing);
}

#ifndef _WIN32
// A volume without room says so, so that the tool can tell a person; any other
// failed write does not.
TEST(FileErrors, AFullVolumeIsToldApart) {
    io::File full;
    full.openRW("/dev/full");
    try {
        full.write("x", 1);
        FAIL() << "a write to a full volume went through";
    } catch (const io::OutputException& e) {
        EXPECT_STREQ(e.what(), "io::File::write() cannot write to /dev/full");
        EXPECT_TRUE(e.diskFull());
    }
    Scratch scratch;
    scratch.write("a", "a");
    io::File readOnly;
    readOnly.open(scratch.at("a"));
    try {
        readOnly.write("x", 1);
        FAIL() << "a write to a file open for reading went through";
    } catch (const io::OutputException& e) {
        EXPECT_FALSE(e.diskFull());
    }
}
#endif

TEST(FileErrors, ReadOnlyTargetStaysAsItWas) {
    if (privileged()) GTEST_SKIP() << "the superuser writes anywhere";
    Scratch scratch;
    std::string path = scratch.at("locked.txt");
    scratch.write("locked.txt", "keep");
    io::File item(path);
    item.readOnly(true);
    EXPECT_TRUE(item.readOnly());
    EXPECT_EQ(failure<io::OutputException>([&] { item.create(); }), "io::File::create() cannot create " + path);
    EXPECT_EQ(failure<io::InputException>([&] { item.openRW(); }), "io::File::openRW() cannot open " + path);
    EXPECT_EQ(scratch.read(path), "keep");
    item.readOnly(false);
    EXPECT_FALSE(item.readOnly());
    item.create();
    item.close();
    EXPECT_EQ(scratch.read(path), "");
}

#ifndef _WIN32
TEST(FileErrors, CreateNeverFollowsALink) {
    Scratch scratch, outside;
    outside.write("victim", "safe");
    std::filesystem::create_symlink(outside.at("victim"), scratch.at("link"));
    std::filesystem::create_symlink(outside.at("new"), scratch.at("dangling"));
    io::File file;
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(scratch.at("link")); }),
              "io::File::create() cannot create " + scratch.at("link"));
    EXPECT_EQ(failure<io::OutputException>([&] { file.create(scratch.at("dangling")); }),
              "io::File::create() cannot create " + scratch.at("dangling"));
    EXPECT_EQ(outside.read(outside.at("victim")), "safe");
    EXPECT_FALSE(io::Path::exists(outside.at("new")));
}
#endif

TEST(File, WritesReadsAndReportsTheEnd) {
    Scratch scratch;
    io::File file(scratch.at("data.bin"));
    EXPECT_EQ(file.size(), 0u);  // closed
    EXPECT_EQ(file.tell(), 0u);
    file.create();
    file.write("hello, world", 12);
    file.write(nullptr, 5);
    EXPECT_EQ(file.tell(), 12u);
    EXPECT_EQ(file.size(), 12u);
    file.close();
    file.close();  // a second close is silent

    file.open();
    char buffer[32];
    EXPECT_EQ(file.read(buffer, 0), 0u);
    EXPECT_EQ(file.read(buffer, 5), 5u);
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(file.read(buffer, sizeof buffer), 7u);
    EXPECT_EQ(file.read(buffer, sizeof buffer), 0u);
    EXPECT_EQ(failure<io::OutputException>([&] { file.write("x", 1); }),
              "io::File::write() cannot write to " + file.path());
    file.unlink(true);
    EXPECT_FALSE(io::Path::exists(file.path()));
}

TEST(File, BaseResizeGrowsWithFillerAndNeverShrinks) {
    Scratch scratch;
    io::File file(scratch.at("grow.bin"));
    file.resize(10);  // closed: nothing
    file.create();
    file.write("abcd", 4);
    file.resize(7);
    EXPECT_EQ(file.size(), 7u);
    EXPECT_EQ(file.tell(), 7u);
    EXPECT_EQ(failure<io::Exception>([&] { file.resize(3); }), "io::File::resize() cannot truncate " + file.path());
    file.close();
    EXPECT_EQ(scratch.read(file.path()), "abcd\xBC\xBC\xBC");
}

TEST(RandomFile, SeeksAndResizesKeepingThePosition) {
    Scratch scratch;
    io::random::File file(scratch.at("random.bin"));
    file.seek(5);  // closed: nothing
    file.create();
    file.write("0123456789", 10);
    file.seek(4);
    file.resize(10);
    EXPECT_EQ(file.tell(), 4u);
    file.resize(6);
    EXPECT_EQ(file.tell(), 4u);
    EXPECT_EQ(file.size(), 6u);
    file.resize(8);
    file.seek(0);
    char buffer[16];
    ASSERT_EQ(file.read(buffer, sizeof buffer), 8u);
    EXPECT_EQ(std::string(buffer, 8), std::string("012345\0\0", 8));
}

TEST(FileStreams, ReadAndWriteThroughTheStreamInterface) {
    Scratch scratch;
    io::random::File file(scratch.at("stream.bin"));
    file.create();
    io::random::FileOutput out(file);
    out.write('A');
    out.write(std::string("BCDEF"));
    out.write("GH", 2);
    out.seek(1);
    out.write('b');
    EXPECT_EQ(out.size(), 8u);
    out.resize(10);
    EXPECT_EQ(out.size(), 10u);

    io::random::FileInput in(file);
    in.seek(0);
    EXPECT_EQ(in.read(), 'A');
    EXPECT_EQ(in.read(), 'b');
    EXPECT_EQ(in.skip(3), 3u);
    EXPECT_EQ(in.read(), 'F');
    EXPECT_EQ(in.skip(100), 4u);
    EXPECT_EQ(in.read(), -1);
    EXPECT_EQ(in.tell(), 10u);
}

TEST(ItemTimes, RoundTripInSecondsAndFileTime) {
    Scratch scratch;
    scratch.write("t.txt", "x");
    io::File item(scratch.at("t.txt"));
    item.modificationTime(1000000000);
    EXPECT_EQ(item.modificationTime(), 1000000000);
    item.accessTime(1200000000);
    EXPECT_EQ(item.accessTime(), 1200000000);
    uint64_t precise = io::Item::fileTime(1500000000) + 1234567;
    item.highResolutionModificationTime(precise);
    EXPECT_EQ(item.highResolutionModificationTime(), precise);
    EXPECT_GT(item.creationTime(), 0);
    EXPECT_EQ(io::Item::seconds(io::Item::epoch1970), 0);

    std::filesystem::create_directory(scratch.at("dir"));
    io::Folder folder(scratch.at("dir"));
    folder.modificationTime(1100000000);
    EXPECT_EQ(folder.modificationTime(), 1100000000);
}

TEST(ItemAttributes, FolderBitReadOnlyAndReset) {
    Scratch scratch;
    scratch.write("a.txt", "x");
    io::File file(scratch.at("a.txt"));
    io::Folder folder(scratch.root());
    EXPECT_NE(folder.win32Attributes() & io::Item::directoryBit, 0u);
    EXPECT_EQ(file.win32Attributes() & io::Item::directoryBit, 0u);
    file.readOnly(true);
    EXPECT_TRUE(file.readOnly());
    file.resetAttributes();
    EXPECT_FALSE(file.readOnly());
    EXPECT_FALSE(file.hidden());
    file.win32Attributes(0);  // nothing
    EXPECT_FALSE(file.readOnly());
    io::File missing(scratch.at("missing"));
    EXPECT_EQ(failure<io::Exception>([&] { missing.win32Attributes(); }),
              "cannot get the attributes of " + missing.path());
#ifdef _WIN32
    EXPECT_EQ(file.permissions(), 0u);
    file.hidden(true);
    EXPECT_TRUE(file.hidden());
    EXPECT_FALSE(file.readOnly());
#else
    EXPECT_EQ(file.win32Attributes(), io::Item::normal);
    file.permissions(0640);
    EXPECT_EQ(file.permissions(), 0640u);
    file.readOnly(true);
    EXPECT_EQ(file.permissions(), 0440u);
    EXPECT_EQ(file.win32Attributes(), io::Item::readOnlyBit);
#endif
}

TEST(Folder, CreatesFromTheRootDown) {
    Scratch scratch;
    io::Folder folder(scratch.at("x/y/z"));
    folder.create();
    EXPECT_TRUE(io::Path::directory(scratch.at("x/y/z")));
    folder.create();  // already there
    scratch.write("x/file", "x");
    std::string blocked = scratch.at("x/file/sub");
    EXPECT_EQ(failure<io::Exception>([&] { io::Folder().create(blocked); }),
              "io::Folder::create() cannot create " + blocked);
    EXPECT_FALSE(io::Path::exists(blocked));
}

TEST(FolderScanner, CountsFilesAndDataBelowTheInputs) {
    Scratch scratch;
    std::filesystem::create_directories(scratch.at("in/empty"));
    std::filesystem::create_directories(scratch.at("in/sub/deeper"));
    scratch.write("in/a", "12345");
    scratch.write("in/sub/b", "123");
    scratch.write("in/sub/deeper/c", "");
    scratch.write("single", "1234567");

    io::FolderScanner empty;
    empty.scan(scratch.at("in/empty"));
    EXPECT_EQ(empty.fileCount(), 0u);
    EXPECT_TRUE(empty.scanned());

    io::FolderScanner scanner;
    scanner.scan(std::vector<std::string>{scratch.at("in"), scratch.at("single")});
    EXPECT_EQ(scanner.fileCount(), 4u);
    EXPECT_EQ(scanner.dataSize(), 15u);
    EXPECT_EQ(scanner.resourceSize(), 0u);
#ifndef _WIN32
    std::filesystem::create_directory_symlink(scratch.at("in"), scratch.at("in/sub/loop"));
    io::FolderScanner looped;
    looped.scan(scratch.at("in"));
    EXPECT_EQ(looped.fileCount(), 3u);
#endif
    io::FolderScanner missing;
    EXPECT_EQ(failure<io::InputException>([&] { missing.scan(scratch.at("gone")); }),
              "io::File::open() cannot open " + scratch.at("gone"));
}

} // namespace
