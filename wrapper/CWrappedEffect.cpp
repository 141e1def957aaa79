#include "CWrappedEffect.h"

#include "ADeEsser.h"
#include "AEffEditor.h"
#include "IWrapperListener.h"
#include "ParamRange.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
constexpr int kDefaultMaxBlock = 4096;
constexpr VstIntPtr kAnsweredVstVersion = 2400;
} // namespace

CWrappedEffect::CWrappedEffect(const char* bundleFolder)
    : m_Folder(bundleFolder ? bundleFolder : "")
{
    if (!m_Folder.empty() && m_Folder.back() != '/')
        m_Folder += '/';
    m_pEffect = std::make_unique<ADeEsser>(&CWrappedEffect::HostCallback);
    m_pEffect->getAeffect()->user = this;
    m_pEffect->dispatcher(effOpen, 0, 0, nullptr, 0.f);
}

CWrappedEffect::~CWrappedEffect()
{
    m_pListener = nullptr; // nothing said while shutting down
    if (m_bActive)
        Deactivate();
    if (AEffEditor* editor = Editor())
        editor->close();
    // effClose releases the instance, as it does for a VST host.
    m_pEffect->getAeffect()->user = nullptr;
    m_pEffect.release()->dispatcher(effClose, 0, 0, nullptr, 0.f);
}

AEffEditor* CWrappedEffect::Editor() const
{
    return m_pEffect->getEditor();
}

void CWrappedEffect::Activate(double sampleRate, int maxBlock)
{
    Prepare(sampleRate, maxBlock);
    Start();
}

void CWrappedEffect::Prepare(double sampleRate, int maxBlock)
{
    if (m_bActive)
        Deactivate();
    m_MaxBlock = maxBlock > 0 ? maxBlock : kDefaultMaxBlock;
    m_Scratch.assign((size_t)m_MaxBlock * 2, 0.f);
    m_pEffect->dispatcher(effSetSampleRate, 0, 0, nullptr, (float)sampleRate);
    m_pEffect->dispatcher(effSetBlockSize, 0, m_MaxBlock, nullptr, 0.f);
}

void CWrappedEffect::Start()
{
    if (m_bActive || m_MaxBlock <= 0)
        return;
    m_pEffect->dispatcher(effMainsChanged, 0, 1, nullptr, 0.f);
    m_pEffect->dispatcher(effStartProcess, 0, 0, nullptr, 0.f);
    m_bActive = true;
}

void CWrappedEffect::Deactivate()
{
    if (!m_bActive)
        return;
    m_pEffect->dispatcher(effStopProcess, 0, 0, nullptr, 0.f);
    m_pEffect->dispatcher(effMainsChanged, 0, 0, nullptr, 0.f);
    m_bActive = false;
}

void CWrappedEffect::Process(const float* const* in, float* const* out, int frames)
{
    if (!m_bActive)
    {
        for (int ch = 0; ch < 2; ++ch)
            std::fill(out[ch], out[ch] + std::max(frames, 0), 0.f);
        return;
    }
    float* scratch[2] = {m_Scratch.data(), m_Scratch.data() + m_MaxBlock};
    for (int done = 0; done < frames;)
    {
        const int n = std::min(frames - done, m_MaxBlock);
        float* blockOut[2];
        for (int ch = 0; ch < 2; ++ch)
        {
            std::memcpy(scratch[ch], in[ch] + done, sizeof(float) * (size_t)n);
            blockOut[ch] = out[ch] + done;
        }
        m_pEffect->processReplacing(scratch, blockOut, n);
        done += n;
    }
}

bool CWrappedEffect::SetPlain(int index, float plain)
{
    if (index < 0 || index >= kNumParams || !std::isfinite(plain))
        return false;
    const float before = GetNormalised(index);
    SetNormalised(index, PlainToNormalised(index, plain));
    return GetNormalised(index) != before;
}

float CWrappedEffect::GetPlain(int index) const
{
    return NormalisedToPlain(index, GetNormalised(index));
}

bool CWrappedEffect::ShowsPlain(int index, float plain) const
{
    if (index < 0 || index >= kNumParams || !std::isfinite(plain))
        return false;
    if (GetParamRange(index).toggled)
        return PlainToNormalised(index, plain) == GetNormalised(index);
    return GetPlain(index) == ClampPlain(index, plain);
}

void CWrappedEffect::SetNormalised(int index, float normalised)
{
    if (index < 0 || index >= kNumParams || !std::isfinite(normalised))
        return;
    m_pEffect->setParameter(index, normalised);
}

float CWrappedEffect::GetNormalised(int index) const
{
    return m_pEffect->getParameter(index);
}

void CWrappedEffect::GetMeters(float* inputPeak, float* outputPeak, float* reduction) const
{
    float inL = 0.f, inR = 0.f, outL = 0.f, outR = 0.f, gr = 1.f;
    m_pEffect->GetVU(&inL, &inR, &outL, &outR);
    m_pEffect->GetReductionVU(&gr);
    if (inputPeak)
        *inputPeak = std::max(inL, inR);
    if (outputPeak)
        *outputPeak = std::max(outL, outR);
    if (reduction)
        *reduction = gr;
}

VstIntPtr CWrappedEffect::HostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                       VstIntPtr value, void* /*ptr*/, float opt)
{
    // Calls made while the effect is being built find no wrapper yet.
    CWrappedEffect* self = effect ? static_cast<CWrappedEffect*>(effect->user) : nullptr;
    if (!self)
        return opcode == audioMasterVersion ? kAnsweredVstVersion : 0;
    return self->OnHostCall(opcode, index, value, opt);
}

VstIntPtr CWrappedEffect::OnHostCall(VstInt32 opcode, VstInt32 index, VstIntPtr value, float opt)
{
    switch (opcode)
    {
    case audioMasterVersion:
        return kAnsweredVstVersion;
    case audioMasterGetDirectory:
        return m_Folder.empty() ? 0 : (VstIntPtr)m_Folder.c_str();
    case audioMasterAutomate:
        if (m_pListener && index >= 0 && index < kNumParams)
            m_pListener->OnParamEdited(index, opt);
        return 0;
    case audioMasterBeginEdit:
        if (m_pListener && index >= 0 && index < kNumParams)
            m_pListener->OnBeginEdit(index);
        return 1;
    case audioMasterEndEdit:
        if (m_pListener && index >= 0 && index < kNumParams)
            m_pListener->OnEndEdit(index);
        return 1;
    case audioMasterUpdateDisplay:
        if (m_pListener)
            m_pListener->OnUpdateDisplay();
        return 1;
    case kAudioMasterSizeWindow:
        return m_pListener && m_pListener->OnResizeEditor(index, (int)value) ? 1 : 0;
    default:
        return 0;
    }
}
