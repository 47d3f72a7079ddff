// Stand-in drivers for builds without the engine's reader.
#include "plugin/CRwrk_Win.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FSObject_Win.h"

void DoCompress(int32_t function, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source, destination;
    int32_t code = ResolvePathParameter(function, parameterHandle, 1, Crwk::UI::kChooseItem, kPurposeCompress, source);
    if (code == 0)
        code = ResolvePathParameter(function, parameterHandle, 2, Crwk::UI::kChooseNewFile, kPurposeCompress, destination);
    if (code == 0)
        SetErrorResult(resultHandle, 0, "archive format is not supported");
    else
        SetErrorResult(resultHandle, code, nullptr);
}

void DoExpand(FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source, destination;
    int32_t code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 1, Crwk::UI::kChooseFile, kPurposeExpand, source);
    if (code == 0)
        code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 2, Crwk::UI::kChooseFolder, kPurposeExpand, destination);
    if (code == 0)
        SetErrorResult(resultHandle, 0, "archive format is not supported");
    else
        SetErrorResult(resultHandle, code, nullptr);
}
