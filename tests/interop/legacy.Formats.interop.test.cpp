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
#include "stream/check/crc.CRC.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using interop::have;
using interop::quote;
using interop::Ran;
using interop::readFile;
using interop::run;
using interop::writeFile;

const std::string kTool = quote(CRATEWERK_PROGRAM);
const std::string kData = std::string(CRATEWERK_SOURCE_DIR) + "/tests/data/legacy/";

// Every item below `root`: files with their bytes, links with their target.
std::map<std::string, std::string> tree(const fs::path& root) {
    std::map<std::string, std::string> items;
    if (!fs::exists(root)) return items;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        const std::string relative = item.path().lexically_relative(root).generic_string();
        if (item.is_symlink())
            items[relative] = "-> " + fs::read_symlink(item.path()).string();
        else if (item.is_regular_file())
            items[relative] = readFile(item.path());
    }
    return items;
}

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

// ARC's first crunching, encoded as arc 4 did: twelve-bit codes whose table
// places each string by a hash of its prefix and last byte.
class OldCrunch {
public:
    explicit OldCrunch(bool fast) : fast_(fast), table_(4096) {
        for (int c = 0; c < 256; ++c) add(noPrefix, c);
    }

    std::string encode(const std::string& data) {
        std::vector<int> codes;
        if (!data.empty()) {
            int w = find(noPrefix, static_cast<unsigned char>(data[0]));
            for (size_t i = 1; i < data.size(); ++i) {
                const int c = static_cast<unsigned char>(data[i]);
                const int wc = find(w, c);
                if (wc >= 0) {
                    w = wc;
                    continue;
                }
                codes.push_back(w);
                add(w, c);
                w = find(noPrefix, c);
            }
            codes.push_back(w);
        }
        std::string out;
        for (size_t i = 0; i < codes.size(); i += 2) {
            const int a = codes[i], b = i + 1 < codes.size() ? codes[i + 1] : -1;
            out += static_cast<char>(a >> 4);
            out += static_cast<char>((a & 0xF) << 4 | (b < 0 ? 0 : b >> 8));
            if (b >= 0) out += static_cast<char>(b & 0xFF);
        }
        return out;
    }

private:
    static constexpr int noPrefix = 0xFFFF;
    struct Slot {
        bool used = false;
        int next = 0, prefix = 0, last = 0;
    };

    int hash(int prefix, int last) const {
        const uint32_t key = uint32_t(prefix + last) & 0xFFFF;
        if (fast_) return static_cast<int>((key * 15073u) & 0xFFF);
        const uint32_t k = key | 0x800;
        return static_cast<int>((k * k >> 6) & 0xFFF);
    }
    int find(int prefix, int last) const {
        for (int at = hash(prefix, last);; at = table_[at].next) {
            if (table_[at].used && table_[at].prefix == prefix && table_[at].last == last) return at;
            if (!table_[at].used || table_[at].next == 0) return -1;
        }
    }
    void add(int prefix, int last) {
        if (left_ == 0) return;
        --left_;
        int at = hash(prefix, last);
        if (table_[at].used) {
            while (table_[at].next) at = table_[at].next;
            int free = (at + 101) & 0xFFF;
            while (table_[free].used) free = (free + 1) % 4096;
            table_[at].next = free;
            at = free;
        }
        table_[at] = Slot{true, 0, prefix, last};
    }

    bool fast_;
    std::vector<Slot> table_;
    int left_ = 4096;
};

// ARC's run-length packing: "c 0x90 n" for runs, "0x90 0" for the marker.
std::string pack(const std::string& data) {
    std::string out;
    for (size_t i = 0; i < data.size();) {
        size_t n = 1;
        while (i + n < data.size() && data[i + n] == data[i] && n < 255) ++n;
        if (static_cast<unsigned char>(data[i]) == 0x90) {
            out += std::string("\x90\x00", 2);
            ++i;
            continue;
        }
        out += data[i];
        if (n >= 3) {
            out += '\x90';
            out += static_cast<char>(n);
            i += n;
        } else {
            ++i;
        }
    }
    return out;
}

std::string arcEntry(int method, const std::string& name, const std::string& data, const std::string& stored) {
    algorithm::crc::BisyncCRC crc;
    crc.update(data.data(), static_cast<uint32_t>(data.size()));
    std::string b = "\x1A";
    b += static_cast<char>(method);
    std::string field = name;
    field.resize(13, '\0');
    b += field;
    auto le = [&](uint32_t v, int n) {
        for (int i = 0; i < n; ++i) b += static_cast<char>(v >> (8 * i));
    };
    le(static_cast<uint32_t>(stored.size()), 4);
    le(0x5A21, 2);
    le(0x6000, 2);
    le(crc.value(), 2);
    le(static_cast<uint32_t>(data.size()), 4);
    return b + stored;
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
            archive += arcEntry(method, entry, bytes, OldCrunch(method == 7).encode(input));
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
