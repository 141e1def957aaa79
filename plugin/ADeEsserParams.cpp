// Parameter read operations and the three write paths (host, panel control,
// typed value).
#include "ADeEsser.h"
#include "IDeEsserPanel.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <strings.h>

static bool isSwitchOn(float v)
{
    return v == 1.0f;
}

float ADeEsser::GetInternalValue(int index) const
{
    return index >= 1 && index <= 10 ? m_InternalValue[index] : 0.f;
}

float ADeEsser::getParameter(VstInt32 index)
{
    if (index >= 0 && index <= 8)
        return m_NormValue[index];
    if (index == kParamSideChain || index == kParamAutoThreshold)
        return m_InternalValue[index];
    return 0.f;
}

void ADeEsser::getParameterName(VstInt32 index, char* text)
{
    if (index >= 0 && index < kNumParams)
        std::strcpy(text, GetParamName(index));
}

void ADeEsser::getParameterLabel(VstInt32 index, char* text)
{
    if (index >= 0 && index < kNumParams)
        std::strcpy(text, GetParamLabel(index));
}

void ADeEsser::getParameterDisplay(VstInt32 index, char* text)
{
    if (index < 0 || index > 10)
        return;
    switch (index)
    {
    case kParamOnOff:
        std::strcpy(text, isSwitchOn(m_NormValue[0]) ? "ON" : "OFF");
        break;
    case kParamSideChain:
    case kParamAutoThreshold:
        std::strcpy(text, isSwitchOn(m_InternalValue[index]) ? "ON" : "OFF");
        break;
    case kParamOutput:
    case kParamInput:
        std::snprintf(text, kVstMaxParamStrLen, "%.1f", m_InternalValue[index]);
        if (strcasecmp(text, "-0.0") == 0)
            std::strcpy(text, "0.0");
        break;
    case kParamRelease:
        std::snprintf(text, kVstMaxParamStrLen, "%.2f", m_InternalValue[index]);
        break;
    default:
        std::snprintf(text, kVstMaxParamStrLen, "%.1f", m_InternalValue[index]);
        break;
    }
}

float ADeEsser::getParameterDisplayVal(int index)
{
    if (index == kParamOnOff)
        return m_NormValue[0];
    if (index == kParamSideChain || index == kParamAutoThreshold)
        return m_InternalValue[index];
    if (index < 1 || index > 8)
        return 0.f;
    // Half a display step away from zero, so a field that cuts off the digits
    // after the shown ones still shows the rounded value.
    float half = index == kParamRelease ? 0.005f : 0.05f;
    float v = m_InternalValue[index];
    return v >= 0.f ? v + half : v - half;
}

bool ADeEsser::getParameterProperties(VstInt32 index, VstParameterProperties* p)
{
    std::memset(p, 0, sizeof(*p));
    if (index < 0 || index > 11)
        return false;
    getParameterLabel(index, p->label);
    const AutomateParamMinMax& row = AutomateParamMinMax_Tbl[index];
    p->flags =
        row.isInteger
            ? (kVstParameterIsSwitch | kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep)
            : (kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep);
    p->minInteger = (VstInt32)row.min;
    p->maxInteger = (VstInt32)row.max;
    p->stepInteger = 128;
    p->largeStepInteger = 256;
    p->displayIndex = (VstInt16)index;
    return true;
}

