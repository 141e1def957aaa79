// CUIWindow: creation, layout and painting of the main panel.
#include "CUIWindow.h"

#include <cstdio>

#include "ADeEsser.h"
#include "CDeEsserEditor.h"
#include "ParamTable.h"

// clang-format off
const CRect CUIWindow::kLampRect(141, 10, 184, 26); // modified lamp (image 5020)
const CRect CUIWindow::kSaveRect(195, 10, 238, 26); // save button face (image 5019)

namespace
{
// Value displays, by parameter index.
const CRect kThresholdDisp(255, 105, 303, 119);
const CRect kAttackDisp   (255, 180, 303, 194);
const CRect kReleaseDisp  (326, 105, 374, 119);
const CRect kRatioDisp    (326, 180, 374, 194);
const CRect kInputDisp    (14, 186, 48, 200);
const CRect kOutputDisp   (404, 186, 438, 200);
const CRect kLowFreqDisp  (92, 93, 140, 107);
const CRect kHiFreqDisp   (92, 178, 140, 192);

// Control rectangles.
const CRect kPowerRect        (23, 7, 52, 27);
const CRect kCopyRect         (64, 10, 89, 27);
const CRect kInputRect        (48, 45, 64, 178);
const CRect kOutputRect       (403, 45, 419, 178);
const CRect kLowFreqRect      (99, 54, 133, 88);
const CRect kHiFreqRect       (99, 139, 133, 173);
const CRect kListenRect       (168, 68, 182, 80);
const CRect kSideChainRect    (168, 85, 182, 97);
const CRect kThresholdRect    (262, 66, 296, 100);
const CRect kAttackRect       (262, 141, 296, 175);
const CRect kAutoThresholdRect(305, 56, 319, 68);
const CRect kReleaseRect      (333, 66, 367, 100);
const CRect kRatioRect        (333, 141, 367, 175);

// Where the four level strips go: input L, input R, output L, output R.
const CPoint kVUPos[4] = {CPoint(29, 45), CPoint(38, 45), CPoint(422, 45), CPoint(431, 45)};
const CPoint kReductionPos(198, 55);
const CPoint kSavePos(195, 10);

// Knobs: 61 frames over 30..330 degrees.
const int   kKnobFrames = 61;
const float kKnobStart  = 30.f;
const float kKnobEnd    = 330.f;
const int   kKnobOption = 8;
// clang-format on

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
    m_rcThreshold = kThresholdDisp;
    m_rcAttack = kAttackDisp;
    m_rcRelease = kReleaseDisp;
    m_rcRatio = kRatioDisp;
    m_rcInput = kInputDisp;
    m_rcOutput = kOutputDisp;
    m_rcLowFreq = kLowFreqDisp;
    m_rcHiFreq = kHiFreqDisp;
    m_rcModify = kLampRect;
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
    switch (paramIndex)
    {
    case kParamOutput:
        return kOutputDisp;
    case kParamInput:
        return kInputDisp;
    case kParamThreshold:
        return kThresholdDisp;
    case kParamRatio:
        return kRatioDisp;
    case kParamAttack:
        return kAttackDisp;
    case kParamRelease:
        return kReleaseDisp;
    case kParamLowFreq:
        return kLowFreqDisp;
    case kParamHiFreq:
        return kHiFreqDisp;
    default:
        return CRect();
    }
}

CVRXNewBitmapTumamiDC& CUIWindow::Knob(int id)
{
    switch (id)
    {
    case IDC_THRESHOLD:
        return m_Threshold;
    case IDC_ATTACK:
        return m_Attack;
    case IDC_RELEASE:
        return m_Release;
    case IDC_RATIO:
        return m_Ratio;
    case IDC_LOWFREQ:
        return m_LowFreq;
    default:
        return m_HiFreq;
    }
}

CVRXBitmapSliderDC& CUIWindow::Fader(int id)
{
    return id == IDC_OUTPUT ? m_Output : m_Input;
}

