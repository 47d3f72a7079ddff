// CRwrk-Expand's driver over a reader whose archive is made up by the test:
// the destination it picks, what it deletes, the password questions, cancel
// and failures, and what the progress display is told.
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "fmhost.Host.h"
#include "plugin/CRwrk_Win.h"
#include "plugin/Crwk.ScriptedUI.h"
#include "plugin/FSObject_Win.h"
#include "plugin/TKTReader.h"
#include "plugin/plugin.Support.h"

namespace {

namespace fs = std::filesystem;
using plugintest::native;
using plugintest::TempDir;
using plugintest::writeFile;
using Lines = std::vector<std::string>;

// What the made-up archive holds and how its run goes.
struct Archive {
    std::string rootName;
    bool encrypted = false;
    int format = 29;
    std::vector<std::string> items;  // names ending in "/" are folders
    int failWith = 0;                // 1 an engine failure, 2 another exception
    int32_t error = 0;
    // Seen by the run:
    std::string password;
    bool decoded = false;
    std::string outputFolder;
};
Archive gArchive;

class MadeUpReader : public TKTReader {
public:
    MadeUpReader() : TKTReader(true) {}
    void open(const std::string& path) override { archiveInfo.path = path; }
    void scan() override {
        archiveInfo.rootName = gArchive.rootName;
        archiveInfo.encrypted = gArchive.encrypted;
        archiveInfo.format = gArchive.format;
        archiveInfo.fileCount = static_cast<uint32_t>(gArchive.items.size());
    }
    void decode() override {
        gArchive.decoded = true;
        gArchive.password = password.value();
        error = gArchive.error;
        fireArchiveDecodeBegin();
        gArchive.outputFolder = outputFolder();
        fireProgressSizeBegin(static_cast<uint32_t>(gArchive.items.size() * 100));
        fireProgressFilesBegin(archiveInfo.fileCount);
        uint32_t done = 0;
        for (const std::string& name : gArchive.items) {
            std::string path = outputFolder() + FSObject::kSeparator + native(name);
            if (name.back() == '/') {
                fireFolderDecodeBegin(0);
                fs::create_directories(path);
                continue;
            }
            fileInfo.name = name;
            if (!fireFileDecodeBegin(100)) continue;
            fs::create_directories(fs::path(path).parent_path());
            writeFile(path, std::string(100, 'x'));
            done += 100;
            fireProgressSizeMove(done);
            fireFileDecodeEnd();
        }
        if (gArchive.failWith == 1) throw tuckett5::exception::BadData("bad CRC in the made-up archive");
        if (gArchive.failWith == 2) throw std::runtime_error("not an engine failure");
        fireProgressSizeEnd();
        fireProgressFilesEnd();
        fireArchiveDecodeEnd();
    }
    void close() override {}
};

std::unique_ptr<TKTReader> makeReader() { return std::make_unique<MadeUpReader>(); }

class Expansion : public ::testing::Test {
protected:
    Expansion() : host_(FMExternCallProc, nullptr) {
        gArchive = Archive();
        host_.raw(2, 0, "");  // the entry keeps the host's call block
        Crwk::setUI(&ui_);
    }
    ~Expansion() override { Crwk::setUI(nullptr); }

    std::string expand(const std::string& parameters) {
        FMX_Handle params = host_.newHandle(parameters);
        FMX_Handle result = host_.newHandle("");
        DoExpandWith(makeReader, params, result);
        std::string text = fmhost::Host::text(result);
        host_.freeHandle(params);
        host_.freeHandle(result);
        EXPECT_EQ(host_.openLocks(), 0);
        return text;
    }

