#include "algorithm/unicode.Ansi.h"

#include <windows.h>

namespace algorithm::unicode {

std::string toAnsi(const std::basic_string<unsigned short>& wide, const std::string& fallback) {
    if (wide.empty()) return std::string();
    const auto* text = reinterpret_cast<const wchar_t*>(wide.data());
    const int length = static_cast<int>(wide.size());
    const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, "_", nullptr);
    if (size <= 0) return fallback;
    std::string local(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, length, local.data(), size, "_", nullptr);
    return local;
}

} // namespace algorithm::unicode

namespace algorithm::unicode {

std::basic_string<unsigned short> fromAnsi(const std::string& ansi) {
    if (ansi.empty()) return {};
    const int length = static_cast<int>(ansi.size());
    const int size = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, ansi.data(), length, nullptr, 0);
    if (size <= 0) return {};
    std::basic_string<unsigned short> wide(static_cast<size_t>(size), 0);
    MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, ansi.data(), length, reinterpret_cast<wchar_t*>(wide.data()),
                        size);
    return wide;
}

} // namespace algorithm::unicode
