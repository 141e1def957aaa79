// CVRXFloatEditWnd: the small floating window in which the panel takes a
// typed value: a numeric edit field with a spin button at its right. Return
// commits and Escape abandons; either way the window hides itself and tells
// its owner by WM_INPUTVAL_RETURN or WM_INPUTVAL_ESCAPE. The owner then reads
// the value with GetText as the text of a scaled integer.
//
// Thread: user-interface thread only.
#pragma once

#include "AfxWin.h"
#include "CNormalFloatEdit.h"

// Messages to the owner (wParam and lParam 0).
#define WM_INPUTVAL_ESCAPE 0x0A00 // entry abandoned
#define WM_INPUTVAL_RETURN 0x0A01 // entry committed; read the value with GetText

// Control ids inside the window.
#define IDC_VRXFLOATEDIT_SPIN 18000
#define IDC_VRXFLOATEDIT_EDIT 18001

// Creation attributes. A position of 0x80000000 (the default) places the
// window at its parent's origin; any other value holds x in the low and y in
// the high 16 bits. The panel also records its digits and font here, but the
// field takes them from MakeWindow's own arguments.
struct CWindowAttr
{
    DWORD dwPosition; // 0x80000000: default position
    int nDigits;      // characters the owner asked for
    CFont* pFont;     // font the owner asked for (not owned)
    bool bFinal;      // the record is complete
};

#define VRX_DEFAULT_POSITION 0x80000000u

class CVRXFloatEditWnd : public CWnd
{
public:
    CVRXFloatEditWnd();
    ~CVRXFloatEditWnd() override;

    // Creates the window hidden as a child of `parent`; `owner` gets the
    // return and escape messages. maxChars is the number of characters
    // (the field holds one more); font (not owned) is used for the field and
    // its "A" sets the size. Returns FALSE if the window could not be made.
    BOOL MakeWindow(CWnd* parent, CWnd* owner, char* title, CWindowAttr* attr, int maxChars,
                    CFont* font, bool sign);

    // Range and position of the spin button, the field's text ("%d" of
    // value) with the caret at character 8, and the keyboard focus.
    void SetNewValue(int value, int min, int max);
    void SetSingnFlag(bool sign);
    // New character count and sign flag; resizes without moving.
    void ChangeSize(int maxChars, bool sign);
    // Decimals of the edit field (1 unless the owner asks for others).
    void SetFloatPoint(int decimals) { m_Edit.SetFloatPoint(decimals); }

    // The entered value: the text of the scaled integer (the integer image).
    void GetText(CString& text) const;
    int GetText(LPTSTR buffer, int maxCount) const;

    CNormalFloatEdit& GetEdit() { return m_Edit; }
    CSpinButtonCtrl& GetSpin() { return m_Spin; }
    int GetWidth() const { return m_nWidth; }
    int GetHeight() const { return m_nHeight; }
    int GetMaxChars() const { return m_nMaxChars; }
    bool GetSign() const { return m_bSign; }

    LPCTSTR GetClassName() const override { return "VRXFloatEditWnd"; }

    int OnCreate(LPCREATESTRUCT cs);
    LRESULT OnReturn(WPARAM wParam, LPARAM lParam);
    LRESULT OnEscape(WPARAM wParam, LPARAM lParam);

protected:
    // Height and width from the character extent, the edge metric and the
    // spin width (m_nHeight, m_nWidth).
    void CalcSize();

    int m_nWidth = 0; // outer size, pixels
    int m_nHeight = 0;
    int m_nCharWidth = 0; // extent of "A" in m_pFont, pixels
    int m_nCharHeight = 0;
    int m_nSpinWidth = 0; // system metric 3
    CSpinButtonCtrl m_Spin;
    CWnd* m_pOwner = nullptr; // not owned
    int m_nMaxChars = 0;      // character limit plus one
    bool m_bSign = false;
    CFont* m_pFont = nullptr; // not owned
    CNormalFloatEdit m_Edit;

    DECLARE_MESSAGE_MAP()
};
