// CUIWindow: mouse handling, typed values, the program-copy menu, the save
// and revert hot spots, control -> parameter changes, host -> control sync
// and the idle-time meter polling.
#include "CUIWindow.h"

#include <cmath>
#include <cstdlib>

#include "ADeEsser.h"
#include "CDeEsserEditor.h"
#include "CPresetSaveDlg.h"
#include "ParamTable.h"

namespace
{
// Press targets 1-8: value display, parameter, entry id, scale, signed, width.
struct DisplayTarget
{
    int param;
    int editId;
    int scale; // typed values are integers of value * scale
    bool sign;
    int width; // digits
};
// clang-format off
const DisplayTarget kDisplayTargets[8] = {
    {kParamThreshold, CUIWindow::IDE_THRESHOLD, 10,  true,  5},
    {kParamAttack,    CUIWindow::IDE_ATTACK,    10,  false, 4},
    {kParamRelease,   CUIWindow::IDE_RELEASE,   100, false, 4},
    {kParamRatio,     CUIWindow::IDE_RATIO,     10,  false, 4},
    {kParamInput,     CUIWindow::IDE_INPUT,     10,  true,  4},
    {kParamOutput,    CUIWindow::IDE_OUTPUT,    10,  true,  4},
    {kParamLowFreq,   CUIWindow::IDE_LOWFREQ,   10,  true,  6},
    {kParamHiFreq,    CUIWindow::IDE_HIFREQ,    10,  true,  6},
};
// clang-format on

// Parameter of a typed-value id 120-127, or -1.
int ParamOfEditId(int editId)
{
    for (const DisplayTarget& t : kDisplayTargets)
        if (t.editId == editId)
            return t.param;
    return -1;
}

const int kMinLevelDb = -38;
const int kMaxLevelDb = 6;
const int kMinReductionDb = -40;
} // namespace

// Press -------------------------------------------------------------------

void CUIWindow::OnLButtonDown(UINT, CPoint point)
{
    m_nEditId = -1;
    if (m_EditWnd.GetSafeHwnd() && m_EditWnd.IsWindowVisible())
        m_EditWnd.ShowWindow(SW_HIDE);
    m_EditWnd.SetFloatPoint(1);
    ADeEsser* effect = Effect();
    if (!effect)
        return;

    for (const DisplayTarget& t : kDisplayTargets)
    {
        const CRect rect = DisplayRect(t.param);
        if (!rect.PtInRect(point))
            continue;
        float min = 0.f, max = 0.f;
        GetParamMinMax(t.param, &min, &max);
        const float value = effect->getParameterDisplayVal(t.param);
        if (t.scale == 100)
            m_EditWnd.SetFloatPoint(2);
        ShowEdit((int)(value * t.scale), (int)(min * t.scale), (int)(max * t.scale), t.sign,
                 t.width, rect, t.editId);
        return;
    }

    // Knobs and faders start a drag and take the point at once (a knob jumps
    // to the pointed angle, a fader's cap to the point); switches toggle; the
    // copy button opens its menu.
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        const PanelControl& c = kPanelControls[i];
        if (c.kind != PANEL_SWITCH)
        {
            auto* control = static_cast<CVRXDragControl*>(m_pControls[i]);
            if (!control->BeginDrag(point))
                continue;
            CClientDC dc(this);
            control->OnMouseMove(point, &dc);
            return;
        }
        auto* sw = static_cast<CVRXBitmapSwitch2DC*>(m_pControls[i]);
        if (!sw->PtInSwitch(point))
            continue;
        if (c.drives == PANEL_DRIVES_COPY_MENU)
            return CopyProgramMenu();
        sw->SetValue(sw->GetValue() ? 0 : 1, true);
        CClientDC dc(this);
        sw->DrawSwitch(&dc);
        return;
    }
}

void CUIWindow::OnLButtonDblClk(UINT flags, CPoint point)
{
    OnLButtonDown(flags, point);
}

// Drag and release ----------------------------------------------------------

// The control being dragged, or null.
CVRXDragControl* CUIWindow::DraggedControl()
{
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        if (kPanelControls[i].kind == PANEL_SWITCH)
            continue;
        auto* control = static_cast<CVRXDragControl*>(m_pControls[i]);
        if (control->IsDragging())
            return control;
    }
    return nullptr;
}

void CUIWindow::OnMouseMove(UINT flags, CPoint point)
{
    CWnd::OnMouseMove(flags, point);
    if (CVRXDragControl* control = DraggedControl())
    {
        CClientDC dc(this);
        control->OnMouseMove(point, &dc);
    }
}

