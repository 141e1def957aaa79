// Parameter read operations and the three write paths (host, panel control,
// typed value).
#include "ADeEsser.h"
#include "IDeEsserPanel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <strings.h>

// The highest output gain a typed value stores in the program (about +6 dB).
static const float kTypedOutputGainMax = 2.0f;

// Threshold, Ratio, AttackTime, ReleaseTime, LowFreq and HiFreq.
static bool isKnob(int index)
{
    return index >= kParamThreshold && index <= kParamHiFreq;
}

float ADeEsser::GetInternalValue(int index) const
{
    return index > kParamOnOff && index < kNumParams ? m_InternalValue[index] : 0.f;
}

float ADeEsser::getParameter(VstInt32 index)
{
    if (index >= 0 && index < kNumNormParams)
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
    if (index < 0 || index >= kNumParams)
        return;
    FormatParamDisplay(index, index == kParamOnOff ? m_NormValue[0] : m_InternalValue[index], text,
                       kVstMaxParamStrLen);
}

float ADeEsser::getParameterDisplayVal(int index)
{
    if (index == kParamOnOff)
        return m_NormValue[0];
    if (index == kParamSideChain || index == kParamAutoThreshold)
        return m_InternalValue[index];
    if (index < kParamOutput || index > kParamHiFreq)
        return 0.f;
    // Half a display step away from zero, so a field that cuts off the digits
    // after the shown ones still shows the rounded value.
    float half = index == kParamRelease ? 0.005f : 0.05f;
    float v = m_InternalValue[index];
    return v >= 0.f ? v + half : v - half;
}

// Hosts that take minInteger/maxInteger as the range of the value they send
// to setParameter (instead of 0..1), known by the names they give themselves.
// A name matches when it starts with the product text or equals the vendor
// text, without regard to case.
static bool misreadsIntegerRange(const char* product, const char* vendor)
{
    static const struct
    {
        const char* product;
        const char* vendor;
    } kHosts[] = {
        {"Ardour", "Linux Audio Systems"}, // also the hosts built on it
        {"Carla", "falkTX"},               // "Carla" and its "Carla-Discovery"
        {"Qtractor", "rncbc.org"},
        {nullptr, "MusE"}, // product "NativeVST"
    };
    for (const auto& host : kHosts)
    {
        if (host.product && strncasecmp(product, host.product, std::strlen(host.product)) == 0)
            return true;
        if (vendor[0] && strcasecmp(vendor, host.vendor) == 0)
            return true;
    }
    return false;
}

bool ADeEsser::hostMisreadsIntegerRange()
{
    if (m_HostMisreadsIntegerRange < 0)
    {
        char product[256], vendor[256];
        getHostProductString(product);
        getHostVendorString(vendor);
        m_HostMisreadsIntegerRange = misreadsIntegerRange(product, vendor) ? 1 : 0;
    }
    return m_HostMisreadsIntegerRange == 1;
}

bool ADeEsser::getParameterProperties(VstInt32 index, VstParameterProperties* p)
{
    std::memset(p, 0, sizeof(*p));
    // Such a host then works in 0..1 with the parameter names and display texts.
    if (hostMisreadsIntegerRange())
        return false;
    if (index < 0 || index >= kNumParamRows)
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

// Stores a parameter: its normalised value, its internal value (switches keep
// only the latter) and the current program's copy of the normalised value.
void ADeEsser::storeParam(int index, float n, float internal)
{
    if (index < kNumNormParams)
        m_NormValue[index] = n;
    if (index >= kParamOutput)
        m_InternalValue[index] = internal;
    programs[curProgram].values[index] = n;
}

// Hands a knob's value (internal units) to the compressors or the band edge;
// the compressors take `attack` for the attack time.
void ADeEsser::applyKnob(int index, float v, float attack)
{
    CVRXComp* const comps[2] = {&m_Comp, &m_CompRms};
    for (CVRXComp* c : comps)
    {
        if (index == kParamThreshold)
            c->setThresh(v);
        else if (index == kParamRatio)
            c->setRatio(v);
        else if (index == kParamAttack)
            c->setAttack(attack);
        else if (index == kParamRelease)
            c->setRelease((double)v * 1000.0);
    }
    if (index == kParamLowFreq)
        CalcEQCoefFreq1();
    else if (index == kParamHiFreq)
        CalcEQCoefFreq2();
}

// The work shared by the host and panel paths. Only attack differs: the panel
// hands the compressors the normalised value, the host milliseconds.
void ADeEsser::setParameterWork(int index, float n, bool fromPanel)
{
    CVRXComp* const comps[2] = {&m_Comp, &m_CompRms};
    const float v = NormalizeValToInternalVal(index, n);
    switch (index)
    {
    case kParamOnOff:
    {
        CSingleLock lock(m_Lock);
        storeParam(index, n, 0.f);
        for (CVRXComp* c : comps)
            c->set_Activate(std::trunc(n)); // whole part: 0.99 switches off
        break;
    }
    case kParamOutput:
    {
        CSingleLock lock(m_Lock);
        storeParam(index, n, v);
        m_OutputGain = (float)Db6ToGain(v);
        break;
    }
    case kParamInput:
    case kParamSideChain:
    {
        // The audio thread reads these per block.
        CSingleLock lock(m_Lock);
        storeParam(index, n, index == kParamSideChain ? n : v);
        break;
    }
    case kParamAutoThreshold:
        storeParam(index, n, n);
        for (CVRXComp* c : comps)
            c->set_AutoThreshold(n);
        break;
    default:
        if (isKnob(index))
        {
            storeParam(index, n, v);
            applyKnob(index, v, fromPanel ? n : v);
        }
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
    if (index < 0 || index >= kNumParams)
        return;
    setParameterWork(index, value, false);
}

void ADeEsser::setParameterFormUI(int index, float value)
{
    if (!std::isfinite(value))
        return;
    if (index >= 0 && index < kNumParams)
        setParameterWork(index, value, true);
    notifyHost(audioMasterAutomate, index, value);
}

void ADeEsser::setParameterFromDiaplay(int index, float v)
{
    if (!std::isfinite(v))
        return;
    float n = v;
    switch (index)
    {
    case kParamOutput:
    case kParamInput:
    {
        CSingleLock lock(m_Lock);
        const float g = (float)Db6ToGain(v);
        // The stored program is held to the gain's lower end and to about
        // +6 dB (Output) or 0 dB (Input); the applied output gain is not.
        const float top = index == kParamOutput ? kTypedOutputGainMax : 1.0f;
        n = ValToNormalizeValue(index,
                                std::min(std::max(g, AutomateParamMinMax_Tbl[index].min), top));
        storeParam(index, n, v);
        if (index == kParamOutput)
            m_OutputGain = g;
        break;
    }
    default:
        if (isKnob(index))
        {
            // The typed value is kept unclamped; only its normalised form is clamped.
            n = ValToNormalizeValue(index, v);
            storeParam(index, n, v);
            applyKnob(index, v, n); // attack: the normalised value, as from the panel's knob
        }
        break;
    }
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateControl(index, n);
    notifyHost(audioMasterAutomate, index, n);
    endEdit(index);
}
