#include "algorithm/arc/arc.Crunch567Decompressor.h"

#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "stream/stream.Input.h"

namespace algorithm::arc {

namespace {

constexpr int tableSize = 4096;
constexpr uint16_t noPrefix = 0xFFFF;

// The string table of the first crunching. Entries are found by hashing the
// prefix and the last byte; a collision goes to the end of the chain of that
// hash and from there 101 places on to the first free entry.
class OldTable {
public:
    explicit OldTable(bool fastHash) : fast_(fastHash), entries_(tableSize) {
        for (int c = 0; c < 256; ++c) add(noPrefix, static_cast<unsigned char>(c));
    }

    struct Entry {
        bool used = false;
        uint16_t next = 0;
        uint16_t prefix = noPrefix;
        unsigned char last = 0;
    };

    const Entry& operator[](int code) const { return entries_[code]; }

    void add(uint16_t prefix, unsigned char last) {
        if (free_ == 0) return;
        --free_;
        Entry& entry = entries_[place(prefix, last)];
        entry.used = true;
        entry.next = 0;
        entry.prefix = prefix;
        entry.last = last;
    }

private:
    uint32_t hash(uint16_t prefix, unsigned char last) const {
        const uint32_t key = (uint32_t(prefix) + last) & 0xFFFF;
        if (fast_) return (key * 15073u) & 0xFFF;
        // The middle twelve bits of the square.
        const uint32_t square = (key | 0x800) * (key | 0x800);
        return (square >> 6) & 0xFFF;
    }

    uint32_t place(uint16_t prefix, unsigned char last) {
        uint32_t at = hash(prefix, last);
        if (!entries_[at].used) return at;
        while (entries_[at].next != 0) at = entries_[at].next;
        uint32_t free = (at + 101) & 0xFFF;
        while (entries_[free].used) free = (free + 1) % tableSize;
        entries_[at].next = static_cast<uint16_t>(free);
        return free;
    }

    bool fast_;
    std::vector<Entry> entries_;
    int free_ = tableSize;
};

// Twelve-bit codes, high bits first: two codes in three bytes.
class OldCodes {
public:
    explicit OldCodes(stream::Input& in) : in_(in) {}
    // The next code, or -1 at the end of the data.
    int read() {
        if (!odd_) {
            const int a = in_.read();
            const int b = in_.read();
            if (a < 0 || b < 0) return -1;
            odd_ = true;
            spare_ = b & 0x0F;
            return a << 4 | b >> 4;
        }
        odd_ = false;
        const int c = in_.read();
        if (c < 0) return -1;
        return spare_ << 8 | c;
    }

private:
    stream::Input& in_;
    bool odd_ = false;
    int spare_ = 0;
};

}  // namespace

Crunch567Decompressor::Crunch567Decompressor(int method) : method_(method) {
    if (method < 5 || method > 7) throw Exception("not a crunching method");
}

void Crunch567Decompressor::decode(stream::Input& in, stream::Output& out) {
    RunLengthOutput unpacked(out);
    stream::Output& sink = method_ == 5 ? out : unpacked;
    OldTable table(method_ == 7);
    OldCodes codes(in);
    std::vector<char> stack;
    stack.reserve(tableSize);

    int oldCode = codes.read();
    if (oldCode < 0) return;
    if (!table[oldCode].used || table[oldCode].prefix != noPrefix) throw Exception("crunched data is invalid");
    unsigned char first = table[oldCode].last;
    sink.write(static_cast<char>(first));
    for (int code; (code = codes.read()) >= 0;) {
        // A code not yet in the table is the string before it and its own
        // first byte, as in every LZW.
        const bool unknown = !table[code].used;
        int walk = unknown ? oldCode : code;
        stack.clear();
        while (table[walk].prefix != noPrefix) {
            // A chain longer than the table loops: no encoder wrote it.
            if (stack.size() == tableSize) throw Exception("crunched data is invalid");
            stack.push_back(static_cast<char>(table[walk].last));
            walk = table[walk].prefix;
        }
        const unsigned char head = table[walk].last;
        sink.write(static_cast<char>(head));
        for (auto it = stack.rbegin(); it != stack.rend(); ++it) sink.write(*it);
        if (unknown) sink.write(static_cast<char>(first));
        first = head;
        table.add(static_cast<uint16_t>(oldCode), first);
        oldCode = code;
    }
}

}  // namespace algorithm::arc
