#include "format/format.Number.h"

namespace format {

namespace {

// 32 short names, then 32 display names.
const char* const names[64] = {
    "unknown",
    "empty",
    "eof",
    "tkt",
    "cpt",
    "zip",
    "arc",
    "arj",
    "lha",
    "ha",
    "rar",
    "gz",
    "compress",
    "sco",
    "pack",
    "compact",
    "freeze",
    "uu",
    "hqx",
    "btoa",
    "mime",
    "tar",
    "bin",
    "",
    "",
    "",
    "tktseg",
    "tktsegN",
    "sv",
    "tkt5",
    "bz2",
    "EOF",
    "unknown",
    "empty",
    "EOF",
    "Tuckett",
    "CompactPro",
    "Zip",
    "Arc",
    "Arj",
    "Lha",
    "Ha",
    "Rar",
    "Gzip",
    "UnixCompress",
    "ScoCompress",
    "UnixPack",
    "UnixCompact",
    "Freeze",
    "Uuencode",
    "BinHex",
    "Btoa",
    "Mime",
    "UnixTar",
    "MacBinary",
    "",
    "",
    "",
    "TuckettSegment",
    "TuckettSegmentN",
    "SealedVault",
    "Tuckett5",
    "Bzip2",
    "",
};

enum : unsigned char {
    Classifies = 1,
    Reads = 2,
    Writes = 4,
    Directories = 8,
    Multiple = 16,
};

constexpr unsigned char C = Classifies, R = Reads, W = Writes, D = Directories, M = Multiple;

const unsigned char abilities[32] = {
    0,
    0,
    0,
    C | R | W | D | M,  // tkt
    C | D | M,          // cpt
    C | R | W | D | M,  // zip
    C | R | D | M,      // arc
    C | R | D | M,      // arj
    C | R | D | M,      // lha
    C | D | M,          // ha
    C | R | D | M,      // rar
    C | R,              // gz
    C | R | W,          // compress
    C,                  // sco
    C,                  // pack
    C,                  // compact
    C,                  // freeze
    C | R | W | M,      // uu
    C | R | W | M,      // hqx
    C | R | M,          // btoa
    C | R | M,          // mime
    C | R | D | M,      // tar
    C | R | W | M,      // bin
    0,
    0,
    0,
    C | R | W,          // tktseg
    C | R | W,          // tktsegN
    C | R | W,          // sv
    C | R | W | D | M,  // tkt5
    C | R,              // bz2
    0,
};

bool has(int format, unsigned char ability) {
    return format >= 0 && format <= 31 && (abilities[format] & ability) != 0;
}

}  // namespace

const char* name(int format) {
    if (format > 124 || format < 0) return "nonexistent";
    if (format >= 64) return "";
    return names[format];
}

bool classifies(int format) { return has(format, Classifies); }
bool reads(int format) { return has(format, Reads); }
bool writes(int format) { return has(format, Writes); }
bool acceptsDirectories(int format) { return has(format, Directories); }
bool acceptsMultipleInputs(int format) { return has(format, Multiple); }

}  // namespace format
