#include "algorithm/isp/isp.Coder.h"

#include <algorithm>
#include <cstring>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/isp/isp.Preprocessor.h"

namespace algorithm::isp {

namespace {

constexpr int endSymbol = 320;
// The assumed cost in bits of writing one table, and two.
constexpr uint64_t oneTableCost = 1284;
constexpr uint64_t twoTableCost = 2568;
// Longest code the tables may hold: the lists of lengths go up to 31, and
// codes are kept below that with room to spare.
constexpr int longestCode = 30;

[[noreturn]] void badTokens() {
    throw Exception("token stream does not match its counts in algorithm::isp::Coder::process()");
}

// Reads the token stream a block at a time.
class TokenReader {
public:
    explicit TokenReader(stream::Input& in) : in_(in) {}
    uint8_t next() {
        if (at_ == count_) {
            count_ = in_.read(reinterpret_cast<char*>(buffer_), sizeof buffer_);
            at_ = 0;
            if (count_ == 0) badTokens();
        }
        return buffer_[at_++];
    }

private:
    stream::Input& in_;
    uint8_t buffer_[65536];
    uint32_t at_ = 0;
    uint32_t count_ = 0;
};

inline void put(bit::LSBOutput<uint32_t>& bits, const HuffmanCodeword& c) {
    if (c.length <= 0) badTokens();
    bits.write(c.code, static_cast<unsigned>(c.length));
}

uint64_t cost(const int32_t* counts, const HuffmanCodeword* table, int n) {
    uint64_t sum = 0;
    for (int i = 0; i < n; ++i)
        if (counts[i] > 0) sum += uint64_t(counts[i]) * uint64_t(std::max(table[i].length, 0));
    return sum;
}

} // namespace

Coder::Coder()
    : distanceCodes(new HuffmanCodeword[16]()),
      codes(new HuffmanCodeword[2 * symbolCount]()),
      sumCodes(new HuffmanCodeword[symbolCount]()),
      tree(new HuffmanCodeTree[2 * symbolCount]()),
      lengths(new codewordLength[symbolCount]()) {}

Coder::~Coder() = default;

void Coder::init(const Preprocessor& p) {
    buffer_size = p.buffer_size;
    text = p.text;
    bscodes = p.bscodes;
    distanceCounts = p.distanceCounts;
    counts = p.counts.get();
    sumCounts = p.sumCounts.get();
}

uint64_t Coder::process(stream::Input& in, stream::Output& out) {
    if (buffer_size == 0) throw Exception("algorithm::isp::Coder was not initialized");
    const uint64_t start = out.tell();
    bool same = false;
    make_hufftabs(resource(), same);

    bit::LSBOutput<uint32_t> bits(out);
    const uint32_t header = uint32_t(bscodes - 10) | (same && preset == 0 ? 8u : 0u) | (uint32_t(preset) << 4);
    bits.write(header, 8);
    if (preset == 0) writeHuffmanCodes(bits, same);
    codeTokens(in, bits);
    bits.flush();
    return out.tell() - start;
}

void Coder::codeTokens(stream::Input& in, bit::LSBOutput<uint32_t>& bits) {
    TokenReader tokens(in);
    const HuffmanCodeword* const literals = codes.get();
    const HuffmanCodeword* const pointers = codes.get() + symbolCount;
    const HuffmanCodeword* table = literals;
    for (;;) {
        uint32_t b = tokens.next();
        if (b < 0xFD) {
            put(bits, table[b]);
            table = literals;
            continue;
        }
        if (b == 0xFD) {
            b = tokens.next();
            if (b == 0) {
                put(bits, table[endSymbol]);
                return;
            }
            put(bits, table[b]);
            table = literals;
            continue;
        }
        if (b == 0xFE) {
            put(bits, table[tokens.next() + 256]);
        } else {
            uint32_t x = tokens.next();
            x |= uint32_t(tokens.next()) << 8;
            if (x < 1024) {
                put(bits, table[318]);
                bits.write(x, 10);
            } else {
                if (x >= 32768) badTokens();
                put(bits, table[319]);
                bits.write(x, 15);
            }
        }
        const uint32_t s = tokens.next();
        if (s >= static_cast<uint32_t>(bscodes)) badTokens();
        put(bits, distanceCodes[s]);
        if (s >= 2) {
            uint32_t extra = tokens.next();
            if (s >= 9) extra |= uint32_t(tokens.next()) << 8;
            bits.write(extra, s - 1);
        }
        table = pointers;
    }
}

void Coder::make_hufftabs(bool isResource, bool& same) {
    same = false;
    for (int i = 0; i < symbolCount; ++i) sumCounts[i] = counts[i] + counts[symbolCount + i];
    hufftable(symbolCount, counts, codes.get());
    hufftable(symbolCount, counts + symbolCount, codes.get() + symbolCount);
    hufftable(symbolCount, sumCounts, sumCodes.get());
    hufftable(bscodes, distanceCounts, distanceCodes.get());
    calc_bitlen(isResource, same);
    if (preset == 0 && same) {
        std::copy(sumCodes.get(), sumCodes.get() + symbolCount, codes.get());
        std::copy(sumCodes.get(), sumCodes.get() + symbolCount, codes.get() + symbolCount);
    }
}

void Coder::hufftable(int n, int32_t* table, HuffmanCodeword* out) {
    // Every symbol that occurs is a leaf; a table gets at least two codes.
    int leaves = 0;
    for (int i = 0; i < n; ++i) {
        lengths[i] = {-1, static_cast<uint16_t>(i)};
        if (table[i] > 0) tree[leaves++] = {table[i], static_cast<int16_t>(i), -1, -1, -1};
    }
    while (leaves < 2 && leaves < n) {
        const int s = table[0] == 0 ? 0 : table[1] == 0 ? 1 : 2;
        table[s] = 1;
        tree[leaves++] = {1, static_cast<int16_t>(s), -1, -1, -1};
    }

    // Counts that the stream cannot produce in practice could still make a
    // code longer than the tables take; halving them until it fits keeps
    // every input codable.
    for (;;) {
        deepest = 0;
        CalcLengths(dohuff(leaves, tree.get()), 0);
        if (deepest <= longestCode) break;
        int used = 0;
        for (int i = 0; i < n; ++i) {
            if (table[i] <= 0) continue;
            int32_t scaled = table[i];
            for (int d = deepest; d > longestCode; --d) scaled = (scaled + 1) / 2;
            tree[used++] = {std::max(scaled, 1), static_cast<int16_t>(i), -1, -1, -1};
        }
        for (int i = 0; i < n; ++i) lengths[i] = {-1, static_cast<uint16_t>(i)};
    }
    make_prefix_codes(n, lengths.get(), out);
}

int Coder::dohuff(int n, HuffmanCodeTree* nodes) {
    std::sort(nodes, nodes + n);
    for (int i = 0; i < n; ++i) nodes[i].next = static_cast<int16_t>(i + 1 < n ? i + 1 : -1);
    int head = 0;
    int last = -1;  // the node inserted last, while it is still in the list
    int free = n;
    while (nodes[head].next != -1) {
        const int a = head;
        const int b = nodes[a].next;
        head = nodes[b].next;
        if (last == a || last == b) last = -1;
        const int k = free++;
        nodes[k] = {nodes[a].count + nodes[b].count, -1, -1, static_cast<int16_t>(a), static_cast<int16_t>(b)};
        // Sums only grow, so the scan goes on from the last insertion.
        int before = last;
        int scan = before == -1 ? head : nodes[before].next;
        while (scan != -1 && nodes[scan].count < nodes[k].count) {
            before = scan;
            scan = nodes[scan].next;
        }
        nodes[k].next = static_cast<int16_t>(scan);
        if (before == -1)
            head = k;
        else
            nodes[before].next = static_cast<int16_t>(k);
        last = k;
    }
    return head;
}

void Coder::CalcLengths(int node, int depth) {
    const HuffmanCodeTree& t = tree[node];
    if (t.symbol >= 0) {
        deepest = std::max(deepest, depth);
        lengths[t.symbol].length = static_cast<int8_t>(std::min(depth, 127));
        return;
    }
    CalcLengths(t.left, depth + 1);
    CalcLengths(t.right, depth + 1);
}

void Coder::make_prefix_codes(int n, codewordLength* array, HuffmanCodeword* table) {
    for (int i = 0; i < n; ++i) table[i] = {0, -1};
    std::sort(array, array + n);
    uint32_t code = 0;
    uint32_t step = 0;
    int current = 0;
    for (int i = 0; i < n; ++i) {
        code += step;
        if (array[i].length != current) {
            current = array[i].length;
            step = current == -1 ? 0 : uint32_t(1) << ((32 - current) & 31);
        }
        if (current > 0) table[array[i].symbol] = {reverseBits(code), current};
    }
}

void Coder::calc_bitlen(bool isResource, bool& same) {
    static const int preset_xlate[8] = {0, 1, 2, 2, 3, 3, 4, 5};
    int candidate = 0;
    if (isResource && buffer_size <= 5119)
        candidate = static_cast<int>(buffer_size >> 10) + 1;
    else if (buffer_size < 1024)
        candidate = text ? 7 : 6;
    const int index = preset_xlate[candidate];

    // The extra bits are the same whichever way the symbols go.
    uint64_t extra = 0;
    for (int half = 0; half < 2; ++half) {
        extra += uint64_t(std::max(counts[half * symbolCount + 318], 0)) * 10;
        extra += uint64_t(std::max(counts[half * symbolCount + 319], 0)) * 15;
    }
    for (int s = 2; s < bscodes; ++s) extra += uint64_t(std::max(distanceCounts[s], 0)) * uint64_t(s - 1);

    const uint64_t distances = cost(distanceCounts, distanceCodes.get(), bscodes);
    const uint64_t two = cost(counts, codes.get(), symbolCount) +
                         cost(counts + symbolCount, codes.get() + symbolCount, symbolCount) + distances + extra;
    const uint64_t one = cost(sumCounts, sumCodes.get(), symbolCount) + distances + extra;

    bool usable = index != 0;
    uint64_t withPreset = 0;
    if (usable) {
        const Data::Preset& p = Data::preset_array[index];
        // A preset holds every literal and length; a distance beyond its
        // symbols rules it out.
        for (int s = p.distanceSymbols; s < bscodes; ++s)
            if (distanceCounts[s] > 0) usable = false;
        for (int half = 0; half < 2; ++half)
            for (int i = 0; i < symbolCount; ++i)
                withPreset += uint64_t(std::max(counts[half * symbolCount + i], 0)) *
                              uint64_t(Data::presetLength(p.lengths[half][i]));
        for (int s = 0; s < std::min(bscodes, p.distanceSymbols); ++s)
            withPreset += uint64_t(std::max(distanceCounts[s], 0)) * uint64_t(Data::presetLength(p.lengths[2][s]));
        withPreset += extra;
    }

    if (!usable || two + twoTableCost < withPreset || one + oneTableCost < withPreset) {
        preset = 0;
        same = one <= two + oneTableCost;
    } else {
        preset = static_cast<int16_t>(index);
        make_preset_huff();
    }
}

void Coder::make_preset_huff() {
    const Data::Preset& p = Data::preset_array[preset];
    build_preset(p.lengths[0], symbolCount, codes.get());
    build_preset(p.lengths[1], symbolCount, codes.get() + symbolCount);
    build_preset(p.lengths[2], p.distanceSymbols, distanceCodes.get());
    bscodes = p.distanceSymbols;
}

void Coder::build_preset(const char* presetLengths, int n, HuffmanCodeword* table) {
    for (int i = 0; i < n; ++i)
        lengths[i] = {static_cast<int8_t>(Data::presetLength(presetLengths[i])), static_cast<uint16_t>(i)};
    make_prefix_codes(n, lengths.get(), table);
}

void Coder::writeHuffmanCodes(BitOutput& bits, bool same) {
    writeHuffmanCode(bits, codes.get(), symbolCount);
    if (!same) writeHuffmanCode(bits, codes.get() + symbolCount, symbolCount);
    writeHuffmanCode(bits, distanceCodes.get(), bscodes);
}

void Coder::writeHuffmanCode(BitOutput& bits, const HuffmanCodeword* table, int n) {
    int previous = 0;
    int repeats = 0;
    for (int i = 0; i < n; ++i) {
        const int length = table[i].length;
        if (length == previous) {
            ++repeats;
            continue;
        }
        output_repeat(bits, repeats);
        repeats = 0;
        int value;
        if (length == previous + 1)
            value = 32;
        else if (length == previous - 1)
            value = 33;
        else if (length == -1)
            value = 31;
        else if (length >= 1 && length <= 31)
            value = length - 1;
        else
            throw Exception("code is too long in algorithm::isp::Coder::write_hufftab()");
        Data::prefix_tab_huff[value].write(bits);
        previous = length;
    }
    output_repeat(bits, repeats);
}

void Coder::output_repeat(BitOutput& bits, int n) {
    while (n > 0) {
        if (n < 3) {
            Data::prefix_tab_huff[34].write(bits);
            bits.write(uint32_t(n - 1), 1);
        } else if (n < 11) {
            Data::prefix_tab_huff[35].write(bits);
            bits.write(uint32_t(n - 3), 3);
        } else {
            Data::prefix_tab_huff[36].write(bits);
            bits.write(uint32_t(std::min(n - 11, 63)), 6);
        }
        n -= 74;
    }
}

} // namespace algorithm::isp
