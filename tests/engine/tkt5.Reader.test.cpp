// The tkt5 reader over archives that the tests lay out with the engine's own
// records and codecs: contents in each method, trees, Macintosh forks, names,
// passwords, listeners, text conversion, and damaged archives of every kind.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/bin/bin.Header.h"
#include "format/format.Number.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/stream.Array.h"
#include "support/events.h"
#include "support/failure.h"
#include "support/damage.h"
#include "support/scratch.h"
#include "support/streams.h"
#include "support/tkt5.Builder.h"

namespace {

namespace fs = std::filesystem;
namespace ex = tuckett5::exception;
using test::Scratch;
using test::tkt5::Builder;
using test::tkt5::Item;

std::string pattern(size_t n, uint32_t seed, bool text) { return text ? test::words(n, seed) : test::noise(n, seed); }

// A reader that writes down every event it sees, in order.
class Recording : public tuckett5::Reader, public test::EventLog {
public:
    Recording() : test::EventLog(static_cast<tuckett5::Reader&>(*this)) {}
};

class Tkt5Reader : public ::testing::Test {
protected:
    // Writes the archive, expands it into out/ and answers the reader.
    void expand(const std::string& archive, Recording& reader, const std::string& password = "",
                bool forceFormat = false) {
        const std::string path = scratch.write("archive.tkt", archive);
        test::removeTree(scratch.path("out"));
        reader.outputFolder(scratch.path("out"));
        reader.open(path);
        if (forceFormat) {
            // As if the classifier had named the format: the reader's own
            // checks are what is tested.
            reader.isClassified = true;
            reader.archiveInfo.format = format::number::tkt5;
        }
        try {
            reader.scan();
            scannedAt = reader.archiveInfo.position;
            reader.password = password;
            reader.decode();
        } catch (...) {
            reader.close();
            throw;
        }
        reader.close();
    }
    std::string out(const std::string& relative) const { return Scratch::read(scratch.path("out/" + relative)); }
    bool exists(const std::string& relative) const { return fs::exists(scratch.path("out/" + relative)); }

    void expectFailure(const std::string& archive, const std::string& message, const std::string& kind,
                       const std::string& password = "", bool forceFormat = false) {
        Recording reader;
        EXPECT_EQ(test::failureOf([&] { expand(archive, reader, password, forceFormat); }), kind + ": " + message);
    }

