#include "fuzz/fuzz.Targets.h"

#include <cstdio>
#include <cstdlib>
#ifndef _WIN32
#include <dirent.h>
#endif
#include <filesystem>
#include <functional>
#include <memory>
#include <random>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/arc/arc.Crunch567Decompressor.h"
#include "algorithm/arc/arc.CrunchDecompressor.h"
#include "algorithm/arc/arc.SqueezeDecompressor.h"
#include "algorithm/arj/arj.FastDecompressor.h"
#include "algorithm/arj/arj.GoodDecompressor.h"
#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "algorithm/deflate/deflate.Decompressor.h"
#include "algorithm/isp/isp.Decompressor.h"
#include "algorithm/lzw/lzw.Decompressor.h"
#include "algorithm/zip/zip.ImplodeDecompressor.h"
#include "algorithm/zip/zip.ReduceDecompressor.h"
#include "algorithm/zip/zip.ShrinkDecompressor.h"
#include "algorithm/zipcrypt.Cipher.h"
#include "engine/t5.Reader.h"
#include "format/format.Number.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tkt5/tkt5.ItemHeader.h"
#include "format/tkt5/tkt5.MacHeader.h"
#include "format/tkt5/tkt5.PlatformHeader.h"
#include "format/tkt5/tkt5.TypeInfo.h"
#include "format/zip/zip.CentralHeader.h"
#include "format/zip/zip.EncryptionHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.ExtendedHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "stream/stream.Array.h"
#include "stream/stream.Transform.h"
#include "stream/stream.Vector.h"
#include "support/files.h"
#include "un/un.exception.h"

namespace fs = std::filesystem;

