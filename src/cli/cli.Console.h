#pragma once

#include <string>

// What the command-line tool needs of the console, one module per platform.
namespace cli::console {

// Whether standard input (0) or standard error (2) is a terminal.
bool isTerminal(int fd);
// Columns of the terminal on standard error, 80 when unknown.
int width();
// Makes Ctrl-C the person's Cancel: it sets a flag instead of ending the program.
void catchInterrupt();
bool interrupted();
// Reads a line from the terminal without echo after showing `prompt`; false
// when there is no terminal, at its end, or on Ctrl-C.
bool readHidden(const char* prompt, std::string& text);
// Text as the terminal shows it: 8-bit ANSI text of the engine's tables.
std::string displayText(const std::string& ansi);

} // namespace cli::console