    Scratch scratch;
    uint32_t scannedAt = 0;
};

struct MethodCase {
    uint8_t method;
    const char* name;
};

class Tkt5Methods : public Tkt5Reader, public ::testing::WithParamInterface<MethodCase> {};

TEST_P(Tkt5Methods, ExpandFilesOfEverySizeExactly) {
    const uint8_t method = GetParam().method;
    const std::vector<std::pair<std::string, std::string>> files = {
        {"empty", ""},
        {"one", "x"},
        {"two", "ab"},
        {"text", pattern(150000, 1, true)},
        {"noise", pattern(70001, 2, false)},
    };
    std::vector<Item> items;
    for (const auto& [name, data] : files) items.push_back(Item::file(name, data, method));
    Recording reader;
    expand(Builder().build(items), reader);
    for (const auto& [name, data] : files) EXPECT_EQ(out(name), data) << name;
    EXPECT_EQ(reader.archiveInfo.fileCount, files.size());
}

TEST_P(Tkt5Methods, DecipherEveryForkWithTheRightPassword) {
    const uint8_t method = GetParam().method;
    Builder builder;
    builder.password = "open sesame";
    Item mac = Item::macFile("mac", pattern(5000, 3, true), "", "TEXT", "ttxt", method);
    const std::string body = pattern(40000, 4, true);
    Recording reader;
    expand(builder.build({Item::file("a", body, method), Item::file("b", "tiny", method), mac}), reader,
           "open sesame");
    EXPECT_TRUE(reader.archiveInfo.encrypted);
    EXPECT_EQ(out("a"), body);
    EXPECT_EQ(out("b"), "tiny");
    EXPECT_EQ(out("mac"), mac.data);
}

TEST_P(Tkt5Methods, ResourceForksGoBesideTheFileWithTheFinderInformation) {
    const uint8_t method = GetParam().method;
    Item mac = Item::macFile("Read Me", pattern(3000, 5, true), pattern(9000, 6, false), "TEXT", "ttxt", method);
    mac.finderFlags = 0x0100;
    Recording reader;
    expand(Builder().build({mac}), reader);
    EXPECT_EQ(out("Read Me"), mac.data);
    io::ntfs::Rsrc rsrc;
    rsrc.open(scratch.path("out/Read Me"));
    std::string fork(rsrc.size(), '\0');
    EXPECT_EQ(rsrc.read(fork.data(), uint32_t(fork.size())), fork.size());
    rsrc.close();
    EXPECT_EQ(fork, mac.resource);
    const format::data::FileInfo info = rsrc.fileInfo();
    EXPECT_EQ(info.type().stringValue(), "TEXT");
    EXPECT_EQ(info.creator().stringValue(), "ttxt");
    EXPECT_EQ(info.flags(), 0x0100);
}

TEST_P(Tkt5Methods, MacBinaryHoldsHeaderDataAndResourcePadded) {
    const uint8_t method = GetParam().method;
    Item mac = Item::macFile("Doc", pattern(300, 7, true), pattern(129, 8, false), "APPL", "Cwrk", method);
    mac.finderFlags = 0x2104;
    Recording reader;
    reader.macBinaryOutput(tuckett5::Reader::macBinaryAlways);
    expand(Builder().build({mac}), reader);
    const std::string bin = out("Doc.bin");
    ASSERT_EQ(bin.size(), 128u + 384u + 256u);
    stream::ArrayInput in(bin.data(), 128);
    format::bin::Header header;
    header.read(in, true);
    EXPECT_TRUE(header.crcMatches());
    EXPECT_EQ(header.name, "Doc");
    EXPECT_EQ(header.type.stringValue(), "APPL");
    EXPECT_EQ(header.creator.stringValue(), "Cwrk");
    EXPECT_EQ(header.finderFlags, 0x2104);
    EXPECT_EQ(header.dataLength, 300u);
    EXPECT_EQ(header.resourceLength, 129u);
    EXPECT_EQ(header.modified, test::tkt5::defaultDate);
    EXPECT_EQ(bin.substr(128, 300), mac.data);
    EXPECT_EQ(bin.substr(428, 84), std::string(84, '\0'));
    EXPECT_EQ(bin.substr(512, 129), mac.resource);
    EXPECT_EQ(bin.substr(641), std::string(127, '\0'));
    EXPECT_FALSE(exists("Doc"));
}

INSTANTIATE_TEST_SUITE_P(All, Tkt5Methods,
                         ::testing::Values(MethodCase{test::tkt5::stored, "Stored"}, MethodCase{test::tkt5::isp, "ISP"},
                                           MethodCase{test::tkt5::arsenic, "Arsenic"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Tkt5Reader, EmptyArchiveScansAndDecodesToNothing) {
    Recording reader;
    expand(Builder().build({}), reader);
    EXPECT_EQ(reader.archiveInfo.fileCount, 0u);
    EXPECT_EQ(reader.events, (std::vector<std::string>{"archive", "scan", "scan end", "archive", "decode", "size 0", "files 0",
                                                      "files 0", "files end", "size end", "decode end"}));
}

TEST_F(Tkt5Reader, TreeOfFoldersKeepsItsShapeAndEventOrder) {
    std::vector<Item> tree = {Item::dir("top", {Item::file("a", "alpha"), Item::dir("empty"),
                                                Item::dir("deep", {Item::dir("deeper", {Item::file("b", "beta")})})}),
                              Item::file("c", "gamma")};
    Recording reader;
    expand(Builder().build(tree), reader);
    EXPECT_EQ(out("top/a"), "alpha");
    EXPECT_TRUE(fs::is_directory(scratch.path("out/top/empty")));
    EXPECT_EQ(out("top/deep/deeper/b"), "beta");
    EXPECT_EQ(out("c"), "gamma");
    EXPECT_EQ(reader.archiveInfo.rootName, "");  // two items at the top
    // The first "archive" is the classifier's.
    const std::vector<std::string> expected = {
        "archive", "scan", "info top/", "info top/a", "info top/empty/", "info top/deep/", "info top/deep/deeper/",
        "info top/deep/deeper/b", "info c", "scan end", "archive",
        "decode", "size 14", "files 3", "files 0",
        "folder top", "folder end",
        "file top/a 5", "files 1", "file end",
        "folder top/empty", "folder end", "folder end",
        "folder top/deep", "folder end", "folder top/deep/deeper", "folder end",
        "file top/deep/deeper/b 4", "files 2", "file end", "folder end", "folder end", "folder end",
        "file c 5", "files 3", "file end",
        "files end", "size end", "decode end"};
    EXPECT_EQ(reader.events, expected);
}

TEST_F(Tkt5Reader, DatesLocksAndWindowsAttributesReachTheFiles) {
    Item dated = Item::file("dated", "d");
    dated.modified = test::tkt5::defaultDate + 86400;
    Item locked = Item::file("locked", "l");
    locked.flags = format::tkt5::ItemHeader::lockedFlag;
    Item hidden = Item::file("hidden", "h");
    hidden.windows = true;
    hidden.attributes = 0x01;
    Item folder = Item::dir("kept", {Item::file("inside", "i")});
    folder.modified = test::tkt5::defaultDate + 7200;
    folder.flags = format::tkt5::ItemHeader::lockedFlag;
    Recording reader;
    expand(Builder().build({dated, locked, hidden, folder}), reader);
    const auto seconds = [&](const std::string& name) {
        return std::chrono::duration_cast<std::chrono::seconds>(
                   fs::last_write_time(scratch.path("out/" + name)).time_since_epoch())
            .count();
    };
    const int64_t unixDate = int64_t(test::tkt5::defaultDate) - 2082844800;
    // file_time_type's epoch is the system clock's on this library.
    const int64_t offset = seconds("dated") - (unixDate + 86400);
    EXPECT_EQ(seconds("kept") - offset, unixDate + 7200);
    const auto writable = [&](const std::string& name) {
        return (fs::status(scratch.path("out/" + name)).permissions() & fs::perms::owner_write) != fs::perms::none;
    };
    EXPECT_TRUE(writable("dated"));
    EXPECT_FALSE(writable("locked"));
    EXPECT_FALSE(writable("hidden"));
#ifndef _WIN32
    // A read-only folder on Windows still takes new files; here it is dated
    // and locked once its contents are in.
    EXPECT_FALSE(writable("kept"));
#endif
    EXPECT_EQ(out("kept/inside"), "i");
    fs::permissions(scratch.path("out/kept"), fs::perms::owner_all, fs::perm_options::add);
}

struct NameCase {
    const char* label;
    std::vector<std::pair<std::string, uint16_t>> stored;  // name, extra flags
    std::vector<std::string> written;
};

class Tkt5Names : public Tkt5Reader, public ::testing::WithParamInterface<NameCase> {};

TEST_P(Tkt5Names, BecomeSafeLocalNames) {
    std::vector<Item> items;
    int n = 0;
    for (const auto& [name, flags] : GetParam().stored) {
        Item item = Item::file(name, "content " + std::to_string(n++));
        item.flags = flags;
        items.push_back(item);
    }
    Recording reader;
    expand(Builder().build(items), reader);
    n = 0;
    for (const std::string& name : GetParam().written) EXPECT_EQ(out(name), "content " + std::to_string(n++)) << name;
    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(scratch.path())) entries.push_back(entry.path().filename().string());
    std::sort(entries.begin(), entries.end());
    EXPECT_EQ(entries, (std::vector<std::string>{"archive.tkt", "out"}));
}

const std::vector<NameCase> nameCases = {
#ifndef _WIN32
    // The engine's 8-bit names are UTF-8 here, the ANSI code page on Windows.
    NameCase{"UTF8", {{"Gr\xC3\xBC\xC3\x9F" "e.txt", 0}}, {"Gr\xC3\xBC\xC3\x9F" "e.txt"}},
    NameCase{"MacRoman", {{"Caf\x8E \xA5 \xDB", 0x0100}}, {"Caf\xC3\xA9 \xE2\x80\xA2 \xE2\x82\xAC"}},
#endif
    NameCase{"TrailingSpaces", {{"notes   ", 0}}, {"notes"}},
    NameCase{"SiblingsThatCollide", {{"same", 0}, {"same ", 0}, {"same  ", 0}}, {"same", "same_1", "same_2"}},
    NameCase{"Separators", {{"a/b\\c", 0}}, {"a_b_c"}},
#ifndef _WIN32
    // Windows drops the trailing dots itself.
    NameCase{"DotsStayInside", {{"..", 0}, {".", 0}}, {"_..", "_."}},
#endif
};

INSTANTIATE_TEST_SUITE_P(All, Tkt5Names, ::testing::ValuesIn(nameCases),
                         [](const auto& info) { return std::string(info.param.label); });

TEST_F(Tkt5Reader, UnicodeNamesReachTheListeners) {
    Recording reader;
    expand(Builder().build({Item::file("\xE2\x82\xAC", "e")}), reader);
    ASSERT_TRUE(reader.fileInfo.unicodeName.isSet());
    EXPECT_EQ(reader.fileInfo.unicodeName(), tuckett5::UnicodeName(1, 0x20AC));
}

TEST_F(Tkt5Reader, ArchiveAfterAPrefixCountsItsOffsetsFromItsStart) {
    Builder builder;
    builder.prefix = pattern(1000, 9, true);
    Recording reader;
    const std::string file =
        builder.build({Item::dir("d", {Item::file("f", "after the prefix", test::tkt5::isp)})});
    expand(file, reader);
    EXPECT_EQ(reader.archiveInfo.format, format::number::tkt5);
    EXPECT_EQ(scannedAt, 1000u);
    EXPECT_EQ(out("d/f"), "after the prefix");
    // The next search starts behind the archive.
    EXPECT_EQ(reader.archiveInfo.position, file.size());
}

TEST_F(Tkt5Reader, RefusedFileIsSkippedAndTheRestExpands) {
    Recording reader;
    reader.refuse = "b";
    expand(Builder().build({Item::file("a", "1"), Item::file("b", "22"), Item::file("c", "333")}), reader);
    EXPECT_EQ(out("a"), "1");
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(out("c"), "333");
    EXPECT_EQ(reader.lastSize, 3u);  // the skip of b reports 1 + 2
}

TEST_F(Tkt5Reader, CancelInProgressStopsTheRun) {
    Recording reader;
    reader.cancelAt = 20000;
    const std::string big = pattern(100000, 10, true);
    EXPECT_THROW(expand(Builder().build({Item::file("big", big, test::tkt5::isp), Item::file("next", "n")}), reader),
                 ex::Evacuation);
    EXPECT_FALSE(exists("next"));
}

struct TextCase {
    int32_t conversion;
    int32_t lineEnding;
    const char* type;
    const char* expected;
};

class Tkt5Text : public Tkt5Reader, public ::testing::WithParamInterface<TextCase> {};

TEST_P(Tkt5Text, ConvertsLineEndsOfTheChosenFiles) {
    const TextCase& c = GetParam();
    Item item = Item::macFile("t", "one\rtwo\r\nthree\n", "", c.type, "ttxt", test::tkt5::isp);
    item.hasResource = false;
    Recording reader;
    reader.textConversion(c.conversion);
    reader.textLineEnding(c.lineEnding);
    expand(Builder().build({item}), reader);
    EXPECT_EQ(out("t"), c.expected);
}

INSTANTIATE_TEST_SUITE_P(All, Tkt5Text,
                         ::testing::Values(TextCase{0, 1, "TEXT", "one\rtwo\r\nthree\n"},
                                           TextCase{1, 1, "BINA", "one\ntwo\nthree\n"},
                                           TextCase{2, 1, "TEXT", "one\ntwo\nthree\n"},
                                           TextCase{2, 3, "TEXT", "one\r\ntwo\r\nthree\r\n"},
                                           TextCase{2, 1, "BINA", "one\rtwo\r\nthree\n"}));

TEST_F(Tkt5Reader, Passwords) {
    Builder builder;
    builder.password = "secret";
    const std::string archive = builder.build({Item::file("f", "data", test::tkt5::stored)});
    expectFailure(archive, "password mismatch in tkt5 reader", "Bad password", "wrong");
    expectFailure(archive, "password required for an encrypted file in tkt5 reader", "Bad password");
    builder.hash = false;
    const std::string unhashed = builder.build({Item::file("f", "data", test::tkt5::stored)});
    expectFailure(unhashed, "CRC mismatch in tkt5 reader; data is invalid", "Bad data", "wrong");
    Recording reader;
    expand(unhashed, reader, "secret");
    EXPECT_FALSE(reader.archiveInfo.encrypted);
    EXPECT_EQ(out("f"), "data");
}

// Offsets inside an item header.
constexpr uint32_t nextField = 22;
constexpr uint32_t crcField = 32;

void put32(std::string& bytes, size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = char(value >> (24 - 8 * i));
}

// Changes a field of an item header and switches its CRC check off.
void patch(std::string& bytes, uint32_t header, uint32_t field, uint32_t value) {
    put32(bytes, header + field, value);
    bytes[header + crcField] = 0;
    bytes[header + crcField + 1] = 0;
}

TEST_F(Tkt5Reader, BrokenArchivesEndInTheirExceptions) {
    Builder builder;
    std::vector<Item> three = {Item::file("a", "alpha"), Item::dir("d", {Item::file("b", "beta")}),
                               Item::file("c", "gamma")};
    const std::string good = builder.build(three);
    const std::vector<uint32_t> at = builder.headers;  // a, d, b, marker, c

    std::string cycle = good;
    patch(cycle, at[4], nextField, at[0]);
    expectFailure(cycle, "bad item link in tkt5 reader", "Bad format");

    std::string self = good;
    patch(self, at[2], nextField, at[2]);
    expectFailure(self, "bad item link in tkt5 reader", "Bad format");

    std::string intoNothing = good;
    patch(intoNothing, at[0], nextField, uint32_t(good.size() - 3));
    expectFailure(intoNothing, "cannot read an item header in tkt5 reader", "Input");

    std::string cut = good.substr(0, at[4] + 20);
    put32(cut, 84, uint32_t(good.size()));
    expectFailure(cut, "cannot read an item header in tkt5 reader", "Input");

    std::string pastEnd = good;
    patch(pastEnd, at[0], nextField, 0x7FFFFFFF);
    Recording reader;
    expand(pastEnd, reader);  // an offset beyond the archive ends the walk
    EXPECT_EQ(reader.archiveInfo.fileCount, 1u);

    std::string badHeader = good;
    badHeader[82] = 4;  // version 4 and below are no tkt5 archives
    expectFailure(badHeader, "bad archive header in tkt5 reader", "Bad format", "", true);
    std::string shortHeader = good.substr(0, 90);
    expectFailure(shortHeader, "cannot read the archive header in tkt5 reader", "Input", "", true);
}

struct ForkCase {
    const char* label;
    int32_t storedCRC;
    int32_t storedMethod;
    bool resource;
    const char* kind;
    const char* message;
};

class Tkt5Forks : public Tkt5Reader, public ::testing::WithParamInterface<ForkCase> {};

TEST_P(Tkt5Forks, WithBadRecordsAreRefused) {
    const ForkCase& c = GetParam();
    Item item = Item::macFile("f", "data fork", "resource fork", "TEXT", "ttxt");
    if (c.resource) {
        item.resourceMethod = uint8_t(c.storedMethod);
    } else {
        item.storedCRC = c.storedCRC;
        item.storedMethod = c.storedMethod;
    }
    Recording reader;
    EXPECT_EQ(test::failureOf([&] { expand(Builder().build({item}), reader); }),
              std::string(c.kind) + ": " + c.message);
}

INSTANTIATE_TEST_SUITE_P(
    All, Tkt5Forks,
    ::testing::Values(
        ForkCase{"WrongCRC", 0x1234, -1, false, "Bad data", "CRC mismatch in tkt5 reader; data is invalid"},
        ForkCase{"UnknownMethod", -1, 7, false, "Unsupported method", "unsupported compression method in tkt5 reader"},
        ForkCase{"MethodAbove127", -1, 200, false, "Unsupported method",
                 "encrypted Tuckett archives not supported by tkt5 reader"},
        ForkCase{"ResourceMethodAbove127", -1, 200, true, "Unsupported method",
                 "unsupported compression method in tkt5 reader"}),
    [](const auto& info) { return std::string(info.param.label); });

TEST_F(Tkt5Reader, FoldersNestedBeyondAnyPathAreRefused) {
    Item nest = Item::file("bottom", "b");
    for (size_t depth = 0; depth < io::Path::maxSize / 2 + 1; ++depth) {
        Item outer = Item::dir("d");
        outer.children.push_back(std::move(nest));
        nest = std::move(outer);
    }
    expectFailure(Builder().build({nest}), "folders nested too deeply in tkt5 reader", "Bad format");
}

TEST_F(Tkt5Reader, ZeroCRCIsNotChecked) {
    Item item = Item::file("f", "anything");
    item.storedCRC = 0;
    Recording reader;
    expand(Builder().build({item}), reader);
    EXPECT_EQ(out("f"), "anything");
}

// Runs one damaged archive: whatever happens must be an engine exception or a
// clean run, and nothing may land outside the output folder.
void survive(Scratch& scratch, const std::string& archive, int run) {
    // A new file each time: emptying one that has blocks makes the file
    // system write it back at once, which would be most of the test's time.
    const std::string path = scratch.write("damaged" + std::to_string(run) + ".tkt", archive);
    const std::string folder = scratch.path("out" + std::to_string(run % 4));
    tuckett5::Reader reader;
    reader.outputFolder(folder);
    reader.password = "pw";
    try {
        reader.open(path);
        // Named as tkt5 whatever the classifier would say: the reader itself
        // must stand every byte.
        reader.isClassified = true;
        reader.archiveInfo.format = format::number::tkt5;
        reader.scan();
        reader.decode();
    } catch (const un::exception&) {
    }
    reader.close();
    fs::remove(path);
}

class Tkt5Damage : public Tkt5Reader {
protected:
    std::string small() {
        Builder builder;
        Item mac = Item::macFile("m", "data", "rsrc", "TEXT", "ttxt", test::tkt5::isp);
        return builder.build({Item::file("s", "stored bytes"), Item::dir("d", {Item::file("i", "isp isp isp",
                                                                                         test::tkt5::isp)}),
                              Item::file("a", "arsenic", test::tkt5::arsenic), mac});
    }
    void checkNothingOutside() {
        for (const auto& entry : fs::directory_iterator(scratch.path())) {
            const std::string name = entry.path().filename().string();
            EXPECT_TRUE(name.rfind("out", 0) == 0) << name;
        }
        for (int i = 0; i < 4; ++i) test::removeTree(scratch.path("out" + std::to_string(i)));
    }
};

TEST_F(Tkt5Damage, EveryTruncation) {
    const std::string archive = small();
    for (size_t n = 0; n < archive.size(); ++n) {
        survive(scratch, archive.substr(0, n), int(n));
        if (n % 64 == 0) checkNothingOutside();
    }
    checkNothingOutside();
}

TEST_F(Tkt5Damage, RandomByteFlips) {
    const std::string archive = small();
    std::mt19937 random(2026);
    for (int run = 0; run < test::damageRounds(2000); ++run) {
        survive(scratch, test::flipped(archive, random, 3), run);
        if (run % 64 == 0) checkNothingOutside();
    }
    checkNothingOutside();
}

} // namespace
