// MacBinary and BinHex through the engine's writer and reader: samples worked
// out by hand from the public descriptions, round trips of forks and Finder
// information, text as mail and other systems mangle it, and hostile input.
#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "algorithm/hqx/hqx.Codec.h"

#include "engine/t5.Reader.h"
#include "engine/t5.Writer.h"
#include "format/format.Number.h"
#include "format/hqx/hqx.Header.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Vector.h"
#include "support/scratch.h"

namespace {

using format::data::FileInfo;
using format::data::OSType;

struct MacFile {
    std::string name;
    std::string data;
    std::string resource;
    bool finder = true;  // TEXT/ttxt, flags 0x0100, at (3, -4)
};

FileInfo sampleInfo() {
    FileInfo info;
    info.type = OSType("TEXT");
    info.creator = OSType("ttxt");
    info.flags = 0x0100;
    format::data::Point where;
    where.v = 3;
    where.h = -4;
    info.location = where;
    return info;
}

class MacFiles : public ::testing::Test {
protected:
    // Writes the files with their forks and Finder information into a fresh
    // folder and encodes them into one file; answers its path.
    std::string encode(int format, const std::vector<MacFile>& files, int32_t lineEnd = 3) {
        const std::string folder = "src" + std::to_string(++made_);
        std::list<std::string> paths;
        for (const MacFile& file : files) {
            const std::string path = scratch.write(folder + "/" + file.name, file.data);
            if (!file.resource.empty() || file.finder) {
                io::ntfs::Rsrc fork(path);
                fork.create();
                io::ntfs::RsrcOutput out(fork);
                out.write(file.resource.data(), static_cast<uint32_t>(file.resource.size()));
                fork.close();
                if (file.finder) fork.fileInfo(sampleInfo());
            }
            paths.push_back(path);
        }
        tuckett5::Writer writer;
        writer.archiveInfo.format = format;
        writer.archiveInfo.path = scratch / (folder + (format == format::number::bin ? ".bin" : ".hqx"));
        writer.textLineEnding(lineEnd);
        writer.create(paths);
        return writer.archiveInfo.path;
    }

    // Expands into a fresh folder, going on past a file that fails, as the
    // tool does; answers the message of the run's or the first file's
    // failure, or "".
    std::string expand(const std::string& archive, int32_t macBinary = tuckett5::Reader::macBinaryNever) {
        out = scratch / ("out" + std::to_string(++made_));
        tuckett5::Reader reader;
        reader.outputFolder(out);
        reader.macBinaryOutput(macBinary);
        reader.continueAfterItemFailure(true);
        std::string failure;
        try {
            reader.open(archive);
            reader.scan();
            format = reader.archiveInfo.format;
            reader.decode();
            if (!reader.itemFailures.empty()) failure = reader.itemFailures.front().message;
        } catch (const un::exception& e) {
            failure = e.message();
        }
        reader.close();
        return failure;
    }

    // The file as it came out, with its fork and whether it has Finder information.
    MacFile result(const std::string& name) {
        const std::string path = out + "/" + name;
        MacFile file{name, test::Scratch::read(path), "", io::ntfs::Rsrc::hasInfo(path)};
        if (file.finder) {
            io::ntfs::Rsrc fork(path);
            fork.open();
            file.resource.resize(static_cast<size_t>(fork.size()));
            fork.read(file.resource.data(), static_cast<uint32_t>(file.resource.size()));
            fork.close();
        }
        return file;
    }

