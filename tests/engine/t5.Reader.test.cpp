// The archive reader's states, texts and dispatch, through a small format
// reader that stands in for a real one.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "engine/engine5.ReaderProgressListener.h"
#include "engine/t5.Reader.h"
#include "format/format.Number.h"
#include "io/io.File.h"
#include "stream/stream.Input.h"
#include "support/failure.h"
#include "support/scratch.h"

namespace {

using test::Scratch;
namespace ex = tuckett5::exception;

// Two "members" of 20 bytes, each starting like a gzip file.
const std::string member = std::string("\x1F\x8B\x08\x00", 4) + std::string(16, 'm');

// Walks two items of four bytes each, as a format reader does, and writes
// each one that its listeners allow.
class ItemsReader : public engine5::FormatReader {
public:
    ItemsReader(uint32_t position, tuckett5::Reader& reader, std::vector<uint32_t>& positions)
        : engine5::FormatReader(position, reader) {
        positions.push_back(position);
    }

    void scan(stream::random::Input& archive, io::random::File&) override {
        archive.seek(reader.archiveInfo.position);
        reader.fireProgressScanBegin();
        for (int i = 0; i < 2; ++i) {
            reader.fireProgressScanStep();
            reader.fileInfo.reset();
            reader.fileInfo.name = "item" + std::to_string(i);
            ++reader.archiveInfo.fileCount;
            reader.fireFileInfo();
        }
        reader.fireProgressScanEnd();
        reader.fireArchiveInfo();
    }

    void decode(stream::random::Input& archive, io::random::File&) override {
        archive.seek(reader.archiveInfo.position + 4);
        reader.fireArchiveDecodeBegin();
        reader.fireProgressSizeBegin(8);
        reader.fireProgressFilesBegin(reader.archiveInfo.fileCount);
        reader.fireProgressFilesMove(0);
        for (uint32_t i = 0; i < 2; ++i) {
            reader.fileInfo.name = "item" + std::to_string(i);
            char data[4];
            if (!reader.fireFileDecodeBegin(4)) {
                archive.skip(4);
                continue;
            }
            archive.read(data, 4);
            std::string path = preprocessName(reader.fileInfo.name);
            io::File out;
            createOutputFile(out, path, defaultTries);
            out.write(data, 4);
            out.close();
            reader.fireProgressSizeMove(4 * (i + 1));
            reader.fireProgressFilesMove(i + 1);
            reader.fireFileDecodeEnd();
        }
        reader.fireProgressSizeEnd();
        reader.fireProgressFilesEnd();
        reader.fireArchiveDecodeEnd();
        reader.nextPosition = reader.archiveInfo.position + static_cast<uint32_t>(member.size());
    }
};

class TestReader : public tuckett5::Reader {
public:
    std::vector<uint32_t> positions;

protected:
    std::unique_ptr<engine5::FormatReader> makeFormatReader(int format) override {
        if (format == format::number::gz) return std::make_unique<ItemsReader>(archiveInfo.position, *this, positions);
        return tuckett5::Reader::makeFormatReader(format);
    }
};

// Records what it is told and answers as it is set to.
class Recorder : public tuckett5::event::FileDecodeBeginListener,
                 public tuckett5::event::ArchiveDecodeEndListener,
                 public tuckett5::event::ProgressSizeMoveListener,
                 public tuckett5::event::ArchiveInfoListener {
public:
    bool answer = true;
    int begins = 0;
    int archiveEnds = 0;
    int infos = 0;
    std::vector<uint32_t> moves;
    tuckett5::Reader* removeFrom = nullptr;

    bool fileDecodeBeginEvent(uint32_t) override {
        ++begins;
        return answer;
    }
    void archiveDecodeEndEvent() override { ++archiveEnds; }
    bool progressSizeMoveEvent(uint32_t done) override {
        moves.push_back(done);
        if (removeFrom) removeFrom->remove(static_cast<tuckett5::event::ProgressSizeMoveListener*>(this));
        return answer;
    }
    bool archiveInfoEvent() override {
        ++infos;
        return answer;
    }
};

class ReaderTest : public testing::Test {
protected:
    Scratch scratch;
    std::string archive = scratch.write("two.gz", member + member);
    TestReader reader;