void CUIWindow::OnLButtonUp(UINT, CPoint point)
{
    if (CVRXDragControl* control = DraggedControl())
    {
        CClientDC dc(this);
        return control->OnLButtonUp(point, &dc);
    }

    ADeEsser* effect = Effect();
    if (!effect)
        return;
    if (kSaveRect.PtInRect(point))
    {
        CPresetSaveDlg dlg(this, effect);
        if (dlg.DoModal() == IDOK)
            effect->SaveProgram(dlg.m_nSelect, dlg.m_strName);
    }
    else if (m_rcModify.PtInRect(point))
        effect->ProgramToInitial();
}

// Typed values --------------------------------------------------------------

void CUIWindow::ShowEdit(int value, int min, int max, bool signedInput, int width, CRect rect,
                         int editId)
{
    if (!m_EditWnd.GetSafeHwnd())
        return;
    m_EditWnd.SetNewValue(value, min, max);
    m_EditWnd.SetSingnFlag(signedInput);
    m_EditWnd.ChangeSize(width, signedInput);
    m_EditWnd.SetWindowPos(nullptr, rect.left + 1, rect.top, 0, 0,
                           SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    m_EditWnd.ShowWindow(SW_SHOW);
    m_EditWnd.GetEdit().SetFocus();
    // Hosts may forward no keys to the editor: the field takes the keyboard
    // while it is open (hiding it gives the keyboard back).
    m_EditWnd.GetEdit().HoldKeyboard(true);
    m_nEditId = editId;
}

void CUIWindow::HideEdit()
{
    m_nEditId = -1;
    if (m_EditWnd.GetSafeHwnd() && m_EditWnd.IsWindowVisible())
        m_EditWnd.ShowWindow(SW_HIDE);
}

LRESULT CUIWindow::OnInputValReturn(WPARAM, LPARAM)
{
    char text[51] = {0};
    m_EditWnd.GetText(text, 51);
    const long n = std::strtol(text, nullptr, 10); // not a number: 0
    const int index = ParamOfEditId(m_nEditId);
    ADeEsser* effect = Effect();
    if (index >= 0 && effect)
    {
        // Nudge half a displayed step away from zero so that the display's
        // own rounding lands on the typed digit.
        float value;
        if (m_nEditId == IDE_RELEASE)
            value = (float)(n / 100.0 + (n < 0 ? -0.0005 : 0.0005));
        else
            value = (float)(n / 10.0 + (n < 0 ? -0.005 : 0.005));
        float min = 0.f, max = 0.f;
        GetParamMinMax(index, &min, &max);
        if (value < min)
            value = min;
        if (value > max)
            value = max;
        effect->setParameterFromDiaplay(index, value);
    }
    m_nEditId = -1;
    InvalidateRect(&m_rcModify, TRUE);
    Invalidate(TRUE);
    SendMessage(WM_PAINT);
    return 0;
}

// Program copy ----------------------------------------------------------------

void CUIWindow::CopyProgramMenu()
{
    ADeEsser* effect = Effect();
    CVRXBitmapSwitch2DC& copy = Switch(IDC_COPY);
    {
        copy.SetValue(copy.GetValue() ? 0 : 1, false);
        CClientDC dc(this);
        copy.DrawSwitch(&dc);
    }
    CMenu menu;
    menu.CreatePopupMenu();
    const int current = effect ? effect->getProgram() : -1;
    for (int slot = 0; slot < kNumPrograms && effect; ++slot)
    {
        // Program names are Shift-JIS; the menu shows UTF-8.
        char sjis[kProgramNameSize + 1] = {0};
        const char* name = effect->GetProgram(slot).name;
        for (int i = 0; i < kProgramNameSize && name[i]; ++i)
            sjis[i] = name[i];
        CString utf8;
        CheckSJISAndToUFT8(sjis, utf8);
        UINT flags = MF_STRING;
        if (slot == current)
            flags |= MF_CHECKED | MF_DISABLED;
        menu.AppendMenu(flags, IDM_COPYPG_FIRST + slot, utf8);
    }
    CPoint at(kPanelCopyMenuAt.x, kPanelCopyMenuAt.y);
    ClientToScreen(&at);
    menu.TrackPopupMenu(TPM_LEFTALIGN | TPM_RIGHTBUTTON, at.x, at.y, this, nullptr);
    if (m_hWnd)
    {
        copy.SetValue(0, false);
        CClientDC dc(this);
        copy.DrawSwitch(&dc);
    }
}

void CUIWindow::OnSelCopyPg(UINT id)
{
    if (ADeEsser* effect = Effect())
        effect->CopyPgFrom((int)id - IDM_COPYPG_FIRST);
    InvalidateRect(&m_rcModify, TRUE);
}

// Controls -> parameters --------------------------------------------------------

void CUIWindow::ChangeControl(int controlId, float value)
{
    ADeEsser* effect = Effect();
    const int i = ControlIndex(controlId);
    if (effect && i >= 0)
    {
        const int drives = kPanelControls[i].drives;
        if (drives >= 0)
            effect->setParameterFormUI(drives, value);
        else if (drives == PANEL_DRIVES_LISTEN)
            effect->SetListen(value != 0.f);
        // Shift-click on power: this program back to its factory setting;
        // Control-click: every program.
        if (controlId == IDC_POWER)
        {
            if (GetKeyState(VK_SHIFT) < 0)
                effect->ProgramToFactory();
            else if (GetKeyState(VK_CONTROL) < 0)
                effect->ProgramToAllFactory();
        }
    }
    if (m_hWnd)
        InvalidateRect(&m_rcModify, TRUE);
}

// Host -> controls ----------------------------------------------------------------

void CUIWindow::UpdateControl(int index, float value)
{
    if (index < 0 || index >= kNumParams || !m_hWnd)
        return;
    CClientDC dc(this);
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        const PanelControl& c = kPanelControls[i];
        if (c.drives != index)
            continue;
        if (c.kind == PANEL_KNOB)
            static_cast<CVRXNewBitmapTumamiDC*>(m_pControls[i])->SetValue(value, &dc, false);
        else if (c.kind == PANEL_FADER)
            static_cast<CVRXBitmapSliderDC*>(m_pControls[i])->SetValue(value, &dc, false);
        else
        {
            auto* sw = static_cast<CVRXBitmapSwitch2DC*>(m_pControls[i]);
            sw->SetValue((int)NormalizeValToDWValue(index, value), false);
            sw->DrawSwitch(&dc);
        }
    }
    InvalidateRect(&m_rcModify, TRUE);
}

