#pragma once

// What the interop tests share to run peer programs in a shell and read what
// they leave behind.

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace interop {

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::filesystem::path& path, const std::string& data) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << data;
}

// A word for the shell, whatever it holds.
inline std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline bool have(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

struct Ran {
    int status;
    std::string out;
    std::string err;
};

// Runs a shell command in `at`, with no input, and keeps its two outputs apart.
inline Ran run(const std::string& command, const std::filesystem::path& at) {
    const std::filesystem::path out = at / "stdout.txt", err = at / "stderr.txt";
    const int raw = std::system(("cd " + quote(at.string()) + " && (" + command + ") </dev/null >" +
                                 quote(out.string()) + " 2>" + quote(err.string()))
                                    .c_str());
    Ran r{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
    std::filesystem::remove(out);
    std::filesystem::remove(err);
    return r;
}

}  // namespace interop
