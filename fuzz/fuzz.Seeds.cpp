// Writes the seed corpora of the fuzz targets: tkt5 archives made by the
// tests' builder, ISP and Arsenic streams made by our compressors, the Zip
// archives of the test data, and the raw streams of their members for the
// Inflate and legacy Zip targets.
//
//   cratewerk_fuzz_seeds OUTPUT-FOLDER TEST-DATA-FOLDER

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

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

    // The archives of the test data, and the streams inside the Zip archives.
    for (const char* folder : {"zip", "classify", "cli"}) {
        if (!fs::is_directory(data / folder)) continue;
        for (const auto& entry : fs::directory_iterator(data / folder)) {
            const std::string bytes = slurp(entry.path());
            if (bytes.size() > 65536) continue;
            seed("classify", bytes);
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
