// How stored names become output paths: joined safely inside the output
// folder, renamed around what is already there, retried, and reported.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "engine/engine5.FormatWriter.h"
#include "engine/t5.Reader.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"
#include "support/failure.h"
#include "support/scratch.h"

namespace {

using test::Scratch;

// Opens the protected name pipeline to the tests.
class Pipeline : public engine5::FormatReader {
public:
    explicit Pipeline(tuckett5::Reader& reader) : engine5::FormatReader(7, reader) {}
    using engine5::FormatReader::createOutputFile;
    using engine5::FormatReader::createOutputFolder;
    using engine5::FormatReader::macBinaryOutput;
    using engine5::FormatReader::makeMacBinaryOutputDecision;
    using engine5::FormatReader::postprocessFolderName;
    using engine5::FormatReader::postprocessName;
    using engine5::FormatReader::preprocessName;
    using engine5::FormatReader::topLevelNames;
};

// One ustar member: a file of `data` ('0'), a folder ('5') or a hard link
// ('1') to `link`, dated `mtime`. A link's mode is 0400, a file's 0644.
std::string tarMember(const std::string& name, char type, const std::string& data, const std::string& link = "",
                      uint32_t mtime = 1000000000) {
    const auto octal = [](std::string& block, size_t at, size_t width, uint64_t value) {
        for (size_t i = width - 1; i-- > 0; value >>= 3) block[at + i] = static_cast<char>('0' + (value & 7));
    };
    std::string block(512, '\0');
    block.replace(0, name.size(), name);
    octal(block, 100, 8, type == '1' ? 0400 : 0644), octal(block, 108, 8, 0), octal(block, 116, 8, 0);
    octal(block, 124, 12, data.size()), octal(block, 136, 12, mtime);
    block[156] = type;
    block.replace(157, link.size(), link);
    block.replace(257, 8,
                  std::string("ustar\0"
                              "00",
                              8));
    block.replace(148, 8, "        ");
    uint32_t sum = 0;
    for (char c : block) sum += static_cast<unsigned char>(c);
    octal(block, 148, 7, sum);
    return block + data + std::string((512 - data.size() % 512) % 512, '\0');
}

class Renamed : public tuckett5::event::FileChangedNameListener {
public:
    std::vector<std::string> names;
    void fileChangedNameEvent(const char* name) override { names.push_back(name); }
};

class NamePipeline : public testing::Test {
protected:
    Scratch scratch;
    std::string out = scratch.path("out");
    tuckett5::Reader reader;
    Renamed renamed;

    void SetUp() override {
        std::filesystem::create_directories(out);
        reader.outputFolder(out);
        reader.add(&renamed);
    }

    std::string under(std::initializer_list<std::string> parts) {
        std::string path = out;
        for (const auto& part : parts) path += io::Path::separator + part;
        return path;
    }