    TempDir dir_;
    fmhost::Host host_;
    Crwk::ScriptedUI ui_;
};

struct DestinationCase {
    std::string archive;      // below the scratch folder
    std::string destination;  // "" for none
    std::string rootName;
    std::string folder;       // where the items go, relative
    std::string result;       // relative to the scratch folder
};

class Destinations : public Expansion, public ::testing::WithParamInterface<DestinationCase> {};

TEST_P(Destinations, FollowTheArchiveAndItsRootName) {
    const DestinationCase& c = GetParam();
    writeFile(dir_ / c.archive, "archive bytes");
    if (!c.destination.empty()) fs::create_directories(dir_ / c.destination);
    gArchive.rootName = c.rootName;
    gArchive.items = {c.rootName.empty() ? "a.txt" : c.rootName.substr(0, c.rootName.find('/')) + "/a.txt"};
    std::string parameters = dir_ / c.archive;
    if (!c.destination.empty()) parameters += "|" + dir_ / c.destination;
    // A result ending in a separator names no root item.
    std::string expected = c.result.back() == '/'
                               ? dir_ / native(c.result.substr(0, c.result.size() - 1)) + FSObject::kSeparator
                               : dir_ / native(c.result);
    EXPECT_EQ(expand(parameters), expected);
    EXPECT_EQ(gArchive.outputFolder, c.folder.empty() ? dir_.str() : dir_ / native(c.folder));
    EXPECT_TRUE(fs::exists(fs::path(gArchive.outputFolder) / native(gArchive.items[0])));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Destinations,
    ::testing::Values(DestinationCase{"x.tkt", "", "", "x", "x"},
                      DestinationCase{"x", "", "", "x Folder", "x Folder"},
                      DestinationCase{"a.gz", "", "", "a.gz Folder", "a.gz Folder"},
                      DestinationCase{"x.tkt", "", "Top/Sub", "", "Top"},
                      DestinationCase{"x.tkt", "out", "Top", "out", "out/Top"},
                      DestinationCase{"x.tkt", "out", "", "out", "out/"}));

TEST_F(Expansion, WhatHasTheDestinationsNameGoesFirst) {
    writeFile(dir_ / "x.tkt", "archive");
    fs::create_directories(dir_ / native("Top/old/deeper"));
    writeFile(dir_ / native("Top/old/deeper/stale"), "s");
    writeFile(dir_ / "x", "a file in the way");
    gArchive.rootName = "Top";
    gArchive.items = {"Top/new"};
    EXPECT_EQ(expand(dir_ / "x.tkt"), dir_ / "Top");
    EXPECT_FALSE(fs::exists(dir_ / native("Top/old")));
    EXPECT_TRUE(fs::exists(dir_ / native("Top/new")));

    gArchive = Archive();
    gArchive.items = {"y"};
    EXPECT_EQ(expand(dir_ / "x.tkt"), dir_ / "x");
    EXPECT_TRUE(fs::is_directory(dir_ / "x"));
}

TEST_F(Expansion, AGivenDestinationKeepsWhatItHolds) {
    writeFile(dir_ / "x.tkt", "archive");
    fs::create_directories(dir_ / "out");
    writeFile(dir_ / native("out/kept"), "k");
    gArchive.items = {"new"};
    EXPECT_EQ(expand(dir_ / "x.tkt|" + dir_ / "out"), dir_ / "out" + FSObject::kSeparator);
    EXPECT_TRUE(fs::exists(dir_ / native("out/kept")));
    EXPECT_TRUE(fs::exists(dir_ / native("out/new")));
}

struct PasswordCase {
    bool encrypted;
    std::string parameter3;
    std::vector<std::string> script;
    std::string result;  // "{x}" is the expanded folder
    bool asked;
    bool decoded;
    std::string password;
};

class Passwords : public Expansion, public ::testing::WithParamInterface<PasswordCase> {};

TEST_P(Passwords, ComeFromTheParameterOrTheDialog) {
    const PasswordCase& c = GetParam();
    writeFile(dir_ / "x.tkt", "archive");
    for (const auto& line : c.script) ui_.addLine(line);
    gArchive.encrypted = c.encrypted;
    gArchive.items = {"f"};
    std::string expected = c.result == "{x}" ? dir_ / "x" : c.result;
    EXPECT_EQ(expand(dir_ / "x.tkt||" + c.parameter3), expected);
    bool asked = !ui_.record().empty() && ui_.record()[0] == "PasswordDialog";
    EXPECT_EQ(asked, c.asked);
    EXPECT_EQ(gArchive.decoded, c.decoded);
    EXPECT_EQ(gArchive.password, c.password);
}

INSTANTIATE_TEST_SUITE_P(
    Flows, Passwords,
    ::testing::Values(
        PasswordCase{true, "secret", {}, "{x}", false, true, "secret"},
        PasswordCase{true, "", {"password typed"}, "{x}", true, true, "typed"},
        PasswordCase{true, "", {"password"}, "8|A file could not be UnTucked. One possibility is an incorrect password if the archive is encrypted.|", true, false, ""},
        PasswordCase{true, "", {"password-cancel"}, "-1||", true, false, ""},
        PasswordCase{false, "ignored", {"password never"}, "{x}", false, true, ""}));

TEST_F(Expansion, CancelLeavesWhatWasWritten) {
    writeFile(dir_ / "x.tkt", "archive");
    gArchive.items = {"a", "b", "c"};
    ui_.cancelAt(200);
    EXPECT_EQ(expand(dir_ / "x.tkt"), "-128||");
    EXPECT_TRUE(fs::exists(dir_ / native("x/a")));
    EXPECT_TRUE(fs::exists(dir_ / native("x/b")));
    EXPECT_FALSE(fs::exists(dir_ / native("x/c")));
    EXPECT_EQ(ui_.record().back(), "destroy");
}

TEST_F(Expansion, ProgressShowsNamesAndCountsItemsLeft) {
    writeFile(dir_ / "x.tkt", "archive");
    gArchive.items = {"d/", "d/one", "two"};
    EXPECT_EQ(expand(dir_ / "x.tkt"), dir_ / "x");
    // Only the last component of an item's path is shown, split at the
    // platform's separator.
#if defined(_WIN32)
    const char* shown = "curScanName ";
#else
    const char* shown = "curScanName one";
#endif
    EXPECT_EQ(ui_.record(), (Lines{"display", "archiveName x.tkt", "begin 300", shown, "itemsLeft 3",
                                   "curScanName ", "itemsLeft 2", "destroy"}));

    // Formats other than the native ones count their folders too.
    size_t before = ui_.record().size();
    gArchive.format = 5;
    gArchive.items = {"d/", "two"};
    expand(dir_ / "x.tkt");
    EXPECT_EQ(Lines(ui_.record().begin() + before, ui_.record().end()),
              (Lines{"display", "archiveName x.tkt", "begin 200", "itemsLeft 2", "curScanName ", "itemsLeft 1",
                     "destroy"}));
}

TEST_F(Expansion, FailuresBecomeResultTexts) {
    writeFile(dir_ / "x.tkt", "archive");
    gArchive.items = {"a"};
    gArchive.failWith = 1;
    EXPECT_EQ(expand(dir_ / "x.tkt"), "-1|bad CRC in the made-up archive|");
    gArchive.error = 7;
    EXPECT_EQ(expand(dir_ / "x.tkt"), "7|bad CRC in the made-up archive|");
    gArchive.failWith = 2;
    EXPECT_EQ(expand(dir_ / "x.tkt"), "1||");
    ui_.failDisplay();
    gArchive.failWith = 0;
    EXPECT_EQ(expand(dir_ / "x.tkt"), "7||");
}

} // namespace
