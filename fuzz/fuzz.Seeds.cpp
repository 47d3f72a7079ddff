// Writes the seed corpora of the fuzz targets: tkt5 archives made by the
// tests' builder, ISP, Arsenic and LZW streams made by our compressors, gzip
// and bzip2 streams made by zlib and libbz2, the archives of the test data,
// the raw streams of the Zip members for the Inflate and legacy Zip targets,
// and those of the ARJ and ARC members for their method targets.
//
//   cratewerk_fuzz_seeds OUTPUT-FOLDER TEST-DATA-FOLDER

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <bzlib.h>
#include <zlib.h>

#include "algorithm/lzw/lzw.Decompressor.h"
#include "format/tar/tar.Header.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "support/tkt5.Builder.h"

namespace fs = std::filesystem;
using test::tkt5::Builder;
using test::tkt5::Item;

namespace {

fs::path out;
std::map<std::string, int> counts;

void seed(const std::string& target, const std::string& bytes) {
    fs::create_directories(out / target);
    std::ofstream(out / target / ("seed-" + std::to_string(counts[target]++)), std::ios::binary) << bytes;
}

std::string slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

uint32_t le(const std::string& s, size_t at, int n) {
    uint32_t v = 0;
    for (int i = n - 1; i >= 0; --i) v = v << 8 | uint8_t(s[at + i]);
    return v;
}

// The streams of an ARJ archive's members, each behind the option bytes of
// the ARJ method target (method 4 or another, the count).
void arjMembers(const std::string& arj) {
    size_t at = 0;
    for (bool main = true; at + 4 <= arj.size(); main = false) {
        const size_t basic = le(arj, at + 2, 2);
        if (basic == 0 || at + 4 + basic + 6 > arj.size()) return;
        const size_t head = at + 4;
        size_t next = head + basic + 4;
        for (size_t length; next + 2 <= arj.size() && (length = le(arj, next, 2)) != 0;) next += 2 + length + 4;
        next += 2;
        if (main) {
            at = next;
            continue;
        }
        const uint32_t flags = uint8_t(arj[head + 4]), method = uint8_t(arj[head + 5]);
        const uint32_t packed = le(arj, head + 12, 4), expanded = le(arj, head + 16, 4);
        if (next + packed > arj.size()) return;
        if (method >= 1 && method <= 4 && !(flags & 1)) {
            std::string options(1, char(method == 4 ? 1 : 0));
            for (int shift = 16; shift >= 0; shift -= 8) options += char(expanded >> shift & 0xFF);
            seed("arjmethods", options + arj.substr(next, packed));
        }
        at = next + packed;
    }
}

std::string text() {
    std::string t;
    for (int i = 0; i < 40; ++i) t += "Line " + std::to_string(i) + " of some text to pack, again and again.\r\n";
    return t;
}

// The streams of a Zip archive's members, each behind the option bytes of
// the legacy targets (the counted form, the method's flags, the count).
void zipMembers(const std::string& zip) {
    for (size_t at = zip.find("PK\x03\x04"); at != std::string::npos && at + 30 <= zip.size();
         at = zip.find("PK\x03\x04", at + 4)) {
        const uint32_t flags = le(zip, at + 6, 2), method = le(zip, at + 8, 2);
        const uint32_t packed = le(zip, at + 18, 4), expanded = le(zip, at + 22, 4);
        const size_t data = at + 30 + le(zip, at + 26, 2) + le(zip, at + 28, 2);
        if (packed == 0 || data + packed > zip.size() || (flags & 1)) continue;
        const std::string stream = zip.substr(data, packed);
        const uint32_t count = expanded > 0xFFFFFF ? 0xFFFFFF : expanded;
        auto legacy = [&](uint8_t options) {
            return std::string{char(options | 1), char(count >> 16), char(count >> 8), char(count)} + stream;
        };
        if (method == 8) seed("inflate", stream);
        if (method == 1) seed("shrink", legacy(0));
        if (method >= 2 && method <= 5) seed("reduce", legacy(uint8_t((method - 2) << 1)));
        if (method == 6) seed("implode", legacy(uint8_t((flags & 4 ? 2 : 0) | (flags & 2 ? 4 : 0))));
    }
}

std::string lzw(const std::string& plain, int bits) {
    stream::ArrayInput in(plain.data(), uint32_t(plain.size()));
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    algorithm::lzw::Compressor(bits).process(in, out);
    return std::string(bytes.begin(), bytes.end());
}

// A gzip member with a stored name, as gzip writes it.
std::string gzip(const std::string& plain, const char* name) {
    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
    gz_header header{};
    header.name = reinterpret_cast<Bytef*>(const_cast<char*>(name));
    header.time = 1200000000;
    if (name != nullptr) deflateSetHeader(&z, &header);
    std::string packed(deflateBound(&z, uLong(plain.size())) + 64, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
    z.avail_in = uInt(plain.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = uInt(packed.size());
    deflate(&z, Z_FINISH);
    packed.resize(z.total_out);
    deflateEnd(&z);
    return packed;
}

std::string bzip2(const std::string& plain) {
    std::string packed(plain.size() + plain.size() / 100 + 700, '\0');
    unsigned int length = unsigned(packed.size());
    BZ2_bzBuffToBuffCompress(packed.data(), &length, const_cast<char*>(plain.data()), unsigned(plain.size()), 1, 0, 0);
    packed.resize(length);
    return packed;
}

// A ustar archive of a file and a folder, padded and closed as tar does.
std::string tar(const std::string& plain) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    format::tar::Header folder;
    folder.name = "d/";
    folder.mode = 0755;
    folder.type = '5';
    folder.write(out);
    format::tar::Header file;
    file.name = "d/f.txt";
    file.mode = 0644;
    file.dataSize = plain.size();
    file.modified = 1200000000;
    file.type = '0';
    file.write(out);
    out.write(plain.data(), uint32_t(plain.size()));
    out.fill((512 - plain.size() % 512) % 512 + 1024, '\0');
    return std::string(bytes.begin(), bytes.end());
}

std::string record(uint8_t selector, const std::string& bytes, size_t at, size_t length) {
    return std::string(1, char(selector)) + bytes.substr(at, length);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s OUTPUT-FOLDER TEST-DATA-FOLDER\n", argv[0]);
        return 2;
    }
    out = argv[1];
    const fs::path data = argv[2];

    // Archives of the native format, with every method, kind of item and option.
    Item mac = Item::macFile("mac", text(), "resource fork", "TEXT", "ttxt", test::tkt5::isp);
    Item windows = Item::file("win", "windows item");
    windows.windows = true;
    windows.attributes = 0x21;
    Item macFolder = Item::dir("mac folder", {Item::file("inner", "x")});
    macFolder.mac = true;
    const std::vector<std::vector<Item>> trees = {
        {Item::file("a", "stored bytes")},
        {Item::file("isp", text(), test::tkt5::isp), Item::file("arsenic", text(), test::tkt5::arsenic)},
        {Item::dir("d", {Item::file("f", "in a folder"), Item::dir("e", {Item::file("g", "deeper")})})},
        {mac, windows, macFolder},
        {Item::file("../up", "hostile"), Item::file("CON.txt", "device"), Item::file("a\\b/c", "separators")},
    };
    for (const auto& tree : trees) {
        Builder builder;
        const std::string archive = builder.build(tree);
        seed("tkt5", archive + '\0');
        seed("classify", archive);
        seed("tkt5records", record(0x80, archive, 0, builder.headers.empty() ? 100 : builder.headers[0]));
        for (size_t i = 0; i < builder.headers.size(); ++i) {
            const size_t end = i + 1 < builder.headers.size() ? builder.headers[i + 1] : archive.size();
            seed("tkt5records", record(0x81, archive, builder.headers[i], end - builder.headers[i]));
        }
    }
    Builder locked;
    locked.password = "pw";
    seed("tkt5", locked.build({Item::file("secret", text(), test::tkt5::isp), mac}) + '\x12');
    Builder prefixed;
    prefixed.prefix = std::string(200, 'p');
    seed("tkt5", prefixed.build({Item::file("after", "a prefix")}) + '\x26');

    // Raw streams of our own methods.
    for (const std::string& plain : {std::string(), std::string("a"), text(), std::string(5000, 'z')}) {
        seed("isp", test::tkt5::compress(plain, test::tkt5::isp, false));
        seed("isp", test::tkt5::compress(plain, test::tkt5::isp, true));
        seed("arsenic", test::tkt5::compress(plain, test::tkt5::arsenic, false));
    }

    // MacBinary and BinHex files of the test data.
    if (fs::is_directory(data / "macfile"))
        for (const auto& entry : fs::directory_iterator(data / "macfile")) {
            const std::string bytes = slurp(entry.path());
            seed(entry.path().extension() == ".bin" ? "bin" : "hqx", bytes + '\0');
            seed("classify", bytes);
        }

    // The single-stream formats and tar, made by code and by their real programs.
    for (const std::string& plain : {std::string("a"), text(), tar(text())}) {
        for (int bits : {9, 12, 16}) {
            seed("lzw", lzw(plain, bits));
            seed("compress", lzw(plain, bits) + '\0');
        }
        seed("gz", gzip(plain, "named.txt") + '\0');
        seed("gz", gzip(plain, nullptr) + '\x12');
        seed("bz2", bzip2(plain) + '\0');
    }
    seed("tar", tar(text()) + '\0');
    seed("tar", tar(std::string()) + '\x12');

    // The archives of the test data, and the streams inside the Zip archives.
    for (const char* folder : {"zip", "classify", "cli"}) {
        if (!fs::is_directory(data / folder)) continue;
        for (const auto& entry : fs::directory_iterator(data / folder)) {
            const std::string bytes = slurp(entry.path());
            if (bytes.size() > 65536) continue;
            seed("classify", bytes);
            if (bytes.size() >= 3 && bytes.compare(0, 2, "\x1f\x8b") == 0) seed("gz", bytes);
            if (bytes.size() >= 3 && bytes.compare(0, 3, "BZh") == 0) seed("bz2", bytes);
            if (bytes.size() >= 3 && bytes.compare(0, 2, "\x1f\x9d") == 0) {
                seed("compress", bytes);
                seed("lzw", bytes);
            }
            if (bytes.size() >= 512 && bytes.compare(257, 5, "ustar") == 0) seed("tar", bytes);
            if (bytes.size() >= 4 && bytes.compare(0, 2, "PK") == 0) {
                seed("zip", bytes);
                zipMembers(bytes);
                seed("ziprecords", record(0x80, bytes, 0, 46));
                const size_t central = bytes.find("PK\x01\x02");
                if (central != std::string::npos) seed("ziprecords", record(0x81, bytes, central, 128));
                const size_t end = bytes.rfind("PK\x05\x06");
                if (end != std::string::npos) seed("ziprecords", record(0x82, bytes, end, 64));
            }
        }
    }
    // The RAR, LHA and ARC archives, and the data of each ARC entry behind
    // the option byte that picks its method.
    if (fs::is_directory(data / "legacy")) {
        for (const auto& entry : fs::directory_iterator(data / "legacy")) {
            const std::string bytes = slurp(entry.path());
            const std::string suffix = entry.path().extension().string();
            if (bytes.size() > 65536) continue;
            if (suffix == ".rar") seed("rar", bytes);
            if (suffix == ".lzh" || suffix == ".lha") seed("lha", bytes);
            if (suffix != ".arc") continue;
            seed("arc", bytes);
            // Headers are 29 bytes, 25 for method 1, which has no expanded size.
            for (size_t at = 0; at + 29 <= bytes.size() && bytes[at] == 0x1A && bytes[at + 1] > 1;) {
                const int method = bytes[at + 1];
                const uint32_t packed = le(bytes, at + 15, 4);
                if (at + 29 + packed > bytes.size()) break;
                const uint32_t expanded = le(bytes, at + 25, 4);
                std::string counted(1, static_cast<char>((method - 3) << 1));
                counted += static_cast<char>(expanded >> 16);
                counted += static_cast<char>(expanded >> 8);
                counted += static_cast<char>(expanded);
                if (method >= 3 && method <= 9) seed("arcmethods", counted + bytes.substr(at + 29, packed));
                at += 29 + packed;
            }
        }
    }
    for (const char* folder : {"arj", "classify"}) {
        if (!fs::is_directory(data / folder)) continue;
        for (const auto& entry : fs::directory_iterator(data / folder)) {
            const std::string bytes = slurp(entry.path());
            if (bytes.size() < 4 || bytes.compare(0, 2, "\x60\xEA") != 0) continue;
            seed("arj", bytes + '\0');
            arjMembers(bytes);
        }
    }
    // The text encodings' samples, by their suffix.
    if (fs::is_directory(data / "text")) {
        for (const auto& entry : fs::directory_iterator(data / "text")) {
            const std::string suffix = entry.path().extension().string();
            const std::string target = suffix == ".eml"    ? "mime"
                                       : suffix == ".btoa" ? "btoa"
                                       : suffix == ".uu"   ? "uu"
                                                           : "";
            if (target.empty()) continue;
            seed(target, slurp(entry.path()));
            seed("classify", slurp(entry.path()));
        }
    }
    for (const auto& [target, count] : counts) std::printf("%s: %d seeds\n", target.c_str(), count);
    return 0;
}
