#include "ADeEsserProgram.h"
#include "ParamTable.h"

#include <cstring>

ADeEsserProgram::ADeEsserProgram()
{
    values[kParamOnOff] = 1.f;
    values[kParamOutput] = ValToNormalizeValue(kParamOutput, 1.f);
    values[kParamInput] = ValToNormalizeValue(kParamInput, 1.f);
    values[kParamThreshold] = ValToNormalizeValue(kParamThreshold, 0.f);
    values[kParamRatio] = ValToNormalizeValue(kParamRatio, 1.f);
    values[kParamAttack] = ValToNormalizeValue(kParamAttack, 0.f);
    values[kParamRelease] = ValToNormalizeValue(kParamRelease, 0.01f);
    values[kParamLowFreq] = ValToNormalizeValue(kParamLowFreq, 4000.f);
    values[kParamHiFreq] = ValToNormalizeValue(kParamHiFreq, 8000.f);
    values[kParamSideChain] = 1.f;
    values[kParamAutoThreshold] = 1.f;
    std::memset(name, 0, sizeof(name));
    std::strcpy(name, "Empty");
    bankCurProgram = 0;
}