CVRXBitmapSwitch2DC& CUIWindow::Switch(int id)
{
    switch (id)
    {
    case IDC_POWER:
        return m_Power;
    case IDC_LISTEN:
        return m_Listen;
    case IDC_SIDECHAIN:
        return m_SideChain;
    case IDC_AUTOTHRESHOLD:
        return m_AutoThreshold;
    default:
        return m_Copy;
    }
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

    for (int i = 0; i < 20; ++i)
        m_Bmp[i].LoadResourceBitmap(5001 + i);
    CVRXBitmap& strip = m_Bmp[5001 - 5001];
    CVRXBitmap& track = m_Bmp[5009 - 5001];
    CVRXBitmap& cap = m_Bmp[5010 - 5001];
    auto param = [effect](int index) { return effect ? effect->getParameter(index) : 0.f; };
    CRect noDisplay;

    // Controls in layout order; each takes its value from the effect at once.
    CRect r = kPowerRect;
    m_Power.Make(r, this, &m_Bmp[5003 - 5001], &m_Bmp[5002 - 5001], IDC_POWER, noDisplay, false,
                 nullptr, ControlCallback, this);
    m_Power.SetValue((int)param(kParamOnOff), false);

    r = kCopyRect;
    m_Copy.Make(r, this, &m_Bmp[5018 - 5001], &m_Bmp[5017 - 5001], IDC_COPY, noDisplay, false,
                nullptr, ControlCallback, this);
    m_Copy.SetValue(0, false);

    const CPoint faderStart(1, track.Height() - cap.Height() / 2);
    const CPoint faderEnd(1, cap.Height() / 2);
    r = kInputRect;
    m_Input.Make(r, m_rcInput, this, &track, nullptr, &cap, 0.f, 1.f, faderStart, faderEnd,
                 IDC_INPUT, 1, true, false, false, false, ControlCallback, this);
    m_Input.SetValue(param(kParamInput), nullptr, false);
    r = kOutputRect;
    m_Output.Make(r, m_rcOutput, this, &track, nullptr, &cap, 0.f, 1.f, faderStart, faderEnd,
                  IDC_OUTPUT, 1, true, false, false, false, ControlCallback, this);
    m_Output.SetValue(param(kParamOutput), nullptr, false);

    auto makeKnob =
        [&](CVRXNewBitmapTumamiDC& knob, const CRect& rect, CRect& display, int id, int index)
    {
        CRect kr = rect;
        knob.Make(kr, display, this, &strip, 0.f, 1.f, id, kKnobFrames, kKnobStart, kKnobEnd,
                  kKnobOption, false, ControlCallback, this);
        knob.SetValue(param(index), nullptr, false);
    };
    makeKnob(m_LowFreq, kLowFreqRect, m_rcLowFreq, IDC_LOWFREQ, kParamLowFreq);
    makeKnob(m_HiFreq, kHiFreqRect, m_rcHiFreq, IDC_HIFREQ, kParamHiFreq);

    r = kListenRect;
    m_Listen.Make(r, this, &m_Bmp[5014 - 5001], &m_Bmp[5013 - 5001], IDC_LISTEN, noDisplay, false,
                  nullptr, ControlCallback, this);
    m_Listen.SetValue(effect && effect->GetListen() ? 1 : 0, false);
    r = kSideChainRect;
    m_SideChain.Make(r, this, &m_Bmp[5016 - 5001], &m_Bmp[5015 - 5001], IDC_SIDECHAIN, noDisplay,
                     false, nullptr, ControlCallback, this);
    m_SideChain.SetValue((int)param(kParamSideChain), false);

    makeKnob(m_Threshold, kThresholdRect, m_rcThreshold, IDC_THRESHOLD, kParamThreshold);
    makeKnob(m_Attack, kAttackRect, m_rcAttack, IDC_ATTACK, kParamAttack);

    r = kAutoThresholdRect;
    m_AutoThreshold.Make(r, this, &m_Bmp[5005 - 5001], &m_Bmp[5004 - 5001], IDC_AUTOTHRESHOLD,
                         noDisplay, false, nullptr, ControlCallback, this);
    m_AutoThreshold.SetValue((int)param(kParamAutoThreshold), false);

    makeKnob(m_Release, kReleaseRect, m_rcRelease, IDC_RELEASE, kParamRelease);
    makeKnob(m_Ratio, kRatioRect, m_rcRatio, IDC_RATIO, kParamRatio);

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

    Blit(&bmpDC, kSavePos.x, kSavePos.y, 43, 16, &m_Bmp[5019 - 5001], 0, 0);
    ADeEsser* effect = Effect();
    CVRXBitmap& lamp = m_Bmp[5020 - 5001];
    const int lampRow = effect && effect->IsProgramChanged() ? lamp.Height() / 2 : 0;
    Blit(&bmpDC, kLampRect.left, kLampRect.top, 43, 16, &lamp, 0, lampRow);

    dc.BitBlt(0, 0, client.Width(), client.Height(), &bmpDC, 0, 0, SRCCOPY);

    m_LowFreq.Draw(&dc);
    m_HiFreq.Draw(&dc);
    m_Threshold.Draw(&dc);
    m_Attack.Draw(&dc);
    m_Release.Draw(&dc);
    m_Ratio.Draw(&dc);
    m_Input.DrawSlider(&dc);
    m_Output.DrawSlider(&dc);
    m_Power.DrawSwitch(&dc);
    m_Listen.DrawSwitch(&dc);
    m_SideChain.DrawSwitch(&dc);
    m_AutoThreshold.DrawSwitch(&dc);
    m_Copy.DrawSwitch(&dc);
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

void CUIWindow::DrawFreq1Disp(CDC* dc)
{
    DrawDisplay(dc, kParamLowFreq);
}
void CUIWindow::DrawFreq2Disp(CDC* dc)
{
    DrawDisplay(dc, kParamHiFreq);
}
void CUIWindow::DrawThresholdDisp(CDC* dc)
{
    DrawDisplay(dc, kParamThreshold);
}
void CUIWindow::DrawAttackDisp(CDC* dc)
{
    DrawDisplay(dc, kParamAttack);
}
void CUIWindow::DrawReleaseDisp(CDC* dc)
{
    DrawDisplay(dc, kParamRelease);
}
void CUIWindow::DrawRatioDisp(CDC* dc)
{
    DrawDisplay(dc, kParamRatio);
}
void CUIWindow::DrawOutDisp(CDC* dc)
{
    DrawDisplay(dc, kParamOutput);
}
void CUIWindow::DrawInputDisp(CDC* dc)
{
    DrawDisplay(dc, kParamInput);
}

void CUIWindow::DrawVU(CDC* dc)
{
    CVRXBitmap& strip = m_Bmp[5011 - 5001]; // unlit half | lit half
    const int halfW = strip.Width() / 2;
    const int h = strip.Height();
    CDC scratch;
    if (!strip.GetHandle() || !scratch.CreateBitmapDC(halfW, h))
        return;
    for (int i = 0; i < 4; ++i)
    {
        Blit(&scratch, 0, 0, halfW, h, &strip, 0, 0);
        // 3 rows per dB, row 19 is 0 dB; the lit part runs from y down.
        int y = (int)(m_fVU[i] * -3.0 + 19.0);
        if (y < 0)
            y = 0;
        Blit(&scratch, 0, y, halfW, h - y, &strip, halfW, y);
        dc->BitBlt(kVUPos[i].x, kVUPos[i].y, halfW, h, &scratch, 0, 0, SRCCOPY);
    }
}

void CUIWindow::DrawReductionVU(CDC* dc)
{
    CVRXBitmap& strip = m_Bmp[5012 - 5001]; // unlit half | lit half
    const int halfW = strip.Width() / 2;
    const int h = strip.Height();
    CDC scratch;
    if (!strip.GetHandle() || !scratch.CreateBitmapDC(halfW, h))
        return;
    Blit(&scratch, 0, 0, halfW, h, &strip, 0, 0);
    // The lit bar grows down from the top; the full height is 40 dB.
    int lit = -(int)(h / 40.0 * m_fReduction);
    if (lit > h)
        lit = h;
    Blit(&scratch, 0, 0, halfW, lit, &strip, halfW, 0);
    dc->BitBlt(kReductionPos.x, kReductionPos.y, halfW, h, &scratch, 0, 0, SRCCOPY);
}

void CUIWindow::DrawClip(CDC*) {}
