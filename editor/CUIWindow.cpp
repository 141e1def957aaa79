// CUIWindow: creation, layout and painting of the main panel.
#include "CUIWindow.h"

#include <cstdio>

#include "ADeEsser.h"
#include "CDeEsserEditor.h"
#include "ParamTable.h"

namespace
{
CRect ToCRect(const PanelRect& r)
{
    return CRect(r.l, r.t, r.r, r.b);
}
} // namespace

const CRect CUIWindow::kLampRect = ToCRect(kPanelLampRect);
const CRect CUIWindow::kSaveRect = ToCRect(kPanelSaveRect);

namespace
{
// Knobs: 61 frames over 30..330 degrees, option 8 (kept, unused), linear.
const float kKnobStart = 30.f;
const float kKnobEnd = 330.f;
const int kKnobOption = 8;

const COLORREF kDisplayTextColor = RGB(72, 72, 72);

// Copies w x h of `src` at (sx, sy) to (x, y) of dc.
void Blit(CDC* dc, int x, int y, int w, int h, CBitmap* src, int sx, int sy)
{
    if (!src || !src->GetHandle())
        return;
    CDC mem;
    mem.CreateCompatibleDC(dc);
    mem.SelectObject(src);
    dc->BitBlt(x, y, w, h, &mem, sx, sy, SRCCOPY);
}
} // namespace

BEGIN_MESSAGE_MAP(CUIWindow, CWnd)
ON_WM_CREATE()
ON_WM_PAINT()
ON_WM_SIZE()
ON_WM_DESTROY()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONDBLCLK()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONUP()
ON_MESSAGE(WM_INPUTVAL_RETURN, OnInputValReturn)
ON_COMMAND_RANGE(IDM_COPYPG_FIRST, IDM_COPYPG_LAST, OnSelCopyPg)
END_MESSAGE_MAP()

CUIWindow::CUIWindow()
{
    m_rcModify = kLampRect;
    int knobs = 0, faders = 0, switches = 0;
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        const int kind = kPanelControls[i].kind;
        m_pControls[i] = kind == PANEL_KNOB    ? (CVRXControl*)&m_Knobs[knobs++]
                         : kind == PANEL_FADER ? (CVRXControl*)&m_Faders[faders++]
                                               : (CVRXControl*)&m_Switches[switches++];
    }
}

CUIWindow::~CUIWindow()
{
    if (m_hWnd)
        DestroyWindow();
}

ADeEsser* CUIWindow::Effect() const
{
    return m_pEditor ? m_pEditor->GetDeEsser() : nullptr;
}

CRect CUIWindow::DisplayRect(int paramIndex)
{
    for (const PanelControl& c : kPanelControls)
        if (c.drives == paramIndex && c.kind != PANEL_SWITCH)
            return ToCRect(c.display);
    return CRect();
}

int CUIWindow::ControlIndex(int id)
{
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
        if (kPanelControls[i].id == id)
            return i;
    return -1;
}

CVRXControl& CUIWindow::Control(int id)
{
    const int i = ControlIndex(id);
    return *m_pControls[i >= 0 ? i : ControlIndex(IDC_COPY)];
}

BOOL CUIWindow::MakeWindow(CWnd* parentFrame, CVRXBitmap* background, CDeEsserEditor* editor)
{
    LPCTSTR className = AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                            (HBRUSH)GetStockObject(NULL_BRUSH));
    m_pEditor = editor;
    m_pBackground = background;
    m_pParentFrame = parentFrame;
    m_Font9.CreatePointFont(9, "Osaka");
    m_Font12.CreatePointFont(12, "Osaka");
    const int w = background ? background->Width() : 0;
    const int h = background ? background->Height() : 0;
    return Create(className, "UIWindow", WS_CHILD | WS_VISIBLE, CRect(0, 0, w, h), parentFrame, 0);
}

