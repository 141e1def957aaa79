// CUIWindow: the editor's single panel. Shows the background, six knobs, two
// faders, five switches, eight value displays, four level meters, the
// gain-reduction meter and the modified lamp; hosts the hidden entry field
// for typed values. Mouse use becomes parameter changes through the effect's
// panel path; host changes arrive through UpdateControl / UpdateModify; the
// meters are polled on every host idle call.
//
// Thread: UI only (the editor queues calls from other threads, see
// CDeferredPanelUpdates).
#pragma once

#include <cstdint>

#include "AfxWin.h"
#include "CVRXBitmap.h"
#include "CVRXBitmapSliderDC.h"
#include "CVRXBitmapSwitch2DC.h"
#include "CVRXFloatEditWnd.h"
#include "CVRXNewBitmapTumamiDC.h"
#include "IDeEsserPanel.h"
#include "PanelLayout.h"
#include "ParamTable.h"

class ADeEsser;
class CDeEsserEditor;

class CUIWindow : public CWnd, public IDeEsserPanel
{
public:
    // Control ids.
    enum
    {
        IDC_THRESHOLD = 100,
        IDC_ATTACK = 101,
        IDC_RELEASE = 102,
        IDC_RATIO = 103,
        IDC_INPUT = 104,
        IDC_OUTPUT = 105,
        IDC_AUTOTHRESHOLD = 106,
        IDC_POWER = 107,
        IDC_LOWFREQ = 108,
        IDC_HIFREQ = 109,
        IDC_LISTEN = 111,
        IDC_SIDECHAIN = 112,
        IDC_COPY = 131,
    };
    // Typed-value ids (the display pressed).
    enum
    {
        IDE_THRESHOLD = 120,
        IDE_ATTACK,
        IDE_RELEASE,
        IDE_RATIO,
        IDE_INPUT,
        IDE_OUTPUT,
        IDE_LOWFREQ,
        IDE_HIFREQ,
    };
    enum
    {
        IDM_COPYPG_FIRST = 1010, // + program slot
        IDM_COPYPG_LAST = 1110,
        TIMER_PANEL = 1024,
    };

    CUIWindow();
    ~CUIWindow() override;

    // Creates the panel as a visible child of parentFrame, the background's
    // size. False when the window could not be created.
    BOOL MakeWindow(CWnd* parentFrame, CVRXBitmap* background, CDeEsserEditor* editor);

    // IDeEsserPanel
    void UpdateControl(int index, float value) override;
    void UpdateModify() override;

    // Reached through ControlCallback from every control.
    void ChangeControl(int controlId, float value);
    // Meter polling; called from the editor's idle.
    void idle();
    // (Re)loads images 5001-5020 at the toolkit's scale and repaints.
    void LoadImages();

    void ShowEdit(int value, int min, int max, bool signedInput, int width, CRect rect, int editId);
    void HideEdit();

    // Painting parts (all draw into dc): the value displays (the parameter's
    // display text centred and clipped in its box), the meters.
    void DrawFreq1Disp(CDC* dc) { DrawDisplay(dc, kParamLowFreq); }
    void DrawFreq2Disp(CDC* dc) { DrawDisplay(dc, kParamHiFreq); }
    void DrawThresholdDisp(CDC* dc) { DrawDisplay(dc, kParamThreshold); }
    void DrawAttackDisp(CDC* dc) { DrawDisplay(dc, kParamAttack); }
    void DrawReleaseDisp(CDC* dc) { DrawDisplay(dc, kParamRelease); }
    void DrawRatioDisp(CDC* dc) { DrawDisplay(dc, kParamRatio); }
    void DrawOutDisp(CDC* dc) { DrawDisplay(dc, kParamOutput); }
    void DrawInputDisp(CDC* dc) { DrawDisplay(dc, kParamInput); }
    void DrawVU(CDC* dc);
    void DrawReductionVU(CDC* dc);
    void DrawClip(CDC* dc);

    // Read access for tests and the editor (ids of the layout table).
    CVRXNewBitmapTumamiDC& Knob(int id) { return static_cast<CVRXNewBitmapTumamiDC&>(Control(id)); }
    CVRXBitmapSliderDC& Fader(int id) { return static_cast<CVRXBitmapSliderDC&>(Control(id)); }
    CVRXBitmapSwitch2DC& Switch(int id) { return static_cast<CVRXBitmapSwitch2DC&>(Control(id)); }
    CVRXFloatEditWnd& EntryField() { return m_EditWnd; }
    int GetEditId() const { return m_nEditId; }
    float GetLevelDb(int meter) const { return m_fVU[meter]; } // 0..3: in L, in R, out L, out R
    float GetReductionDb() const { return m_fReduction; }
    const CVRXBitmap& Image(int resourceId) const { return m_Bmp[resourceId - 5001]; }
    CFont& DisplayFont() { return m_Font9; }
    static const CRect kLampRect;
    static const CRect kSaveRect;
    // Value display rectangles, indexed by parameter (empty for 0, 9, 10).
    static CRect DisplayRect(int paramIndex);

    int OnCreate(LPCREATESTRUCT cs);
    void OnDestroy();
    void OnPaint();
    void OnSize(UINT type, int cx, int cy);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    LRESULT OnInputValReturn(WPARAM wParam, LPARAM lParam);
    void OnSelCopyPg(UINT id);

    LPCTSTR GetClassName() const override { return "UIWindow"; }

private:
    ADeEsser* Effect() const;
    void DrawDisplay(CDC* dc, int paramIndex);
    void CopyProgramMenu();
    CVRXDragControl* DraggedControl();
    // The control of a control id (an id not in the table gives the copy
    // button).
    CVRXControl& Control(int id);
    static int ControlIndex(int id); // index in kPanelControls, -1 when absent
    CVRXBitmap& Bmp(int resourceId) { return m_Bmp[resourceId - 5001]; }

    CVRXBitmap m_Bmp[20]; // resources 5001..5020
    CRect m_rcModify;     // the modified lamp

    // The controls, made from the layout table; m_pControls follows its order.
    CVRXNewBitmapTumamiDC m_Knobs[6];
    CVRXBitmapSliderDC m_Faders[2];
    CVRXBitmapSwitch2DC m_Switches[5];
    CVRXControl* m_pControls[PANEL_CONTROL_COUNT];

    CDeEsserEditor* m_pEditor = nullptr; // not owned
    CVRXBitmap* m_pBackground = nullptr; // owned by the editor
    CWnd* m_pParentFrame = nullptr;

    CFont m_Font9;  // value displays
    CFont m_Font12; // entry field

    // Meters: levels in dB (in L, in R, out L, out R) and the reduction in
    // dB; the counters last seen in the effect's counter word.
    float m_fVU[4] = {-38.f, -38.f, -38.f, -38.f};
    float m_fReduction = 0.f;
    float m_fLastReductionCounter = -1.f;
    uint16_t m_nLastLevelCounter = 0xFFFF;

    CVRXFloatEditWnd m_EditWnd;
    int m_nEditId = -1; // typed-value id, -1: none
    bool m_bFlag = false;

    DECLARE_MESSAGE_MAP()
};