    void SetUp() override { reader.outputFolder(scratch.path("out")); }
};

TEST_F(ReaderTest, RefusalsBeforeAnyItem) {
    // Never opened, and closed after classification.
    for (auto step : {&tuckett5::Reader::scan, &tuckett5::Reader::decode})
        EXPECT_EQ(test::failureOf([&] { (reader.*step)(); }),
                  "Bad argument: call to classify an archive without an open archive");
    reader.open(archive);
    reader.classify();
    EXPECT_EQ(reader.archiveInfo.format, format::number::gz);
    reader.close();
    EXPECT_FALSE(reader.isOpen);
    EXPECT_EQ(test::failureOf([&] { reader.scan(); }), "Bad argument: call to scan an archive without an open archive");

    // A file of no format opens and fails to scan.
    reader.open(scratch.write("plain.txt", "just some words\n"));
    EXPECT_EQ(test::failureOf([&] { reader.scan(); }), "Unsupported format: archive format is not supported");
    EXPECT_EQ(reader.archiveInfo.format, 0);
    EXPECT_EQ(reader.error, 0);
    EXPECT_TRUE(reader.isClassified);
    reader.close();

    // A missing archive is an input failure that names it.
    try {
        reader.open(scratch.path("missing.gz"));
        FAIL();
    } catch (const ex::Input& caught) {
        EXPECT_EQ(caught.kind(), "Input");
        EXPECT_NE(caught.message().find("missing.gz"), std::string::npos) << caught.message();
    }
    EXPECT_FALSE(reader.isOpen);
}

TEST(FormatRegistry, AFormatWithoutReaderIsNotSupported) {
    // A packed file is named by its bytes but has no reader in this build.
    Scratch scratch;
    const std::string path = scratch.write("bla.z", std::string("\x1f\x1e\0\0\0\x03", 6) + "payload");
    tuckett5::Reader reader;
    reader.open(path);
    reader.classify();
    EXPECT_EQ(reader.archiveInfo.format, format::number::pack);
    EXPECT_EQ(test::failureOf([&] { reader.scan(); }), "Unsupported format: archive format is not supported");
    reader.close();
}

TEST_F(ReaderTest, DecodeWritesEveryItemAndMovesOn) {
    Recorder recorder;
    reader.add(static_cast<tuckett5::event::FileDecodeBeginListener*>(&recorder));
    reader.add(static_cast<tuckett5::event::ArchiveDecodeEndListener*>(&recorder));
    reader.open(archive);
    reader.scan();
    EXPECT_EQ(reader.archiveInfo.fileCount, 2u);
    reader.decode();
    EXPECT_EQ(recorder.begins, 2);
    EXPECT_EQ(recorder.archiveEnds, 1);
    EXPECT_TRUE(std::filesystem::exists(scratch.path("out/item0")));
    EXPECT_TRUE(std::filesystem::exists(scratch.path("out/item1")));
    EXPECT_EQ(reader.nextPosition, 20u);
    EXPECT_EQ(reader.archiveInfo.position, 20u);
    EXPECT_FALSE(reader.isScanned);
    EXPECT_TRUE(reader.isClassified);
    EXPECT_EQ(reader.formatReader, nullptr);
    reader.close();
}

TEST_F(ReaderTest, SecondScanStartsAtNextPositionWithoutClassifying) {
    reader.open(archive);
    reader.scan();
    reader.decode();
    reader.scan();
    ASSERT_EQ(reader.positions.size(), 2u);
    EXPECT_EQ(reader.positions[0], 0u);
    EXPECT_EQ(reader.positions[1], 20u);
    // The format reader's construction asks the next search to start one byte on.
    EXPECT_EQ(reader.nextPosition, 21u);
    reader.close();
}

TEST_F(ReaderTest, FalseAtFileDecodeBeginSkipsEveryFile) {
    Recorder recorder;
    recorder.answer = false;
    reader.add(static_cast<tuckett5::event::FileDecodeBeginListener*>(&recorder));
    reader.add(static_cast<tuckett5::event::ArchiveDecodeEndListener*>(&recorder));
    reader.open(archive);
    reader.decode();
    EXPECT_EQ(recorder.begins, 2);
    EXPECT_EQ(recorder.archiveEnds, 1);
    EXPECT_FALSE(std::filesystem::exists(scratch.path("out/item0")));
    EXPECT_FALSE(std::filesystem::exists(scratch.path("out/item1")));
    reader.close();
}

TEST_F(ReaderTest, FirstListenerAnsweringFalseStopsTheWalkAndEvacuates) {
    Recorder first, second;
    first.answer = false;
    reader.add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(&first));
    reader.add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(&second));
    reader.open(archive);
    EXPECT_EQ(test::failureOf([&] { reader.decode(); }), "Evacuation: ");
    EXPECT_EQ(first.moves.size(), 1u);
    EXPECT_TRUE(second.moves.empty());
    reader.close();
}

TEST_F(ReaderTest, ListenerRemovingItselfDoesNotBreakTheWalk) {
    Recorder leaving, staying;
    leaving.removeFrom = &reader;
    reader.add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(&leaving));
    reader.add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(&staying));
    reader.open(archive);
    reader.decode();
    EXPECT_EQ(leaving.moves, std::vector<uint32_t>({4}));
    EXPECT_EQ(staying.moves, std::vector<uint32_t>({4, 8}));
    reader.close();
}

TEST_F(ReaderTest, EncryptionFoundByClassificationReachesTheArchiveRecord) {
    // A Zip local header with the encryption bit.
    std::string zip = std::string("PK\x03\x04\x14\x00\x01\x00\x08\x00", 10) + std::string(16, '\0') +
                      std::string("\x01\x00\x00\x00", 4) + "a" + std::string(40, 'z');
    Recorder recorder;
    reader.add(static_cast<tuckett5::event::ArchiveInfoListener*>(&recorder));
    reader.open(scratch.write("locked.zip", std::string(100, '\x11') + zip));
    reader.classify();
    EXPECT_EQ(reader.archiveInfo.format, format::number::zip);
    EXPECT_EQ(reader.archiveInfo.position, 100u);
    EXPECT_TRUE(reader.archiveInfo.encrypted);
    EXPECT_EQ(recorder.infos, 1);
    reader.close();
}

TEST_F(ReaderTest, ProgressListenerAddsItsBase) {
    Recorder recorder;
    reader.add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(&recorder));
    engine5::ReaderProgressListener progress(reader, 1000);
    progress.progress({24, stream::all});
    EXPECT_EQ(recorder.moves, std::vector<uint32_t>({1024}));
    recorder.answer = false;
    EXPECT_THROW(progress.progress({48, stream::all}), ex::Evacuation);
}

TEST(ReaderFormats, EveryReadingFormatButTheLaterSegmentsHasAReader) {
    tuckett5::Reader reader;
    for (int format = 0; format < 32; ++format) {
        EXPECT_EQ(reader.canDecode(format), format::reads(format));
        EXPECT_EQ(reader.canClassify(format), format::classifies(format));
    }
}

}  // namespace