    test::Scratch scratch{"cratewerk-macfile-"};
    std::string out;
    int format = 0;

private:
    int made_ = 0;
};

std::string pattern(size_t size, uint32_t seed) {
    std::string bytes(size, '\0');
    for (char& c : bytes) {
        seed = seed * 1103515245u + 12345u;
        c = static_cast<char>(seed >> 24);
    }
    return bytes;
}

// ---------------------------------------------------------------------------
// Samples worked out by hand.

// The file "Hi" of type TEXT, creator ttxt, Finder flags 0x0100, data "Hi\r"
// and an empty resource fork. Before coding, BinHex holds:
//   02 'H' 'i'                 name length and name
//   00                         version
//   54 45 58 54 74 74 78 74    "TEXT" "ttxt"
//   01 00                      Finder flags
//   00 00 00 03  00 00 00 00   data and resource fork lengths
//   62 97                      CRC-16 (0x1021, from 0) of the 20 bytes above
//   48 69 0D  D4 13            the data fork and its CRC
//   00 00                      the CRC of the empty resource fork
// The four zero bytes from the flags' low byte into the data length become
// 00 90 04, and so do the four of the resource length. Six bits a character
// then: 02 48 69 is 000000 100100 100001 101001, characters 0, 36, 33 and 41
// of the alphabet, "!NKT"; the last two bytes, 00 00, take three characters.
const char kHiText[] = ":!NKT!&4&@&4dG(Kd!3#3\"!-!N!4LPdKT$G36!!!:";

TEST_F(MacFiles, BinHexOfAKnownFileIsTheHandMadeText) {
    MacFile hi{"Hi", "Hi\r", ""};
    const std::string made = test::Scratch::read(encode(format::number::hqx, {hi}, 1));
    EXPECT_EQ(made, std::string("(This file must be converted with BinHex 4.0)\n") + kHiText + "\n");

    const std::string path =
        scratch.write("hi.hqx", std::string("(This file must be converted with BinHex 4.0)\r\n") + kHiText + "\r\n");
    ASSERT_EQ(expand(path), "");
    EXPECT_EQ(format, format::number::hqx);
    EXPECT_EQ(result("Hi").data, "Hi\r");
    const FileInfo info = io::ntfs::Rsrc(out + "/Hi").fileInfo();
    EXPECT_EQ(info.type(), OSType("TEXT"));
    EXPECT_EQ(info.creator(), OSType("ttxt"));
}

// Puts the CRC of the first 124 bytes of a MacBinary header in place.
std::string sealed(std::string bin) {
    algorithm::crc::MacBinaryCRC crc;
    crc.update(bin.data(), 124);
    bin[124] = static_cast<char>(crc.value() >> 8);
    bin[125] = static_cast<char>(crc.value() & 0xFF);
    return bin;
}

// A MacBinary II file written byte by byte: a secondary header of 5 bytes
// (padded to 128), "Hi\r" padded, a resource fork "RSRC" padded, and a
// comment of 3 bytes, which is passed over.
std::string handMadeMacBinary() {
    std::string h(128, '\0');
    h[1] = 2;  // name length, then the name
    h[2] = 'H';
    h[3] = 'i';
    h.replace(65, 8, "TEXTttxt");    // type and creator
    h[73] = 0x01;                    // Finder flags, high byte: 0x0100
    h[75] = 0x00, h[76] = 0x03;      // vertical position 3
    h[77] = '\xFF', h[78] = '\xFC';  // horizontal position -4
    h[86] = 3;                       // data fork length 00 00 00 03 at 83
    h[90] = 4;                       // resource fork length 00 00 00 04 at 87
    // Created and modified at 91 and 95: 0xB6757900 seconds after 1904 is
    // 1 January 2001, 00:00 UTC, 978307200 seconds after 1970.
    for (int at : {91, 95}) h.replace(at, 4, "\xB6\x75\x79\x00", 4);
    h[100] = 3;       // comment length 00 03 at 99
    h[121] = 5;       // secondary header length 00 05 at 120
    h[122] = '\x81';  // written by MacBinary II (129)
    h[123] = '\x81';  // readable by II
    std::string file = sealed(h) + std::string("12345") + std::string(123, '\0');
    file += std::string("Hi\r") + std::string(125, '\0');
    file += std::string("RSRC") + std::string(124, '\0');
    file += "com" + std::string(125, '\0');
    return file;
}

TEST_F(MacFiles, MacBinaryIIWrittenByHandExpandsWithEveryField) {
    ASSERT_EQ(expand(scratch.write("hi.bin", handMadeMacBinary())), "");
    EXPECT_EQ(format, format::number::bin);
    const MacFile hi = result("Hi");
    EXPECT_EQ(hi.data, "Hi\r");
    EXPECT_EQ(hi.resource, "RSRC");
    const FileInfo info = io::ntfs::Rsrc(out + "/Hi").fileInfo();
    EXPECT_EQ(info.type(), OSType("TEXT"));
    EXPECT_EQ(info.flags(), 0x0100);
    EXPECT_EQ(info.location().v(), 3);
    EXPECT_EQ(info.location().h(), -4);
    io::File made(out + "/Hi");
    EXPECT_EQ(made.modificationTime(), 978307200);

    // A changed byte under the CRC makes it no MacBinary at all.
    std::string bad = handMadeMacBinary();
    bad[2] = 'h';
    EXPECT_EQ(expand(scratch.write("bad.bin", bad)), "archive format is not supported");
    // MacBinary I has no CRC, and bytes 99 to 125 are zero.
    std::string one = handMadeMacBinary();
    one.replace(99, 27, std::string(27, '\0'));
    one.erase(128, 128);
    one.resize(128 + 256);
    ASSERT_EQ(expand(scratch.write("one.bin", one)), "");
    EXPECT_EQ(result("Hi").resource, "RSRC");
}

// ---------------------------------------------------------------------------
// Round trips.

struct RoundTrip {
    int format;
    const char* name;
};

class MacRoundTrip : public MacFiles, public ::testing::WithParamInterface<RoundTrip> {};

TEST_P(MacRoundTrip, ForksAndFinderInformationComeBack) {
    const std::vector<MacFile> files = {
        {"empty", "", "", false},
        {"resource only", "", "the resource fork alone"},
        {"one", "1", "", false},
        {"two", "12", "r"},
        {"three", "\x90\x90\x90", "\x90"},
        {"runs", std::string(1000, '\x90') + std::string(300, 'a') + "\x90\x00\x90" + std::string(2, '\0'),
         std::string(256, '\x90')},
        {"big", pattern(3 << 20, 7) + std::string(70000, 'z'), pattern(100000, 8)},
    };
    ASSERT_EQ(expand(encode(GetParam().format, files)), "");
    EXPECT_EQ(format, GetParam().format);
    for (const MacFile& file : files) {
        const MacFile back = result(file.name);
        EXPECT_TRUE(back.data == file.data) << file.name;
        EXPECT_TRUE(back.resource == file.resource) << file.name;
        EXPECT_EQ(back.finder, file.finder) << file.name;
        if (file.finder) {
            EXPECT_EQ(io::ntfs::Rsrc(out + "/" + file.name).fileInfo().flags(), 0x0100);
        }
    }
    // Asked for MacBinary, a file comes out as one, forks and all.
    ASSERT_EQ(expand(encode(GetParam().format, {files[3]}), tuckett5::Reader::macBinaryAlways), "");
    const std::string bin = test::Scratch::read(out + "/two.bin");
    ASSERT_EQ(bin.size(), 3 * 128u);
    EXPECT_EQ(bin.substr(128, 2), "12");
    EXPECT_EQ(bin.substr(256, 1), "r");
}

INSTANTIATE_TEST_SUITE_P(Formats, MacRoundTrip,
                         ::testing::Values(RoundTrip{format::number::bin, "MacBinary"},
                                           RoundTrip{format::number::hqx, "BinHex"}),
                         [](const auto& info) { return std::string(info.param.name); });

// Mail text before the data, CR, LF or CR LF, blank lines and trailing
// blanks: the text still decodes, and a second block after its own marker
// line is the next file.
TEST_F(MacFiles, BinHexTextAsMailAndOtherSystemsLeaveIt) {
    const std::string text =
        test::Scratch::read(encode(format::number::hqx, {{"a", pattern(5000, 1), "rsrc"}, {"b", "second", ""}}, 1));
    for (const char* end : {"\r\n", "\r", "\n  \n"}) {
        std::string mangled = "From: someone@example.com\nSubject: the file: a\n\n";
        for (char c : text) {
            if (c == '\n')
                mangled += std::string(" \t") + end;
            else
                mangled += c;
        }
        ASSERT_EQ(expand(scratch.write("mail.txt", mangled + "-- \nsignature\n")), "");
        EXPECT_TRUE(result("a").data == pattern(5000, 1)) << end;
        EXPECT_EQ(result("a").resource, "rsrc");
        EXPECT_EQ(result("b").data, "second");
    }
}

// ---------------------------------------------------------------------------
// Hostile input: each ends in a clear failure or a result inside the folder.

TEST_F(MacFiles, HostileBinHexFailsClearly) {
    const std::string good = std::string("(This file must be converted with BinHex 4.0)\n") + kHiText + "\n";
    const std::string longer = test::Scratch::read(encode(format::number::hqx, {{"Hi", pattern(300, 2), ""}}, 1));
    struct Case {
        std::string text;
        const char* failure;
    } cases[] = {
        // Lines cut short: the text ends inside the data fork.
        {longer.substr(0, longer.size() / 2), "BinHex text ends before its closing colon; data is invalid"},
        // A changed character in the data fork: its CRC fails.
        {good.substr(0, good.find("PdKT")) + "PdKU" + good.substr(good.find("PdKT") + 4),
         "BinHex data fork fails its CRC; data is invalid"},
        // A character outside the alphabet, on the third line.
        {longer.substr(0, 200) + "v" + longer.substr(201), "invalid character in BinHex text; data is invalid"},
        // A run code as the very last byte (05 'a' 'b' 'c' 'd' 90), and one
        // with nothing before it (90 05 41 41 41 41).
        {":\"@&LBf53:\n", "BinHex run code at the end of the data"},
        {":N!9\"38&\":\n", "BinHex run code with no byte to repeat"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(expand(scratch.write("bad.hqx", c.text)), c.failure) << c.text;
        EXPECT_FALSE(io::Path::exists(out + "/Hi")) << c.text;
    }
    // A damaged file among others goes, and the next one still comes out.
    std::string two =
        test::Scratch::read(encode(format::number::hqx, {{"a", pattern(300, 3), ""}, {"b", "second", ""}}, 1));
    two[200] = two[200] == 'A' ? 'B' : 'A';
    EXPECT_EQ(expand(scratch.write("two.hqx", two)), "BinHex data fork fails its CRC; data is invalid");
    EXPECT_FALSE(io::Path::exists(out + "/a"));
    EXPECT_EQ(result("b").data, "second");
}

TEST_F(MacFiles, LyingLengthsAndTraversalNamesStayHarmless) {
    // MacBinary forks that run past the end of the file.
    std::string lying = handMadeMacBinary();
    lying[84] = 0x10;  // a data fork of 0x100003 bytes
    EXPECT_EQ(expand(scratch.write("lying.bin", sealed(lying))), "MacBinary fork lengths run past the end of the file");

    // A BinHex data fork longer than the data that follows.
    const std::string text = test::Scratch::read(encode(format::number::hqx, {{"x", std::string(100, 'q'), ""}}, 1));
    const std::string cut = text.substr(0, text.size() - 20) + ":\n";
    EXPECT_NE(expand(scratch.write("cut.hqx", cut)), "");
    EXPECT_FALSE(io::Path::exists(out + "/x"));

    // Names that climb out of the folder land inside it.
    const std::string evil = "../../evil\\";
    std::string bin = handMadeMacBinary();
    bin[1] = static_cast<char>(evil.size());
    bin.replace(2, evil.size(), evil);
    bin = sealed(bin);
    std::vector<char> hqx;
    {
        stream::VectorOutput text(hqx);
        algorithm::hqx::EncodingOutput coded(text, "\n");
        format::hqx::Header header;
        header.name = evil;
        header.dataLength = 7;
        header.write(coded);
        coded.check.reset();
        coded.write("payload", 7);
        for (uint16_t check : {coded.check.value(), uint16_t(0)}) {
            coded.write(static_cast<char>(check >> 8));
            coded.write(static_cast<char>(check & 0xFF));
        }
        coded.finish();
    }
    std::string binHex(1, ':');
    binHex.append(hqx.begin(), hqx.end());
    for (const std::string& bytes : {bin, binHex}) {
        ASSERT_EQ(expand(scratch.write("evil", bytes)), "");
        // The file (and its AppleDouble file) right inside the folder.
        for (const auto& item : std::filesystem::directory_iterator(out)) {
            EXPECT_TRUE(item.is_regular_file()) << item.path();
            EXPECT_NE(item.path().filename().string().find("evil"), std::string::npos);
        }
        const std::filesystem::path above = std::filesystem::path(out).parent_path().parent_path();
        EXPECT_FALSE(std::filesystem::exists(above / "evil\\"));
        EXPECT_FALSE(std::filesystem::exists(above / "evil"));
    }
}

}  // namespace
