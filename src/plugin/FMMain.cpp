#include "plugin/FMExtern.h"
#include "plugin/FMInitIdle.h"
#include "plugin/CRwrk_Win.h"

FMX_ExternCallPtr gFMExternCallPtr = nullptr;

FMX_EXPORT void FMX_API FMExternCallProc(FMX_ExternCallPtr pb) {
    gFMExternCallPtr = pb;
    switch (pb->selector) {
    case kFMXT_Init:
        pb->result = Do_PluginInit(pb->hostVersion);
        break;
    case kFMXT_Idle:
        Do_PluginIdle(pb->idleLevel);
        break;
    case kFMXT_External:
        Do_ExternalFunction(pb->functionId, pb->parameterHandle, reinterpret_cast<FMX_Handle>(pb->result));
        break;
    case kFMXT_Shutdown:
        Do_PluginShutdown();
        break;
    default:
        break;
    }
}
