// Archives made by real programs, at test time and from the peer collection,
// classify to their format at the right offset.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/engine5.MultiClassifier.h"
#include "format/format.Classifier.h"
#include "format/format.Number.h"

#include "interop.Shell.h"
#include "support/scratch.h"

namespace {

namespace n = format::number;

struct Found {
    int format;
    unsigned offset;
    bool encrypted;
};

std::vector<char> readAll(const std::string& path) {
    const std::string bytes = interop::readFile(path);
    return std::vector<char>(bytes.begin(), bytes.end());
}

Found classify(std::vector<char> block) {
    if (block.size() > 65536) block.resize(65536);
    auto all = engine5::makeClassifiers();
    format::MultiClassifier multi;
    for (auto& one : all) multi.add(one.get());
    multi.classify(block.data(), static_cast<unsigned>(block.size()));
    if (!multi.winner) return {0, multi.offset, false};
    return {multi.winner->format, multi.offset, multi.winner->encrypted.isSet() && multi.winner->encrypted()};
}

struct Made {
    const char* name;
    const char* program;
    const char* command;  // makes "out" from a.txt
    int format;
    unsigned offset;
    bool encrypted;
};

class MadeByPeer : public testing::TestWithParam<Made> {};

TEST_P(MadeByPeer, Classifies) {
    const Made& made = GetParam();
    if (!interop::have(made.program)) GTEST_SKIP() << made.program << " is not installed";
    test::Scratch scratch;
    std::string text;
    for (int i = 0; i < 200; ++i) text += "line " + std::to_string(i) + " of a small text to archive\n";
    scratch.write("a.txt", text);
    ASSERT_EQ(interop::run(made.command, scratch.path()).status, 0) << made.command;
    Found found = classify(readAll(scratch.path("out")));
    EXPECT_EQ(found.format, made.format) << format::name(found.format);
    EXPECT_EQ(found.offset, made.offset);
    EXPECT_EQ(found.encrypted, made.encrypted);
}

INSTANTIATE_TEST_SUITE_P(
    Programs, MadeByPeer,
    testing::Values(Made{"zip", "zip", "zip -q out.zip a.txt && mv out.zip out", n::zip, 0, false},
                    Made{"zip_password", "zip", "zip -q -P secret out.zip a.txt && mv out.zip out", n::zip, 0, true},
                    Made{"zip_stored", "zip", "zip -q -0 out.zip a.txt && mv out.zip out", n::zip, 0, false},
                    Made{"zip_self_extracting", "zip",
                         "head -c 4000 /dev/zero | tr '\\0' 'M' > out && zip -q s.zip a.txt && cat s.zip >> out && "
                         "zip -q -A out",
                         n::zip, 4000, false},
                    Made{"gzip", "gzip", "gzip -c a.txt > out", n::gz, 0, false},
                    Made{"bzip2", "bzip2", "bzip2 -c a.txt > out", n::bz2, 0, false},
                    Made{"bzip2_level1", "bzip2", "bzip2 -1 -c a.txt > out", n::bz2, 0, false},
                    Made{"compress", "compress", "compress -c a.txt > out", n::compress, 0, false},
                    Made{"tar_gnu", "tar", "tar --format=gnu -cf out a.txt", n::tar, 0, false},
                    Made{"tar_ustar", "tar", "tar --format=ustar -cf out a.txt", n::tar, 0, false},
                    Made{"tar_v7", "tar", "tar --format=v7 -cf out a.txt", n::tar, 0, false},
                    Made{"tar_pax", "tar", "tar --format=pax -cf out a.txt", n::tar, 0, false},
                    Made{"uuencode", "uuencode", "uuencode a.txt a.txt > out", n::uu, 0, false},
                    Made{"uuencode_in_mail", "uuencode",
                         "printf 'From: someone\\nSubject: file\\n\\n' > out && uuencode a.txt a.txt >> out", n::uu, 29,
                         false},
                    Made{"arj", "arj", "arj a out.arj a.txt && mv out.arj out", n::arj, 0, false},
                    Made{"lha", "lha", "lha aq out.lzh a.txt && mv out.lzh out", n::lha, 0, false},
                    Made{"lha_level0", "lha", "lha aq0 out.lzh a.txt && mv out.lzh out", n::lha, 0, false},
                    Made{"lha_level1", "lha", "lha aq1 out.lzh a.txt && mv out.lzh out", n::lha, 0, false},
                    Made{"arc", "arc", "arc a out.arc a.txt && mv out.arc out", n::arc, 0, false}),
    [](const testing::TestParamInfo<Made>& info) { return std::string(info.param.name); });

struct Peer {
    const char* file;
    int format;
    unsigned offset;
    bool encrypted;
};

class PeerArchive : public testing::TestWithParam<Peer> {};

TEST_P(PeerArchive, Classifies) {
    const Peer& peer = GetParam();
    std::vector<char> bytes = readAll(std::string(CRATEWERK_TEST_DATA) + "/classify/" + peer.file);
    ASSERT_FALSE(bytes.empty()) << peer.file;
    Found found = classify(bytes);
    EXPECT_EQ(found.format, peer.format) << format::name(found.format);
    EXPECT_EQ(found.offset, peer.offset);
    EXPECT_EQ(found.encrypted, peer.encrypted);
}

INSTANTIATE_TEST_SUITE_P(Collection, PeerArchive,
                         testing::Values(Peer{"bla.arj", n::arj, 0, false}, Peer{"bla.unix.arj", n::arj, 0, false},
                                         Peer{"bla.lha", n::lha, 0, false}, Peer{"bla.tgz", n::gz, 0, false},
                                         Peer{"bla.tar.bz2", n::bz2, 0, false},
                                         Peer{"bla.tar.Z", n::compress, 0, false}, Peer{"bla.zip", n::zip, 0, false},
                                         Peer{"password-encrypted.zip", n::zip, 0, true},
                                         Peer{"bla.tar", n::tar, 0, false}, Peer{"test-times-v7.tar", n::tar, 0, false},
                                         Peer{"test-times-gnu.tar", n::tar, 0, false},
                                         Peer{"test-times-pax-folder.tar", n::tar, 0, false},
                                         // An empty Zip whose end record carries a comment is not taken for a Zip.
                                         Peer{"zip2-comment_garbage.zip", 0, 0, false}),
                         [](const testing::TestParamInfo<Peer>& info) {
                             std::string name = info.param.file;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
