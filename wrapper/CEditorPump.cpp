#include "CEditorPump.h"

#include "AEffEditor.h"
#include "AudioEffect.h"
#include "IDeEsserPanel.h"

#include <cmath>

namespace
{
// The editor takes the host's scale through the vendor-specific call a VST
// host makes: index 'PreS', value 'AeCs', the scale in opt.
constexpr VstInt32 kScaleIndex = VstFourCC('P', 'r', 'e', 'S');
constexpr VstIntPtr kScaleValue = VstFourCC('A', 'e', 'C', 's');
} // namespace

CEditorPump::~CEditorPump()
{
    Close();
}

bool CEditorPump::GetSize(int* width, int* height) const
{
    AEffEditor* editor = m_Effect.getEditor();
    ERect* rect = nullptr;
    if (!editor || !editor->getRect(&rect) || !rect)
        return false;
    if (width)
        *width = rect->right - rect->left;
    if (height)
        *height = rect->bottom - rect->top;
    return true;
}

bool CEditorPump::Open(unsigned long parentWindow)
{
    AEffEditor* editor = m_Effect.getEditor();
    if (!editor || !parentWindow)
        return false;
    if (m_bOpen)
        return true;
    HandScaleToEditor();
    m_bOpen = editor->open(reinterpret_cast<void*>(parentWindow));
    return m_bOpen;
}

void CEditorPump::Idle()
{
    if (AEffEditor* editor = m_Effect.getEditor(); editor && m_bOpen)
        editor->idle();
}

int CEditorPump::EventFd() const
{
    auto* editor = dynamic_cast<IDeEsserEditor*>(m_Effect.getEditor());
    return editor && m_bOpen ? editor->GetEventFd() : -1;
}

void CEditorPump::Close()
{
    if (!m_bOpen)
        return;
    m_bOpen = false;
    if (AEffEditor* editor = m_Effect.getEditor())
        editor->close();
}

void CEditorPump::SetScale(float scale)
{
    if (!std::isfinite(scale) || scale < 1.f || scale > 4.f)
        return;
    m_Scale = scale;
    HandScaleToEditor();
}

void CEditorPump::HandScaleToEditor()
{
    // The one place the host's scale reaches the editor.
    if (m_Scale > 0.f)
        m_Effect.dispatcher(effVendorSpecific, kScaleIndex, kScaleValue, nullptr, m_Scale);
}
