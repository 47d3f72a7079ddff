#include "io/io.ntfs.Rsrc.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "io.Scratch.h"
#include "io/io.macdrive.Adapter.h"
#include "io/io.macdrive.Rsrc.h"
#include "stream/stream.BufferedOutput.h"

using format::data::FileInfo;
using iotest::failure;
using iotest::Scratch;

namespace {

FileInfo sampleInfo() {
    FileInfo info;
    info.type = format::data::OSType("TEXT");
    info.creator = format::data::OSType("ttxt");
    info.flags = 0x0100;
    format::data::Point where;
    where.v = 3;
    where.h = -4;
    info.location = where;
    return info;
}

void expectSameInfo(const FileInfo& a, const FileInfo& b) {
    EXPECT_EQ(a.type().value(), b.type().value());
    EXPECT_EQ(a.creator().value(), b.creator().value());
    EXPECT_EQ(a.flags(), b.flags());
    EXPECT_EQ(a.location().v(), b.location().v());
    EXPECT_EQ(a.location().h(), b.location().h());
}

std::string readFork(const std::string& path) {
    io::ntfs::Rsrc fork;
    fork.open(path);
    std::string bytes(static_cast<size_t>(fork.size()), '\0');
    EXPECT_EQ(fork.read(bytes.data(), static_cast<uint32_t>(bytes.size())), bytes.size());
    fork.close();
    return bytes;
}

class RsrcTest : public ::testing::Test {
protected:
    Scratch scratch;
    std::string path = scratch.at("doc.txt");
};

TEST_F(RsrcTest, WriteReadBackAndResizeWithFiller) {
    scratch.write("doc.txt", "data fork");
    io::ntfs::Rsrc fork(path);
    EXPECT_EQ(fork.size(), 0u);
    fork.create();
    io::ntfs::RsrcOutput out(fork);
    out.write("0123456789", 10);
    EXPECT_EQ(out.tell(), 10u);
    out.resize(13);
    EXPECT_EQ(fork.size(), 13u);
    EXPECT_EQ(failure<io::Exception>([&] { fork.resize(5); }),
              "io::ntfs::Rsrc::resize() cannot truncate its file's resource fork");
    fork.resize(13);
    fork.close();

    EXPECT_EQ(readFork(path), "0123456789\xBC\xBC\xBC");
    EXPECT_EQ(scratch.read(path), "data fork");

    fork.openRW();
    fork.seek(10);
    fork.write("abc", 3);
    fork.write("de", 2);
    EXPECT_EQ(fork.size(), 15u);
    fork.close();
    EXPECT_EQ(readFork(path), "0123456789abcde");
}

TEST_F(RsrcTest, StreamsCarryLargeForks) {
    std::string big;
    for (int i = 0; i < 200000; ++i) big += static_cast<char>(i * 7 + i / 251);
    io::ntfs::Rsrc fork(path);
    fork.create();
    {
        io::ntfs::RsrcOutput out(fork);
        stream::BufferedOutput buffered(out, 65536);
        buffered.write(big.data(), static_cast<uint32_t>(big.size()));
        buffered.flush();
    }
    fork.close();
    fork.open();
    io::ntfs::RsrcInput in(fork);
    EXPECT_EQ(in.size(), big.size());
    in.seek(123456);
    EXPECT_EQ(in.read(), static_cast<unsigned char>(big[123456]));
    io::random::FileInput generic(fork);  // reached as a plain random file
    generic.seek(5);
    EXPECT_EQ(generic.read(), static_cast<unsigned char>(big[5]));
    fork.close();
    EXPECT_EQ(readFork(path), big);
#ifndef _WIN32
    // As on NTFS, where a named stream brings its file with it.
    EXPECT_TRUE(io::Path::exists(path));
    EXPECT_EQ(scratch.read(path), "");
#endif
}

TEST_F(RsrcTest, FileInfoRoundTripKeepsTheFork) {
    scratch.write("doc.txt", "x");
    EXPECT_FALSE(io::ntfs::Rsrc::hasInfo(path));
    io::ntfs::Rsrc fork(path);
    EXPECT_EQ(failure<io::InputException>([&] { fork.fileInfo(); }),
              "io::ntfs::Rsrc::fileInfo() cannot get Finder information for " + path);

    fork.create();
    fork.write("resources", 9);
    fork.close();
    fork.fileInfo(sampleInfo());
    EXPECT_TRUE(io::ntfs::Rsrc::hasInfo(path));
    expectSameInfo(fork.fileInfo(), sampleInfo());
    EXPECT_EQ(readFork(path), "resources");

    FileInfo other = sampleInfo();
    other.type = format::data::OSType("APPL");
    fork.fileInfo(other);
    expectSameInfo(io::ntfs::Rsrc(path).fileInfo(), other);

    // A new fork keeps the Finder information.
    fork.create();
    fork.write("new", 3);
    fork.close();
    expectSameInfo(fork.fileInfo(), other);
    EXPECT_EQ(readFork(path), "new");

    fork.unlink(true);
    EXPECT_FALSE(io::Path::exists(path));
#ifndef _WIN32
    // On NTFS the streams go with the file; Wine's plain stand-in files stay.
    EXPECT_FALSE(io::ntfs::Rsrc::hasInfo(path));
#endif
}

TEST_F(RsrcTest, MissingForksAndFilesFailCleanly) {
    scratch.write("doc.txt", "x");
    io::ntfs::Rsrc fork;
    EXPECT_EQ(failure<io::InputException>([&] { fork.open(path); }),
              "io::ntfs::Rsrc::open() cannot open the resource fork of " + path);
    EXPECT_EQ(failure<io::InputException>([&] { fork.openRW(path); }),
              "io::ntfs::Rsrc::openRW() cannot open the resource fork of " + path);
    EXPECT_FALSE(fork.isOpen());
    std::string nowhere = scratch.at("no/such/doc");
    EXPECT_EQ(failure<io::OutputException>([&] { fork.create(nowhere); }),
              "io::ntfs::Rsrc::create() cannot create the resource fork of " + nowhere);
    EXPECT_EQ(failure<io::InputException>([&] { fork.fileInfo(sampleInfo()); }),
              "io::ntfs::Rsrc::fileInfo() cannot set Finder information for " + nowhere);
    EXPECT_EQ(failure<io::Exception>([&] { fork.unlink(true); }),
              "io::ntfs::Rsrc::unlink() cannot delete the resource fork of " + nowhere);
    fork.unlink(false);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.root()), {}), 1);
}