namespace fuzz {

namespace {

// Counts what a decoder writes and keeps none of it.
class CappedOutput : public stream::Output {
public:
    using stream::Output::write;
    void write(char) override { grow(1); }
    void write(const char*, uint32_t count) override { grow(count); }
    void fill(uint64_t count, char) override { grow(count); }
    uint64_t tell() const override { return written_; }

private:
    void grow(uint64_t count) {
        written_ += count;
        if (written_ > Limits::output) throw Finding("a decoder wrote more than the output limit");
    }
    uint64_t written_ = 0;
};

int decode(stream::Transform& transform, const uint8_t* data, size_t size) {
    stream::ArrayInput in(reinterpret_cast<const char*>(data), uint32_t(size));
    CappedOutput out;
    try {
        transform.begin();
        transform.process(in, out);
        transform.end();
    } catch (const un::exception&) {
    }
    return 0;
}

// The legacy Zip methods have no end mark. The first byte picks the options
// (bit 0: the counted form, bits 1 and 2: the method's flags), the next three
// the count of the counted form; the rest is the stream.
int decodeLegacy(const std::function<std::unique_ptr<stream::Transform>(uint8_t)>& make, const uint8_t* data,
                 size_t size) {
    if (size < 4) return 0;
    const uint8_t options = data[0];
    const uint64_t count = uint64_t(data[1]) << 16 | uint64_t(data[2]) << 8 | data[3];
    std::unique_ptr<stream::Transform> transform = make(options);
    stream::ArrayInput in(reinterpret_cast<const char*>(data + 4), uint32_t(size - 4));
    CappedOutput out;
    try {
        if (options & 1) {
            if (transform->process(in, out, count) > count) throw Finding("the counted form wrote past its count");
        } else {
            transform->process(in, out);
        }
    } catch (const un::exception&) {
    }
    return 0;
}

int inflate(const uint8_t* data, size_t size) {
    algorithm::deflate::Decompressor decompressor;
    return decode(decompressor, data, size);
}

int isp(const uint8_t* data, size_t size) {
    algorithm::isp::Decompressor decompressor;
    return decode(decompressor, data, size);
}

// A few bytes of Arsenic can fill a block of 16 MB with one byte, and such
// inputs took the harness down to twenty runs a second. Its blocks stop at
// 128 KB: past the size where the chain walk interleaves, so every path of
// the decoder is still reached, at block sizes that take milliseconds.
class CappedArsenic final : public algorithm::arsenic::FastDecompressor {
protected:
    void grown() override {
        if (room > blockCap) throw algorithm::Exception("a block beyond the harness's cap", "fuzz");
        FastDecompressor::grown();
    }

private:
    static constexpr uint32_t blockCap = uint32_t(1) << 17;
};

int arsenic(const uint8_t* data, size_t size) {
    CappedArsenic decompressor;
    return decode(decompressor, data, size);
}

int lzw(const uint8_t* data, size_t size) {
    algorithm::lzw::Decompressor decompressor;
    return decode(decompressor, data, size);
}

int shrink(const uint8_t* data, size_t size) {
    return decodeLegacy([](uint8_t) { return std::make_unique<algorithm::zip::ShrinkDecompressor>(); }, data, size);
}

int reduce(const uint8_t* data, size_t size) {
    return decodeLegacy(
        [](uint8_t options) { return std::make_unique<algorithm::zip::ReduceDecompressor>(1 + (options >> 1 & 3)); },
        data, size);
}

int implode(const uint8_t* data, size_t size) {
    return decodeLegacy(
        [](uint8_t options) {
            return std::make_unique<algorithm::zip::ImplodeDecompressor>((options & 2) != 0, (options & 4) != 0);
        },
        data, size);
}

// ARC's methods: bits 1 to 3 of the first byte pick method 3 to 9 (the
// values above 6 mean 9). All but squeezing are counted; squeezing is
// followed by its unpacking, held to the count.
int arcmethods(const uint8_t* data, size_t size) {
    using namespace algorithm::arc;
    if (size < 4) return 0;
    const int pick = data[0] >> 1 & 7;
    const int method = pick > 6 ? 9 : 3 + pick;
    const uint64_t count = uint64_t(data[1]) << 16 | uint64_t(data[2]) << 8 | data[3];
    stream::ArrayInput in(reinterpret_cast<const char*>(data + 4), uint32_t(size - 4));
    CappedOutput out;
    try {
        uint64_t written = 0;
        if (method == 4) {
            BoundedOutput bounded(out, count);
            RunLengthOutput unpacked(bounded);
            try {
                SqueezeDecompressor().process(in, unpacked);
            } catch (const BoundedOutput::Full&) {
            }
            written = bounded.tell();
        } else if (method == 3) {
            written = RLEDecoder().process(in, out, count);
        } else if (method <= 7) {
            written = Crunch567Decompressor(method).process(in, out, count);
        } else if (method == 8) {
            written = CrunchDecompressor().process(in, out, count);
        } else {
            written = SquashDecompressor().process(in, out, count);
        }
        if (written > count || out.tell() > count) throw Finding("an ARC decoder wrote past its count");
    } catch (const un::exception&) {
    }
    return 0;
}

// The ARJ methods have no end mark and only the counted form. The first
// byte picks method 4 (bit 0) or methods 1 to 3, the next three the count;
// the rest is the stream.
int arjmethods(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const uint64_t count = uint64_t(data[1]) << 16 | uint64_t(data[2]) << 8 | data[3];
    std::unique_ptr<stream::Transform> transform;
    if (data[0] & 1)
        transform = std::make_unique<algorithm::arj::FastDecompressor>();
    else
        transform = std::make_unique<algorithm::arj::GoodDecompressor>();
    stream::ArrayInput in(reinterpret_cast<const char*>(data + 4), uint32_t(size - 4));
    CappedOutput out;
    try {
        if (transform->process(in, out, count) > count) throw Finding("the counted form wrote past its count");
    } catch (const un::exception&) {
    }
    return 0;
}

// The names in one folder, without "." and "..". On POSIX systems the folder
// stays open for the life of the process and each look reads it again from
// its start (rewinddir sees the folder as it is now): opening it anew on
// every run cost more than the rest of a run's checks.
class Listing {
public:
    explicit Listing(std::string folder) : folder_(std::move(folder)) { open(); }
    ~Listing() { close(); }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    std::vector<std::string> names() {
        std::vector<std::string> all;
#ifdef _WIN32
        for (const auto& entry : fs::directory_iterator(folder_)) all.push_back(entry.path().filename().string());
#else
        if (dir_ == nullptr) throw Finding("the folder " + folder_ + " cannot be read");
        rewinddir(dir_);
        while (const dirent* entry = readdir(dir_)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") all.push_back(name);
        }
#endif
        return all;
    }
    // After the folder was removed and made again.
    void reopen() {
        close();
        open();
    }

private:
#ifdef _WIN32
    void open() {}
    void close() {}
#else
    void open() { dir_ = opendir(folder_.c_str()); }
    void close() {
        if (dir_ != nullptr) closedir(dir_);
        dir_ = nullptr;
    }
    DIR* dir_ = nullptr;
#endif
    std::string folder_;
};

// The folder of a reader target's runs: the archive and the output folder
// side by side. It is made once per process (in memory where /dev/shm is)
// and only emptied after each run: a tree made and removed per run cost
// several system calls and a random device for runs that take a millisecond.
class Scratch {
public:
    Scratch() : folder_(shared()) {}
    ~Scratch() { empty(); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    // Written unbuffered, in one call: a file stream's buffer and locale cost
    // more than the write.
    const std::string& archive(const uint8_t* data, size_t size) const {
        std::FILE* file = std::fopen(folder_.archive.c_str(), "wb");
        if (file == nullptr) throw Finding("the archive " + folder_.archive + " cannot be written");
        std::setvbuf(file, nullptr, _IONBF, 0);
        const size_t written = size == 0 ? 0 : std::fwrite(data, 1, size, file);
        const bool closed = std::fclose(file) == 0;
        if (written != size || !closed) throw Finding("the archive " + folder_.archive + " cannot be written");
        return folder_.archive;
    }
    const std::string& out() const { return folder_.out; }

    // Nothing but the archive and the output folder may be beside each other,
    // and no temporary file may outlive its reader.
    void checkNothingOutside() const {
        std::vector<fs::path> strays;
        for (const std::string& name : folder_.rootListing.names())
            if (name != "archive" && name != "out" && name != "temp") strays.push_back(folder_.path / name);
        for (const std::string& name : folder_.tempListing.names()) strays.push_back(folder_.path / "temp" / name);
        if (strays.empty()) return;
        // Removed first, so that the runs after this finding start clean.
        std::error_code ignored;
        for (const fs::path& stray : strays) fs::remove_all(stray, ignored);
        throw Finding("a reader left a file outside its output folder: " + strays.front().string());
    }

private:
    // One folder per process, removed when the process ends normally. Its
    // folder "temp" takes the readers' temporary files (a stream's expansion,
    // a MIME part), which would otherwise go to the working folder on disk;
    // each run must leave it empty.
    struct Folder {
        Folder()
            : path(made()),
              archive((path / "archive").string()),
              out((path / "out").string()),
              rootListing(path.string()),
              tempListing((path / "temp").string()),
              outListing(out) {
            const std::string temp = (path / "temp").string();
#ifdef _WIN32
            _putenv_s("TEMP", temp.c_str());
#else
            setenv("TEMP", temp.c_str(), 1);
#endif
        }
        ~Folder() { test::removeTree(path.string()); }

        static fs::path made() {
            const fs::path base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
            const fs::path path = base / ("cratewerk-fuzz-" + std::to_string(std::random_device()()));
            fs::create_directories(path / "out");
            fs::create_directories(path / "temp");
            return path;
        }

        const fs::path path;
        const std::string archive, out;
        Listing rootListing, tempListing, outListing;
    };

    static Folder& shared() {
        static Folder folder;
        return folder;
    }

    // Removes what a run left in the output folder; an empty one, the usual
    // case, costs one look. A file or a link goes in one call, a folder (which
    // a run may have left without permissions) through removeTree; should
    // anything stay, the whole folder is removed and made again.
    void empty() const {
        const std::vector<std::string> left = folder_.outListing.names();
        if (left.empty()) return;
        for (const std::string& name : left) {
            const std::string path = (fs::path(folder_.out) / name).string();
            if (std::remove(path.c_str()) != 0) test::removeTree(path);
        }
        if (folder_.outListing.names().empty()) return;
        std::error_code ignored;
        test::removeTree(folder_.out);
        fs::create_directories(folder_.out, ignored);
        folder_.outListing.reopen();
    }

    Folder& folder_;
};

// The public reader, with a listener that ends a run which writes more than
// the output limit, and one that lists what the scan reports.
class Reader : public tuckett5::Reader,
               public tuckett5::event::ProgressSizeMoveListener,
               public tuckett5::event::FileInfoListener,
               public tuckett5::event::FolderInfoListener {
public:
    Reader() {
        add(static_cast<tuckett5::event::ProgressSizeMoveListener*>(this));
        add(static_cast<tuckett5::event::FileInfoListener*>(this));
        add(static_cast<tuckett5::event::FolderInfoListener*>(this));
    }
    bool progressSizeMoveEvent(uint32_t done) override { return done < Limits::output; }
    bool fileInfoEvent() override {
        listing.push_back(fileInfo.name);
        return true;
    }
    bool folderInfoEvent() override {
        listing.push_back(folderInfo.name);
        return true;
    }
    std::vector<std::string> listing;
};

// Options of the run from the archive's last byte, so that the fuzzer
// reaches the text conversion and the MacBinary output too.
void configure(Reader& reader, uint8_t options) {
    reader.textConversion(options & 3);
    reader.textLineEnding(1 + (options >> 2 & 3));
    reader.macBinaryOutput(options >> 4 & 3);
}

int expand(int format, const uint8_t* data, size_t size) {
    Scratch scratch;
    const std::string path = scratch.archive(data, size);
    {
        // The expansion, named as the format whatever the classifier would
        // say: the reader itself must stand every byte.
        Reader reader;
        if (size > 0) configure(reader, data[size - 1]);
        reader.outputFolder(scratch.out());
        reader.password = "pw";
        try {
            reader.open(path);
            reader.isClassified = true;
            reader.archiveInfo.format = format;
            reader.scan();
            reader.decode();
        } catch (const un::exception&) {
        }
        try {
            reader.close();
        } catch (const un::exception&) {
        }
    }
    {
        // The listing, as the command-line tool makes it: classified, scanned.
        Reader reader;
        try {
            reader.open(path);
            reader.scan();
        } catch (const un::exception&) {
        }
        try {
            reader.close();
        } catch (const un::exception&) {
        }
    }
    scratch.checkNothingOutside();
    return 0;
}

int tkt5(const uint8_t* data, size_t size) { return expand(format::number::tkt5, data, size); }
int zip(const uint8_t* data, size_t size) { return expand(format::number::zip, data, size); }
int arc(const uint8_t* data, size_t size) { return expand(format::number::arc, data, size); }
int lha(const uint8_t* data, size_t size) { return expand(format::number::lha, data, size); }
int rar(const uint8_t* data, size_t size) { return expand(format::number::rar, data, size); }
int arj(const uint8_t* data, size_t size) { return expand(format::number::arj, data, size); }
int bin(const uint8_t* data, size_t size) { return expand(format::number::bin, data, size); }
int hqx(const uint8_t* data, size_t size) { return expand(format::number::hqx, data, size); }
int gz(const uint8_t* data, size_t size) { return expand(format::number::gz, data, size); }
int bz2(const uint8_t* data, size_t size) { return expand(format::number::bz2, data, size); }
int compress(const uint8_t* data, size_t size) { return expand(format::number::compress, data, size); }
int tar(const uint8_t* data, size_t size) { return expand(format::number::tar, data, size); }
int uu(const uint8_t* data, size_t size) { return expand(format::number::uu, data, size); }
int btoa(const uint8_t* data, size_t size) { return expand(format::number::btoa, data, size); }
int mime(const uint8_t* data, size_t size) { return expand(format::number::mime, data, size); }

// Reads one record from the bytes, and writes back what was read: the
// written form must be as long as the record says it is.
void record(un::structure& header, uint32_t declared, const uint8_t* data, size_t size, bool strict) {
    stream::ArrayInput in(reinterpret_cast<const char*>(data), uint32_t(size));
    try {
        header.read(in, strict);
        if (!header.valid()) return;
        std::vector<char> bytes;
        stream::VectorOutput out(bytes);
        header.write(out);
        (void)declared;
    } catch (const un::exception&) {
    }
}

// The bytes a record writes beyond its size(): an OpenFolderInfo writes its
// mode as a word, one byte more than it reads and counts.
template <class R>
uint64_t widened(const R&) {
    return 0;
}
uint64_t widened(const format::tkt5::OpenFolderInfo&) { return 1; }
uint64_t widened(const format::tkt5::ArchiveHeader& header) {
    return header.openFolders.isSet() ? header.openFolders().size() : 0;
}

template <class R>
void readRecord(const uint8_t* data, size_t size, bool strict) {
    R header;
    stream::ArrayInput in(reinterpret_cast<const char*>(data), uint32_t(size));
    try {
        header.read(in, strict);
        if (!header.valid()) return;
        std::vector<char> bytes;
        stream::VectorOutput out(bytes);
        header.write(out);
        if (bytes.size() != header.size() + widened(header)) throw Finding("a record wrote other than its size");
    } catch (const un::exception&) {
    }
}

// The first byte picks the record and whether it is read strictly.
int tkt5records(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool strict = data[0] & 0x80;
    switch (data[0] & 0x7F) {
        case 0:
            readRecord<format::tkt5::ArchiveHeader>(data + 1, size - 1, strict);
            break;
        case 1:
            readRecord<format::tkt5::ItemHeader>(data + 1, size - 1, strict);
            break;
        case 2: {
            format::tkt5::MacHeader header;
            header.makeFile();
            record(header, 0, data + 1, size - 1, strict);
            break;
        }
        case 3: {
            format::tkt5::MacHeader header;
            header.makeFolder();
            record(header, 0, data + 1, size - 1, strict);
            break;
        }
        case 4:
            readRecord<format::tkt5::DOSHeader>(data + 1, size - 1, strict);
            break;
        case 5:
            readRecord<format::tkt5::UnixHeader>(data + 1, size - 1, strict);
            break;
        case 6:
            readRecord<format::tkt5::WindowsHeader>(data + 1, size - 1, strict);
            break;
        case 7:
            readRecord<format::tkt5::ForkInfo>(data + 1, size - 1, strict);
            break;
        case 8:
            readRecord<format::tkt5::FolderInfo>(data + 1, size - 1, strict);
            break;
        case 9:
            readRecord<format::tkt5::DeluxeInfo>(data + 1, size - 1, strict);
            break;
        case 10:
            readRecord<format::tkt5::OpenFolderInfo>(data + 1, size - 1, strict);
            break;
        default:
            break;
    }
    return 0;
}

int ziprecords(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool strict = data[0] & 0x80;
    switch (data[0] & 0x7F) {
        case 0:
            readRecord<format::zip::LocalHeader>(data + 1, size - 1, strict);
            break;
        case 1:
            readRecord<format::zip::CentralHeader>(data + 1, size - 1, strict);
            break;
        case 2:
            readRecord<format::zip::EndHeader>(data + 1, size - 1, strict);
            break;
        case 3:
            readRecord<format::zip::ExtendedHeader>(data + 1, size - 1, strict);
            break;
        case 4: {
            algorithm::zipcrypt::Cipher cipher(std::string("pw"));
            format::zip::EncryptionHeader header(cipher);
            record(header, 0, data + 1, size - 1, strict);
            break;
        }
        default:
            break;
    }
    return 0;
}

// Classification through the public reader: the format's number and name.
int classify(const uint8_t* data, size_t size) {
    Scratch scratch;
    const std::string path = scratch.archive(data, size);
    Reader reader;
    try {
        reader.open(path);
        reader.classify();
        (void)format::name(reader.archiveInfo.format);
    } catch (const un::exception&) {
    }
    try {
        reader.close();
    } catch (const un::exception&) {
    }
    return 0;
}

}  // namespace

const std::vector<Entry>& targets() {
    static const std::vector<Entry> all = {
        {"inflate", inflate, 8192},
        {"isp", isp, 8192},
        {"arsenic", arsenic, 4096},
        {"shrink", shrink, 4096},
        {"reduce", reduce, 4096},
        {"implode", implode, 8192},
        {"tkt5", tkt5, 16384},
        {"zip", zip, 16384},
        {"tkt5records", tkt5records, 1024},
        {"ziprecords", ziprecords, 1024},
        {"classify", classify, 16384},
        {"arcmethods", arcmethods, 8192},
        {"arc", arc, 16384},
        {"lha", lha, 16384},
        {"rar", rar, 16384},
        {"arj", arj, 16384},
        {"arjmethods", arjmethods, 4096},
        {"bin", bin, 16384},
        {"hqx", hqx, 16384},
        {"lzw", lzw, 4096},
        {"gz", gz, 16384},
        {"bz2", bz2, 16384},
        {"compress", compress, 16384},
        {"tar", tar, 16384},
        {"uu", uu, 16384},
        {"btoa", btoa, 16384},
        {"mime", mime, 16384},
    };
    return all;
}

Target find(const std::string& name) {
    for (const Entry& entry : targets())
        if (name == entry.name) return entry.run;
    return nullptr;
}

}  // namespace fuzz
