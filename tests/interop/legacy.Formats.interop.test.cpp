// LHA and ARC archives made at test time by lha and arc, expanded by the
// cratewerk command and compared with what the programs themselves expand;
// ARC's first crunching (methods 5 to 7), which arc still reads but no longer
// writes, encoded here and checked by arc; and the peer RAR and LHA archives
// through the command and through the plug-in in the host emulator.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "interop.Shell.h"
#include "support/arc.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace interop;

const std::string kTool = quote(CRATEWERK_PROGRAM);
const std::string kData = std::string(CRATEWERK_SOURCE_DIR) + "/tests/data/legacy/";

std::map<std::string, std::string> tree(const fs::path& root) { return test::treeOf(root, test::kLinks); }

// Text, noise, runs (the marker byte 0x90 among them) and a byte pattern
// that squeezes better than it crunches: every method of arc gets a turn.
std::map<std::string, std::string> sources() {
    std::mt19937 random(18);
    std::string text, noise(6000, '\0'), runs, skew;
    for (int i = 0; text.size() < 60000; ++i) text += "line " + std::to_string(i % 211) + " of the legacy text\n";
    for (char& c : noise) c = static_cast<char>(random());
    for (int i = 0; i < 600; ++i) runs += std::string(1 + random() % 30, static_cast<char>(i % 3 ? 0x90 : random()));
    const unsigned char common[] = {'A', 'A', 'A', 'A', 'B', 'B', 'C'};
    for (int i = 0; i < 20000; ++i) skew += static_cast<char>(random() % 3 ? common[random() % 7] : random());
    return {{"TEXT.TXT", text}, {"NOISE.BIN", noise}, {"RUNS.BIN", runs}, {"SKEW.BIN", skew}, {"A.TXT", "a\n"}};
}

struct Case {
    const char* title;
    const char* tool;
    std::string make;       // run in the scratch folder, with the sources in src/
    std::string reference;  // run in reference/
};

class LegacyMade : public ::testing::TestWithParam<Case> {};

TEST_P(LegacyMade, ExpandLikeThePeer) {
    const Case& c = GetParam();
    if (!have(c.tool)) GTEST_SKIP() << c.tool << " is not installed";
    test::Scratch scratch;
    for (const auto& [name, bytes] : sources()) writeFile(scratch.path() / "src" / name, bytes);
    Ran made = run("cd src && " + c.make + " >/dev/null", scratch.path());
    ASSERT_TRUE(fs::exists(scratch.path() / "src/made")) << c.make << "\n" << made.out << made.err;
    fs::create_directories(scratch.path() / "reference");
    run("cd reference && " + c.reference + " >/dev/null", scratch.path());
    const auto expected = tree(scratch.path() / "reference");
    ASSERT_EQ(expected.size(), sources().size());

    fs::create_directories(scratch.path() / "tool");
    Ran tool = run(kTool + " expand -q src/made tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tree(scratch.path() / "tool"), expected);
}

const std::string kFiles = " TEXT.TXT NOISE.BIN RUNS.BIN SKEW.BIN A.TXT";

INSTANTIATE_TEST_SUITE_P(Made, LegacyMade,
                         ::testing::Values(Case{"lhaDefault", "lha", "lha a made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaLh5", "lha", "lha ao5 made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaLh6", "lha", "lha ao6 made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaLh7", "lha", "lha ao7 made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaStored", "lha", "lha az made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaLevel0", "lha", "lha a0 made" + kFiles, "lha xq ../src/made"},
                                           Case{"lhaLevel2", "lha", "lha a2 made" + kFiles, "lha xq ../src/made"},
                                           Case{"arcDefault", "arc", "arc a made.arc" + kFiles + " && mv made.arc made",
                                                "arc x ../src/made"},
                                           Case{"arcSquash", "arc", "arc aq made.arc" + kFiles + " && mv made.arc made",
                                                "arc x ../src/made"},
                                           Case{"arcStored", "arc", "arc as made.arc" + kFiles + " && mv made.arc made",
                                                "arc x ../src/made"}),
                         [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.title); });

// ARC's first crunching as arc 4 encoded it: twelve-bit codes, two in three
// bytes, each new string placed where a hash of its prefix and last byte
// points, or past the end of that hash's chain (101 on, then the first free).
std::string oldCrunch(const std::string& data, bool fast) {
    constexpr int none = 0xFFFF;
    std::vector<int> next(4096), used(4096);
    std::map<std::pair<int, int>, int> codes;
    int left = 4096;
    auto add = [&](int prefix, int last) {
        if (left == 0) return;
        --left;
        const uint32_t key = uint32_t(prefix + last) & 0xFFFF, k = key | 0x800;
        int at = static_cast<int>(fast ? key * 15073u & 0xFFF : k * k >> 6 & 0xFFF);
        if (used[at]) {
            while (next[at]) at = next[at];
            int free = (at + 101) & 0xFFF;
            while (used[free]) free = (free + 1) % 4096;
            next[at] = free;
            at = free;
        }
        used[at] = 1;
        codes[{prefix, last}] = at;
    };
    for (int c = 0; c < 256; ++c) add(none, c);
    std::vector<int> out;
    int w = -1;
    for (const unsigned char c : data) {
        const auto found = codes.find({w < 0 ? none : w, c});
        if (w >= 0 && found == codes.end()) {
            out.push_back(w);
            add(w, c);
            w = codes[{none, c}];
        } else {
            w = found->second;
        }
    }
    if (w >= 0) out.push_back(w);
    std::string bytes;
    for (size_t i = 0; i < out.size(); i += 2) {
        const int a = out[i], b = i + 1 < out.size() ? out[i + 1] : 0;
        bytes += static_cast<char>(a >> 4);
        bytes += static_cast<char>((a & 0xF) << 4 | b >> 8);
        if (i + 1 < out.size()) bytes += static_cast<char>(b & 0xFF);
    }
    return bytes;
}