void CUIWindow::UpdateModify()
{
    if (m_hWnd)
        InvalidateRect(&m_rcModify, TRUE);
}

// Meters ------------------------------------------------------------------------

void CUIWindow::idle()
{
    ADeEsser* effect = Effect();
    if (!effect || !m_hWnd)
        return;

    const uint32_t counters = effect->GetBlockCounters();
    const float oldVU[4] = {m_fVU[0], m_fVU[1], m_fVU[2], m_fVU[3]};
    const float oldReduction = m_fReduction;

    const uint16_t levelCounter = (uint16_t)(counters & 0xFFFF);
    if (levelCounter != m_nLastLevelCounter)
    {
        m_nLastLevelCounter = levelCounter;
        float level[4];
        effect->GetVU(&level[0], &level[1], &level[2], &level[3]);
        for (int i = 0; i < 4; ++i)
        {
            float db = (float)GainToDb6(level[i]);
            if (!(db > kMinLevelDb)) // also silence (-inf) and NaN
                db = kMinLevelDb;
            if (db > kMaxLevelDb)
                db = kMaxLevelDb;
            m_fVU[i] = db;
        }
    }
    else
    {
        for (float& v : m_fVU)
        {
            v -= 0.25f;
            if (v < kMinLevelDb)
                v = kMinLevelDb;
        }
    }

    const float reductionCounter = (float)(int16_t)(uint16_t)(counters >> 16);
    if (reductionCounter != m_fLastReductionCounter)
    {
        m_fLastReductionCounter = reductionCounter;
        float gain = 1.f;
        effect->GetReductionVU(&gain);
        float db = (float)GainToDb6(gain);
        if (!(db > kMinReductionDb))
            db = kMinReductionDb;
        if (db > 0.f)
            db = 0.f;
        m_fReduction = db;
    }
    else
    {
        m_fReduction += 1.f;
        if (m_fReduction > 0.f)
            m_fReduction = 0.f;
    }

    const bool levelsChanged = oldVU[0] != m_fVU[0] || oldVU[1] != m_fVU[1] ||
                               oldVU[2] != m_fVU[2] || oldVU[3] != m_fVU[3];
    const bool reductionChanged = oldReduction != m_fReduction;
    if (levelsChanged || reductionChanged)
    {
        CClientDC dc(this);
        if (levelsChanged)
            DrawVU(&dc);
        if (reductionChanged)
            DrawReductionVU(&dc);
    }
}
