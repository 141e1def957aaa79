// CDeEsserEditor: editor bridge between the host's editor calls and the panel.
#include "CDeEsserEditor.h"

#include <cmath>
#include <cstdlib>

#include "ADeEsser.h"
#include "CUIWindow.h"
#include "EditorScale.h"
#include "IToolkitBackend.h"

CDeEsserEditor::CDeEsserEditor(AudioEffect* effect) : IDeEsserEditor(effect)
{
    m_Background.LoadResourceBitmap(5000);
    if (effect)
        effect->setEditor(this);
    m_Rect.top = 0;
    m_Rect.left = 0;
    m_Rect.bottom = (VstInt16)m_Background.Height();
    m_Rect.right = (VstInt16)m_Background.Width();
    m_pUIWindow = nullptr;
}

void CDeEsserEditor::UpdateScale()
{
    m_Scale = ResolveEditorScale(m_HostScale, std::getenv("DEESSER_UI_SCALE"),
                                 [] { return CToolkit::DesktopScale(); });
    // The background's size in panel pixels, scaled.
    m_Rect.bottom = (VstInt16)std::lround(m_Background.Height() * m_Scale);
    m_Rect.right = (VstInt16)std::lround(m_Background.Width() * m_Scale);
}

CDeEsserEditor::~CDeEsserEditor()
{
    if (m_pUIWindow)
        close();
}

ADeEsser* CDeEsserEditor::GetDeEsser() const
{
    return static_cast<ADeEsser*>(effect);
}

bool CDeEsserEditor::getRect(ERect** rect)
{
    if (!rect)
        return false;
    if (!m_pUIWindow)
        UpdateScale();
    *rect = &m_Rect;
    return true;
}

bool CDeEsserEditor::open(void* parentWindow)
{
    if (m_pUIWindow)
        return true;
    if (!parentWindow)
        return false;
    systemWindow = parentWindow;
    m_UIThread = std::this_thread::get_id();
    m_Deferred.Clear();
    UpdateScale();
    CToolkit::SetScale(m_Scale);
    m_Background.LoadResourceBitmap(5000); // drawn for the scale
    m_pUIWindow = new CUIWindow;
    m_Frame.SetNativeView(parentWindow);
    if (!m_Frame.GetSafeHwnd() || !m_pUIWindow->MakeWindow(&m_Frame, &m_Background, this) ||
        !m_pUIWindow->GetNativeView())
    {
        // No display, or the host's window is not one: leave everything closed.
        if (m_pUIWindow->GetSafeHwnd())
            m_pUIWindow->DestroyWindow();
        delete m_pUIWindow;
        m_pUIWindow = nullptr;
        m_Frame.SetNativeView(nullptr);
        systemWindow = nullptr;
        return false;
    }
    m_pUIWindow->MoveWindow(0, 0, m_Background.Width(), m_Background.Height(), TRUE);
    m_bOpen.store(true, std::memory_order_release);
    return true;
}

void CDeEsserEditor::close()
{
    m_bOpen.store(false, std::memory_order_release);
    systemWindow = nullptr;
    if (m_pUIWindow)
    {
        m_pUIWindow->DestroyWindow();
        delete m_pUIWindow;
        m_pUIWindow = nullptr;
    }
    // Detaching the frame releases the last window, and with it the
    // toolkit's display connection.
    m_Frame.SetNativeView(nullptr);
}

void CDeEsserEditor::idle()
{
    if (!m_pUIWindow)
        return;
    CToolkit::Pump();
    // The pump may have learnt that the host destroyed its window.
    if (m_pUIWindow && m_pUIWindow->GetSafeHwnd())
    {
        m_Deferred.ApplyTo(m_pUIWindow);
        m_pUIWindow->idle();
    }
}

void CDeEsserEditor::draw(ERect*)
{
    if (m_pUIWindow && m_pUIWindow->GetSafeHwnd())
        m_pUIWindow->SendMessage(WM_PAINT);
}

VstInt32 CDeEsserEditor::mouse(VstInt32, VstInt32)
{
    return 0;
}

IDeEsserPanel* CDeEsserEditor::GetPanel()
{
    if (!m_bOpen.load(std::memory_order_acquire))
        return nullptr;
    if (std::this_thread::get_id() != m_UIThread)
        return &m_Deferred;
    return m_pUIWindow && m_pUIWindow->GetSafeHwnd() ? m_pUIWindow : nullptr;
}

int CDeEsserEditor::GetEventFd()
{
    IToolkitBackend* backend = m_bOpen ? CToolkit::Backend() : nullptr;
    return backend ? backend->EventFd() : -1;
}

bool CDeEsserEditor::ShowMessage(const char* text)
{
    if (!text || !m_pUIWindow || !m_pUIWindow->GetSafeHwnd())
        return false;
    m_pUIWindow->MessageBox(text, "DeEsser", MB_OK | MB_ICONEXCLAMATION);
    return true;
}

void CDeEsserEditor::SetScale(double scale)
{
    m_HostScale = std::isfinite(scale) && scale > 0.0 ? scale : 0.0;
    const double before = m_Scale;
    UpdateScale();
    if (!m_pUIWindow || !m_pUIWindow->GetSafeHwnd() || m_Scale == before)
        return;
    // Everything at the new size at once: windows, back buffers, images.
    CToolkit::SetScale(m_Scale);
    m_Background.LoadResourceBitmap(5000);
    m_pUIWindow->LoadImages();
    if (effect)
        static_cast<AudioEffectX*>(effect)->sizeWindow(m_Rect.right, m_Rect.bottom);
}

bool ControlCallback(int controlId, float value, void* owner)
{
    if (!owner)
        return false;
    static_cast<CUIWindow*>(owner)->ChangeControl(controlId, value);
    return true;
}

IDeEsserEditor* CreateDeEsserEditor(ADeEsser* effect)
{
    return new CDeEsserEditor(effect);
}