    // Creates the item's file as a format reader does, and answers its path.
    std::string expand(Pipeline& pipeline, const std::string& name) {
        std::string path = pipeline.preprocessName(name);
        io::File file;
        pipeline.createOutputFile(file, path, engine5::FormatReader::defaultTries);
        file.close();
        return path;
    }
};

TEST_F(NamePipeline, RelativeOutputFolderIsMadeAbsolute) {
    reader.outputFolder(".");
    Pipeline pipeline(reader);
    std::string path = pipeline.preprocessName("x");
    EXPECT_EQ(path, (std::filesystem::current_path() / "x").string());
}

TEST_F(NamePipeline, ExistingTopFolderIsRenamedOnceAndItsSiblingsFollow) {
    std::filesystem::create_directories(under({"x"}));
    Pipeline pipeline(reader);
    EXPECT_EQ(expand(pipeline, "x/1"), under({"x_1", "1"}));
    EXPECT_EQ(expand(pipeline, "x/2"), under({"x_1", "2"}));
    EXPECT_EQ(expand(pipeline, "x/sub/3"), under({"x_1", "sub", "3"}));
    EXPECT_EQ(pipeline.topLevelNames.size(), 1u);
    EXPECT_TRUE(renamed.names.empty());
    // Another run starts afresh and opens a third folder.
    Pipeline next(reader);
    EXPECT_EQ(expand(next, "x/1"), under({"x_2", "1"}));
}

TEST_F(NamePipeline, FolderMadeByThisRunIsNoConflict) {
    Pipeline pipeline(reader);
    std::string folder = pipeline.preprocessName("d");
    pipeline.createOutputFolder(folder, engine5::FormatReader::defaultTries);
    EXPECT_EQ(folder, under({"d"}));
    EXPECT_EQ(expand(pipeline, "d/f"), under({"d", "f"}));
    EXPECT_TRUE(renamed.names.empty());
}

TEST_F(NamePipeline, ItemsUnderAnExistingFileOpenAFreshFolder) {
    // The file may be the archive being read: it is never written into.
    scratch.write("out/x", "a file");
    Pipeline pipeline(reader);
    EXPECT_EQ(expand(pipeline, "x/1"), under({"x_1", "1"}));
    EXPECT_EQ(expand(pipeline, "x/2"), under({"x_1", "2"}));
    EXPECT_EQ(std::filesystem::file_size(under({"x"})), 6u);
}

TEST_F(NamePipeline, TakenFileNameGetsANumberAndTheListenerHearsIt) {
    scratch.write("out/a.txt", "old");
    Pipeline pipeline(reader);
    EXPECT_EQ(expand(pipeline, "a.txt"), under({"a_1.txt"}));
    ASSERT_EQ(renamed.names.size(), 1u);
    EXPECT_EQ(renamed.names[0], under({"a_1.txt"}));
}

TEST_F(NamePipeline, NormalisingEndsTheChain) {
    Pipeline pipeline(reader);
    std::string path = under({"a?b"});
    pipeline.postprocessName(path);
    EXPECT_EQ(path, under({"ab"}));
    ASSERT_EQ(renamed.names.size(), 1u);
}

TEST_F(NamePipeline, KnownTopFolderIsNotRenamedButAnUnknownOneIs) {
    std::filesystem::create_directories(under({"known"}));
    std::filesystem::create_directories(under({"other"}));
    Pipeline pipeline(reader);
    pipeline.topLevelNames[under({"known"})] = under({"known"});
    std::string known = under({"known"});
    pipeline.postprocessFolderName(known);
    EXPECT_EQ(known, under({"known"}));
    std::string other = under({"other"});
    pipeline.postprocessFolderName(other);
    EXPECT_EQ(other, under({"other_1"}));
    EXPECT_FALSE(std::filesystem::exists(other)) << "postprocessFolderName creates nothing";
}

TEST_F(NamePipeline, NoTriesFailsAtOnce) {
    Pipeline pipeline(reader);
    std::string path = under({"never"});
    io::File file;
    EXPECT_EQ(test::failureOf([&] { pipeline.createOutputFile(file, path, 0); }),
              "Output: cannot create an output file in engine5::FormatReader::createOutputFile");
    EXPECT_EQ(test::failureOf([&] { pipeline.createOutputFolder(path, 0); }),
              "Output: cannot create an output file in engine5::FormatReader::createOutputFolder");
    EXPECT_FALSE(std::filesystem::exists(path));
}

// A hard link joins the file that its target name last made in this run,
// takes a free name as a file would, and sets no date or mode (they are the
// file's). Anything else it might name is refused for the one item.
TEST_F(NamePipeline, HardLinksJoinOnlyFilesThisRunMade) {
    scratch.write("outside.txt", "secret");
    scratch.write("out/before.txt", "before");
    const std::vector<std::string> refused = {"../outside.txt", scratch.path("outside.txt"), "top/dir", "nothing",
                                              "before.txt"};
    std::string tar = tarMember("top/a.txt", '0', "first") + tarMember("top/a.txt", '0', "second") +
                      tarMember("top/sub/b.txt", '1', "", "top/a.txt", 86400) +
                      tarMember("./top//c.txt", '1', "", "top/sub/./b.txt", 86400) +
                      tarMember("top/a.txt", '1', "", "top/c.txt", 86400) + tarMember("top/dir/", '5', "");
    for (const std::string& target : refused) tar += tarMember("top/bad", '1', "", target);
    reader.continueAfterItemFailure(true);
    reader.open(scratch.write("links.tar", tar + std::string(1024, '\0')));
    reader.scan();
    reader.decode();
    reader.close();

    EXPECT_EQ(test::Scratch::read(under({"top", "sub", "b.txt"})), "second");
    io::File joined(under({"top", "a_1.txt"}));
    EXPECT_EQ(joined.modificationTime(), 1000000000);
#ifndef _WIN32
    EXPECT_EQ(joined.permissions() & 0777, 0644u);
#endif
    // Writing through one name changes what every other name shows.
    { std::ofstream(under({"top", "c.txt"}), std::ios::binary | std::ios::trunc) << "changed"; }
    for (const char* name : {"a_1.txt", "sub/b.txt", "a_2.txt"})
        EXPECT_EQ(test::Scratch::read(out + io::Path::separator + "top" + io::Path::separator + name), "changed")
            << name;
    EXPECT_EQ(test::Scratch::read(under({"top", "a.txt"})), "first");
    EXPECT_EQ(test::Scratch::read(scratch.path("outside.txt")), "secret");
    EXPECT_FALSE(std::filesystem::exists(under({"top", "bad"})));
    ASSERT_EQ(reader.itemFailures.size(), refused.size());
    for (size_t i = 0; i < refused.size(); ++i) {
        EXPECT_EQ(reader.itemFailures[i].name, "top/bad");
        EXPECT_EQ(reader.itemFailures[i].message,
                  "cannot hard link to " + refused[i] + ", which is no file expanded before it");
    }
}

class EmptyInput : public stream::random::Input {
public:
    int read() override { return -1; }
    uint64_t tell() const override { return 0; }
    void seek(uint64_t) override {}
    uint64_t size() const override { return 0; }
};

TEST_F(NamePipeline, BaseScanAndDecodeSaySo) {
    Pipeline pipeline(reader);
    EmptyInput input;
    EXPECT_EQ(test::failureOf([&] { pipeline.scan(input); }),
              "Unsupported format: attempt to call generic engine5::FormatReader::scan()");
    EXPECT_EQ(test::failureOf([&] { pipeline.decode(input); }),
              "Unsupported format: attempt to call generic engine5::FormatReader::decode()");
}

struct Decision {
    int32_t option;
    bool formatDefault;
    bool expected;
};

class MacBinaryDecision : public NamePipeline, public testing::WithParamInterface<Decision> {};

TEST_P(MacBinaryDecision, FollowsTheOption) {
    reader.macBinaryOutput(GetParam().option);
    Pipeline pipeline(reader);
    pipeline.makeMacBinaryOutputDecision(GetParam().formatDefault);
    EXPECT_EQ(pipeline.macBinaryOutput, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Options, MacBinaryDecision,
                         testing::Values(Decision{0, true, false}, Decision{1, false, true}, Decision{2, true, true},
                                         Decision{2, false, false}, Decision{-1, true, true}));

TEST(ArchiveName, EmptyNameComesFromTheFirstItem) {
    std::string name;
    engine5::FormatWriter::generateArchiveName(name, "report...", ".tkt");
    EXPECT_EQ(name, (std::filesystem::current_path() / "report.tkt").string());
}

TEST(ArchiveName, GivenNameIsKeptAndMadeAbsolute) {
    std::string name = "given";
    engine5::FormatWriter::generateArchiveName(name, "report", ".zip");
    EXPECT_EQ(name, (std::filesystem::current_path() / "given").string());
}

}  // namespace