// The work shared by the host and panel paths. Only attack differs: the panel
// hands the compressors the normalised value, the host milliseconds.
void ADeEsser::setParameterWork(int index, float n, bool fromPanel)
{
    ADeEsserProgram& program = programs[curProgram];
    switch (index)
    {
    case kParamOnOff:
    {
        CSingleLock lock(m_Lock);
        m_NormValue[0] = n;
        program.values[0] = n;
        float a = std::trunc(n); // whole part: 0.99 switches off
        m_Comp.set_Activate(a);
        m_CompRms.set_Activate(a);
        break;
    }
    case kParamOutput:
    {
        CSingleLock lock(m_Lock);
        m_NormValue[1] = n;
        float db = NormalizeValToInternalVal(1, n);
        m_InternalValue[1] = db;
        m_OutputGain = (float)std::exp2((double)db / 6.0);
        program.values[1] = n;
        break;
    }
    case kParamInput:
    {
        CSingleLock lock(m_Lock);
        m_NormValue[2] = n;
        m_InternalValue[2] = NormalizeValToInternalVal(2, n);
        program.values[2] = n;
        break;
    }
    case kParamThreshold:
    {
        float t = NormalizeValToInternalVal(3, n);
        m_NormValue[3] = n;
        m_InternalValue[3] = t;
        program.values[3] = n;
        m_Comp.setThresh(t);
        m_CompRms.setThresh(t);
        break;
    }
    case kParamRatio:
    {
        float r = NormalizeValToInternalVal(4, n);
        m_NormValue[4] = n;
        m_InternalValue[4] = r;
        program.values[4] = n;
        m_Comp.setRatio(r);
        m_CompRms.setRatio(r);
        break;
    }
    case kParamAttack:
    {
        float ms = NormalizeValToInternalVal(5, n);
        m_NormValue[5] = n;
        m_InternalValue[5] = ms;
        program.values[5] = n;
        float given = fromPanel ? n : ms;
        m_Comp.setAttack(given);
        m_CompRms.setAttack(given);
        break;
    }
    case kParamRelease:
    {
        float s = NormalizeValToInternalVal(6, n);
        m_NormValue[6] = n;
        m_InternalValue[6] = s;
        program.values[6] = n;
        double ms = (double)s * 1000.0;
        m_Comp.setRelease(ms);
        m_CompRms.setRelease(ms);
        break;
    }
    case kParamLowFreq:
        m_NormValue[7] = n;
        m_InternalValue[7] = NormalizeValToInternalVal(7, n);
        program.values[7] = n;
        CalcEQCoefFreq1();
        break;
    case kParamHiFreq:
        m_NormValue[8] = n;
        m_InternalValue[8] = NormalizeValToInternalVal(8, n);
        program.values[8] = n;
        CalcEQCoefFreq2();
        break;
    case kParamSideChain:
    {
        CSingleLock lock(m_Lock);
        m_InternalValue[9] = n;
        program.values[9] = n;
        break;
    }
    case kParamAutoThreshold:
        m_InternalValue[10] = n;
        program.values[10] = n;
        m_Comp.set_AutoThreshold(n);
        m_CompRms.set_AutoThreshold(n);
        break;
    default:
        break;
    }
}

void ADeEsser::setParameter(VstInt32 index, float value)
{
    // One bad automation point must not silence the output for good.
    if (!std::isfinite(value))
        return;
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateControl(index, value);
    if (index < 0 || index > 10)
        return;
    setParameterWork(index, value, false);
}

void ADeEsser::setParameterFormUI(int index, float value)
{
    if (!std::isfinite(value))
        return;
    if (index >= 0 && index <= 10)
        setParameterWork(index, value, true);
    notifyHost(audioMasterAutomate, index, value);
}

void ADeEsser::setParameterFromDiaplay(int index, float v)
{
    if (!std::isfinite(v))
        return;
    ADeEsserProgram& program = programs[curProgram];
    float n = v;
    switch (index)
    {
    case kParamOutput:
    {
        CSingleLock lock(m_Lock);
        m_InternalValue[1] = v;
        float g = (float)std::exp2((double)v / 6.0);
        // The stored program is held to about +6 dB; the applied gain is not.
        float stored = g < 0.001f ? 0.001f : (g > 2.0f ? 2.0f : g);
        n = ValToNormalizeValue(1, stored);
        m_NormValue[1] = n;
        program.values[1] = n;
        m_OutputGain = g;
        break;
    }
    case kParamInput:
    {
        CSingleLock lock(m_Lock);
        m_InternalValue[2] = v;
        float g = (float)std::exp2((double)v / 6.0);
        g = g < 0.001f ? 0.001f : (g > 1.0f ? 1.0f : g);
        n = ValToNormalizeValue(2, g);
        m_NormValue[2] = n;
        program.values[2] = n;
        break;
    }
    case kParamThreshold:
    case kParamRatio:
        m_InternalValue[index] = v;
        n = ValToNormalizeValue(index, v);
        m_NormValue[index] = n;
        program.values[index] = n;
        if (index == kParamThreshold)
        {
            m_Comp.setThresh(v);
            m_CompRms.setThresh(v);
        }
        else
        {
            m_Comp.setRatio(v);
            m_CompRms.setRatio(v);
        }
        break;
    case kParamAttack:
        m_InternalValue[5] = v;
        n = ValToNormalizeValue(5, v);
        m_NormValue[5] = n;
        program.values[5] = n;
        m_Comp.setAttack(n);
        m_CompRms.setAttack(n);
        break;
    case kParamRelease:
        m_InternalValue[6] = v;
        n = ValToNormalizeValue(6, v);
        m_NormValue[6] = n;
        program.values[6] = n;
        m_Comp.setRelease((double)v * 1000.0);
        m_CompRms.setRelease((double)v * 1000.0);
        break;
    case kParamLowFreq:
    case kParamHiFreq:
        m_InternalValue[index] = v;
        n = ValToNormalizeValue(index, v);
        m_NormValue[index] = n;
        program.values[index] = n;
        if (index == kParamLowFreq)
            CalcEQCoefFreq1();
        else
            CalcEQCoefFreq2();
        break;
    default:
        break;
    }
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateControl(index, n);
    notifyHost(audioMasterAutomate, index, n);
    endEdit(index);
}
