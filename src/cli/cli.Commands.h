#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "un/un.exception.h"

namespace cli {

// Exit statuses of the tool.
enum : int { kSuccess = 0, kFailure = 1, kUsage = 2, kCancelled = 130 };

struct Arguments {
    std::vector<std::string> operands;
    std::string password;
    bool havePassword = false;
    bool json = false;
    bool quiet = false;
    bool replace = false;  // expand without DEST may replace what has the result's name
    int macBinary = 2;   // 0 never, 1 always, else the format decides
    int text = 0;        // 0 none, 1 all, 2 items of type TEXT
    int eol = 3;         // 1 LF, 2 CR, 3 CR LF
    std::string output;  // the archive that tuck writes; empty for the default name
    int method = -1;     // tuck's method number; -1 lets the format choose
    int level = -1;      // zip's level: 0 stores, 1 to 9 Deflate, 12 the strongest; -1 is 6
    int bits = -1;       // compress's widest code; -1 lets the format choose
    bool oneLayer = false;  // expand and list stop at a compressed stream's own data
    bool keepMacOSX = false;  // expand and list keep a Mac-made Zip's "__MACOSX" entries as stored
    std::string encoding;   // encode's format, by its short name (bin, hqx, uu)
    int64_t maxRatio = -1;  // expand and list: the bomb guard's ratio, 0 for none; -1 keeps the default
};

int expand(const Arguments& arguments);
int list(const Arguments& arguments);
int identify(const Arguments& arguments);
int tuck(const Arguments& arguments);
int zip(const Arguments& arguments);
int compress(const Arguments& arguments);
int encode(const Arguments& arguments);

// Prints "cratewerk: <message>" on standard error.
void complain(const std::string& message);
// What a person is told of a failure: the engine's text, or "disk full" when
// a write ran out of room.
std::string failureText(const un::exception& failure);

} // namespace cli
