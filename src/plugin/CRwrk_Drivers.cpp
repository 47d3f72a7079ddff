// The external functions that run the engine: expansion and compression.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "algorithm/algorithm.Password.h"
#include "format/format.Number.h"
#include "plugin/CRwrk_Win.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FMUtils.h"
#include "plugin/FSObject_Win.h"
#include "plugin/TKTReader.h"
#include "plugin/TKTWriter.h"

namespace {

constexpr uint32_t kMaxText = 255;

// The format that each compression function writes.
int FormatOf(int32_t function) {
    switch (function) {
    case kCRwrkTuck: return format::number::tkt5;
    case kCRwrkZip: return format::number::zip;
    case kCRwrkGZip: return format::number::gz;
    case kCRwrkTar: return format::number::tar;
    default: return format::number::unknown;
    }
}

} // namespace

// Partly written output stays where it is after a failure or a Cancel, as
// the engine leaves it; only the archive's old namesake is deleted first.
void DoCompress(int32_t function, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source;
    int32_t code = ResolvePathParameter(function, parameterHandle, 1, Crwk::UI::kChooseItem, kPurposeCompress, source);
    if (code == 0) {
        FSObject destination;
        code = ResolvePathParameter(function, parameterHandle, 2, Crwk::UI::kChooseNewFile, kPurposeCompress,
                                    destination);
        if (code == 0) {
            try {
                TKTWriter writer(true);
                try {
                    writer.compression(tuckett5::Writer::defaultCompression);
                    writer.SetSourceFSO(&source);
                    writer.SetDestinationFSO(&destination);
                    // Only the native format takes a password here.
                    if (function == kCRwrkTuck) {
                        char text[kMaxText + 1];
                        std::memset(text, 0, sizeof text);
                        uint32_t length = 0;
                        GetParamByNumber(parameterHandle, 3, kMaxText, text, &length);
                        if (text[0] != 0) {
                            algorithm::Password password{std::string(text)};
                            writer.password = password;
                            password.erase();
                        }
                        std::memset(text, 0, sizeof text);
                    }
                    writer.archiveInfo.format = FormatOf(function);
                    writer.swcreate();
                    const std::string& path = writer.archiveInfo.path;
                    if (!path.empty()) SetHandleText(resultHandle, path.data(), static_cast<uint32_t>(path.size()));
                } catch (const tuckett5::exception::Evacuation& e) {
                    writer.progressSizeEndEvent();
                    SetErrorResult(resultHandle, writer.canceled ? kUserCanceled : writer.error, e.what());
                } catch (const un::exception& e) {
                    writer.progressSizeEndEvent();
                    SetErrorResult(resultHandle, writer.error, e.what());
                }
            } catch (...) {
                code = kUnknownException;
            }
        }
    }
    if (code != 0) SetErrorResult(resultHandle, code, nullptr);
}

void DoExpand(FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    DoExpandWith([] { return std::make_unique<TKTReader>(true); }, parameterHandle, resultHandle);
}

void DoExpandWith(TKTReaderFactory makeReader, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source;
    int32_t code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 1, Crwk::UI::kChooseFile, kPurposeExpand, source);
    if (code == 0) {
        FSObject destination;
        code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 2, Crwk::UI::kChooseFolder, kPurposeExpand,
                                    destination);
        if (code == 0) {
            bool destinationGiven = destination.pathLength != 0;
            try {
                std::unique_ptr<TKTReader> made = makeReader();
                TKTReader& reader = *made;
                try {
                    reader.SetSourceFSO(&source);
                    reader.SetDestinationFSO(&destination);
                    reader.sropen();
                    if (reader.archiveInfo.encrypted) {
                        char text[kMaxText + 1];
                        std::memset(text, 0, sizeof text);
                        uint32_t length = 0;
                        GetParamByNumber(parameterHandle, 3, kMaxText, text, &length);
                        std::string typed = text;
                        if (typed.empty()) {
                            if (!Crwk::ui().password(typed)) throw tuckett5::exception::Evacuation();
                            if (typed.empty()) code = kNoPassword;
                        }
                        algorithm::Password password(typed);
                        reader.password = password;
                        password.erase();
                        std::fill(typed.begin(), typed.end(), '\0');
                    }
                    if (code == 0) {
                        reader.decode();
                        std::string text = destination.pathString;
                        if (destinationGiven) text += FSObject::kSeparator + reader.archiveInfo.rootName;
                        if (!text.empty())
                            SetHandleText(resultHandle, text.data(), static_cast<uint32_t>(text.size()));
                    }
                } catch (const tuckett5::exception::Evacuation& e) {
                    reader.progressSizeEndEvent();
                    SetErrorResult(resultHandle, reader.canceled ? kUserCanceled : reader.error, e.what());
                } catch (const un::exception& e) {
                    reader.progressSizeEndEvent();
                    SetErrorResult(resultHandle, reader.error, e.what());
                }
                reader.close();
            } catch (...) {
                code = kUnknownException;
            }
        }
    }
    if (code != 0) SetErrorResult(resultHandle, code, nullptr);
}
