#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "engine/engine5.FormatWriter.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tkt5/tkt5.ItemHeader.h"

namespace io::random {
class File;
}
namespace stream::random {
class Output;
}

namespace engine5::tkt5 {

// The writer of tkt5 archives, in one forward pass. A fork's stored length is
// known only once it is compressed, so each header's place is reserved with
// filler and every header stays in memory; at the end all headers are written
// again with their final links and totals.
class Writer : public engine5::FormatWriter {
public:
    static constexpr const char* extension = ".tkt";

    explicit Writer(tuckett5::Writer& writer);
    ~Writer() override;

    using engine5::FormatWriter::create;
    void create(const std::list<std::string>& items, stream::random::Output& archive) override;
    void create(const std::list<std::string>& items, stream::random::Output& archive, io::random::File& file) override;
    std::string ext() const override { return extension; }

protected:
    void encode(const std::list<std::string>& items, stream::random::Output& out);
    // Writes one file; answers the size of its data fork.
    uint32_t tuckFile(stream::random::Output& out, const std::string& path, const std::string& name, bool last);
    // Writes one folder with all it holds, and adds its totals to the caller's.
    void tuckDirectory(stream::random::Output& out, const std::string& path, const std::string& name, uint32_t parent,
                       uint32_t previous, uint32_t& callerSize, uint32_t& callerStored);
    void tuckDirectoryTree(stream::random::Output& out, const std::string& path, const std::string& name);
    // Stores one fork of the file in hand, recording its sizes, method and CRC.
    void encodeFork(stream::random::Output& out, io::random::File& source, format::tkt5::ForkInfo& fork, bool resource,
                    uint32_t dataStart);
    void updatePrevious(uint32_t previous, uint32_t position, uint32_t target);
    void updateParent(uint32_t size, uint32_t stored, uint32_t folder, int16_t count);
    void updateAllParents(uint32_t size, uint32_t stored, uint32_t folder, int16_t count);
    void updateEndFolder(uint32_t marker, uint32_t position);

    // The header written at `offset`; one made empty if there was none.
    format::tkt5::ItemHeader& at(uint32_t offset);
    // The item name of `name` in the local encoding: UTF-8 of its Unicode
    // form, or the bytes as they are with the local-name flag.
    void setName(format::tkt5::ItemHeader& header, const std::string& name);
    // archiveSize follows the output's position; a tkt5 archive ends at 4 GiB.
    void followPosition(stream::random::Output& out);
    void deleteItems();

    uint32_t filesDone = 0;
    uint64_t bytesDone = 0;
    std::map<uint64_t, format::tkt5::ItemHeader*> items;
    int16_t rootCount = 0;
    uint32_t lastRootItem = 0;
    uint32_t rootParent = 0;
    uint32_t lastEndFolder = 0;
    uint32_t totalSize = 0;
    uint32_t totalStored = 0;
    format::tkt5::ArchiveHeader archiveHeader;
    int32_t savedRootCount = 0;
    uint32_t parent = 0;
    uint32_t previous = 0;
};

}  // namespace engine5::tkt5
