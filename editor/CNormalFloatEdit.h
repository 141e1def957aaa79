// CNormalFloatEdit: the numeric field of the floating entry window. Accepts
// digits, backspace, the arrows, "." and (with the sign flag) "-"; a stray
// key re-formats the text with the field's decimals. After each character
// the value times 10^decimals, rounded, becomes the integer image. Return
// and Escape go to the parent window as WM_INPUTVAL_RETURN / _ESCAPE.
//
// Thread: user-interface thread only.
#pragma once

#include "CFormatEdit.h"

class CNormalFloatEdit : public CFormatEdit
{
public:
    CNormalFloatEdit();

    // Decimals shown and typed: scale 10^decimals, format "%.<decimals>f".
    void SetFloatPoint(int decimals);
    int GetFloatPoint() const { return m_nDecimals; }
    double GetScale() const { return m_dScale; }
    const char* GetFormat() const { return m_szFormat; }

    // Send WM_INPUTVAL_RETURN / WM_INPUTVAL_ESCAPE (control id, 0) to the parent.
    void ProcRet();
    void ProcEsc();

    LPCTSTR GetClassName() const override { return "CNormalFloatEdit"; }

    // Key codes 35 and 36 (Return) commit, 53 (Escape) abandons; other
    // keys are the edit's own.
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);

private:
    // Reads the text, stores the integer image and, for a rejected
    // character, replaces the text by the formatted value.
    void UpdateValue(bool reformat);

    int m_nDecimals = 1;
    double m_dScale = 10.0; // 10^decimals
    char m_szFormat[16];    // printf format of the value, "%.1f"
    double m_dMin;          // value limits (the whole double range)
    double m_dMax;

    DECLARE_MESSAGE_MAP()
};