int CUIWindow::OnCreate(LPCREATESTRUCT cs)
{
    if (CWnd::OnCreate(cs) == -1)
        return -1;
    ADeEsser* effect = Effect();

    LoadImages();
    auto param = [effect](int index) { return effect ? effect->getParameter(index) : 0.f; };

    // Controls in layout order; each takes its value from the effect at once.
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        const PanelControl& c = kPanelControls[i];
        CRect rect = ToCRect(c.rect);
        CRect display = ToCRect(c.display);
        if (c.kind == PANEL_KNOB)
        {
            auto& knob = static_cast<CVRXNewBitmapTumamiDC&>(*m_pControls[i]);
            knob.Make(rect, display, this, &Bmp(c.image0), 0.f, 1.f, c.id, PANEL_KNOB_FRAMES,
                      kKnobStart, kKnobEnd, kKnobOption, false, ControlCallback, this);
            knob.SetValue(param(c.drives), nullptr, false);
        }
        else if (c.kind == PANEL_FADER)
        {
            // The cap's centre travels from half its height above the track's
            // bottom (minimum) to half its height below the top (maximum).
            CVRXBitmap& track = Bmp(c.image0);
            CVRXBitmap& cap = Bmp(c.image1);
            const CPoint start(1, track.Height() - cap.Height() / 2);
            const CPoint end(1, cap.Height() / 2);
            auto& fader = static_cast<CVRXBitmapSliderDC&>(*m_pControls[i]);
            fader.Make(rect, display, this, &track, nullptr, &cap, 0.f, 1.f, start, end, c.id, 1,
                       true, false, false, false, ControlCallback, this);
            fader.SetValue(param(c.drives), nullptr, false);
        }
        else
        {
            auto& sw = static_cast<CVRXBitmapSwitch2DC&>(*m_pControls[i]);
            sw.Make(rect, this, &Bmp(c.image0), &Bmp(c.image1), c.id, display, false, nullptr,
                    ControlCallback, this);
            int value = 0; // the copy button starts released
            if (c.drives >= 0)
                value = (int)param(c.drives);
            else if (c.drives == PANEL_DRIVES_LISTEN)
                value = effect && effect->GetListen() ? 1 : 0;
            sw.SetValue(value, false);
        }
    }

    // The typed-value field: created once, hidden, reused for every display.
    CWindowAttr attr{VRX_DEFAULT_POSITION, 6, &m_Font12, true};
    char title[] = "";
    m_EditWnd.MakeWindow(this, this, title, &attr, 6, &m_Font12, true);
    if (m_EditWnd.GetSafeHwnd())
        m_EditWnd.ShowWindow(SW_HIDE);
    m_nEditId = -1;
    m_bFlag = false;

    for (float& v : m_fVU)
        v = -38.f;
    m_fReduction = 0.f;
    m_fLastReductionCounter = -1.f;
    m_nLastLevelCounter = 0xFFFF;

    SetTimer(TIMER_PANEL, 75, nullptr);
    return 0;
}

void CUIWindow::LoadImages()
{
    // The controls keep pointers to these objects, so they follow at once.
    for (int i = 0; i < 20; ++i)
        m_Bmp[i].LoadResourceBitmap(5001 + i);
    Invalidate(TRUE);
}

void CUIWindow::OnDestroy() {}

