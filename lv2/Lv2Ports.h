// The LV2 plug-in's identity and port layout, shared by the plug-in, its
// editor and the program that writes the .ttl files.
#pragma once

#include <cstdint>

#include "ParamTable.h"

#define DEESSER_LV2_URI "urn:korvaine:comp2"
#define DEESSER_LV2_UI_URI DEESSER_LV2_URI "#ui"
// The state property holding the bank (the VST bank chunk bytes).
#define DEESSER_LV2_BANK_KEY DEESSER_LV2_URI "#bank"

enum Lv2Port : uint32_t
{
    kPortInL = 0,
    kPortInR,
    kPortOutL,
    kPortOutR,
    kPortFirstControl, // the eleven parameters, in kLv2ControlOrder
    kPortInputLevel = kPortFirstControl + kNumParams,
    kPortOutputLevel,
    kPortGainReduction,
    kPortLatency,
    kPortCount
};

// Parameter index of each control input port, in port order: the controls
// users turn most come first.
constexpr int kLv2ControlOrder[kNumParams] = {
    kParamThreshold, kParamRatio, kParamAttack, kParamRelease,   kParamLowFreq,      kParamHiFreq,
    kParamOutput,    kParamInput, kParamOnOff,  kParamSideChain, kParamAutoThreshold};

constexpr uint32_t PortOfParam(int index)
{
    for (int i = 0; i < kNumParams; ++i)
        if (kLv2ControlOrder[i] == index)
            return kPortFirstControl + (uint32_t)i;
    return kPortCount;
}

// Parameter index of a control input port, or -1.
constexpr int ParamOfPort(uint32_t port)
{
    return port >= kPortFirstControl && port < kPortFirstControl + kNumParams
               ? kLv2ControlOrder[port - kPortFirstControl]
               : -1;
}

// Meter outputs are in dB, floored here.
constexpr float kLv2MeterFloorDb = -100.f;
constexpr float kLv2LevelCeilingDb = 20.f;
