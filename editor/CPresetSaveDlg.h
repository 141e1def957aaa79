// CPresetSaveDlg: the modal dialog in which the user picks the slot (1-32)
// that the current program is saved into and types its name. On OK the
// results are m_nSelect (0-based slot) and m_strName (Shift-JIS, at most 23
// bytes, never ending in half a character); the dialog itself changes
// nothing in the effect.
//
// Thread: user-interface thread only.
#pragma once

#include "AfxWin.h"

class ADeEsser;

#define IDD_PRESETSAVE 5040
#define IDC_PGMCOMBO 1120
#define IDC_PRESETNAME 5000

class CPresetSaveDlg : public CDialog
{
public:
    CPresetSaveDlg(CWnd* parent, ADeEsser* effect);

    CComboBox m_PGMCombo;
    int m_nSelect = 0;
    CString m_strName;
    ADeEsser* m_pEffect; // not owned

    BOOL OnInitDialog() override;
    void OnOK() override;
    void OnSelPGMCombo();

    LPCTSTR GetClassName() const override { return "CPresetSaveDlg"; }

    // The name rule of OnOK on its own: UTF-8 text to Shift-JIS, cut to 23
    // bytes, without a trailing lead byte.
    static CString MakeProgramName(const char* utf8);

protected:
    void DoDataExchange(CDataExchange* dx) override;

private:
    // Registers the dialog's layout (labels, list, name, OK, Cancel).
    static void RegisterTemplate();
    // The program name of a slot, as UTF-8.
    CString SlotName(int slot) const;

    DECLARE_MESSAGE_MAP()
};
