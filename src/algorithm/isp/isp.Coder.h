#pragma once

#include <cstdint>
#include <memory>

#include "algorithm/bit.LSB.h"
#include "algorithm/isp/isp.Data.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"
#include "un/un.property.h"

namespace algorithm::isp {

class Preprocessor;

// A node of the tree that Huffman's construction builds; a leaf has its
// symbol, an inner node -1. Sorted by count, ties by symbol.
struct HuffmanCodeTree {
    int32_t count;
    int16_t symbol;
    int16_t next;
    int16_t left;
    int16_t right;

    bool operator<(const HuffmanCodeTree& other) const {
        return count != other.count ? count < other.count : symbol < other.symbol;
    }
};

// The second pass of the ISP compressor. From the Preprocessor's counts it
// builds the Huffman codes, picks the cheapest of three ways to code the
// stream (a built-in preset, one table for both contexts, or two tables),
// writes the header and the tables and then turns the token stream into
// codes.
class Coder {
public:
    static constexpr int symbolCount = 321;

    Coder();
    virtual ~Coder();

    // The data is a resource fork, which makes the resource presets
    // candidates for inputs of up to 5119 bytes.
    un::property<bool> resource{false};

    // Takes the sizes and counts of the run just made; must follow
    // Preprocessor::process, whose counts it reads and completes.
    void init(const Preprocessor& preprocessor);
    // Codes the token stream in `in` to `out`; answers the bytes written.
    uint64_t process(stream::Input& in, stream::Output& out);

    // The preset of the last stream, 0 for none.
    int16_t chosenPreset() const { return preset; }

protected:
    using BitOutput = bit::Output<uint32_t>;

    virtual int dohuff(int n, HuffmanCodeTree* nodes);
    virtual void CalcLengths(int node, int depth);
    virtual void make_prefix_codes(int n, codewordLength* array, HuffmanCodeword* table);
    virtual void hufftable(int n, int32_t* counts, HuffmanCodeword* table);
    virtual void calc_bitlen(bool resource, bool& same);
    virtual void build_preset(const char* presetLengths, int n, HuffmanCodeword* table);
    virtual void make_preset_huff();
    virtual void make_hufftabs(bool resource, bool& same);
    virtual void output_repeat(BitOutput& bits, int n);
    virtual void writeHuffmanCode(BitOutput& bits, const HuffmanCodeword* table, int n);
    virtual void writeHuffmanCodes(BitOutput& bits, bool same);

private:
    void codeTokens(stream::Input& in, bit::LSBOutput<uint32_t>& bits);

    uint32_t buffer_size = 0;
    bool text = false;
    int bscodes = 0;
    int32_t* distanceCounts = nullptr;
    int32_t* counts = nullptr;
    int32_t* sumCounts = nullptr;
    std::unique_ptr<HuffmanCodeword[]> distanceCodes;  // 16
    std::unique_ptr<HuffmanCodeword[]> codes;          // 2 x 321: after a literal, after a match
    std::unique_ptr<HuffmanCodeword[]> sumCodes;       // 321: one table for both
    std::unique_ptr<HuffmanCodeTree[]> tree;           // 642
    std::unique_ptr<codewordLength[]> lengths;         // 321
    int16_t preset = 0;
    int deepest = 0;  // the longest code of the last CalcLengths
};

} // namespace algorithm::isp