// ARC's packing at its plainest: the marker byte written as "0x90 0" and
// every other byte as it is.
std::string pack(const std::string& data) {
    std::string out;
    for (char c : data) out += static_cast<unsigned char>(c) == 0x90 ? std::string("\x90\x00", 2) : std::string(1, c);
    return out;
}

TEST(LegacyFormats, FirstCrunchingReadsAsArcReadsIt) {
    if (!have("arc")) GTEST_SKIP() << "arc is not installed";
    test::Scratch scratch;
    std::string archive;
    std::map<std::string, std::string> expected;
    for (const auto& [name, bytes] : sources()) {
        const std::string base = name.substr(0, name.find('.'));
        for (int method : {5, 6, 7}) {
            const std::string entry = base.substr(0, 6) + "." + std::to_string(method);
            const std::string input = method == 5 ? bytes : pack(bytes);
            archive += test::arc::entry(method, entry, bytes, oldCrunch(input, method == 7));
            expected[entry] = bytes;
        }
    }
    writeFile(scratch.path() / "old.arc", archive + std::string("\x1A\x00", 2));
    fs::create_directories(scratch.path() / "reference");
    fs::create_directories(scratch.path() / "tool");
    run("cd reference && arc x ../old.arc", scratch.path());
    ASSERT_EQ(tree(scratch.path() / "reference"), expected);
    Ran tool = run(kTool + " expand -q old.arc tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tree(scratch.path() / "tool"), expected);
}

// lha packs 16 MiB of zeros into some 1,100 bytes: the tool refuses that
// item with the guard's text, expands the one beside it and says how to lift
// the guard; the plug-in fails with the text.
TEST(LegacyFormats, AnLhaBombIsRefusedAndTheRestExpands) {
    if (!have("lha")) GTEST_SKIP() << "lha is not installed";
    test::Scratch scratch;
    writeFile(scratch.path() / "src/small.txt", "beside the bomb\n");
    writeFile(scratch.path() / "src/zeros", std::string(16 << 20, '\0'));
    ASSERT_EQ(run("cd src && lha aq ../bomb.lzh small.txt zeros", scratch.path()).status, 0);
    ASSERT_LT(fs::file_size(scratch.path() / "bomb.lzh"), (16u << 20) / 1000);

    const std::string refusal =
        "data expands to more than 1000 times its compressed size; refused as a possible decompression bomb";
    Ran tool = run(kTool + " expand -q bomb.lzh tool", scratch.path());
    EXPECT_EQ(tool.status, 1);
    EXPECT_EQ(tool.err, "cratewerk: bomb.lzh: " + refusal +
                            ": zeros\ncratewerk: --max-ratio=0 expands what the guard refused "
                            "(--max-ratio=N allows N:1)\n");
    EXPECT_EQ(tree(scratch.path() / "tool"), (std::map<std::string, std::string>{{"small.txt", "beside the bomb\n"}}));

    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote((scratch.path() / "bomb.lzh").string() + "|" + (scratch.path() / "host").string() + "|"),
                     scratch.path());
    EXPECT_EQ(plugin.out, "-1|" + refusal + "|\n");

    Ran lifted = run(kTool + " expand -q --max-ratio=0 bomb.lzh lifted", scratch.path());
    EXPECT_EQ(lifted.status, 0) << lifted.err;
    EXPECT_EQ(fs::file_size(scratch.path() / "lifted/zeros"), 16u << 20);
}

// The peer archives through both front ends give the same files; the
// plug-in answers the folder it made.
TEST(LegacyFormats, PeerArchivesThroughTheToolAndThePlugIn) {
    for (const char* name : {"libarchive-rar.rar", "libarchive-rar_unicode.rar", "libarchive-rar_filter.rar",
                             "libarchive-lha_lh7.lzh", "libarchive-lha_filename_utf16.lzh", "bla.lha", "methods.arc"}) {
        test::Scratch scratch;
        fs::create_directories(scratch.path() / "tool");
        fs::create_directories(scratch.path() / "host");
        Ran tool = run(kTool + " expand -q " + quote(kData + name) + " tool", scratch.path());
        EXPECT_EQ(tool.status, 0) << name << tool.err;
        Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                             quote(kData + name + "|" + (scratch.path() / "host").string() + "|"),
                         scratch.path());
        EXPECT_EQ(plugin.status, 0) << name << plugin.out << plugin.err;
        EXPECT_EQ(plugin.out.rfind((scratch.path() / "host").string(), 0), 0u) << name << plugin.out;
        const auto expanded = tree(scratch.path() / "tool");
        EXPECT_FALSE(expanded.empty()) << name;
        EXPECT_EQ(tree(scratch.path() / "host"), expanded) << name;
    }
}

}  // namespace
