// The application object: one per loaded binary, reachable through AfxGetApp.
#pragma once

#include "CCmdTarget.h"

class CWinApp : public CCmdTarget
{
public:
    explicit CWinApp(LPCTSTR appName = nullptr);
    ~CWinApp() override;

    virtual BOOL InitInstance() { return TRUE; }
    virtual int ExitInstance() { return 0; }

    HCURSOR LoadStandardCursor(LPCTSTR name) const;

    const char* m_pszAppName = nullptr;

    DECLARE_MESSAGE_MAP()
};

// The most recently constructed application object still alive, or null.
CWinApp* AfxGetApp();
