#pragma once

// Runs a program as a script would, where the test runs and with no input,
// and keeps its exit status and its two outputs apart.

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "interop/interop.Shell.h"
#include "support/scratch.h"

namespace clitest {

using interop::quote;
using Outcome = interop::Ran;

inline Outcome run(const std::string& program, const std::string& arguments, const std::string& environment = "") {
    test::Scratch dir;
    const std::string command = environment + " " + quote(program) + " " + arguments + " </dev/null >" +
                                quote(dir / "out") + " 2>" + quote(dir / "err");
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, test::Scratch::read(dir / "out"), test::Scratch::read(dir / "err")};
}

// The command-line tool with `arguments`.
inline Outcome tool(const std::string& arguments, const std::string& environment = "") {
    return run(CRATEWERK_PROGRAM, arguments, environment);
}

}  // namespace clitest