void CUIWindow::OnPaint()
{
    CPaintDC dc(this);
    CRect client;
    GetClientRect(&client);
    CDC memDC;
    memDC.CreateCompatibleDC(&dc);
    CDC bmpDC;
    if (!bmpDC.CreateBitmapDC(client.Width(), client.Height()))
        return;

    if (m_pBackground && m_pBackground->GetHandle())
    {
        memDC.SelectObject(m_pBackground);
        bmpDC.BitBlt(0, 0, m_pBackground->Width(), m_pBackground->Height(), &memDC, 0, 0, SRCCOPY);
    }

    bmpDC.SetBkMode(TRANSPARENT);
    bmpDC.SetTextColor(kDisplayTextColor);
    CFont* oldFont = bmpDC.SelectObject(&m_Font9);
    DrawFreq1Disp(&bmpDC);
    DrawFreq2Disp(&bmpDC);
    DrawThresholdDisp(&bmpDC);
    DrawAttackDisp(&bmpDC);
    DrawReleaseDisp(&bmpDC);
    DrawRatioDisp(&bmpDC);
    DrawOutDisp(&bmpDC);
    DrawInputDisp(&bmpDC);
    DrawVU(&bmpDC);
    DrawReductionVU(&bmpDC);
    bmpDC.SelectObject(oldFont);

    Blit(&bmpDC, kSaveRect.left, kSaveRect.top, kSaveRect.Width(), kSaveRect.Height(), &Bmp(5019),
         0, 0);
    ADeEsser* effect = Effect();
    CVRXBitmap& lamp = Bmp(5020);
    const int lampRow = effect && effect->IsProgramChanged() ? lamp.Height() / 2 : 0;
    Blit(&bmpDC, kLampRect.left, kLampRect.top, kLampRect.Width(), kLampRect.Height(), &lamp, 0,
         lampRow);

    dc.BitBlt(0, 0, client.Width(), client.Height(), &bmpDC, 0, 0, SRCCOPY);

    // The controls straight onto the window (no two of them overlap).
    for (CVRXControl* control : m_pControls)
        control->Paint(&dc);
}

void CUIWindow::OnSize(UINT type, int cx, int cy)
{
    CWnd::OnSize(type, cx, cy);
    Invalidate(TRUE);
}

void CUIWindow::DrawDisplay(CDC* dc, int paramIndex)
{
    ADeEsser* effect = Effect();
    if (!effect)
        return;
    char text[64] = {0};
    effect->getParameterDisplay(paramIndex, text);
    text[sizeof(text) - 1] = 0;
    const CRect rect = DisplayRect(paramIndex);
    const CString str(text);
    const CSize size = dc->GetTextExtent(str);
    const int x = rect.left + (rect.Width() - size.cx) / 2;
    const int y = rect.top + (rect.Height() - size.cy) / 2 + 2;
    dc->ExtTextOut(x, y, ETO_CLIPPED, &rect, str);
}

namespace
{
// A meter strip image holds the unlit look in its left half and the lit look
// in its right half; rows [litFrom, litTo) show lit, the rest unlit, with the
// strip's top-left corner at `at`.
void DrawMeter(CDC* dc, CVRXBitmap& strip, int litFrom, int litTo, const PanelPoint& at)
{
    const int halfW = strip.Width() / 2;
    const int h = strip.Height();
    CDC scratch;
    if (!strip.GetHandle() || !scratch.CreateBitmapDC(halfW, h))
        return;
    Blit(&scratch, 0, 0, halfW, h, &strip, 0, 0);
    Blit(&scratch, 0, litFrom, halfW, litTo - litFrom, &strip, halfW, litFrom);
    dc->BitBlt(at.x, at.y, halfW, h, &scratch, 0, 0, SRCCOPY);
}
} // namespace

void CUIWindow::DrawVU(CDC* dc)
{
    CVRXBitmap& strip = Bmp(5011);
    for (int i = 0; i < 4; ++i)
    {
        // 3 rows per dB, row 19 is 0 dB; the lit part runs from y down.
        int y = (int)(m_fVU[i] * -3.0 + 19.0);
        if (y < 0)
            y = 0;
        DrawMeter(dc, strip, y, strip.Height(), kPanelLevelMeters[i]);
    }
}

void CUIWindow::DrawReductionVU(CDC* dc)
{
    CVRXBitmap& strip = Bmp(5012);
    // The lit bar grows down from the top; the full height is 40 dB.
    const int h = strip.Height();
    int lit = -(int)(h / 40.0 * m_fReduction);
    if (lit > h)
        lit = h;
    DrawMeter(dc, strip, 0, lit, kPanelReductionMeter);
}

void CUIWindow::DrawClip(CDC*) {}
