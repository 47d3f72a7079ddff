#pragma once

namespace format {

// Format numbers. A format is a plain int everywhere in the engine; these
// names only spare the reader of the code the table.
namespace number {
constexpr int unknown = 0;
constexpr int empty = 1;
constexpr int eof = 2;
constexpr int tkt = 3;
constexpr int cpt = 4;
constexpr int zip = 5;
constexpr int arc = 6;
constexpr int arj = 7;
constexpr int lha = 8;
constexpr int ha = 9;
constexpr int rar = 10;
constexpr int gz = 11;
constexpr int compress = 12;
constexpr int sco = 13;
constexpr int pack = 14;
constexpr int compact = 15;
constexpr int freeze = 16;
constexpr int uu = 17;
constexpr int hqx = 18;
constexpr int btoa = 19;
constexpr int mime = 20;
constexpr int tar = 21;
constexpr int bin = 22;
constexpr int tktseg = 26;
constexpr int tktsegN = 27;
constexpr int sv = 28;
constexpr int tkt5 = 29;
constexpr int bz2 = 30;
constexpr int last = 31;
}  // namespace number

// The short name of a format; the display name is 32 entries further on.
// Answers "nonexistent" above 124; numbers from 64 to 124 must not be passed.
const char* name(int format);

// Each answers false for a number above 31 (and below 0).
bool classifies(int format);
bool reads(int format);
bool writes(int format);
bool acceptsDirectories(int format);
bool acceptsMultipleInputs(int format);

}  // namespace format