#ifdef _WIN32
// Named streams: Wine keeps each as a plain file "name:stream", which is
// enough for the calls to be the real ones.
void writeStream(const std::string& path, const std::string& bytes) {
    io::File stream(path);
    stream.create();
    stream.write(bytes.data(), static_cast<uint32_t>(bytes.size()));
    stream.close();
}

TEST_F(RsrcTest, SecondStreamNameOnlyAnswersHasInfo) {
    scratch.write("doc.txt", "x");
    writeStream(path + ":AFP_FileInfo:$DATA", std::string(60, '\0'));
    EXPECT_TRUE(io::ntfs::Rsrc::hasInfo(path));
    EXPECT_EQ(failure<io::InputException>([&] { io::ntfs::Rsrc(path).fileInfo(); }),
              "io::ntfs::Rsrc::fileInfo() cannot get Finder information for " + path);
}

TEST_F(RsrcTest, InfoRecordIsSixtyBytesAndItsHeaderIsNotChecked) {
    scratch.write("doc.txt", "x");
    io::ntfs::Rsrc(path).fileInfo(sampleInfo());
    io::File record(path + ":AFP_AfpInfo:$DATA");
    record.open();
    char bytes[64];
    ASSERT_EQ(record.read(bytes, sizeof bytes), 60u);
    record.close();
    EXPECT_EQ(std::string(bytes, 16), std::string("AFP\0\0\1\0\0\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(std::string(bytes + 16, 8), "TEXTttxt");
    EXPECT_EQ(std::string(bytes + 32, 28), std::string(28, '\0'));

    std::string junk(16, 'J');
    writeStream(path + ":AFP_AfpInfo:$DATA", junk + std::string(bytes + 16, 44));
    expectSameInfo(io::ntfs::Rsrc(path).fileInfo(), sampleInfo());
    writeStream(path + ":AFP_AfpInfo:$DATA", junk + "short");
    EXPECT_EQ(failure<io::InputException>([&] { io::ntfs::Rsrc(path).fileInfo(); }),
              "io::ntfs::Rsrc::fileInfo() cannot read from the resource fork of " + path);
}
#else
uint32_t be32(const std::string& s, size_t at) {
    return uint32_t(uint8_t(s[at])) << 24 | uint32_t(uint8_t(s[at + 1])) << 16 | uint32_t(uint8_t(s[at + 2])) << 8 |
           uint8_t(s[at + 3]);
}

TEST_F(RsrcTest, AppleDoubleHasFinderInfoThenTheForkLast) {
    scratch.write("doc.txt", "x");
    io::ntfs::Rsrc fork(path);
    fork.create();
    fork.write("RSRC", 4);
    fork.close();
    fork.fileInfo(sampleInfo());
    std::string ad = scratch.read(scratch.at("._doc.txt"));
    ASSERT_EQ(ad.size(), 86u);
    EXPECT_EQ(be32(ad, 0), 0x00051607u);
    EXPECT_EQ(be32(ad, 4), 0x00020000u);
    EXPECT_EQ(ad[24] * 256 + ad[25], 2);
    EXPECT_EQ(be32(ad, 26), 9u);
    EXPECT_EQ(be32(ad, 30), 50u);
    EXPECT_EQ(be32(ad, 34), 32u);
    EXPECT_EQ(be32(ad, 38), 2u);
    EXPECT_EQ(be32(ad, 42), 82u);
    EXPECT_EQ(be32(ad, 46), 4u);
    EXPECT_EQ(ad.substr(50, 8), "TEXTttxt");
    EXPECT_EQ(ad.substr(82), "RSRC");
}

TEST_F(RsrcTest, ForeignOrderIsReadAndRewrittenForWriting) {
    scratch.write("doc.txt", "x");
    // Another program's file: the fork first, the Finder information last.
    std::string ad;
    auto put32 = [&](uint32_t v) {
        for (int s = 24; s >= 0; s -= 8) ad += static_cast<char>(v >> s);
    };
    put32(0x00051607);
    put32(0x00020000);
    ad += std::string(16, '\0');
    ad += std::string("\0\2", 2);
    put32(2), put32(50), put32(3);
    put32(9), put32(53), put32(32);
    ad += "abc";
    ad += "TEXTttxt" + std::string(24, '\0');
    scratch.write("._doc.txt", ad);

    EXPECT_TRUE(io::ntfs::Rsrc::hasInfo(path));
    EXPECT_EQ(io::ntfs::Rsrc(path).fileInfo().type().stringValue(), "TEXT");
    io::ntfs::Rsrc fork(path);
    EXPECT_EQ(failure<io::InputException>([&] { fork.open(); }),
              "io::ntfs::Rsrc::open() cannot open the resource fork of " + path);
    fork.openRW();
    EXPECT_EQ(fork.size(), 3u);
    fork.seek(3);
    fork.write("def", 3);
    fork.close();
    EXPECT_EQ(readFork(path), "abcdef");
    EXPECT_EQ(io::ntfs::Rsrc(path).fileInfo().type().stringValue(), "TEXT");
}

TEST_F(RsrcTest, ForeignSidecarIsNeverOverwritten) {
    scratch.write("doc.txt", "x");
    scratch.write("._doc.txt", "not an AppleDouble file at all");
    io::ntfs::Rsrc fork(path);
    EXPECT_EQ(failure<io::OutputException>([&] { fork.create(); }),
              "io::ntfs::Rsrc::create() cannot create the resource fork of " + path);
    EXPECT_EQ(failure<io::InputException>([&] { fork.fileInfo(sampleInfo()); }),
              "io::ntfs::Rsrc::fileInfo() cannot set Finder information for " + path);
    EXPECT_EQ(scratch.read(scratch.at("._doc.txt")), "not an AppleDouble file at all");
}

TEST_F(RsrcTest, LinkedSidecarIsNotFollowed) {
    Scratch outside;
    scratch.write("doc.txt", "x");
    outside.write("victim", "safe");
    std::filesystem::create_symlink(outside.at("victim"), scratch.at("._doc.txt"));
    io::ntfs::Rsrc fork(path);
    EXPECT_EQ(failure<io::OutputException>([&] { fork.create(); }),
              "io::ntfs::Rsrc::create() cannot create the resource fork of " + path);
    EXPECT_EQ(outside.read(outside.at("victim")), "safe");
}
#endif

TEST(MacDrive, AbsentLibraryMeansNoMacDriveVolume) {
    Scratch scratch;
    scratch.write("f", "x");
    std::string path = scratch.at("f");
    io::macdrive::Adapter adapter;
    EXPECT_FALSE(adapter.available());
    EXPECT_EQ(adapter.isFileOnMacDriveVolume(path.c_str()), 0);
    EXPECT_EQ(adapter.createFileStream(path.c_str(), "", io::macdrive::Adapter::genericRead, 0, nullptr,
                                       io::macdrive::Adapter::openExisting, 0, nullptr),
              io::macdrive::Adapter::invalidHandle());
    MD_MAC_FILE_INFORMATION record = {};
    EXPECT_EQ(adapter.getMacFileInformation(path.c_str(), &record), 0);
    EXPECT_EQ(adapter.setMacFileInformation(path.c_str(), &record), 0);

    io::macdrive::Rsrc fork(path);
    EXPECT_EQ(failure<io::InputException>([&] { fork.open(); }),
              "io::macdrive::Rsrc::open() cannot open the resource fork of " + path);
    EXPECT_EQ(failure<io::OutputException>([&] { fork.create(); }),
              "io::macdrive::Rsrc::create() cannot create the resource fork of " + path);
    EXPECT_EQ(failure<io::Exception>([&] { fork.fileInfo(); }),
              "io::macdrive::Rsrc::fileInfo() cannot get the Macintosh file information of " + path);
    EXPECT_EQ(failure<io::Exception>([&] { fork.fileInfo(sampleInfo()); }),
              "io::macdrive::Rsrc::fileInfo() cannot assign the Macintosh file information of " + path);
    EXPECT_EQ(fork.size(), 0u);
    fork.resize(10);  // closed: nothing
}

} // namespace
