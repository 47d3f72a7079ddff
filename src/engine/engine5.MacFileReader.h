#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/engine5.FormatReader.h"

namespace engine5 {

// The reader of an encoding that holds whole Macintosh files one after
// another (MacBinary, BinHex): each a name, Finder information and two
// forks. The extraction path places the forks and Finder information as the
// options say; by default a file with a resource fork keeps it beside the
// data fork rather than in a MacBinary file, since taking a file out of its
// wrapping is what these readers are asked for.
class MacFileReader : public FormatReader {
public:
    MacFileReader(uint32_t position, tuckett5::Reader& reader);
    ~MacFileReader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

protected:
    // Goes to the first file of the archive.
    virtual void rewind(stream::random::Input& archive) = 0;
    // Describes the next file, or answers false after the last. The first
    // call throws on an archive that holds no file at all. It is called too
    // after forks() failed half way, and finds the next file all the same.
    virtual bool next(stream::random::Input& archive, Entry& entry) = 0;
    // Writes the forks of the file just described to forkOutput(false) and
    // then to forkOutput(true), checking them as it goes.
    virtual void forks(stream::random::Input& archive) = 0;
    // Where a fork goes: the extraction path's outputs while a file is
    // expanded, nowhere while the archive is scanned or a file passed over.
    stream::Output& forkOutput(bool resource);
    // Names the entry by a stored Macintosh name (Mac OS Roman, up to a NUL).
    // A "/" in it is part of the name and comes out as ":"; a name that
    // leaves nothing to place takes the archive's name instead.
    void name(Entry& entry, std::string stored) const;
    // Whether Finder information says anything: a file written on a system
    // without it has no type and creator ("????" or zeros), no flags and no
    // place, and gets no Finder information on disk either.
    static bool meaningful(const format::data::FileInfo& finder);
    // Whether the forks go anywhere, or are only passed over.
    bool writing() const { return writing_; }

private:
    bool writing_ = false;
    std::unique_ptr<stream::Output> nowhere_;
};

}  // namespace engine5
